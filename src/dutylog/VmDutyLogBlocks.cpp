// The blocks of the log book.
#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/Texts.h"
#include "dutylog/LogText.h"
#include "dutylog/VmDutyLog.h"
#include "recorder/VmRecorder.h"
#include "storage/VmMechanic.h"

#include <map>

namespace {
constexpr int reserveMethods[] = {2, 3}; // these show the name of the timetable's entry

std::string onOff(bool on) {
    return on ? "ON" : "OFF";
}
std::string hertz(double rate) {
    return formatted("%dHz", static_cast<int>(rate));
}
std::string seconds(int count) {
    return formatted("%dseconds", count);
}
/// Whole units of `unit` seconds.
int wholeUnits(double duration, long long unit) {
    return static_cast<int>(static_cast<long long>(duration) / unit);
}
} // namespace

// --- lines ---------------------------------------------------------------------------------------------------

std::string VmDutyLog::label(const char* key) const {
    return m_controler.seams().texts(key);
}

std::string VmDutyLog::item(const char* labelKey, const std::string& value) const {
    return "\t" + label(labelKey) + "\t= " + LogText::onOneLine(value) + "\n";
}

std::string VmDutyLog::title(const std::string& date, const char* titleKey) const {
    return date + " " + label(titleKey) + "\n";
}

std::string VmDutyLog::recordingTitle(Date date, const char* titleKey) const {
    return dateString(date) + " " + label(titleKey) + formatted(" #%06d\n", m_serialNum);
}

std::string VmDutyLog::dateString(Date date) const {
    return LogText::dateString(m_controler.seams().clock, date);
}

// --- values --------------------------------------------------------------------------------------------------

Date VmDutyLog::crashDate() const {
    const VmRecorder& recorder = m_controler.recorder();
    // The duty starts before the recording is rescued.
    return recorder.lastCrashDate() != Date{} ? recorder.lastCrashDate() : recorder.leftoverEndDate();
}

std::string VmDutyLog::presentSourceString() const {
    return m_controler.devicer().presentRecordSourceName();
}

bool VmDutyLog::markerSwitch() const {
    return m_controler.recorder().markerSwitch();
}

std::string VmDutyLog::markerInterval() const {
    return formatted("%dminutes", LogText::markerPeriodTime(m_controler.recorder().markerOption()));
}

std::string VmDutyLog::markerSound() const {
    return m_controler.recorder().markerSound();
}

std::string VmDutyLog::keepPeriod() const {
    return formatted("%ddays", wholeUnits(m_controler.mechanic().maxTotalTime(), 86400));
}

std::string VmDutyLog::maxRecord() const {
    return formatted("%dhours", wholeUnits(m_controler.mechanic().maxRecordTime(), 3600));
}

std::string VmDutyLog::recordFormat() const {
    const VmRecorder& recorder = m_controler.recorder();
    return item("sample rate", hertz(recorder.sampleRate())) +
           item("channels", LogText::channelsString(recorder.channels())) +
           item("input device", presentSourceString()) +
           item("record mode", LogText::recordModeString(recorder.recordMode()));
}

std::string VmDutyLog::method(const char* labelKey) const {
    VmRecorder& recorder = m_controler.recorder();
    std::string value = LogText::methodString(recorder.actionMethod());
    for (const int method : reserveMethods)
        if (recorder.actionMethod() == method)
            value += "(" + recorder.reserveNameField().text() + ")";
    return item(labelKey, value);
}

// --- blocks --------------------------------------------------------------------------------------------------

std::string VmDutyLog::dutyHeader() const {
    return item("DUTY OFFICER", m_controler.seams().consoleUser) + "\n" +
           title(dateString(m_dutyStart), "DUTY START") + settings() + "\n";
}

std::string VmDutyLog::settings() const {
    const VmRecorder& recorder = m_controler.recorder();
    return recordFormat() + item("on the hour", recorder.startOnTheHour() ? "ON" : "NO") +
           item("prior time", seconds(recorder.preBufferSec())) +
           item("delay time", seconds(recorder.delayTime())) +
           item("record folder", m_controler.mechanic().recordFolder()) + item("keep period", keepPeriod()) +
           item("max record", maxRecord()) + item("time marker", onOff(markerSwitch())) +
           item("marker interval", markerInterval()) + item("marker sound", markerSound());
}

std::string VmDutyLog::blockOf(const Notification& notification, const std::string& now) {
    const std::string& event = notification.object;
    if (event == "SomeErrorHappen")
        return message(now, "ERROR HAPPEN", notification);
    if (event == "SomeReportHappen" || event == "SleepIn" || event == "WakeUp")
        return message(now, "REPORT HAPPEN", notification);
    if (event == "RecordingStart")
        return recordingStart();
    if (event == "RecordingStop" || event == "RecordingSleep")
        return recordingStop();
    if (event == "DutyFinish")
        return dutyFinish(now);
    if (event == "SoundFileCopy" || event == "SoundFileDelete")
        return playerBlock(event, now);
    return change(event, now);
}

std::string VmDutyLog::message(const std::string& now, const char* titleKey,
                               const Notification& notification) const {
    const auto text = notification.userInfo.find(std::string(ErrorMessageString));
    return title(now, titleKey) + "\t" +
           (text == notification.userInfo.end() ? "" : LogText::onOneLine(text->second)) + "\t\n\n";
}

std::string VmDutyLog::recordingStart() {
    ++m_serialNum;
    m_startDate = m_controler.recorder().recordStartDate();
    return recordingTitle(m_startDate, "RECORDING START") + method("start method") + recordFormat() + "\n";
}

std::string VmDutyLog::recordingStop() const {
    const VmRecorder& recorder = m_controler.recorder();
    const Clock& clock = m_controler.seams().clock;
    const auto dataSize = static_cast<std::int64_t>(recorder.dataSize());
    const auto writeData = static_cast<std::int64_t>(recorder.lastWrite());
    return recordingTitle(recorder.recordStopDate(), "RECORDING STOP") + method("stop method") +
           item("record time", LogText::periodStringFrom(clock, m_startDate, recorder.recordStopDate())) +
           item("total time", LogText::periodStringFromSeconds(recorder.totalRecordTime())) +
           item("data size", formatted("%ldbytes", static_cast<long>(dataSize))) +
           item("write data", formatted("%ldbytes", static_cast<long>(writeData))) +
           item("lost data",
                LogText::lostString(dataSize, writeData, recorder.channels(), recorder.sampleRate())) +
           "\n";
}

std::string VmDutyLog::dutyFinish(const std::string& now) const {
    const Clock& clock = m_controler.seams().clock;
    return title(now, "DUTY FINISH") +
           item("duty time", LogText::periodStringFrom(clock, m_dutyStart, clock.now()));
}

std::string VmDutyLog::playerBlock(std::string_view event, const std::string& now) const {
    const PlayerFiles files = m_playerFiles ? m_playerFiles() : PlayerFiles();
    if (event == "SoundFileCopy")
        return title(now, "SOUND FILE COPY") + item("original", files.originalFile) +
               item("copy", files.destinationFile) + "\n";
    return title(now, "SOUND FILE DELETE") + item("delete", files.deleteFile) +
           item("delete", files.deleteImage) + "\n";
}

std::string VmDutyLog::change(std::string_view event, const std::string& now) const {
    struct Change {
        const char* titleKey;
        const char* labelKey;
        std::string (*value)(const VmDutyLog&);
    };
    using Log = const VmDutyLog&;
    static const std::map<std::string_view, Change> changes = {
        {"HourSwitchChange",
         {"ON THE HOUR SWITCH CHANGED", "on the hour",
          [](Log log) { return onOff(log.m_controler.recorder().startOnTheHour()); }}},
        {"SampleRateChange",
         {"SAMPLING RATE CHANGED", "sample rate",
          [](Log log) { return hertz(log.m_controler.recorder().sampleRate()); }}},
        {"ChannelsChange",
         {"RECORD CHANNELS CHANGED", "channels",
          [](Log log) { return LogText::channelsString(log.m_controler.recorder().channels()); }}},
        // Posted for the play and the monitor source too: these show the record source as well.
        {"InputSourceChange",
         {"INPUT SOURCE CHANGED", "input source", [](Log log) { return log.presentSourceString(); }}},
        {"RecordModeChange",
         {"RECORD MODE CHANGED", "record mode",
          [](Log log) { return LogText::recordModeString(log.m_controler.recorder().recordMode()); }}},
        {"PreTimeChange",
         {"PRIOR TIME CHANGED", "prior time",
          [](Log log) { return seconds(log.m_controler.recorder().preBufferSec()); }}},
        {"DelayTimeChange",
         {"DELAY TIME CHANGED", "delay time",
          [](Log log) { return seconds(log.m_controler.recorder().delayTime()); }}},
        {"MarkerSwitchChange",
         {"MARKER SWITCH CHANGED", "time marker", [](Log log) { return onOff(log.markerSwitch()); }}},
        {"MarkerPeriodChange",
         {"MARKER INTERVAL CHANGED", "marker interval", [](Log log) { return log.markerInterval(); }}},
        {"MarkerSoundChange",
         {"MARKER SOUND CHANGED", "marker sound", [](Log log) { return log.markerSound(); }}},
        {"RecordFolderChange",
         {"RECORD FOLDER CHANGED", "record folder",
          [](Log log) { return log.m_controler.mechanic().recordFolder(); }}},
        {"MaxRecordChange", {"MAX RECORD CHANGED", "max record", [](Log log) { return log.maxRecord(); }}},
        {"KeepPeriodChange", {"KEEP PERIOD CHANGED", "keep period", [](Log log) { return log.keepPeriod(); }}},
    };
    const auto found = changes.find(event);
    if (found == changes.end())
        return {}; // an event of no interest
    return title(now, found->second.titleKey) + item(found->second.labelKey, found->second.value(*this)) + "\n";
}

#include "recorder/VmRecorder.h"

#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Alert.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "recorder/RecordingMender.h"
#include "recorder/VmLevelMeter.h"
#include "schedule/VmReserveList.h"
#include "schedule/VmReserverElement.h"
#include "storage/SoundFile.h"
#include "storage/SoundFileNames.h"
#include "storage/VmMechanic.h"

#include <algorithm>
#include <cmath>
#include <utility>

VmRecorder::VmRecorder(VmControler& controler)
    : m_controler(controler),
      m_workFiles(controler.seams(), controler.mechanic()),
      m_pipeline(controler.seams().clock, controler.seams().log, controler.seams().notifications) {
    const UserDefaults& defaults = controler.seams().defaults;
    m_recordMode = storedRecordMode();
    m_autoLevel = std::clamp(defaults.integerForKey("AutoStartLevel"), 0, 20);
    setDelayTime(defaults.integerForKey("AutoStopDelayTime"));
    setPreBufferSec(defaults.integerForKey("PreBufferingSeconds"));
    m_rateNumber = defaults.integerForKey("SamplingRateNumber");
    setChannels(defaults.integerForKey("ChannelsNumber"));
    m_hideSoundFile = defaults.boolForKey("HideSoundFileFlag");
    m_sliderAlwaysEnable = defaults.boolForKey("SliderAlwaysEnable");
    m_autoStartup = defaults.boolForKey("AutoRecordStartup");
    setDispTotalTime(defaults.boolForKey("DisplayTotalTime"));
    m_levelSlider.setValue(m_autoLevel);
    m_recordButton.setOn(defaults.boolForKey("RecordSwitch"));
    m_monitorButton.setOn(defaults.boolForKey("MonitorSwitch"));
    m_reserveButton.setOn(defaults.boolForKey("ReserveSwitch") && !m_recordButton.isOn());
    setStartOnTheHour(defaults.boolForKey("StartOnTheHour"));
    readMarkerDefaults();

    m_recordButton.setAction([this] { actRecordButton(); });
    m_reserveButton.setAction([this] { actReserveButton(); });
    m_monitorButton.setAction([this] { actMonitorButton(); });
    m_hourButton.setAction([this] { actHourButton(); });
    m_levelSlider.setAction([this](int) { actLevelSlider(); });
    m_sourcePopup.setAction([this](int index) { m_controler.devicer().changeRecordSource(index); });
    m_reserveListChanges = controler.seams().notifications.observe(
        VmReserveListChanged_Notification, [this](const Notification&) { reservesChanged(); });
    m_pipeline.setErrorHandler([this] { handleWriteError(); });
    m_pipeline.setActivityHandler([this](bool active) {
        m_controler.seams().runLoop.post([this, active] { m_writeIndicator.setAnimating(active); });
    });
}

VmRecorder::~VmRecorder() = default;

/// A mode that there is none of would record nothing without a word: always mode loses nothing.
int VmRecorder::storedRecordMode() const {
    constexpr int always = 0;
    constexpr int standby = 2;
    const int mode = m_controler.seams().defaults.integerForKey("RecordMode");
    if (mode >= always && mode <= standby)
        return mode;
    m_controler.seams().log.log(
        formatted("VmRecorder: there is no record mode %d, always mode is used.", mode));
    return always;
}

void VmRecorder::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault("RecordMode", 0);
    defaults.registerDefault("AutoStartLevel", 0);
    defaults.registerDefault("MonitorSwitch", false);
    defaults.registerDefault("RecordSwitch", false);
    defaults.registerDefault("ReserveSwitch", false);
    defaults.registerDefault("SamplingRateNumber", 1);
    defaults.registerDefault("ChannelsNumber", 1);
    defaults.registerDefault("AutoStopDelayTime", 5.0);
    defaults.registerDefault("StartOnTheHour", true);
    defaults.registerDefault("SliderAlwaysEnable", false);
    defaults.registerDefault("HideSoundFileFlag", false);
    defaults.registerDefault("PreBufferingSeconds", 3);
    defaults.registerDefault("MarkerSoundSwitch", false);
    defaults.registerDefault("MarkerSoundOption", 0);
    defaults.registerDefault("MarkerSoundName", "");
    defaults.registerDefault("MarkerSoundMonitor", false);
    defaults.registerDefault("WriteStartTempFile", "");
    defaults.registerDefault("ProgressSoundFileName", "");
    defaults.registerDefault("DisplayTotalTime", false);
    defaults.registerDefault("AutoRecordStartup", false);
}

void VmRecorder::saveUserDefaults() {
    UserDefaults& defaults = m_controler.seams().defaults;
    if (!m_reserveButton.isOn()) { // else they are the timetable's
        defaults.set("RecordMode", m_recordMode);
        defaults.set("SamplingRateNumber", m_rateNumber);
        defaults.set("ChannelsNumber", m_channels);
        defaults.set("StartOnTheHour", m_startOnTheHour);
    }
    defaults.set("AutoStartLevel", m_autoLevel);
    defaults.set("AutoStopDelayTime", m_delayTime);
    defaults.set("SliderAlwaysEnable", m_sliderAlwaysEnable);
    defaults.set("HideSoundFileFlag", m_hideSoundFile);
    defaults.set("PreBufferingSeconds", m_preBufferSec);
    defaults.set("AutoRecordStartup", m_autoStartup);
    defaults.set("DisplayTotalTime", dispTotalTime());
    defaults.set("MonitorSwitch", m_monitorButton.isOn());
    saveMarkerDefaults();
    defaults.synchronize();
}

// --- start and stop of a file --------------------------------------------------------------------------------

void VmRecorder::startRecording() {
    if (m_controler.devicer().recordSource() < 0 || streamIsLate())
        return;
    if (m_actionMethod != 5) // a start that follows a sleep is told as that
        m_actionMethod = usualMethod();
    if (_startRecording())
        setCondition(RecordCondition::recording);
}

void VmRecorder::stopRecording() {
    const StreamMoment stop = stopMoment();
    crossBoundariesBefore(stop);
    if (m_writeFile != nullptr)
        _stopRecording(stop, m_sleepinDate ? "RecordingSleep" : "RecordingStop");
}

void VmRecorder::restartRecording(const StreamMoment& seam) {
    m_actionMethod = 1;
    _stopRecording(seam, "RecordingStop");
    if (!m_beginWith)
        m_beginWith = seam;
    m_isSeam = true;
    if (!_startRecording())
        setCondition(RecordCondition::standingBy);
}

bool VmRecorder::_startRecording() {
    const Seams& seams = m_controler.seams();
    if (m_interruption)
        return false; // it is the disk's turn
    StreamMoment begin = present();
    const bool continues = m_goOn || m_beginWith;
    if (m_goOn) {
        begin = *m_goOn;
        m_beginWith.reset();
    } else if (m_beginWith) {
        begin = *std::exchange(m_beginWith, std::nullopt);
    } else if (m_recordMode == 1) {
        begin.frame -= static_cast<std::int64_t>(m_preBufferSec * m_controler.devicer().recordSampleRate());
        begin.date = begin.date.addingSeconds(-m_preBufferSec);
    }
    // The stream is written in its order.
    m_startFailed = !settleOwed();
    if (m_startFailed || !createFile(begin)) {
        m_goOn.reset();
        m_isSeam = false;
        say("SomeErrorHappen", "VmRecorder: record file create error.");
        seams.runLoop.post([this, begin] { interrupt(begin); });
        return false;
    }
    if (m_goOn)
        reportInterruption(*std::exchange(m_goOn, std::nullopt), m_recordStartDate);
    beginWriting(WritePipeline::openEnd);
    // A full hour that had passed when the level asked for the file does not cut off what came before it.
    m_boundaryDate = boundaryAfter(continues ? m_recordStartDate : now());
    planBoundary();
    seams.notifications.postLogEvent("RecordingStart");
    return true;
}

void VmRecorder::beginWriting(std::int64_t stop) {
    m_workFiles.retryUnfinished();
    m_workFiles.noteStart(m_recordStartDate);
    m_workFiles.progress().makeProgressSoundFile(m_recordStartDate, m_label.hidden);
    if (!m_controler.mechanic().makeSecureRecordSpace(m_fileRate, static_cast<unsigned>(m_label.channels)))
        say("SomeErrorHappen", "VmMechanic: no enough disk space for record.");
    m_pipeline.start(*m_writeFile, {m_controler.devicer().recordSampleRate(), m_fileRate, m_label.channels},
                     {m_carriedBytes, m_overRecordFrame}, stop);
}

bool VmRecorder::createFile(const StreamMoment& begin) {
    return createFile(begin, fileLabel(), sampleRate(), WritePipeline::openEnd);
}

bool VmRecorder::createFile(const StreamMoment& wished, const WorkFiles::Label& label, double fileRate,
                            std::int64_t stop) {
    rescueLeftover(); // what is still there is a recording that could not be named: it must not be overwritten
    const double rate = m_controler.devicer().recordSampleRate();
    const bool isSeam = !m_isSettling && std::exchange(m_isSeam, false);
    const auto ratio = static_cast<unsigned>(rate / fileRate);
    StreamMoment begin = wished;
    if (!m_isSettling && m_overRecordBytes != 0 && wished.frame < m_overRecordFrame) {
        // What lies before the sound of the relay file is in the file before.
        begin.frame = m_overRecordFrame;
        begin.date = wished.date.addingSeconds(static_cast<double>(begin.frame - wished.frame) / rate);
    }
    std::int64_t first = m_pipeline.prepare(begin.frame, ratio, stop);
    const std::int64_t behindSeam = begin.frame - m_overRecordFrame;
    if (m_overRecordBytes != 0 && behindSeam >= 0 && behindSeam < 64) {
        first = m_overRecordFrame; // what the queue does not hold any more is in the relay file
    } else if (m_overRecordBytes != 0) {
        if (m_recordMode == 1) // sound that the level did not ask for
            m_controler.mechanic().deleteRelayFile();
        else
            m_workFiles.rescueRelayFile();
        m_overRecordBytes = 0;
    }
    const std::int64_t lost = std::max<std::int64_t>(first - begin.frame, 0);
    if (m_goOn || isSeam || m_isSettling)
        m_dutyFrames.captured += lost;
    if (!m_goOn && lost > static_cast<std::int64_t>(ratio) && isSeam)
        say("SomeErrorHappen",
            formatted("VmRecorder: sound que buffer overflow %lld bytes.", static_cast<long long>(lost) * 8));
    const double later = std::max(0.0, static_cast<double>(first - begin.frame) / rate);
    m_recordStartDate = begin.date.addingSeconds(later);
    m_label = label;
    m_fileRate = fileRate;
    VmMechanic& mechanic = m_controler.mechanic();
    mechanic.restoreFolder();
    // A recording that could not be named must not be overwritten, nor that of another recorder.
    m_startFailed = m_workFiles.hasLeftover() || mechanic.isFolderTaken();
    if (m_startFailed)
        return false;
    m_writeFile = mechanic.createAudioFileWithFormat(
        {.mSampleRate = fileRate, .mChannelsPerFrame = static_cast<std::uint32_t>(label.channels)},
        mechanic.temporaryFilePath());
    m_startFailed = m_writeFile == nullptr || !takeOverRecord();
    return !m_startFailed;
}

void VmRecorder::_stopRecording(const StreamMoment& stop, const char* event) {
    const Seams& seams = m_controler.seams();
    m_boundary.reset();
    m_recordStopDate = std::max(stop.date, m_recordStartDate);
    m_fixedLength.reset();
    m_secondCount = m_recordStopDate.secondsSince(m_recordStartDate);
    const WritePipeline::Account account = m_pipeline.finish(stop.frame, m_secondCount);
    if (!m_writeFile->close() && !m_pipeline.writeThreadError())
        say("SomeErrorHappen", "VmRecorder: audio file write error.");
    m_writeFile.reset();
    // By the device's frames from now on: its clock and the wall's differ a little, and that is no loss.
    m_secondCount =
        static_cast<double>(account.frames - account.missingFrames) / m_controler.devicer().recordSampleRate();
    if (account.overRecordBytes > 0)
        carryOverRecord(account);
    const std::int64_t lacking = std::max(account.unwrittenFrames, account.missingFrames);
    if (lacking > 0) // the name tells of the sound that is there
        m_recordStopDate = m_recordStartDate.addingSeconds(static_cast<double>(account.frames - lacking) /
                                                           m_controler.devicer().recordSampleRate());
    if (account.unwrittenFrames > 0)
        noteUnwritten({m_pipeline.startFrame() + account.frames - account.unwrittenFrames, m_recordStopDate},
                      stop);
    m_lastWrite = account.writeCount - static_cast<double>(m_overRecordBytes);
    m_writtenSeconds += m_lastWrite / (m_label.sampleRate * m_label.channels * 2.0);
    m_totalRecordTime += m_secondCount;
    const auto ratio = static_cast<std::int64_t>(m_controler.devicer().recordSampleRate() / m_label.sampleRate);
    m_dutyFrames.captured += account.frames - lacking;
    m_dutyFrames.written += static_cast<std::int64_t>(m_lastWrite) / (2 * m_label.channels) * ratio;
    std::optional<std::int64_t> cutTo;
    if (account.unwrittenFrames > 0 || m_pipeline.writeThreadError())
        cutTo = static_cast<std::int64_t>(m_lastWrite);
    const std::string path = m_workFiles.finish(m_recordStartDate, m_recordStopDate, m_label, cutTo);
    seams.notifications.postLogEvent(event);
    if (!path.empty())
        tellFinished(path);
}

DutyFrames VmRecorder::dutyFrames() const {
    DutyFrames frames = m_dutyFrames;
    for (const OwedSound& owed : m_owed)
        frames.captured += owed.to.frame - owed.from.frame;
    if (m_interruption && !m_asleep)
        frames.captured += std::max<std::int64_t>(soundEnd().frame - m_interruption->from.frame, 0);
    return frames;
}

std::int64_t VmRecorder::openFrames() const {
    return m_writeFile == nullptr ? 0 : std::max<std::int64_t>(present().frame - m_pipeline.startFrame(), 0);
}

void VmRecorder::say(std::string_view event, const std::string& text) {
    m_controler.seams().log.log(text);
    m_controler.seams().notifications.postLogEvent(event, text);
}

void VmRecorder::rescueTempFile() {
    rescueLeftover();
    RecordingMender(m_controler.seams(), m_controler.mechanic()).mendNewest(sourceLetter());
}

void VmRecorder::rescueLeftover() {
    WorkFiles::Label label = fileLabel();
    label.scheduleName.clear();
    const std::string path = m_workFiles.rescueTempFile(label);
    if (m_overRecordBytes == 0)
        m_workFiles.rescueRelayFile();
    if (!path.empty())
        tellFinished(path);
}

void VmRecorder::tellFinished(const std::string& path) const {
    m_controler.seams().notifications.post(
        {std::string(VmSoundFileFinished_Notification), {}, {{"SoundFilePath", path}}});
}

WorkFiles::Label VmRecorder::fileLabel() const {
    return {.sampleRate = static_cast<int>(sampleRate()),
            .channels = m_channels,
            .sourceLetter = sourceLetter(),
            .scheduleName = m_recordTimer != nullptr ? m_reserveNameField.text() : std::string(),
            .hidden = m_hideSoundFile};
}

char VmRecorder::sourceLetter() const {
    const std::string source = m_controler.devicer().presentRecordSourceName();
    return source == "Internal microphone" ? 'I'
           : source == "Line In"           ? 'L'
           : source == "Digital In"        ? 'D'
                                           : 'X';
}

// --- what a file is ------------------------------------------------------------------------------------------

double VmRecorder::sampleRate(int rateNumber) const {
    return m_controler.devicer().sampleRateWithNominal(m_controler.devicer().recordSampleRate(), rateNumber);
}

void VmRecorder::setRateNumber(int rateNumber) {
    m_rateNumber = rateNumber;
    renewDispSampleRate();
}

void VmRecorder::setRecordMode(int mode) {
    m_recordMode = mode;
    m_controler.meter().lookSoon(); // it may have rested
    dispRecordMode();
}

void VmRecorder::setSliderAlways(bool always) {
    m_sliderAlwaysEnable = always;
    setControlState();
}

std::string VmRecorder::headerString() const {
    return std::string(SoundFileNames::headerString);
}

std::string VmRecorder::whichHeaderString() const {
    return std::string(SoundFileNames::whichHeaderString(m_hideSoundFile));
}

double VmRecorder::dataSize() const {
    // The stop of a file is told while the condition still says that one is recorded.
    const double seconds = m_writeFile != nullptr
                               ? m_controler.seams().clock.now().secondsSince(m_recordStartDate)
                               : m_secondCount;
    // The file's own form: that of the next one may be another already.
    const bool hasFile = m_fileRate > 0.0;
    const int channelCount = hasFile ? m_label.channels : m_channels;
    // Whole frames: a product that falls just short of one would tell of a lost byte.
    return std::round(seconds * (hasFile ? m_fileRate : sampleRate())) * channelCount * 2.0;
}

#include "recorder/VmRecorder.h"

#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Alert.h"
#include "base/Clock.h"
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "recorder/VmLevelMeter.h"
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
    m_recordMode = defaults.integerForKey("RecordMode");
    m_autoLevel = std::clamp(defaults.integerForKey("AutoStartLevel"), 0, 20);
    m_delayTime = std::max(defaults.integerForKey("AutoStopDelayTime"), 0);
    m_preBufferSec = std::clamp(defaults.integerForKey("PreBufferingSeconds"), 0, 79);
    m_rateNumber = defaults.integerForKey("SamplingRateNumber");
    setChannels(defaults.integerForKey("ChannelsNumber"));
    m_hideSoundFile = defaults.boolForKey("HideSoundFileFlag");
    m_sliderAlwaysEnable = defaults.boolForKey("SliderAlwaysEnable");
    m_autoStartup = defaults.boolForKey("AutoRecordStartup");
    m_levelSlider.setValue(m_autoLevel);
    m_recordButton.setOn(defaults.boolForKey("RecordSwitch"));
    m_monitorButton.setOn(defaults.boolForKey("MonitorSwitch"));
    const std::pair<Button*, const char*> comingLater[] = {
        {&m_reserveButton, "ReserveNotYet"}, {&m_hourButton, "HourNotYet"}, {&m_markerButton, "MarkerNotYet"}};
    for (const auto& [button, reason] : comingLater) {
        button->setEnabled(false);
        button->setToolTip(controler.seams().texts(reason));
    }

    m_recordButton.setAction([this] { actRecordButton(); });
    m_monitorButton.setAction([this] { actMonitorButton(); });
    m_levelSlider.setAction([this](int) { actLevelSlider(); });
    m_sourcePopup.setAction([this](int index) { m_controler.devicer().changeRecordSource(index); });
    m_pipeline.setErrorHandler([this] { handleWriteError(); });
    m_pipeline.setActivityHandler([this](bool active) {
        m_controler.seams().runLoop.post([this, active] { m_writeIndicator.setAnimating(active); });
    });
}

VmRecorder::~VmRecorder() = default;

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
    defaults.registerDefault("DisplayTotalTime", false);
    defaults.registerDefault("AutoRecordStartup", false);
}

void VmRecorder::saveUserDefaults() {
    UserDefaults& defaults = m_controler.seams().defaults;
    defaults.set("RecordMode", m_recordMode);
    defaults.set("AutoStartLevel", m_autoLevel);
    defaults.set("SamplingRateNumber", m_rateNumber);
    defaults.set("ChannelsNumber", m_channels);
    defaults.set("AutoStopDelayTime", m_delayTime);
    defaults.set("SliderAlwaysEnable", m_sliderAlwaysEnable);
    defaults.set("HideSoundFileFlag", m_hideSoundFile);
    defaults.set("PreBufferingSeconds", m_preBufferSec);
    defaults.set("AutoRecordStartup", m_autoStartup);
    defaults.set("MonitorSwitch", m_monitorButton.isOn());
    defaults.synchronize();
}

// --- start and stop of a file --------------------------------------------------------------------------------

void VmRecorder::startRecording() {
    if (m_controler.devicer().recordSource() < 0 || streamIsLate())
        return;
    if (_startRecording())
        setCondition(RecordCondition::recording);
}

void VmRecorder::stopRecording() {
    _stopRecording();
}

void VmRecorder::restartRecording() {
    m_actionMethod = 1;
    stopRecording();
    // Reaches back to the end of the file before, which the stop itself has left behind by now.
    m_returnedSeconds = m_controler.seams().clock.now().secondsSince(m_recordStopDate) + 1.0;
    if (!_startRecording())
        setCondition(RecordCondition::standingBy);
}

bool VmRecorder::isNearlyFull() const {
    // Counted in frames: a clock that is set back must not let a file overflow. The reserve is what the queue
    // may still hold, and the time until the next look.
    constexpr double reserve = 90.0; // seconds
    const auto frames = static_cast<double>(m_pipeline.frameCount() - m_pipeline.startFrame());
    const double seconds = frames / m_controler.devicer().recordSampleRate() + reserve;
    return seconds * sampleRate() * m_channels * 2.0 > static_cast<double>(SoundFile::largestFile - 4096);
}

bool VmRecorder::_startRecording() {
    const Seams& seams = m_controler.seams();
    rescueTempFile(); // what is still there is a recording that could not be named: it must not be overwritten
    const double wished =
        std::max(m_recordMode == 1 ? static_cast<double>(m_preBufferSec) : 0.0, m_returnedSeconds);
    m_returnedSeconds = 0.0;
    const double prior = m_pipeline.prepare(seams.clock.hostTime(), wished);
    m_recordStartDate = seams.clock.now().addingSeconds(-prior);
    VmMechanic& mechanic = m_controler.mechanic();
    m_writeFile = mechanic.createAudioFileWithFormat(
        {.mSampleRate = sampleRate(), .mChannelsPerFrame = static_cast<std::uint32_t>(m_channels)},
        mechanic.temporaryFilePath());
    m_startFailed = m_writeFile == nullptr;
    if (m_startFailed) {
        say("SomeErrorHappen", "VmRecorder: record file create error.");
        seams.runLoop.post([this] { emerRecordStop(); });
        seams.alert.tell({"FileWriteError", "CheckAndRetry", "Understand"});
        return false;
    }
    m_workFiles.noteStart(m_recordStartDate);
    m_pipeline.start(*m_writeFile, {m_controler.devicer().recordSampleRate(), sampleRate(), m_channels});
    seams.notifications.postLogEvent("RecordingStart");
    return true;
}

void VmRecorder::_stopRecording() {
    const Seams& seams = m_controler.seams();
    std::int64_t stop = m_inputLoss ? m_inputLoss->frame : m_pipeline.frameAt(seams.clock.hostTime());
    m_recordStopDate = m_inputLoss ? m_inputLoss->date : seams.clock.now();
    if (const auto length = std::exchange(m_fixedLength, std::nullopt); length && !m_inputLoss) {
        stop = m_pipeline.startFrame() + std::llround(*length * m_controler.devicer().recordSampleRate());
        m_recordStopDate = m_recordStartDate.addingSeconds(*length);
    }
    m_recordStopDate = std::max(m_recordStopDate, m_recordStartDate);
    m_secondCount = m_recordStopDate.secondsSince(m_recordStartDate);
    const WritePipeline::Account account = m_pipeline.finish(stop, m_secondCount);
    if (!m_writeFile->close() && !m_pipeline.writeThreadError())
        say("SomeErrorHappen", "VmRecorder: audio file write error.");
    m_writeFile.reset();
    m_lastWrite = account.writeCount;
    m_writtenSeconds += account.writeCount / (sampleRate() * m_channels * 2.0);
    m_totalRecordTime += m_secondCount;
    const std::string path = m_workFiles.finish(m_recordStartDate, m_recordStopDate, fileLabel());
    seams.notifications.postLogEvent("RecordingStop");
    if (!path.empty())
        seams.notifications.post(
            {std::string(VmSoundFileFinished_Notification), {}, {{"SoundFilePath", path}}});
}

void VmRecorder::say(std::string_view event, const std::string& text) {
    m_controler.seams().log.log(text);
    m_controler.seams().notifications.postLogEvent(event, text);
}

void VmRecorder::handleWriteError() {
    m_controler.seams().runLoop.post([this] { emerRecordStop(); });
    m_controler.seams().alert.tell({"FileWriteError", "CheckAndRetry", "Understand"});
}

void VmRecorder::rescueTempFile() {
    const std::string path = m_workFiles.rescueTempFile(fileLabel());
    if (!path.empty())
        m_controler.seams().notifications.post(
            {std::string(VmSoundFileFinished_Notification), {}, {{"SoundFilePath", path}}});
}

WorkFiles::Label VmRecorder::fileLabel() const {
    return {.sampleRate = static_cast<int>(sampleRate()),
            .channels = m_channels,
            .sourceLetter = sourceLetter(),
            .scheduleName = {},
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

void VmRecorder::setChannels(int channels) {
    m_channels = channels >= 2 ? 2 : 1;
}

std::string VmRecorder::headerString() const {
    return std::string(SoundFileNames::headerString);
}

std::string VmRecorder::whichHeaderString() const {
    return std::string(SoundFileNames::whichHeaderString(m_hideSoundFile));
}

double VmRecorder::dataSize() const {
    const double seconds = condition() == RecordCondition::recording
                               ? m_controler.seams().clock.now().secondsSince(m_recordStartDate)
                               : m_secondCount;
    return seconds * sampleRate() * m_channels * 2.0;
}

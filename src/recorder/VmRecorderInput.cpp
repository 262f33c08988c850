// The input: the I/O targets, changes of the device, monitoring, and sound that fails to come.
#include "app/VmControler.h"
#include "audio/KaAudioBuffer.h"
#include "audio/KaConversionBuffer.h"
#include "audio/VmDevice.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/Texts.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"

#include <algorithm>

// --- I/O targets ---------------------------------------------------------------------------------------------

void VmRecorder::setRecordIOTargetWithDevice(KaCoreAudioDevice& device) {
    device.setDelegate(this);
    device.setIOTarget(*this, &VmRecorder::recordIOForDevice, nullptr);
}

void VmRecorder::setMonitorIOTargetWithDevice(KaCoreAudioDevice& device) {
    device.setDelegate(this);
    device.setIOTarget(*this, &VmRecorder::monitorIOForDevice, nullptr);
}

OSStatus VmRecorder::recordIOForDevice(KaCoreAudioDevice&, const AudioTimeStamp*,
                                       const AudioBufferList* inputData, const AudioTimeStamp* inputTime,
                                       AudioBufferList*, const AudioTimeStamp*, void*) noexcept {
    const VmDevice& devicer = m_controler.devicer();
    if (inputData == nullptr)
        return audioHardwareNoError;
    KaConversionBuffer* const converter = devicer.monitorConverter();
    const auto frames = static_cast<unsigned>(devicer.recordBufferSize());
    devicer.recordBuffer().writeFromAudioBufferList(*inputData, frames, devicer.recordSampleRate(), false);
    AudioBufferList& converted = devicer.convertBuffer();
    // What came in, and no frame of the cycle before: one that has fewer leaves the rest of the list as it was.
    const unsigned got = devicer.recordBuffer().readToAudioBufferList(converted, frames, false);
    const bool isMarked = m_pipeline.capture(static_cast<float*>(converted.mBuffers[0].mData), got * 2,
                                             inputTime->mHostTime, condition() == RecordCondition::recording);
    // What the monitor plays of a marker has gone through the recording's conversion to two channels.
    const bool isMarkerHeard = isMarked && m_markerHeard.load(std::memory_order_relaxed);
    if (converter != nullptr)
        converter->writeFromAudioBufferList(isMarkerHeard ? converted : *inputData, inputTime);
    return audioHardwareNoError;
}

OSStatus VmRecorder::monitorIOForDevice(KaCoreAudioDevice&, const AudioTimeStamp*, const AudioBufferList*,
                                        const AudioTimeStamp*, AudioBufferList* outputData,
                                        const AudioTimeStamp* outputTime, void*) noexcept {
    KaConversionBuffer* converter = m_controler.devicer().monitorConverter();
    if (outputData != nullptr && converter != nullptr)
        converter->readToAudioBufferList(*outputData, outputTime);
    return audioHardwareNoError;
}

void VmRecorder::audioDeviceStartDidFail(KaCoreAudioDevice& device, OSStatus reason) {
    if (m_inputLoss)
        return; // said already; it is tried again and again
    say("SomeErrorHappen", "VmRecorder: sound device \"" + device.deviceName() + "\" cannot be started (" +
                               std::to_string(reason) + ").");
}

// --- changes of the device -----------------------------------------------------------------------------------

void VmRecorder::recordSourceWillChange() {
    if (condition() == RecordCondition::recording) {
        stopRecording();
        setCondition(RecordCondition::standingBy); // the next tick goes on with the new device
    }
    // The queue is made anew: the last look at a disk that failed.
    if (m_interruption)
        owe(m_interruption->from, soundEnd());
    if (!m_owed.empty() && !settleOwed())
        loseOwed();
    if (m_inputLoss)
        reportGap(m_controler.seams().clock.hostTime(), "is replaced");
}

void VmRecorder::recordSourceChanged() {
    const VmDevice& devicer = m_controler.devicer();
    if (devicer.recordSource() >= 0 && !m_pipeline.initSoundQue(devicer.recordSampleRate())) {
        // Without a queue there is no recorder.
        m_controler.seams().runLoop.quit(1);
        return;
    }
    fitMarkerToInput();
    m_streamStarted = m_controler.seams().clock.hostTime();
    m_lastFrameTime = m_streamStarted;
    if (m_interruption)
        m_interruption->from = {m_pipeline.frameCount(), now()};
    m_controler.meter().watchLevel(m_autoLevel);
    fillSourcePopup();
    renewDispSampleRate();
    if (m_monitorButton.isOn())
        _actMonitorButton(); // the new input may howl with this output
}

bool VmRecorder::streamIsLate() {
    // A recording that began before the stream's first frame would bear a name that its sound does not keep.
    if (m_pipeline.delivers())
        return false;
    constexpr double patience = 5.0;
    if (m_controler.seams().clock.hostTime() - m_streamStarted > hostTimeFromSeconds(patience))
        recordInputLost(inputLossNow());
    return true;
}

// --- monitoring ----------------------------------------------------------------------------------------------

void VmRecorder::actMonitorButton() {
    if (gateRefuses())
        m_monitorButton.setOn(!m_monitorButton.isOn());
    else
        _actMonitorButton();
}

void VmRecorder::_actMonitorButton() {
    if (!m_inputLoss)
        m_messageField.setText("");
    const bool on = m_monitorButton.isOn() && !protectHowling();
    m_controler.devicer().monitorDevicePaused(!on);
    m_monitorButton.setImage(on ? "MonitorOn" : "Monitor");
    updateMarkerMonitor();
    updateLatencyNeed();
}

bool VmRecorder::protectHowling() {
    const VmDevice& devicer = m_controler.devicer();
    if (!devicer.isPresentInternalRecord() || !devicer.isPresentInternalMonitor())
        return false;
    m_monitorButton.setOn(false);
    m_messageField.setText(m_controler.seams().texts("HowlingProtected"));
    return true;
}

void VmRecorder::monitorSourceChanged() {
    const bool hasOutput = m_controler.devicer().monitorSource() >= 0;
    m_monitorButton.setEnabled(hasOutput);
    m_monitorButton.setToolTip(hasOutput ? "" : m_controler.seams().texts("NoMonitorOutput"));
    _actMonitorButton();
}

void VmRecorder::setShown(bool shown) {
    m_windowShown = shown;
    m_shown = m_windowShown && m_tabSelected;
    updateLatencyNeed();
}

void VmRecorder::mainTabSelected() {
    m_tabSelected = true;
    setShown(m_windowShown);
}

void VmRecorder::mainTabUnselected() {
    m_tabSelected = false;
    setShown(m_windowShown);
}

void VmRecorder::updateLatencyNeed() {
    // Wake-ups are what a recorder costs: sound comes in as large pieces as its use allows.
    AudioLatencyNeed need = AudioLatencyNeed::relaxed;
    if (m_monitorButton.isOn() && m_controler.devicer().monitorSource() >= 0)
        need = AudioLatencyNeed::monitoring;
    else if (levelMatters() || !m_pipeline.delivers())
        need = AudioLatencyNeed::metering;
    m_controler.devicer().setLatencyNeed(need);
}

// --- sound that fails to come --------------------------------------------------------------------------------

InputLoss VmRecorder::inputLossNow() const {
    const Clock& clock = m_controler.seams().clock;
    const HostTime now = clock.hostTime();
    const std::int64_t frame = m_pipeline.frameCount();
    const HostTime time = std::min(m_pipeline.timeOfFrame(frame).value_or(now), now);
    return {frame, time, clock.now().addingSeconds(static_cast<double>(time - now) * 1e-9)};
}

void VmRecorder::recordInputLost(const InputLoss& loss) {
    if (m_inputLoss)
        return;
    if (loss.frame == m_pipeline.breakFrame() && m_pipeline.frameCount() > loss.frame)
        return; // its leap was seen first, and sound comes again
    m_inputLoss = loss;
    m_controler.meter().clearSnapshot();
    say("SomeErrorHappen", "VmRecorder: sound input \"" + m_sourceField.text() + "\" is gone.");
    m_messageField.setText(m_controler.seams().texts("InputLost"));
    resetCondition();
    breakSound(loss);
}

void VmRecorder::breakSound(const InputLoss& loss) {
    m_pipeline.breakAt(loss.frame);
    if (!m_interruption || m_interruption->from.frame >= loss.frame)
        return;
    // No file holds both sides: what the disk has not taken yet ends here.
    owe(m_interruption->from, {loss.frame, loss.date});
    m_interruption->from = {loss.frame, loss.date};
}

void VmRecorder::lookForLeap() {
    const auto leap = m_pipeline.takeLeap();
    const double rate = m_controler.devicer().recordSampleRate();
    constexpr double same = 2.0; // seconds: a loss that the device told of leaps, too, a cycle later at most
    if (!leap || m_inputLoss || static_cast<double>(leap->frame - m_pipeline.breakFrame()) < same * rate)
        return;
    const Clock& clock = m_controler.seams().clock;
    const double before = static_cast<double>(clock.hostTime() - leap->from) * 1e-9;
    const InputLoss loss{leap->frame, leap->from, now().addingSeconds(-before)};
    if (condition() == RecordCondition::recording && loss.frame <= m_pipeline.startFrame()) {
        m_inputLoss = loss; // before the file that is open: to be told only
        return;
    }
    recordInputLost(loss);
}

void VmRecorder::monitorOutputLost() {
    if (m_monitorButton.isOn())
        say("SomeErrorHappen", "VmRecorder: sound output \"" +
                                   m_controler.devicer().presentJapanMonitorSourceName() + "\" is gone.");
}

void VmRecorder::lookForStall() {
    if (m_controler.devicer().recordSource() < 0)
        return;
    const HostTime now = m_controler.seams().clock.hostTime();
    if (const std::int64_t frame = m_pipeline.frameCount();
        frame != m_lastFrameSeen || !m_pipeline.delivers()) {
        m_lastFrameSeen = frame;
        m_lastFrameTime = now;
    } else if (now - m_lastFrameTime > hostTimeFromSeconds(stallPatience)) {
        recordInputLost(inputLossNow()); // nobody told, but nothing comes
    }
}

void VmRecorder::retryStart() {
    constexpr double interval = 5.0; // seconds
    const HostTime now = m_controler.seams().clock.hostTime();
    if (m_pipeline.delivers() || now - m_startTried < hostTimeFromSeconds(interval))
        return;
    m_startTried = now;
    m_controler.devicer().recordDeviceStart();
}

void VmRecorder::lookForInput() {
    lookForStall();
    lookForLeap();
    if (m_inputLoss)
        retryStart();
    if (!m_inputLoss || m_pipeline.frameCount() <= m_inputLoss->frame)
        return;
    const HostTime now = m_controler.seams().clock.hostTime();
    const HostTime first = m_pipeline.timeOfFrame(m_inputLoss->frame).value_or(now);
    const StreamMoment back{m_inputLoss->frame,
                            this->now().addingSeconds(static_cast<double>(first - now) * 1e-9)};
    // The next file takes all that came since, and not a frame from before.
    if (condition() != RecordCondition::recording)
        m_pipeline.breakAt(back.frame);
    if (m_recordState && condition() != RecordCondition::recording)
        m_beginWith = back;
    if (m_interruption)
        m_interruption->from = back;
    reportGap(first, "is back");
}

void VmRecorder::reportGap(HostTime end, const char* what) {
    // Sound that was only late has no gap; its times jitter.
    const double gap = std::max(static_cast<double>(end - m_inputLoss->time) * 1e-9, 0.0);
    say("SomeReportHappen", "VmRecorder: sound input \"" + m_sourceField.text() + "\" " + what +
                                ", no sound since " +
                                m_controler.seams().clock.format(m_inputLoss->date, "%Y-%m-%d %H:%M:%S") +
                                formatted(" for %.1fseconds.", gap));
    m_messageField.setText("");
    m_inputLoss.reset();
}

void VmRecorder::recordInputHole(std::uint64_t frames) {
    m_holeFrames += frames;
    reportHoles();
}

void VmRecorder::reportHoles() {
    constexpr double interval = 5.0; // a failing line must not fill the log
    const HostTime now = m_controler.seams().clock.hostTime();
    if (m_holeFrames == 0 || (m_holesReported != 0 && now - m_holesReported < hostTimeFromSeconds(interval)))
        return;
    m_holesReported = now;
    const double seconds = static_cast<double>(m_holeFrames) / m_controler.devicer().recordSampleRate();
    m_holeFrames = 0;
    say("SomeReportHappen",
        formatted("VmRecorder: sound was lost before the recorder, %.3fseconds are silent.", seconds));
}

// The record switch, the condition and what the record tab shows of them.
#include "app/VmControler.h"
#include "app/VmPrefer.h"
#include "audio/VmDevice.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"
#include "schedule/VmReserver.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr double tickTime = 0.2; ///< seconds within which the main thread usually looks

std::string clockText(double seconds) {
    const auto whole = static_cast<long>(std::max(seconds, 0.0));
    return formatted("%ld:%02ld'%02ld\"", whole / 3600, whole / 60 % 60, whole % 60);
}
} // namespace

// --- switch --------------------------------------------------------------------------------------------------

bool VmRecorder::gateRefuses() const {
    return m_controler.authorization() && m_controler.VmAuthorization() != 0;
}

void VmRecorder::storeSwitch(const char* key, bool on) {
    UserDefaults& defaults = m_controler.seams().defaults;
    defaults.set(key, on);
    defaults.synchronize();
}

void VmRecorder::actRecordButton() {
    const bool on = m_recordButton.isOn();
    if (!on && !m_emergency && gateRefuses()) {
        m_recordButton.setOn(true);
        return;
    }
    storeSwitch("RecordSwitch", on);
    if (!m_emergency)
        m_actionMethod = 3; // by hand
    if (!m_emergency)
        endInterruption();
    if (on)
        recordON();
    else
        recordOFF();
}

void VmRecorder::recordON() {
    m_recordState = true;
    m_controler.meter().lookSoon();
    setControlState();
}

void VmRecorder::recordOFF() {
    m_recordState = false;
    m_controler.meter().lookSoon();
    setControlState();
}

void VmRecorder::setControlState() {
    const Texts& texts = m_controler.seams().texts;
    const bool timetable = m_reserveButton.isOn();
    const bool hasReserves = m_controler.reserver().validReserves() > 0;
    m_recordButton.setTitle(texts(m_recordButton.isOn() ? "RecordStop" : "RecordStart"));
    m_recordButton.setImage(m_recordButton.isOn() ? "RecordOn" : "RecordOff");
    m_recordButton.setEnabled(!timetable && !m_preferencesOpen);
    m_recordButton.setToolTip(timetable           ? texts("TimetableIsOn")
                              : m_preferencesOpen ? texts("PreferencesAreOpen")
                                                  : "");
    m_reserveButton.setEnabled(timetable || (!m_recordButton.isOn() && hasReserves));
    m_reserveButton.setToolTip(timetable               ? ""
                               : m_recordButton.isOn() ? texts("RecordingIsOn")
                               : hasReserves           ? ""
                                                       : texts("NoReserves"));
    m_reserveButton.setImage(timetable ? "ReserveOn" : "Reserve");
    m_levelSlider.setEnabled(m_sliderAlwaysEnable || (!m_recordState && m_recordMode == 1));
    m_sourcePopup.setEnabled(!m_recordState && !timetable && !m_preferencesOpen &&
                             m_sourcePopup.items().size() > 0);
    m_controler.prefer().setControlEnabled(!m_recordState && !timetable);
}

void VmRecorder::setPreferencesOpen(bool open) {
    m_preferencesOpen = open;
    setControlState();
}

void VmRecorder::emerRecordStop() {
    m_emergency = true;
    m_actionMethod = 4;
    m_recordButton.setOn(false);
    actRecordButton();
    m_reserveButton.setOn(false);
    actReserveButton();
    m_emergency = false;
}

void VmRecorder::reviveRecordCondition() {
    if (m_recordButton.isOn())
        actRecordButton();
    else if (m_reserveButton.isOn())
        actReserveButton();
}

void VmRecorder::autoRecordStart() {
    if (m_recordButton.isOn() || m_reserveButton.isOn())
        return;
    m_recordButton.setOn(true);
    actRecordButton();
}

void VmRecorder::autoReserveStart() {
    if (m_recordButton.isOn() || m_reserveButton.isOn())
        return;
    m_reserveButton.setOn(true);
    actReserveButton();
}

void VmRecorder::recordOffNow() {
    m_recordButton.setOn(false);
    storeSwitch("RecordSwitch", false);
    m_actionMethod = 3;
    recordOFF();
    resetCondition(); // not at the next tick
}

void VmRecorder::finishForTermination() {
    m_recordState = false;
    m_modeTimer = false;
    resetCondition();
    m_recordTimer.reset();
    endInterruption();
    // Sessions wait for their programs for longer than this. A disk that is back later is too late.
    constexpr double lastPatience = 15.0; // seconds
    Clock& clock = m_controler.seams().clock;
    const HostTime deadline = clock.hostTime() + hostTimeFromSeconds(lastPatience);
    while (!settleOwed() && clock.hostTime() < deadline)
        clock.sleep(0.5);
    loseOwed();
    m_retryTimer.reset();
    m_workFiles.retryUnfinished();
    if (m_overRecordBytes != 0)
        m_workFiles.rescueRelayFile();
}

void VmRecorder::setStartOnTheHour(bool startOnTheHour) {
    m_startOnTheHour = startOnTheHour;
    m_hourButton.setOn(startOnTheHour);
    m_hourButton.setImage(startOnTheHour ? "HourOn" : "Hour");
    if (condition() != RecordCondition::recording)
        return;
    planAgain();
    armMarkerAnew(); // in the file that begins with the hour, or in the one that goes on
}

void VmRecorder::actHourButton() {
    if (gateRefuses())
        m_hourButton.setOn(!m_hourButton.isOn());
    else
        _actHourButton();
}

void VmRecorder::_actHourButton() {
    setStartOnTheHour(m_hourButton.isOn());
    storeSwitch("StartOnTheHour", m_startOnTheHour);
    m_controler.seams().notifications.postLogEvent("HourSwitchChange");
}

void VmRecorder::actLevelSlider() {
    m_autoLevel = m_levelSlider.value();
    m_controler.meter().watchLevel(m_autoLevel);
    m_controler.seams().defaults.set("AutoStartLevel", m_autoLevel);
}

// --- condition -----------------------------------------------------------------------------------------------

int VmRecorder::inputLevel() const {
    return m_controler.meter().level();
}

void VmRecorder::controlAutoDelay() {
    lookAtClock();
    if (inputLevel() < m_autoLevel)
        autoDelayStart();
    else
        autoDelayStop();
    lookForInput();
    reportHoles();
    updateLatencyNeed();
    resetCondition();
    m_beginWith.reset(); // meant for a start at once, not for a later one
    dispCondition();
}

void VmRecorder::autoDelayStart() {
    if (!m_delayCount)
        m_delayCount = m_controler.seams().clock.now();
}

void VmRecorder::autoDelayStop() {
    m_delayCount.reset();
}

bool VmRecorder::autoDelayState() {
    if (!m_delayCount)
        return false;
    if (std::trunc(std::abs(m_controler.seams().clock.now().secondsSince(*m_delayCount))) < m_delayTime)
        return true;
    m_delayCount.reset();
    return false;
}

void VmRecorder::setCondition(RecordCondition condition) {
    if (m_condition.exchange(condition) == condition)
        return;
    m_lastMinute = -1;
    if (condition == RecordCondition::recording) {
        countRecordTime();
    } else {
        m_countTimer.reset();
        endMarker();
    }
    dispRecordTime();
}

bool VmRecorder::hasRisen() {
    // What the I/O thread noticed since the last look. Usually that is this very tick; when the main thread was
    // busy, a burst may have come and gone.
    const HostTime risen = m_controler.meter().takeRise();
    const HostTime now = m_controler.seams().clock.hostTime();
    if (risen == 0 || m_recordMode != 1 || condition() == RecordCondition::recording)
        return false;
    if (!m_beginWith && now - risen > hostTimeFromSeconds(tickTime)) {
        const double before = static_cast<double>(now - risen) * 1e-9 + m_preBufferSec;
        m_beginWith = momentAt(this->now().addingSeconds(-before));
    }
    return true;
}

void VmRecorder::resetCondition() {
    const bool levelReached = inputLevel() >= m_autoLevel || hasRisen();
    const bool decides = condition() == RecordCondition::recording && m_recordMode == 1 && !levelReached;
    const RecordTransition transition =
        recordTransition(condition(), {.asleep = m_asleep,
                                       .modeTimer = m_modeTimer,
                                       .recordState = m_recordState,
                                       .inputLost = m_inputLoss.has_value(),
                                       .recordMode = m_recordMode,
                                       .levelReached = levelReached,
                                       .delayRuns = decides && autoDelayState()});
    if (transition.file == RecordTransition::File::start) {
        startRecording(); // sets the condition if it could
        return;
    }
    // By the level, or for want of sound: not for the reason of the split or start before it.
    if (transition.file == RecordTransition::File::stop && m_recordState && !m_asleep && !m_modeTimer)
        m_actionMethod = usualMethod();
    if (transition.file == RecordTransition::File::stop)
        stopRecording();
    setCondition(transition.next);
}

// --- display -------------------------------------------------------------------------------------------------

void VmRecorder::dispCondition() {
    const Texts& texts = m_controler.seams().texts;
    const auto show = [this](std::string text, TextColor color) {
        m_conditionField.setText(std::move(text));
        m_conditionField.setColor(color);
    };
    switch (condition()) {
    case RecordCondition::stopped:
        if (m_recordState && m_recordMode == 1)
            show(texts("Standby"), TextColor::red);
        else
            show(texts("Stopped"), TextColor::black);
        break;
    case RecordCondition::recording:
        show(texts("Recording"), TextColor::red);
        break;
    case RecordCondition::standingBy:
        show(texts("Standby"),
             inputLevel() >= m_autoLevel || m_recordMode == 1 ? TextColor::red : TextColor::black);
        break;
    case RecordCondition::waitingForTimer:
        dispCountdown();
        break;
    }
}

void VmRecorder::dispCountdown() {
    constexpr int soon = 300; // seconds
    const Texts& texts = m_controler.seams().texts;
    const int left = m_controler.reserver().nextStartTime();
    const bool isSoon = left >= 0 && left < soon; // negative: that start has passed
    const std::string time =
        left / 60 > 0 ? formatted("%d'%02d\"", left / 60, left % 60) : formatted("%d\"", left);
    m_conditionField.setText(isSoon ? time + texts("Before") : texts("Standby"));
    m_conditionField.setColor(isSoon ? TextColor::red : TextColor::black);
}

void VmRecorder::dispRecordMode() {
    static constexpr const char* keys[] = {"AlwaysMode", "AutoMode", "StandbyMode"};
    const bool known = m_recordMode >= 0 && m_recordMode < 3;
    const char* key = m_modeTimer ? "TimerMode" : known ? keys[m_recordMode] : nullptr;
    m_modeField.setText(key != nullptr ? m_controler.seams().texts(key) : "");
    setControlState();
}

void VmRecorder::renewDispSampleRate() {
    const VmDevice& devicer = m_controler.devicer();
    if (devicer.recordSource() < 0) {
        m_rateField.setText("");
        m_sourceField.setText(m_controler.seams().texts("NoRecordSource"));
        return;
    }
    m_rateField.setText(formatted("%g kHz ", sampleRate() / 1000.0) +
                        m_controler.seams().texts(channels(m_channels)));
    m_sourceField.setText(devicer.presentJapanRecordSourceName());
}

void VmRecorder::fillSourcePopup() {
    const VmDevice& devicer = m_controler.devicer();
    m_sourcePopup.setItems(devicer.usableJapanRecordSourceNames());
    m_sourcePopup.select(devicer.recordSource());
    setControlState();
}

void VmRecorder::countRecordTime() {
    lookAtClock();
    if (condition() != RecordCondition::recording)
        return;
    crossBoundary();
    if (condition() != RecordCondition::recording)
        return;
    const int minute = m_controler.seams().clock.calendarDate(now()).minute;
    if (m_lastMinute >= 0 && minute != m_lastMinute)
        onTheMinuteTime();
    m_lastMinute = minute;
    armMarker();
    dispRecordTime();
    double interval = m_shown ? 0.2 : 1.0;
    if (m_markerSwitch) // which sounds when the minute begins
        interval = std::min(interval, 60.0 - now().secondsSince(presentMinute()) + 0.001);
    m_countTimer = m_controler.seams().runLoop.schedule({.interval = interval}, [this] { countRecordTime(); });
}

void VmRecorder::dispRecordTime() {
    const bool recording = condition() == RecordCondition::recording;
    const double elapsed =
        recording ? m_controler.seams().clock.now().secondsSince(m_recordStartDate) : m_secondCount;
    m_recordTimeField.setText(clockText(elapsed));
    m_totalTimeField.setText(clockText(m_totalRecordTime + (recording ? elapsed : 0.0)));
}

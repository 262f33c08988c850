// The timetable: its switch, and the recordings of its entries. Sleep and wake.
#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Alert.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "recorder/VmRecorder.h"
#include "schedule/VmReserver.h"
#include "schedule/VmReserverElement.h"

#include <algorithm>
#include <cmath>
#include <limits>

// --- switch --------------------------------------------------------------------------------------------------

void VmRecorder::actReserveButton() {
    const bool on = m_reserveButton.isOn();
    if (!on && !m_emergency && !mayStopTimetable()) {
        m_reserveButton.setOn(true);
        return;
    }
    storeSwitch("ReserveSwitch", on);
    if (!m_emergency)
        endInterruption();
    if (on)
        startTimetable();
    else
        stopTimetable();
}

bool VmRecorder::mayStopTimetable() {
    if (gateRefuses())
        return false;
    constexpr int soon = 300; // seconds
    const auto agrees = [this](const char* informativeKey) {
        return m_controler.seams().alert.ask({"TimerStopCaution", informativeKey, "RecordStop", "Cancel"}) ==
               AlertAnswer::defaultButton;
    };
    const int left = m_controler.reserver().nextStartTime(); // negative: that start has passed
    if (left >= 0 && left <= soon && !agrees("ReserveCancelInfo"))
        return false;
    return !m_recordState || agrees("TimerStopInfo");
}

void VmRecorder::armRecordTimer() {
    setStartOnTheHour(false); // an entry's recording is not split at the hour
    m_waitingSince = now();
    m_recordTimer = m_controler.seams().runLoop.schedule({.interval = 1.0, .repeats = true},
                                                         [this] { recordTimerPeriodic(); });
}

void VmRecorder::startTimetable() {
    armRecordTimer();
    if (const VmReserverElement* within = m_controler.reserver().unfinishedWithinElement(); within != nullptr) {
        m_actionMethod = 2;
        startReserveRecordWithElement(*within);
    } else {
        waitForTimer();
    }
    m_recordTimer->fireNow();
}

void VmRecorder::stopTimetable() {
    const UserDefaults& defaults = m_controler.seams().defaults;
    if (!m_emergency)
        m_actionMethod = 3; // by hand
    recordOFF();
    m_modeTimer = false;
    resetCondition(); // the file ends as what it began
    m_recordTimer.reset();
    m_scheduleEnd.reset();
    m_runningElement.reset();
    m_recordMode = storedRecordMode();
    setStartOnTheHour(defaults.boolForKey("StartOnTheHour"));
    VmDevice& devicer = m_controler.devicer();
    const int source = devicer.checkRecordSource(defaults.integerForKey("recordSourceDevice"));
    if (source >= 0 && source != devicer.recordSource())
        devicer.setRecordSource(source);
    m_rateNumber = defaults.integerForKey("SamplingRateNumber");
    setChannels(defaults.integerForKey("ChannelsNumber"));
    m_reserveNameField.setText("");
    m_reserveNameField.setToolTip("");
    m_reserveTimeField.setText("");
    renewDispSampleRate();
    dispRecordMode();
    dispCondition();
}

void VmRecorder::reservesChanged() {
    setControlState();
}

// --- entries -------------------------------------------------------------------------------------------------

void VmRecorder::recordTimerPeriodic() {
    lookAtClock();
    const VmReserver& reserver = m_controler.reserver();
    if (m_recordState) {
        if (now().secondsSince(m_timerStartDate) < m_recordPeriod)
            return;
        m_actionMethod = 2;
        recordOFF();
        waitForTimer();
        m_waitingSince = std::max(m_timerStartDate.addingSeconds(m_recordPeriod), m_recordStopDate);
    }
    const VmReserverElement* due = reserver.unfinishedWithinElement();
    if (due == nullptr)
        due = reserver.unfinishedStartElement();
    if (due == nullptr) {
        showNextElement();
        return;
    }
    m_actionMethod = 2;
    startReserveRecordWithElement(*due);
}

void VmRecorder::startReserveRecordWithElement(const VmReserverElement& element) {
    constexpr double reach = 79.0; // seconds: what the queue holds. A slow stop makes the timer look late
    const VmReserver& reserver = m_controler.reserver();
    const Date start = now();
    const Date due = std::min(std::max(reserver.startDate(element), m_waitingSince), start);
    takeElement(element);
    m_timerStartDate = start;
    m_recordPeriod = reserver.stopDate(element).secondsSince(start);
    const bool goesOn = std::abs(m_recordStopDate.secondsSince(due)) < 0.5 && inputLevel() >= m_autoLevel;
    if ((m_recordMode == 0 || goesOn) && start.secondsSince(due) < reach)
        m_beginWith = momentAt(due);
    recordON();
    dispRecordMode();
    resetCondition();
    m_beginWith.reset();
}

void VmRecorder::takeElement(const VmReserverElement& element) {
    m_modeTimer = false;
    m_recordMode = element.mode() == 0 ? 0 : 1;
    takeFormat(element);
    _actMonitorButton(); // the entry's input may howl with this output
    showReserve(element.name(), "ReserveStopTime", element.stop());
    m_runningElement = element.clone();
    m_scheduleEnd.reset();
}

void VmRecorder::resumeElement(const RecordInterruption& interruption) {
    // As if it had never been interrupted: its end stays, even if that has passed meanwhile.
    storeSwitch("ReserveSwitch", true);
    armRecordTimer();
    takeElement(*interruption.element);
    m_timerStartDate = interruption.timerStart;
    m_recordPeriod = interruption.period;
    m_actionMethod = 2;
    recordON();
    dispRecordMode();
    resetCondition();
    m_recordTimer->fireNow();
}

void VmRecorder::waitForTimer() {
    m_modeTimer = true;
    resetCondition(); // no file stays open while the timetable waits
    m_scheduleEnd.reset();
    m_runningElement.reset();
    showNextElement();
    dispRecordMode();
}

void VmRecorder::showNextElement() {
    const VmReserverElement* next = m_controler.reserver().nextElement();
    if (next == nullptr) {
        m_reserveNameField.setText("");
        m_reserveNameField.setToolTip("");
        m_reserveTimeField.setText("");
        return;
    }
    takeFormat(*next);
    showReserve(next->name(), "ReserveStartTime", next->start());
}

void VmRecorder::showReserve(const std::string& name, const char* timeKey, int secondOfDay) {
    m_reserveNameField.setText(name);
    m_reserveNameField.setToolTip(name);
    m_reserveTimeField.setText(m_controler.seams().texts(timeKey) + " " +
                               formatted("%02d:%02d", secondOfDay / 3600, secondOfDay % 3600 / 60));
}

void VmRecorder::takeFormat(const VmReserverElement& element) {
    VmDevice& devicer = m_controler.devicer();
    const int source = devicer.checkRecordSource(element.device());
    if (source >= 0 && source != devicer.recordSource())
        devicer.setRecordSource(source);
    if (m_rateNumber == element.sample() && m_channels == element.channels())
        return;
    m_rateNumber = element.sample();
    setChannels(element.channels());
    renewDispSampleRate();
}

// --- sleep and wake ------------------------------------------------------------------------------------------

void VmRecorder::willSleepHandle() {
    const bool recording = condition() == RecordCondition::recording;
    const Date date = now();
    m_controler.seams().notifications.postLogEvent("SleepIn", "VmRecorder: Sleep in.");
    if (m_interruption) {
        owe(m_interruption->from, soundEnd());
        m_interruption->from = soundEnd();
    }
    m_asleep = true;
    if (recording) {
        m_actionMethod = 5;
        m_sleepinDate = date;
    }
    resetCondition();
}

void VmRecorder::didWakeHandle() {
    m_controler.seams().notifications.postLogEvent("WakeUp", "VmRecorder: Wake up.");
    m_asleep = false;
    if (m_interruption && !m_inputLoss)
        m_interruption->from = present();
    if (!m_sleepinDate) {
        resetCondition();
        return;
    }
    m_sleepinDate.reset();
    if (m_recordTimer != nullptr)
        recordTimerPeriodic(); // an entry may have ended or begun meanwhile
    if (m_recordState && !m_modeTimer && !m_inputLoss && condition() != RecordCondition::recording) {
        m_beginWith = present(); // what was heard before the sleep belongs to no recording any more
        startRecording();
        m_beginWith.reset();
    }
    resetCondition();
}

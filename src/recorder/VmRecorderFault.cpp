// What goes wrong around a recorder left alone: a disk that cannot be written, a clock that is set.
#include "app/VmControler.h"
#include "base/Alert.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/Texts.h"
#include "recorder/VmRecorder.h"
#include "schedule/VmReserverElement.h"
#include "storage/VmMechanic.h"

#include <cmath>
#include <limits>
#include <utility>

// --- a disk that cannot be written ---------------------------------------------------------------------------

void VmRecorder::handleWriteError() {
    m_controler.seams().runLoop.post([this] { interrupt(present()); });
}

void VmRecorder::interrupt(const StreamMoment& from) {
    if (!m_recordButton.isOn() && !m_reserveButton.isOn())
        return; // switched off meanwhile
    const bool timetable = m_reserveButton.isOn();
    const StreamMoment first = m_inputLoss ? soundEnd() : from;
    m_interruption = RecordInterruption{first, timetable, nullptr, m_timerStartDate, m_recordPeriod};
    if (timetable && m_runningElement != nullptr)
        m_interruption->element = m_runningElement->clone();
    emerRecordStop();
    resetCondition(); // finishes the file, and tells from where on sound is missing
    // Nobody wanted the recording to end: the next launch goes on, too.
    storeSwitch(timetable ? "ReserveSwitch" : "RecordSwitch", true);
    m_messageField.setText(m_controler.seams().texts("WaitingForDisk"));
    armRetry();
    constexpr double silence = 60.0; // seconds: a failing disk is told once
    const HostTime now = m_controler.seams().clock.hostTime();
    if (m_alertTime != 0 && now - m_alertTime < hostTimeFromSeconds(silence))
        return;
    m_alertTime = now;
    m_controler.seams().alert.tell({"FileWriteError", "CheckAndRetry", "Understand"});
}

void VmRecorder::armRetry() {
    constexpr double retryInterval = 5.0; // seconds
    if (m_retryTimer != nullptr)
        return;
    m_retries = 0;
    m_retryTimer = m_controler.seams().runLoop.schedule({.interval = retryInterval, .repeats = true},
                                                        [this] { retryDisk(); });
}

void VmRecorder::retryDisk() {
    constexpr int retriesPerCleanUp = 12; // a minute: each one that finds nothing is a line in the log
    constexpr double enough = 60.0;       // seconds of sound: less would be full again at once
    VmMechanic& mechanic = m_controler.mechanic();
    if (m_retries++ % retriesPerCleanUp == 0)
        mechanic.secureRecordSpace(sampleRate(), static_cast<unsigned>(m_channels));
    if (!mechanic.isWritable(enough * sampleRate() * m_channels * 2.0) || !settleOwed())
        return;
    if (!m_interruption) {
        m_retryTimer.reset();
        return;
    }
    if (m_asleep)
        return; // nothing is recorded before the machine wakes
    const RecordInterruption interruption = *std::exchange(m_interruption, std::nullopt);
    m_retryTimer.reset();
    m_messageField.setText("");
    m_goOn = interruption.from;
    Button& button = interruption.timetable ? m_reserveButton : m_recordButton;
    button.setOn(true);
    if (interruption.element != nullptr)
        resumeElement(interruption);
    else if (interruption.timetable)
        actReserveButton();
    else
        actRecordButton();
    resetCondition();
    if (m_goOn) { // no file is wanted now
        m_dutyFrames.captured += std::max<std::int64_t>(soundEnd().frame - m_goOn->frame, 0);
        reportInterruption(*std::exchange(m_goOn, std::nullopt), soundEnd().date);
    }
}

void VmRecorder::endInterruption() {
    if (!m_interruption)
        return;
    const RecordInterruption interruption = *std::exchange(m_interruption, std::nullopt);
    owe(interruption.from, soundEnd());
    m_messageField.setText("");
}

void VmRecorder::reportInterruption(const StreamMoment& from, Date end, const char* what) {
    say("SomeReportHappen", std::string("VmRecorder: recording ") + what + ", no sound since " +
                                m_controler.seams().clock.format(from.date, "%Y-%m-%d %H:%M:%S") +
                                formatted(" for %.1fseconds.", std::max(end.secondsSince(from.date), 0.0)));
}

// --- a clock that is set -------------------------------------------------------------------------------------

void VmRecorder::lookAtClock() {
    constexpr double jump = 2.0; // seconds
    const Clock& clock = m_controler.seams().clock;
    const HostTime hostTime = clock.hostTime();
    const Date expected =
        m_clockSeen ? m_clockSeen->addingSeconds(static_cast<double>(hostTime - m_clockSeenAt) * 1e-9) : now();
    m_clockSeen = now();
    m_clockSeenAt = hostTime;
    const double by = m_clockSeen->secondsSince(expected);
    if (std::abs(by) < jump)
        return;
    say("SomeReportHappen", formatted("VmRecorder: the clock was set by %.1fseconds.", by));
    m_waitingSince = now();
    const StreamMoment seam{m_pipeline.frameAt(hostTime), expected};
    if (m_interruption && !m_inputLoss) {
        owe(m_interruption->from, seam);
        m_interruption->from = {seam.frame, now()};
    }
    if (m_scheduleEnd)
        m_scheduleEnd->time = std::numeric_limits<HostTime>::max(); // it follows the new clock
    if (m_delayCount)
        m_delayCount = m_delayCount->addingSeconds(by);
    if (condition() != RecordCondition::recording)
        return;
    forgetMarkerMinute();
    m_lastMinute = m_controler.seams().clock.calendarDate(now()).minute; // no other minute has passed
    // One file for each way in which the clock was: its name agrees with its sound.
    m_clockShift = -by; // boundaries from before are the old clock's
    crossBoundariesBefore(seam);
    m_clockShift = 0.0;
    m_beginWith = StreamMoment{seam.frame, now()};
    restartRecording(seam);
}

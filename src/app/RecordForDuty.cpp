#include "app/RecordForDuty.h"

#include "app/VmControler.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "recorder/VmRecorder.h"

#include <algorithm>
#include <utility>

RecordForDuty::RecordForDuty(VmControler& controler, double seconds, std::function<void(std::string)> finished)
    : m_controler(controler), m_seconds(seconds), m_finished(std::move(finished)) {
    m_starts =
        controler.seams().notifications.observe(VmLogEventNotification, [this](const Notification& event) {
            if (event.object == "RecordingStart")
                recordingStarted();
        });
}

void RecordForDuty::noteError(const Notification& event) {
    // Write errors come from the write thread.
    const std::lock_guard guard(m_mutex);
    const auto text = event.userInfo.find(std::string(ErrorMessageString));
    if (m_firstError.empty() && text != event.userInfo.end())
        m_firstError = text->second;
}

void RecordForDuty::begin() {
    m_begun = true;
    m_begunAt = m_controler.seams().clock.hostTime();
    m_watch = m_controler.seams().runLoop.schedule({.interval = 0.25, .repeats = true}, [this] { watch(); });
    m_controler.recorder().recordButton().press(true);
}

void RecordForDuty::recordingStarted() {
    VmRecorder& recorder = m_controler.recorder();
    if (m_timer != nullptr) { // a file that follows another one
        m_earlierSeconds = recorder.recordStartDate().secondsSince(m_firstStart);
        recorder.endAfter(m_seconds - m_earlierSeconds);
        return;
    }
    recorder.endAfter(m_seconds);
    m_firstStart = recorder.recordStartDate();
    const double gone = m_controler.seams().clock.now().secondsSince(recorder.recordStartDate());
    m_timer = m_controler.seams().runLoop.schedule({.interval = std::max(m_seconds - gone, 0.0)},
                                                   [this] { end({}); });
}

void RecordForDuty::watch() {
    constexpr double patience = 10.0; // seconds
    const HostTime waited = m_controler.seams().clock.hostTime() - m_begunAt;
    if (m_timer == nullptr && waited > hostTimeFromSeconds(patience))
        end("the sound input delivers nothing");
    if (!m_controler.recorder().recordState())
        end("the recording was stopped");
}

void RecordForDuty::end(std::string fault) {
    if (std::exchange(m_ended, true))
        return;
    m_watch.reset();
    VmRecorder& recorder = m_controler.recorder();
    recorder.recordOffNow();
    constexpr double tolerance = 0.1;
    const std::lock_guard guard(m_mutex);
    if (!m_firstError.empty())
        fault = m_firstError;
    else if (fault.empty() && recorder.writtenSeconds() < m_seconds - tolerance)
        fault = "the sound input delivered too little";
    if (!fault.empty())
        fault += formatted(" (%.1f of %.1f seconds are recorded)", recorder.writtenSeconds(), m_seconds);
    m_finished(fault);
}

#include "app/RecordForDuty.h"

#include "app/VmControler.h"
#include "base/Clock.h"
#include "recorder/VmRecorder.h"
#include "storage/SoundFile.h"

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

void RecordForDuty::begin() {
    m_watch = m_controler.seams().runLoop.schedule({.interval = 0.25, .repeats = true}, [this] { watch(); });
    m_controler.recorder().recordButton().press(true);
}

void RecordForDuty::recordingStarted() {
    const VmRecorder& recorder = m_controler.recorder();
    if (m_timer != nullptr) { // a file that follows another one
        m_earlierSeconds = recorder.recordStartDate().secondsSince(m_firstStart);
        return;
    }
    m_firstStart = recorder.recordStartDate();
    const double gone = m_controler.seams().clock.now().secondsSince(recorder.recordStartDate());
    m_timer = m_controler.seams().runLoop.schedule({.interval = std::max(m_seconds - gone, 0.0)},
                                                   [this] { end({}); });
}

void RecordForDuty::watch() {
    if (!m_controler.recorder().recordState())
        end(m_controler.recorder().writeThreadError() ? "the recording stopped: a file could not be written"
                                                      : "the recording was stopped");
}

void RecordForDuty::end(const std::string& fault) {
    if (std::exchange(m_ended, true))
        return;
    m_watch.reset();
    VmRecorder& recorder = m_controler.recorder();
    recorder.recordOffAfter(m_seconds - m_earlierSeconds);
    m_finished(!fault.empty() ? fault : recorder.lastWrite() <= 0 ? "the sound input delivered nothing" : "");
}

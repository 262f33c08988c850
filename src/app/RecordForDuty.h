// app/RecordForDuty.h — one recording of a given length, for the command line.
#pragma once
#include "base/Clock.h"
#include "base/Date.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

class VmControler;

/// Switches recording on, and off again when the asked time has passed since the recording began. Main thread.
class RecordForDuty {
public:
    /// `finished` hears an empty text, or in one line why nothing or not everything could be recorded.
    RecordForDuty(VmControler& controler, double seconds, std::function<void(std::string)> finished);
    void begin();
    /// Ends the recording, unless it has ended; what lacks is told as `why`.
    void giveUp(std::string why) { end(std::move(why)); }

private:
    void recordingStarted();
    void watch();
    void end(std::string fault);
    void noteError(const Notification& event);

    VmControler& m_controler;
    const double m_seconds;
    const std::function<void(std::string)> m_finished;
    std::atomic<bool> m_begun{false};
    HostTime m_begunAt = 0;
    bool m_ended = false;
    std::mutex m_mutex; // guards m_firstError
    std::string m_firstError;
    Date m_firstStart;
    double m_earlierSeconds = 0.0; // of the time before the file that is open
    NotificationCenter::Observation m_starts;
    std::unique_ptr<Timer> m_timer;
    std::unique_ptr<Timer> m_watch;
};

// app/RecordForDuty.h — one recording of a given length, for the command line.
#pragma once
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"

#include <functional>
#include <memory>
#include <string>

class VmControler;

/// Switches recording on, and off again when the asked time has passed since the recording began. Main thread.
class RecordForDuty {
public:
    /// `finished` hears an empty text, or in one line why nothing or not everything could be recorded.
    RecordForDuty(VmControler& controler, double seconds, std::function<void(std::string)> finished);
    void begin();

private:
    void recordingStarted();
    void watch();
    void end(const std::string& fault);

    VmControler& m_controler;
    const double m_seconds;
    const std::function<void(std::string)> m_finished;
    bool m_ended = false;
    NotificationCenter::Observation m_starts;
    std::unique_ptr<Timer> m_timer;
    std::unique_ptr<Timer> m_watch;
};

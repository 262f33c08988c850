// dutylog/DiskFlusher.h — brings a file to the disk without keeping its writer waiting.
#pragma once
#include "base/Clock.h"

#include <atomic>
#include <memory>
#include <string>

class SystemLog;
class Volume;

/// A thread that brings one file to the disk whenever it was asked to: requests that come while the disk is at
/// work are served together. A disk may take seconds, and neither the main thread nor the write thread has
/// them.
class DiskFlusher {
public:
    /// Starts the thread. `clock` outlives it.
    DiskFlusher(Clock& clock, Volume& volume, SystemLog& log, std::string path);
    /// Serves what was asked for and ends the thread. Waits for the disk.
    ~DiskFlusher();
    DiskFlusher(const DiskFlusher&) = delete;
    DiskFlusher& operator=(const DiskFlusher&) = delete;

    /// Any thread but an I/O thread. Never waits for the disk.
    void request();

private:
    void run();
    void flush();

    Clock& m_clock;
    Volume& m_volume;
    SystemLog& m_log;
    const std::string m_path;
    std::unique_ptr<Nap> m_nap;
    std::atomic<bool> m_requested{false};
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_running{true};
    bool m_failureSaid = false; // the thread's
};

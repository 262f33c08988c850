#include "dutylog/DiskFlusher.h"

#include "base/SystemLog.h"
#include "storage/Volume.h"

#include <cerrno>
#include <cstring>
#include <utility>

DiskFlusher::DiskFlusher(Clock& clock, Volume& volume, SystemLog& log, std::string path)
    : m_clock(clock), m_volume(volume), m_log(log), m_path(std::move(path)), m_nap(clock.makeNap()) {
    m_clock.detachThread("log book", [this] { run(); });
}

DiskFlusher::~DiskFlusher() {
    m_stopping = true;
    m_nap->end();
    for (double wait = 0.0; m_running; wait = 0.01) // at first only as long as a thread that is idle needs
        m_clock.sleep(wait);
}

void DiskFlusher::request() {
    if (!m_requested.exchange(true))
        m_nap->end();
}

void DiskFlusher::run() {
    constexpr double hour = 3600.0; // seconds; whoever asks ends the nap
    while (!m_stopping) {
        if (m_requested.exchange(false))
            flush();
        else
            m_nap->sleepUntil(m_clock.hostTime() + hostTimeFromSeconds(hour));
    }
    if (m_requested.exchange(false))
        flush();
    m_running = false;
}

void DiskFlusher::flush() {
    // A file of its own: the writer may be at work on the other one.
    const std::unique_ptr<VolumeFile> file = m_volume.openForUpdating(m_path);
    const int error = file == nullptr ? errno : file->synchronize();
    if (error != 0 && !m_failureSaid)
        m_log.log(std::string("VmDutyLog: log book cannot be brought to the disk (") + std::strerror(error) +
                  ").");
    m_failureSaid = error != 0;
}

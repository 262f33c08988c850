// base/SystemClock.h — the clock of the machine.
#pragma once
#include "base/Clock.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// Wall time from the system's real-time clock, host time from its monotonic clock.
class SystemClock final : public Clock {
public:
    SystemClock();
    ~SystemClock() override;

    // Any thread
    Date now() const override;
    HostTime hostTime() const override;
    void sleepUntil(HostTime wake) override;
    std::unique_ptr<Nap> makeNap() override;
    void detachThread(const std::string& name, std::function<void()> body) override;
    std::unique_ptr<Beat> startBeat(const std::string& name, HostTime first,
                                    std::function<HostTime()> call) override;

private:
    struct Worker {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> done;
    };
    std::mutex m_mutex;
    std::vector<Worker> m_workers;
};

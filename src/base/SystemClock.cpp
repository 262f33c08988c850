#include "base/SystemClock.h"

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <pthread.h>
#include <utility>

namespace {
class ConditionNap final : public Nap {
public:
    void sleepUntil(HostTime until) override {
        // The steady clock of the library is the monotonic clock that host times come from.
        const std::chrono::steady_clock::time_point due{std::chrono::nanoseconds(until)};
        std::unique_lock lock(m_mutex);
        m_condition.wait_until(lock, due, [this] { return m_ended; });
        m_ended = false;
    }
    void end() override {
        {
            const std::lock_guard guard(m_mutex);
            m_ended = true;
        }
        m_condition.notify_one();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_ended = false;
};

class ThreadBeat final : public Beat {
public:
    ThreadBeat(const std::string& name, HostTime first, std::function<HostTime()> call)
        : m_call(std::move(call)), m_thread([this, first] { run(first); }) {
        pthread_setname_np(m_thread.native_handle(), name.substr(0, 15).c_str());
    }
    ~ThreadBeat() override {
        {
            const std::lock_guard guard(m_mutex);
            m_ending = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }

private:
    void run(HostTime next) {
        // The steady clock of the library is the monotonic clock that host times come from.
        std::unique_lock lock(m_mutex);
        while (!m_ending) {
            const std::chrono::steady_clock::time_point due{std::chrono::nanoseconds(next)};
            if (m_wake.wait_until(lock, due, [this] { return m_ending; }))
                return;
            lock.unlock();
            next = m_call();
            lock.lock();
        }
    }

    std::function<HostTime()> m_call;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_ending = false;
    std::thread m_thread;
};
} // namespace

SystemClock::SystemClock() : Clock(QTimeZone::systemTimeZone()) {}

SystemClock::~SystemClock() {
    // A thread that has not ended yet may start another.
    for (std::unique_lock lock(m_mutex); !m_workers.empty(); lock.lock()) {
        std::vector<Worker> workers = std::exchange(m_workers, {});
        lock.unlock();
        for (Worker& worker : workers)
            worker.thread.join();
    }
}

Date SystemClock::now() const {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return {static_cast<std::int64_t>(time.tv_sec) * 1'000'000 + time.tv_nsec / 1000};
}

HostTime SystemClock::hostTime() const {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<HostTime>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

void SystemClock::sleepUntil(HostTime wake) {
    for (HostTime left = wake - hostTime(); left > 0; left = wake - hostTime()) {
        const timespec time{static_cast<time_t>(left / 1'000'000'000), static_cast<long>(left % 1'000'000'000)};
        nanosleep(&time, nullptr);
    }
}

void SystemClock::detachThread(const std::string& name, std::function<void()> body) {
    const std::lock_guard guard(m_mutex);
    std::erase_if(m_workers, [](Worker& worker) {
        if (!*worker.done)
            return false;
        worker.thread.join();
        return true;
    });
    auto done = std::make_shared<std::atomic<bool>>(false);
    std::thread thread([done, body = std::move(body)] {
        body();
        *done = true;
    });
    pthread_setname_np(thread.native_handle(), name.substr(0, 15).c_str());
    m_workers.push_back({std::move(thread), std::move(done)});
}

std::unique_ptr<Beat> SystemClock::startBeat(const std::string& name, HostTime first,
                                             std::function<HostTime()> call) {
    return std::make_unique<ThreadBeat>(name, first, std::move(call));
}

std::unique_ptr<Nap> SystemClock::makeNap() {
    return std::make_unique<ConditionNap>();
}

// rehearsal/VirtualClock.h — time that passes only when everybody waits for it.
#pragma once
#include "base/Clock.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

/// A clock whose time jumps to the next thing that is due.
///
/// One thread drives it: the one that made it, by sleeping (or through the virtual run loop, which sleeps for
/// it). All other threads of the application are started by `detachThread` and run one at a time: whoever holds
/// the baton runs until it sleeps or ends, then hands the baton back to the driver. Who is due at the same
/// moment goes in the order in which it began to wait. So a rehearsal is the same every time, and no work of a
/// thread takes virtual time unless it sleeps.
class VirtualClock final : public Clock {
public:
    /// Starts at `start`, with host time 0.
    VirtualClock(QTimeZone zone, Date start);
    /// Threads that still sleep are let go: their sleeps return at once until they end.
    ~VirtualClock() override;

    // Any thread of the rehearsal
    Date now() const override;
    HostTime hostTime() const override { return m_hostTime; }
    void sleepUntil(HostTime wake) override;
    std::unique_ptr<Nap> makeNap() override;
    void detachThread(const std::string& name, std::function<void()> body) override;
    std::unique_ptr<Beat> startBeat(const std::string& name, HostTime first,
                                    std::function<HostTime()> call) override;

    // Driving thread
    /// Moves the wall clock by `seconds`; host time goes on undisturbed.
    void jump(double seconds);
    /// Lets time pass until `limit`, or until `interrupted` (asked after every event) says so.
    void runUntil(HostTime limit, const std::function<bool()>& interrupted);

private:
    struct Sleeper {
        std::condition_variable wake;
        bool mayRun = false;
    };
    struct VirtualBeat;
    class VirtualNap;
    struct Event {
        HostTime due;
        std::uint64_t order;
        Sleeper* sleeper;  // either a sleeping thread
        VirtualBeat* beat; // or a beat
        bool operator<(const Event& other) const {
            return due != other.due ? due < other.due : order < other.order;
        }
    };

    void addEvent(HostTime due, Sleeper* sleeper, VirtualBeat* beat);
    void runEvent(const Event& event);

    const std::thread::id m_driver = std::this_thread::get_id();
    Date m_start;
    std::atomic<HostTime> m_hostTime{0};

    std::mutex m_mutex; // guards all below
    std::condition_variable m_batonBack;
    bool m_driverHasBaton = true;
    bool m_ending = false;
    std::uint64_t m_order = 0;
    std::vector<Event> m_events; // a heap, earliest on top
    std::vector<std::thread> m_threads;
};

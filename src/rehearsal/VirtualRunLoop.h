// rehearsal/VirtualRunLoop.h — the main thread's loop on virtual time.
#pragma once
#include "base/RunLoop.h"
#include "rehearsal/VirtualClock.h"

#include <deque>
#include <list>
#include <mutex>

/// Timers and posted calls in virtual time. Drives the clock, so it runs on the clock's driving thread.
class VirtualRunLoop final : public RunLoop {
public:
    explicit VirtualRunLoop(VirtualClock& clock) : m_clock(clock) {}

    // Main thread
    std::unique_ptr<Timer> schedule(TimerOptions options, std::function<void()> handler) override;
    int run() override;
    void quit(int exitCode) override;
    /// Lets `seconds` pass; returns early after `quit`.
    void runFor(double seconds);
    /// Lets time pass up to host time `limit`; returns early after `quit`.
    void runUntil(HostTime limit);
    bool hasQuit() const { return m_quit; }
    /// Called after each timer and each posted call.
    void setAfterEach(std::function<void()> call) { m_afterEach = std::move(call); }

    // Any thread
    void post(std::function<void()> call) override;

private:
    class VirtualTimer;
    struct Entry {
        VirtualTimer* timer; // null once the timer is gone
        HostTime due;
        std::uint64_t order;
        TimerOptions options;
        std::shared_ptr<std::function<void()>> handler;
    };

    void passTime(HostTime limit);
    bool runPosted();
    Entry* earliest();
    void fire(Entry& entry);
    bool hasPosted();

    VirtualClock& m_clock;
    std::list<Entry> m_entries;
    std::function<void()> m_afterEach;
    std::uint64_t m_order = 0;
    bool m_running = false;
    bool m_quit = false;
    bool m_quitAhead = false; // quit came while the loop did not run: the next run ends at once
    int m_exitCode = 0;
    std::mutex m_mutex; // guards m_posted
    std::deque<std::function<void()>> m_posted;
};

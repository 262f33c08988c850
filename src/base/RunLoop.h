// base/RunLoop.h — timers and posted calls of the main thread.
#pragma once
#include <functional>
#include <memory>

/// A running timer. Destroying it stops it.
class Timer {
public:
    virtual ~Timer() = default;
    /// Main thread. Fires as soon as the loop is idle, whatever time is left.
    virtual void fireNow() = 0;
};

struct TimerOptions {
    double interval = 0.0; ///< seconds
    bool repeats = false;
};

/// The main thread's loop.
class RunLoop {
public:
    virtual ~RunLoop() = default;

    // Main thread
    /// Starts a timer. Its handler may destroy the timer itself.
    [[nodiscard]] virtual std::unique_ptr<Timer> schedule(TimerOptions options,
                                                          std::function<void()> handler) = 0;
    /// Runs until `quit`; returns its exit code.
    virtual int run() = 0;
    virtual void quit(int exitCode) = 0;

    // Any thread
    /// Has the main thread make `call` soon, in the order of posting.
    virtual void post(std::function<void()> call) = 0;
};

// base/QtRunLoop.h — the main thread's loop on Qt's event loop.
#pragma once
#include "base/RunLoop.h"

#include <deque>
#include <mutex>
#include <optional>
#include <QSocketNotifier>

class QCoreApplication;

/// Made on the main thread, after the application object that it runs. Timers are precise to the millisecond.
/// Calls that are still waiting when the loop is destroyed are dropped.
///
/// Posted calls wait in a queue of our own rather than in Qt's: the hand-over is then visible to the thread
/// sanitizer.
class QtRunLoop final : public RunLoop {
public:
    /// Throws std::system_error when the system has no file descriptor left.
    explicit QtRunLoop(QCoreApplication& application);
    ~QtRunLoop() override;

    // Main thread
    std::unique_ptr<Timer> schedule(TimerOptions options, std::function<void()> handler) override;
    int run() override;
    /// Before `run`, it makes `run` return at once.
    void quit(int exitCode) override;

    // Any thread
    void post(std::function<void()> call) override;

private:
    void wake() const noexcept;
    void performCalls();
    std::function<void()> nextCall();

    QCoreApplication& m_application;
    const int m_wakeDescriptor; // readable while calls wait
    QSocketNotifier m_notifier;
    std::mutex m_mutex;
    std::deque<std::function<void()>> m_calls;
    bool m_running = false;
    std::optional<int> m_exitCode;
};

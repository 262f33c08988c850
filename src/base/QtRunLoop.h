// base/QtRunLoop.h — the main thread's loop on Qt's event loop.
#pragma once
#include "base/RunLoop.h"

#include <optional>
#include <QObject>

class QCoreApplication;

/// Made on the main thread, after the application object that it runs. Timers are precise to the millisecond
/// and at most 24 days long. Calls that are still waiting when the loop is destroyed are dropped.
class QtRunLoop final : public RunLoop {
public:
    explicit QtRunLoop(QCoreApplication& application);

    // Main thread
    std::unique_ptr<Timer> schedule(TimerOptions options, std::function<void()> handler) override;
    int run() override;
    /// Before `run`, it makes `run` return at once.
    void quit(int exitCode) override;

    // Any thread
    void post(std::function<void()> call) override;

private:
    QCoreApplication& m_application;
    QObject m_receiver; // of posted calls; ties them to the main thread
    bool m_running = false;
    std::optional<int> m_exitCode;
};

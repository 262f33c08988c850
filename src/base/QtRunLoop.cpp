#include "base/QtRunLoop.h"

#include <cassert>
#include <cmath>
#include <limits>
#include <QCoreApplication>
#include <QTimer>
#include <utility>

namespace {
int millisecondsOf(double seconds) {
    const double milliseconds = std::round(seconds * 1000.0);
    assert(milliseconds >= 0.0 && milliseconds <= std::numeric_limits<int>::max());
    return static_cast<int>(milliseconds);
}

class QtTimer final : public Timer {
public:
    QtTimer(TimerOptions options, std::function<void()> handler)
        : m_interval(millisecondsOf(options.interval)),
          m_handler(std::make_shared<const std::function<void()>>(std::move(handler))) {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setSingleShot(!options.repeats);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { fire(); });
        m_timer.start(m_interval);
    }

    void fireNow() override {
        if (m_timer.isActive())
            m_timer.start(0);
    }

private:
    void fire() {
        if (m_timer.isActive() && m_timer.interval() != m_interval)
            m_timer.start(m_interval);
        // The handler may destroy this timer, and itself with it.
        const auto handler = m_handler;
        (*handler)();
    }

    const int m_interval;
    const std::shared_ptr<const std::function<void()>> m_handler;
    QTimer m_timer;
};
} // namespace

QtRunLoop::QtRunLoop(QCoreApplication& application) : m_application(application) {}

std::unique_ptr<Timer> QtRunLoop::schedule(TimerOptions options, std::function<void()> handler) {
    return std::make_unique<QtTimer>(options, std::move(handler));
}

int QtRunLoop::run() {
    if (m_exitCode)
        return *std::exchange(m_exitCode, std::nullopt);
    m_running = true;
    const int exitCode = m_application.exec();
    m_running = false;
    return exitCode;
}

void QtRunLoop::quit(int exitCode) {
    if (m_running)
        m_application.exit(exitCode);
    else
        m_exitCode = exitCode;
}

void QtRunLoop::post(std::function<void()> call) {
    QMetaObject::invokeMethod(&m_receiver, std::move(call), Qt::QueuedConnection);
}

#include "base/QtRunLoop.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <QCoreApplication>
#include <QTimer>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {
std::int64_t millisecondsOf(double seconds) {
    assert(seconds >= 0.0);
    return std::llround(std::min(seconds, 1e12) * 1000.0);
}

class QtTimer final : public Timer {
public:
    QtTimer(TimerOptions options, std::function<void()> handler)
        : m_interval(millisecondsOf(options.interval)),
          m_repeats(options.repeats),
          m_handler(std::make_shared<const std::function<void()>>(std::move(handler))) {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setSingleShot(true);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { stageEnded(); });
        m_left = m_interval;
        startStage();
    }

    void fireNow() override {
        if (!m_timer.isActive())
            return;
        m_left = 0;
        startStage();
    }

private:
    /// A Qt timer counts its milliseconds in an int, which ends after 24 days: longer times go in stages.
    void startStage() {
        constexpr std::int64_t longestStage = 24LL * 3600 * 1000;
        m_stage = std::min(m_left, longestStage);
        m_timer.start(static_cast<int>(m_stage));
    }

    void stageEnded() {
        m_left -= m_stage;
        if (m_left > 0) {
            startStage();
            return;
        }
        if (m_repeats) {
            m_left = m_interval;
            startStage();
        }
        // The handler may destroy this timer, and itself with it.
        const auto handler = m_handler;
        (*handler)();
    }

    const std::int64_t m_interval; // milliseconds, as the two below
    std::int64_t m_left = 0;
    std::int64_t m_stage = 0;
    const bool m_repeats;
    const std::shared_ptr<const std::function<void()>> m_handler;
    QTimer m_timer;
};

int makeWakeDescriptor() {
    const int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "QtRunLoop: eventfd");
    return descriptor;
}
} // namespace

QtRunLoop::QtRunLoop(QCoreApplication& application)
    : m_application(application),
      m_wakeDescriptor(makeWakeDescriptor()),
      m_notifier(m_wakeDescriptor, QSocketNotifier::Read) {
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier, [this] { performCalls(); });
}

QtRunLoop::~QtRunLoop() {
    m_notifier.setEnabled(false);
    ::close(m_wakeDescriptor);
}

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
    {
        const std::lock_guard guard(m_mutex);
        m_calls.push_back(std::move(call));
    }
    wake();
}

void QtRunLoop::wake() const noexcept {
    // Fails only when the counter is full, and then the loop is awake already.
    [[maybe_unused]] const int written = ::eventfd_write(m_wakeDescriptor, 1);
}

void QtRunLoop::performCalls() {
    eventfd_t count = 0;
    [[maybe_unused]] const int read = ::eventfd_read(m_wakeDescriptor, &count);
    std::size_t waiting = 0;
    {
        const std::lock_guard guard(m_mutex);
        waiting = m_calls.size();
        if (waiting > 1)
            wake(); // for a loop that one of these calls may run
    }
    // Not more than were waiting: a call that posts itself again must not keep timers and input out.
    for (; waiting > 0; --waiting)
        if (const auto call = nextCall())
            call();
}

std::function<void()> QtRunLoop::nextCall() {
    const std::lock_guard guard(m_mutex);
    if (m_calls.empty())
        return nullptr;
    std::function<void()> call = std::move(m_calls.front());
    m_calls.pop_front();
    return call;
}

#include "app/TerminationSignals.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {
std::atomic<int> g_descriptor{-1}; // for the handler
static_assert(std::atomic<int>::is_always_lock_free);

void noteSignal(int) {
    const int error = errno;
    constexpr std::uint64_t one = 1;
    // It fails where nobody listens any more.
    [[maybe_unused]] const ssize_t written = write(g_descriptor, &one, sizeof one);
    errno = error;
}
} // namespace

TerminationSignals::TerminationSignals() : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    g_descriptor = m_descriptor;
    // Handled, not blocked: programs that are started from here would inherit that, and could not be ended.
    struct sigaction action {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaction(signal, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
    m_notifier.reset();
    g_descriptor = -1;
    if (m_descriptor >= 0)
        close(m_descriptor);
}

bool TerminationSignals::arrived() const {
    pollfd waiting{m_descriptor, POLLIN, 0};
    return poll(&waiting, 1, 0) > 0;
}

void TerminationSignals::setHandler(std::function<void()> handler) {
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [descriptor = m_descriptor, handler = std::move(handler)] {
                         std::uint64_t count = 0;
                         if (read(descriptor, &count, sizeof count) == sizeof count)
                             handler();
                     });
}

#include "app/TerminationSignals.h"

#include <csignal>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {
sigset_t terminationSet() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&set, signal);
    return set;
}
} // namespace

TerminationSignals::TerminationSignals() {
    const sigset_t set = terminationSet();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    m_descriptor = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

TerminationSignals::~TerminationSignals() {
    m_notifier.reset();
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
                         signalfd_siginfo info;
                         bool any = false;
                         while (read(descriptor, &info, sizeof info) == sizeof info)
                             any = true;
                         if (any)
                             handler();
                     });
}

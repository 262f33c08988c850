// app/TerminationSignals.h — SIGTERM, SIGINT and SIGHUP as calls on the main thread.
#pragma once
#include <functional>
#include <memory>
#include <QSocketNotifier>

/// While it lives, the signals no longer end the process but call the handler, on the main thread. Made on the
/// main thread before any other thread is started, so that all threads leave the signals to it.
class TerminationSignals {
public:
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

    /// Whether one of the signals waits to be handled.
    bool arrived() const;
    /// Needs a Qt application object.
    void setHandler(std::function<void()> handler);

private:
    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

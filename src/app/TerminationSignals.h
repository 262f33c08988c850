// app/TerminationSignals.h — SIGTERM, SIGINT and SIGHUP as calls on the main thread.
#pragma once
#include <functional>
#include <memory>
#include <QSocketNotifier>

/// From its making on, the signals no longer end the process but, while it lives, call the handler, on the main
/// thread. Programs that are started meanwhile take the signals as usual. One at a time; made on the main
/// thread.
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

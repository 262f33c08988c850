// desktop/PrivateSystemBus.h — a message bus of a test's own, in the place of the system bus.
#pragma once
#include "system/ChildProcess.h"

#include <csignal>
#include <fstream>
#include <memory>
#include <string>

/// A dbus-daemon on which everybody may do everything. One at a time: all of a test program's have one address.
class PrivateSystemBus {
public:
    /// Empty where a bus can run, else the reason why not.
    static std::string whyNot();
    /// Where the bus is, or will be; also this process's DBUS_SYSTEM_BUS_ADDRESS from now on.
    static const std::string& address();

    /// Starts the bus, and waits until it takes connections.
    PrivateSystemBus();
    ~PrivateSystemBus() { kill(); }

    void kill();
    void freeze() const { m_daemon->signal(SIGSTOP); }
    void thaw() const { m_daemon->signal(SIGCONT); }

private:
    std::ifstream m_ready; // the daemon ends when nobody listens to it
    std::unique_ptr<ChildProcess> m_daemon;
};

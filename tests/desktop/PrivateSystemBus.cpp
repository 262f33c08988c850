#include "desktop/PrivateSystemBus.h"

#include "support/TemporaryFolder.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <QDBusConnection>
#include <stdexcept>
#include <sys/stat.h>

namespace {
/// One folder for the whole process: libdbus reads the address once.
const std::string& folder() {
    static const TemporaryFolder it;
    return it.path();
}

/// What the tests sent is still handed to Qt's thread of all buses when they end: it is lost, and a leak, if
/// the process ends before that thread has come to it. It takes things in order, and a connection is waited
/// for.
class LastOnTheBus final : public testing::Environment {
public:
    void TearDown() override {
        const QString name = QStringLiteral("last");
        EXPECT_FALSE(
            QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent"), name).isConnected());
        QDBusConnection::disconnectFromBus(name);
    }
};
const auto* const lastOnTheBus =
    testing::AddGlobalTestEnvironment(new LastOnTheBus); // it becomes the framework's
} // namespace

std::string PrivateSystemBus::whyNot() {
    return ChildProcess::isInstalled("dbus-daemon") ? std::string() : "dbus-daemon is not installed";
}

const std::string& PrivateSystemBus::address() {
    static const std::string it = [] {
        const std::string address = "unix:path=" + folder() + "/bus";
        setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
        return address;
    }();
    return it;
}

PrivateSystemBus::PrivateSystemBus() {
    const std::string configuration = folder() + "/bus.conf";
    std::ofstream(configuration)
        << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
  "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>)"
        << address() << R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
    const std::string pipe = folder() + "/ready";
    std::filesystem::remove(pipe);
    if (mkfifo(pipe.c_str(), 0600) != 0)
        throw std::runtime_error("no named pipe");
    m_daemon =
        std::make_unique<ChildProcess>(std::vector<std::string>{"dbus-daemon", "--config-file=" + configuration,
                                                                "--nofork", "--nopidfile", "--print-address=1"},
                                       ChildProcess::Environment{}, pipe);
    m_ready.open(pipe); // waits for the daemon to open it
    std::string line;
    if (!std::getline(m_ready, line) || line.rfind("unix:", 0) != 0)
        throw std::runtime_error("dbus-daemon does not start: " + line);
}

void PrivateSystemBus::kill() {
    m_daemon.reset();
    std::error_code ignored; // the next daemon makes its socket anew either way
    std::filesystem::remove(folder() + "/bus", ignored);
}

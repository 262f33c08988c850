#include "desktop/LogindStandIn.h"

#include "support/Sanitizer.h"

#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QTimer>
#include <stdexcept>
#include <unistd.h>

namespace {
const QString service = QStringLiteral("org.freedesktop.login1");
const QString path = QStringLiteral("/org/freedesktop/login1");
const QString manager = QStringLiteral("org.freedesktop.login1.Manager");

QString freshName() {
    static int count = 0;
    return QStringLiteral("stand-in-%1").arg(++count);
}
} // namespace

LogindStandIn::LogindStandIn(const std::string& address, Manner manner)
    : m_manner(manner),
      m_name(freshName()),
      m_bus(QDBusConnection::connectToBus(QString::fromStdString(address), m_name)) {
    if (!m_bus.registerVirtualObject(path, this) || !m_bus.registerService(service))
        throw std::runtime_error("no stand-in for logind: " + m_bus.lastError().message().toStdString());
}

LogindStandIn::~LogindStandIn() {
    m_bus.unregisterObject(path);
    m_bus.unregisterService(service);
    QDBusConnection::disconnectFromBus(m_name);
    for (const Lock& lock : m_locks)
        close(lock.pipe);
}

int LogindStandIn::heldLocks(const QString& mode) const {
    int held = 0;
    for (const Lock& lock : m_locks) {
        if (!mode.isEmpty() && lock.mode != mode)
            continue;
        pollfd end{lock.pipe, POLLIN, 0};
        held += poll(&end, 1, 0) == 0 ? 1 : 0; // else the other end is closed
    }
    return held;
}

bool LogindStandIn::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.interface() != manager || message.member() != QStringLiteral("Inhibit"))
        return false;
    QStringList request;
    for (const QVariant& argument : message.arguments())
        request << argument.toString();
    m_requests.push_back(request);
    switch (m_manner) {
    case Manner::answersNever:
        return true;
    case Manner::refuses:
        return connection.send(
            message.createErrorReply(QDBusError::AccessDenied, QStringLiteral("Permission\ndenied")));
    case Manner::answersNonsense:
        return connection.send(message.createReply(QStringLiteral("a text")));
    case Manner::grants:
        break;
    }
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    m_locks.push_back({ends[0], request.back()});
    QDBusUnixFileDescriptor lock;
    lock.giveFileDescriptor(ends[1]);
    return connection.send(message.createReply(QVariant::fromValue(lock)));
}

void LogindStandIn::emitPrepareForSleep(const QVariantList& arguments) {
    emitFrom(m_bus, arguments);
}

void LogindStandIn::emitFrom(QDBusConnection& bus, const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(path, manager, QStringLiteral("PrepareForSleep"));
    signal.setArguments(arguments);
    bus.send(signal);
    const auto question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId"));
    bus.call(question); // the bus answers in order
}

void LogindStandIn::pretendPrepareForSleep(const std::string& address, bool sleeping) {
    const QString name = freshName();
    {
        QDBusConnection bus = QDBusConnection::connectToBus(QString::fromStdString(address), name);
        emitFrom(bus, {sleeping});
    }
    QDBusConnection::disconnectFromBus(name);
}

bool becomesTrueInLoop(const std::function<bool()>& condition) {
    QTimer look; // a closed pipe is no event of the loop
    look.start(5);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(patience(10.0));
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

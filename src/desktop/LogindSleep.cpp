#include "desktop/LogindSleep.h"

#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/RunLoop.h"
#include "base/SystemLog.h"
#include "desktop/BusProbe.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusUnixFileDescriptor>
#include <utility>

namespace {
constexpr double longestProbe = 2.0;  // seconds
constexpr double longFinishing = 3.0; // seconds; the machine waits five as a rule

const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");
const QString logindService = QStringLiteral("org.freedesktop.login1");
const QString logindPath = QStringLiteral("/org/freedesktop/login1");
const QString logindManager = QStringLiteral("org.freedesktop.login1.Manager");

/// The one argument of `message`, invalid when it has none of the type `T`, or more than one.
template <typename T>
std::optional<T> onlyArgument(const QDBusMessage& message) {
    const QList<QVariant> arguments = message.arguments();
    if (message.type() == QDBusMessage::ErrorMessage || arguments.size() != 1 ||
        arguments[0].metaType() != QMetaType::fromType<T>())
        return std::nullopt;
    return arguments[0].value<T>();
}

/// What went wrong, on one line.
std::string whyNot(const QDBusMessage& answer) {
    if (answer.type() != QDBusMessage::ErrorMessage)
        return "its answer is of another kind: \"" + answer.signature().toStdString() + "\"";
    return (answer.errorName() + QStringLiteral(": ") + answer.errorMessage()).simplified().toStdString();
}
} // namespace

LogindSleep::LogindSleep(const Clock& clock, RunLoop& runLoop, SystemLog& log, SleepHandlers handlers,
                         LogindPatience patience)
    : m_clock(clock), m_runLoop(runLoop), m_log(log), m_handlers(std::move(handlers)), m_patience(patience) {
    reachBus();
}

LogindSleep::~LogindSleep() {
    if (m_reaching.joinable())
        m_reaching.join();
    leaveBus();
}

// --- the bus -------------------------------------------------------------------------------------------------

void LogindSleep::reachBus() {
    if (m_reaching.joinable())
        m_reaching.join(); // it has told its result
    m_busName =
        QStringLiteral("velmoratide-sleep-%1-%2").arg(reinterpret_cast<quintptr>(this)).arg(++m_attempts);
    m_reaching = std::thread([this, name = m_busName, living = std::weak_ptr<const bool>(m_living)] {
        const std::string why = whySystemBusIsSilent(longestProbe);
        std::optional<QDBusConnection> bus;
        if (why.empty())
            bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
        m_runLoop.post([this, living, why, bus] {
            if (living.expired())
                return;
            if (bus)
                busReached(*bus);
            else
                busMissed(why);
        });
    });
}

void LogindSleep::busReached(QDBusConnection bus) {
    // Any sender: Qt would wait for the bus to tell who a named one is. The handlers look at the sender.
    const bool listening = bus.isConnected() &&
                           bus.connect({}, QStringLiteral("/org/freedesktop/DBus/Local"),
                                       QStringLiteral("org.freedesktop.DBus.Local"),
                                       QStringLiteral("Disconnected"), this, SLOT(busLost())) &&
                           bus.connect({}, busPath, busService, QStringLiteral("NameOwnerChanged"),
                                       {logindService}, {}, this, SLOT(ownerChanged(QDBusMessage))) &&
                           bus.connect({}, logindPath, logindManager, QStringLiteral("PrepareForSleep"), this,
                                       SLOT(prepareForSleep(QDBusMessage)));
    if (!listening) {
        busMissed(bus.lastError().message().simplified().toStdString());
        return;
    }
    m_bus = std::move(bus);
    askForOwner();
}

void LogindSleep::busMissed(const std::string& why) {
    complain("the system bus cannot be reached (" + why + ")");
    leaveBus();
    retryLater(&LogindSleep::reachBus);
}

void LogindSleep::busLost() {
    if (!m_bus)
        return;
    complain("the system bus has gone");
    leaveBus();
    setOwner({});
    retryLater(&LogindSleep::reachBus);
}

void LogindSleep::leaveBus() {
    m_ownerCall.reset();
    m_lockCall.reset();
    m_blockCall.reset();
    m_bus.reset();
    QDBusConnection::disconnectFromBus(m_busName);
}

std::unique_ptr<QDBusPendingCallWatcher> LogindSleep::call(const QDBusMessage& message,
                                                           std::function<void(const QDBusMessage&)> answered) {
    const int milliseconds = static_cast<int>(m_patience.answer * 1000.0);
    auto watcher = std::make_unique<QDBusPendingCallWatcher>(m_bus->asyncCall(message, milliseconds));
    connect(
        watcher.get(), &QDBusPendingCallWatcher::finished, this,
        [answered = std::move(answered)](QDBusPendingCallWatcher* finished) { answered(finished->reply()); });
    return watcher;
}

// --- logind --------------------------------------------------------------------------------------------------

void LogindSleep::askForOwner() {
    auto question =
        QDBusMessage::createMethodCall(busService, busPath, busService, QStringLiteral("GetNameOwner"));
    question << logindService;
    m_ownerCall = call(question, [this](const QDBusMessage& answer) {
        if (!m_owner.isEmpty())
            return; // it has come meanwhile
        if (const auto owner = onlyArgument<QString>(answer)) {
            setOwner(*owner);
            return;
        }
        complain("logind is not there (" + whyNot(answer) + ")");
        retryLater(&LogindSleep::askForOwner);
    });
}

void LogindSleep::ownerChanged(const QDBusMessage& signal) {
    const QList<QVariant> arguments = signal.arguments();
    if (signal.service() != busService || arguments.size() != 3 || arguments[0].toString() != logindService)
        return;
    setOwner(arguments[2].toString());
    if (m_owner.isEmpty())
        complain("logind has gone");
}

void LogindSleep::setOwner(const QString& owner) {
    if (owner == m_owner)
        return;
    m_owner = owner;
    releaseLock();
    takeBlock();
    if (m_asleep)
        wakeUp(); // who told of the sleep will not tell of the waking
    else
        takeLock();
}

QDBusMessage LogindSleep::inhibition(const QString& why, const QString& mode) const {
    auto request =
        QDBusMessage::createMethodCall(logindService, logindPath, logindManager, QStringLiteral("Inhibit"));
    request.setAutoStartService(false);
    request << QStringLiteral("sleep") << QStringLiteral("Velmoratide") << why << mode;
    return request;
}

void LogindSleep::takeLock() {
    if (!m_bus || m_owner.isEmpty())
        return;
    releaseLock();
    m_lockCall =
        call(inhibition(QStringLiteral("The file being recorded is finished first"), QStringLiteral("delay")),
             [this](const QDBusMessage& answer) { lockAnswered(answer); });
}

void LogindSleep::setOnDuty(bool onDuty) {
    if (std::exchange(m_onDuty, onDuty) != onDuty)
        takeBlock();
}

void LogindSleep::takeBlock() {
    m_blockCall.reset();
    if (!m_onDuty || !m_bus || m_owner.isEmpty())
        return;
    m_blockCall = call(
        inhibition(QStringLiteral("A recorder is on duty"), QStringLiteral("block")),
        [this](const QDBusMessage& answer) {
            if (const auto lock = onlyArgument<QDBusUnixFileDescriptor>(answer); !lock || !lock->isValid())
                m_log.log("LogindSleep: the machine may go to sleep while on duty (" + whyNot(answer) + ").");
        });
}

void LogindSleep::lockAnswered(const QDBusMessage& answer) {
    const auto lock = onlyArgument<QDBusUnixFileDescriptor>(answer);
    if (!lock || !lock->isValid()) {
        complain("logind does not let the sleep be delayed (" + whyNot(answer) + ")");
        retryLater(&LogindSleep::takeLock);
        return;
    }
    if (!m_complaint.empty())
        m_log.log("LogindSleep: the machine's sleep is delayed until the open file is finished.");
    m_complaint.clear();
}

void LogindSleep::releaseLock() {
    m_retry.reset();
    m_lockCall.reset();
}

// --- sleep and waking ----------------------------------------------------------------------------------------

void LogindSleep::prepareForSleep(const QDBusMessage& signal) {
    if (signal.service() != m_owner)
        return; // anybody may send a signal of that name
    const auto sleeping = onlyArgument<bool>(signal);
    if (!sleeping) {
        complain("logind does not say whether the machine sleeps or wakes");
        return;
    }
    if (m_ending)
        return;
    if (*sleeping)
        fallAsleep();
    else
        wakeUp();
}

void LogindSleep::fallAsleep() {
    m_wokeEarly = false;
    if (std::exchange(m_asleep, true))
        return;
    m_finishing = true;
    const HostTime begin = m_clock.hostTime();
    m_handlers.willSleep();
    const double seconds = static_cast<double>(m_clock.hostTime() - begin) / 1e9;
    m_finishing = false;
    releaseLock();
    if (seconds > longFinishing)
        m_log.log(formatted("LogindSleep: finishing the file took %.1f seconds.", seconds));
    m_overdue = m_runLoop.schedule({.interval = m_patience.sleep}, [this] {
        m_log.log("LogindSleep: the machine was to sleep and has not; the duty goes on.");
        wakeUp();
    });
    if (m_wokeEarly)
        wakeUp();
}

void LogindSleep::wakeUp() {
    if (m_finishing) {
        m_wokeEarly = true;
        return;
    }
    m_overdue.reset();
    if (!m_asleep)
        return;
    m_asleep = false;
    takeLock(); // first, for the handler may take long
    if (!m_ending)
        m_handlers.didWake();
}

void LogindSleep::complain(const std::string& text) {
    if (std::exchange(m_complaint, text) == text)
        return;
    m_log.log("LogindSleep: " + text +
              "; a file that is open when the machine sleeps may not be finished before.");
}

void LogindSleep::retryLater(void (LogindSleep::*what)()) {
    m_retry = m_runLoop.schedule({.interval = m_patience.retry}, [this, what] { (this->*what)(); });
}

#include "desktop/PolkitRight.h"

#include "base/SystemLog.h"
#include "desktop/BusProbe.h"

#include <algorithm>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <QMap>
#include <thread>

namespace {
constexpr double longestProbe = 2.0; // seconds
constexpr unsigned allowUserInteraction = 1;
constexpr int cancelPatience = 100; // milliseconds

const QString authority = QStringLiteral("org.freedesktop.PolicyKit1");
const QString authorityPath = QStringLiteral("/org/freedesktop/PolicyKit1/Authority");
const QString authorityInterface = QStringLiteral("org.freedesktop.PolicyKit1.Authority");
const QString action = QStringLiteral("org.velmoratide.administer");

using Details = QMap<QString, QString>;

/// Who asks: this process, as the bus knows it.
struct Subject {
    QString kind;
    QVariantMap details;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Subject& subject) {
    argument.beginStructure();
    argument << subject.kind << subject.details;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Subject& subject) {
    argument.beginStructure();
    argument >> subject.kind >> subject.details;
    argument.endStructure();
    return argument;
}

QDBusMessage toAuthority(const QString& method) {
    return QDBusMessage::createMethodCall(authority, authorityPath, authorityInterface, method);
}
} // namespace

Q_DECLARE_METATYPE(Subject)

bool PolkitRight::refuse(const std::string& why) const {
    m_log.log("PolkitRight: the administrator right cannot be had (" + why + ").");
    return false;
}

bool PolkitRight::obtain() {
    if (m_asking)
        return false;
    m_asking = true;
    m_form.reset();
    const QString name =
        QStringLiteral("velmoratide-right-%1-%2").arg(reinterpret_cast<quintptr>(this)).arg(++m_questions);
    bool granted = false;
    if (std::optional<QDBusConnection> bus = reachBus(name))
        granted = ask(*bus);
    QDBusConnection::disconnectFromBus(name);
    m_asking = false;
    return granted;
}

std::optional<QDBusConnection> PolkitRight::reachBus(const QString& name) const {
    QEventLoop loop;
    std::string silent;
    std::optional<QDBusConnection> bus;
    std::thread reaching([&] { // a bus that does not answer takes its time
        silent = whySystemBusIsSilent(longestProbe);
        if (silent.empty())
            bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
        // By name, so that nothing but Qt itself handles what is handed over.
        QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
    });
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    reaching.join();
    if (bus && !bus->isConnected())
        silent = bus->lastError().message().simplified().toStdString();
    if (silent.empty() && bus)
        return bus;
    refuse("the system bus cannot be reached: " + silent);
    return std::nullopt;
}

bool PolkitRight::ask(QDBusConnection& bus) {
    qDBusRegisterMetaType<Subject>();
    qDBusRegisterMetaType<Details>();
    const QString cancellation = QStringLiteral("velmoratide-%1").arg(m_questions);
    QDBusMessage question = toAuthority(QStringLiteral("CheckAuthorization"));
    question << QVariant::fromValue(
                    Subject{QStringLiteral("system-bus-name"), {{QStringLiteral("name"), bus.baseService()}}})
             << action << QVariant::fromValue(Details()) << allowUserInteraction << cancellation;
    QEventLoop loop;
    QDBusPendingCallWatcher watcher(bus.asyncCall(question, static_cast<int>(m_patience * 1000.0)));
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    if (!watcher.isFinished())
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    const bool answered = watcher.isFinished() &&
                          watcher.reply().errorName() != QStringLiteral("org.freedesktop.DBus.Error.NoReply");
    if (answered)
        return isGranted(watcher.reply());
    // Nobody answered in time, or the program is asked to end meanwhile: the question must not stay on the
    // screen.
    QDBusMessage cancel = toAuthority(QStringLiteral("CancelCheckAuthorization"));
    cancel << cancellation;
    bus.call(cancel, QDBus::Block, cancelPatience); // the connection ends right after it
    return refuse(watcher.isFinished() ? "nobody answered in time" : "the program ends");
}

bool PolkitRight::isGranted(const QDBusMessage& answer) {
    if (answer.type() == QDBusMessage::ErrorMessage) {
        if (answer.errorName() == authority + QStringLiteral(".Error.Cancelled"))
            return false; // a person's choice
        return refuse(
            (answer.errorName() + QStringLiteral(": ") + answer.errorMessage()).simplified().toStdString());
    }
    if (answer.signature() != QStringLiteral("(bba{ss})"))
        return refuse("the answer is of another kind: \"" + answer.signature().toStdString() + "\"");
    bool authorized = false;
    bool challenge = false;
    Details details;
    const QDBusArgument argument = answer.arguments().constFirst().value<QDBusArgument>();
    argument.beginStructure();
    argument >> authorized >> challenge >> details;
    argument.endStructure();
    if (!authorized)
        return challenge ? refuse("nobody can be asked for a password: no authentication agent runs") : false;
    m_form = ExternalForm{};
    const std::string id = details.value(QStringLiteral("polkit.temporary_authorization_id")).toStdString();
    std::copy_n(id.begin(), std::min(id.size(), m_form->size()), m_form->begin());
    return true;
}

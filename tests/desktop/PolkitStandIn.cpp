#include "desktop/PolkitStandIn.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QMap>
#include <stdexcept>

namespace {
const QString connectionName = QStringLiteral("polkit-stand-in");
const QString service = QStringLiteral("org.freedesktop.PolicyKit1");
const QString path = QStringLiteral("/org/freedesktop/PolicyKit1/Authority");

struct Result {
    bool authorized = false;
    bool challenge = false;
    QMap<QString, QString> details{};
};

QDBusArgument& operator<<(QDBusArgument& argument, const Result& result) {
    argument.beginStructure();
    argument << result.authorized << result.challenge << result.details;
    argument.endStructure();
    return argument;
}
const QDBusArgument& operator>>(const QDBusArgument& argument, Result& result) {
    argument.beginStructure();
    argument >> result.authorized >> result.challenge >> result.details;
    argument.endStructure();
    return argument;
}
} // namespace

Q_DECLARE_METATYPE(Result)

PolkitStandIn::PolkitStandIn(const std::string& address, Manner manner)
    : m_manner(manner), m_bus(QDBusConnection::connectToBus(QString::fromStdString(address), connectionName)) {
    qDBusRegisterMetaType<QMap<QString, QString>>();
    qDBusRegisterMetaType<Result>();
    if (!m_bus.registerVirtualObject(path, this) || !m_bus.registerService(service))
        throw std::runtime_error("no stand-in for polkit: " + m_bus.lastError().message().toStdString());
}

PolkitStandIn::~PolkitStandIn() {
    m_bus.unregisterObject(path);
    m_bus.unregisterService(service);
    QDBusConnection::disconnectFromBus(connectionName);
}

bool PolkitStandIn::note(const QDBusMessage& message) {
    if (message.signature() != QStringLiteral("(sa{sv})sa{ss}us"))
        return false;
    Question question;
    const QList<QVariant> arguments = message.arguments();
    const QDBusArgument subject = arguments[0].value<QDBusArgument>();
    QString kind;
    QVariantMap details;
    subject.beginStructure();
    subject >> kind >> details;
    subject.endStructure();
    question.kind = kind.toStdString();
    question.name = details.value(QStringLiteral("name")).toString().toStdString();
    question.sender = message.service().toStdString();
    question.action = arguments[1].toString().toStdString();
    question.flags = arguments[3].toUInt();
    question.cancellation = arguments[4].toString().toStdString();
    m_questions.push_back(question);
    return true;
}

bool PolkitStandIn::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.member() == QStringLiteral("CancelCheckAuthorization")) {
        m_cancelled.push_back(message.arguments().value(0).toString().toStdString());
        return connection.send(message.createReply());
    }
    if (message.member() != QStringLiteral("CheckAuthorization") || !note(message))
        return false;
    Result result;
    switch (m_manner) {
    case Manner::answersNever:
        return true;
    case Manner::answersNonsense:
        return connection.send(message.createReply(true));
    case Manner::isCancelled:
        return connection.send(message.createErrorReply(service + QStringLiteral(".Error.Cancelled"), {}));
    case Manner::fails:
        return connection.send(message.createErrorReply(service + QStringLiteral(".Error.Failed"),
                                                        QStringLiteral("Action is\nnot registered")));
    case Manner::hasNoAgent:
        result.challenge = true;
        break;
    case Manner::denies:
        break;
    case Manner::grantsForAWhile:
        result.details.insert(QStringLiteral("polkit.temporary_authorization_id"), QStringLiteral("tmpauthz7"));
        [[fallthrough]];
    case Manner::grants:
        result.authorized = true;
        break;
    }
    return connection.send(message.createReply(QVariant::fromValue(result)));
}

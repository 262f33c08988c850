#include "desktop/DesktopNotifier.h"

#include "base/SystemLog.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QVariantMap>
#include <utility>

namespace {
constexpr int untilClosed = 0; // as the interface has it
constexpr unsigned char critical = 2;
} // namespace

DesktopNotifier::DesktopNotifier(SystemLog& log, QString icon, QDBusConnection bus)
    : m_log(log), m_icon(std::move(icon)), m_bus(std::move(bus)) {}

void DesktopNotifier::show(const QString& title, const QString& text) {
    auto request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    const QVariantMap hints{{QStringLiteral("urgency"), QVariant::fromValue(critical)},
                            {QStringLiteral("desktop-entry"), m_icon}};
    // The text may hold names that look like markup.
    request << QStringLiteral("Velmoratide") << m_lastId << m_icon << title << text.toHtmlEscaped()
            << QStringList() << hints << untilClosed;
    auto* const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(request), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        answered(finished->reply());
        finished->deleteLater();
    });
}

void DesktopNotifier::answered(const QDBusMessage& answer) {
    if (answer.type() == QDBusMessage::ReplyMessage && answer.signature() == QStringLiteral("u")) {
        m_lastId = answer.arguments().constFirst().toUInt();
        return;
    }
    if (!std::exchange(m_complained, true))
        m_log.log("DesktopNotifier: the desktop shows no notifications (" +
                  answer.errorMessage().simplified().toStdString() + ").");
}

// desktop/DesktopNotifier.h — tells a person who looks elsewhere.
#pragma once
#include <QDBusConnection>
#include <QObject>
#include <QString>

class QDBusMessage;
class SystemLog;

/// Shows notifications through org.freedesktop.Notifications on the session bus.
///
/// The interface: "Desktop Notifications", freedesktop.org.
///
/// Main thread only; nothing waits for the desktop. One that cannot show anything is a line in the system log,
/// once.
class DesktopNotifier final : public QObject {
public:
    /// Needs a Qt application object. `icon` is a name of the icon theme.
    DesktopNotifier(SystemLog& log, QString icon, QDBusConnection bus = QDBusConnection::sessionBus());

    /// Stays until the person closes it. A later one takes the place of the one before.
    void show(const QString& title, const QString& text);

private:
    void answered(const QDBusMessage& answer);

    SystemLog& m_log;
    const QString m_icon;
    QDBusConnection m_bus;
    unsigned m_lastId = 0; ///< 0 is none
    bool m_complained = false;
};

#include "app/window/SessionEnd.h"

#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QSessionManager>
#include <utility>

SessionEnd::SessionEnd(SessionHandlers handlers, QStringList restart)
    : m_handlers(std::move(handlers)), m_restart(std::move(restart)) {
    // The session's manager waits until all have stored what they have. Whether the session ends is not known
    // yet: a person, or another program, may stop it.
    connect(
        qGuiApp, &QGuiApplication::commitDataRequest, this,
        [this](QSessionManager& manager) {
            tellRestart(manager);
            m_handlers.store();
        },
        Qt::DirectConnection);
    connect(
        qGuiApp, &QGuiApplication::saveStateRequest, this,
        [this](QSessionManager& manager) { tellRestart(manager); }, Qt::DirectConnection);
    qGuiApp->installEventFilter(this);
}

bool SessionEnd::eventFilter(QObject* watched, QEvent* event) {
    // The manager's last word. Without a manager, the desktop just tells the program to quit.
    if (event->type() != QEvent::Quit || watched != QCoreApplication::instance())
        return QObject::eventFilter(watched, event);
    if (const auto end = std::exchange(m_handlers.end, {}))
        end();
    return true;
}

/// The toolkit knows neither our arguments nor what they mean.
void SessionEnd::tellRestart(QSessionManager& manager) const {
    if (m_restart.isEmpty()) {
        manager.setRestartHint(QSessionManager::RestartNever);
        return;
    }
    const QString id = manager.sessionId() + QLatin1Char('_') + manager.sessionKey();
    manager.setRestartCommand(m_restart + QStringList{QStringLiteral("-session"), id});
}

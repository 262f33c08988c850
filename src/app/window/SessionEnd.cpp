#include "app/window/SessionEnd.h"

#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>
#include <utility>

SessionEnd::SessionEnd(std::function<void()> handler) : m_handler(std::move(handler)) {
    // With the session's manager: it waits until all have stored what they have.
    connect(
        qGuiApp, &QGuiApplication::commitDataRequest, this, [this] { end(); }, Qt::DirectConnection);
    qGuiApp->installEventFilter(this);
}

bool SessionEnd::eventFilter(QObject* watched, QEvent* event) {
    // Without one: the desktop just tells the program to quit.
    if (event->type() != QEvent::Quit || watched != QCoreApplication::instance())
        return QObject::eventFilter(watched, event);
    end();
    return true;
}

void SessionEnd::end() {
    if (const auto handler = std::exchange(m_handler, {}))
        handler();
}

// app/window/SessionEnd.h — hears what becomes of the desktop session.
#pragma once
#include <functional>
#include <QObject>
#include <QStringList>

class QSessionManager;

/// What the program does about it.
struct SessionHandlers {
    /// All that is open is to be stored, and the program goes on: a session that is about to end may still go
    /// on, and one may be stored without an end. May be called any number of times.
    std::function<void()> store;
    std::function<void()> end; ///< called once, when the session has ended
};

/// While it lives, tells the handlers; no window is asked whether it may be closed. The session's manager is
/// told how the next session is to start the program. Needs a windowed application object. Main thread only.
class SessionEnd : public QObject {
public:
    /// `restart` is the program with its arguments; empty if it is not to be started again.
    SessionEnd(SessionHandlers handlers, QStringList restart);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void tellRestart(QSessionManager& manager) const;

    SessionHandlers m_handlers; // `end` is empty once it was called
    const QStringList m_restart;
};

// app/window/SessionEnd.h — hears that the desktop session ends.
#pragma once
#include <functional>
#include <QObject>

/// While it lives, the end of the session calls the handler, at most once and before the session goes on to
/// end; no window is asked whether it may be closed. Needs a windowed application object. Main thread only.
class SessionEnd : public QObject {
public:
    explicit SessionEnd(std::function<void()> handler);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void end();

    std::function<void()> m_handler; // empty once it was called
};

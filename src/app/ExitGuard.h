// app/ExitGuard.h — what is still done when a library ends the process.
#pragma once
#include <functional>
#include <memory>

/// While it lives, a call of exit() on its thread calls the handler, at most once, and ends the process right
/// after it, with the status that exit() was given. A toolkit that loses its display calls exit() from within
/// the main loop: nothing returns to the caller then, and no destructor on its stack is run.
///
/// The handler is called before anything static is destroyed. Other threads go on meanwhile; an exit() of
/// theirs ends the process without the handler. Made and destroyed on one thread.
class ExitGuard {
public:
    explicit ExitGuard(std::function<void()> handler);
    ~ExitGuard();
    ExitGuard(const ExitGuard&) = delete;
    ExitGuard& operator=(const ExitGuard&) = delete;

private:
    struct Watch;
    const std::shared_ptr<Watch> m_watch;
};

// base/Clock.h — time, sleep and threads, as the application sees them.
#pragma once
#include "base/Date.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <QTimeZone>
#include <string>

/// Nanoseconds on a clock that never jumps; its zero means nothing.
using HostTime = std::int64_t;

/// The nearest nanosecond.
constexpr HostTime hostTimeFromSeconds(double seconds) {
    return static_cast<HostTime>(seconds * 1e9 + (seconds < 0.0 ? -0.5 : 0.5));
}

/// A call repeated at times of its own choice. Destroying it ends it, after a call in progress.
class Beat {
public:
    virtual ~Beat() = default;
};

/// A sleep that another thread can end.
class Nap {
public:
    virtual ~Nap() = default;
    /// The one thread that naps. Blocks until the clock's host time has reached `until`, or until `end` is
    /// called; an `end` from before this call counts, once.
    virtual void sleepUntil(HostTime until) = 0;
    /// Any thread but an I/O thread.
    virtual void end() = 0;
};

/// The one source of time. Everything that waits waits here, so that a rehearsal can play days in seconds.
class Clock {
public:
    explicit Clock(QTimeZone zone);
    virtual ~Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;

    // Any thread
    virtual Date now() const = 0;
    virtual HostTime hostTime() const = 0;
    /// Blocks the calling thread until `hostTime()` has reached `wake`.
    virtual void sleepUntil(HostTime wake) = 0;
    void sleep(double seconds) { sleepUntil(hostTime() + hostTimeFromSeconds(seconds)); }
    [[nodiscard]] virtual std::unique_ptr<Nap> makeNap() = 0;
    /// Runs `body` on a thread of its own. The clock outlives it: destroying the clock waits for it.
    virtual void detachThread(const std::string& name, std::function<void()> body) = 0;
    /// Calls `call` at host time `first`, then at each host time that it returns: a simulated device's heart
    /// beat. Real time: on a thread of its own. Virtual time: on the thread that drives the time. Not to be
    /// destroyed from inside the call.
    [[nodiscard]] virtual std::unique_ptr<Beat> startBeat(const std::string& name, HostTime first,
                                                          std::function<HostTime()> call) = 0;

    /// Local calendar form of `date`.
    CalendarDate calendarDate(Date date) const;
    /// The moment of a local date and time. A time that a spring change skips is read with the offset before
    /// the change; of a repeated hour the first is meant. `dayOfWeek` and `utcOffset` are not looked at; fields
    /// beyond their range carry over.
    Date dateFromLocal(const CalendarDate& local) const;
    /// Text of `date` in local time; knows %Y %m %d %H %M %S and %%.
    std::string format(Date date, const char* pattern) const;
    const QTimeZone& timeZone() const { return m_zone; }

private:
    QTimeZone m_zone;
};

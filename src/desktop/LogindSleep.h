// desktop/LogindSleep.h — the machine's sleep and its waking, as logind tells of them.
#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <QDBusConnection>
#include <QObject>
#include <string>
#include <thread>

class Clock;
class QDBusMessage;
class QDBusPendingCallWatcher;
class RunLoop;
class SystemLog;
class Timer;

/// Calls on the main thread. Both may run a loop of their own.
struct SleepHandlers {
    std::function<void()> willSleep; ///< has finished the open file when it returns
    std::function<void()> didWake;
};

/// In seconds.
struct LogindPatience {
    double answer = 10.0; ///< for logind to answer a call
    double retry = 60.0;  ///< until what was missing or refused is asked for again
    double sleep = 60.0;  ///< for a machine that was said to sleep to do so, counted while it is awake
};

/// Holds a delay lock of org.freedesktop.login1, so that the machine waits for `willSleep` before it sleeps.
/// While the recorder is on duty it also holds a lock that keeps the machine from going to sleep unasked; the
/// screen is not its business.
/// Calls `didWake` once for each `willSleep`, even when nobody tells of the waking: a recorder that believes
/// the machine asleep records nothing.
///
/// The bus is the system bus, found as usual (DBUS_SYSTEM_BUS_ADDRESS). Without it, or without logind, one line
/// goes to the system log, and both are waited for.
///
/// Main thread only. Nothing waits for the bus, except the destructor while the bus is being reached.
class LogindSleep final : public QObject {
    Q_OBJECT
public:
    /// Needs a Qt application object.
    LogindSleep(const Clock& clock, RunLoop& runLoop, SystemLog& log, SleepHandlers handlers,
                LogindPatience patience = {});
    /// Gives the lock back.
    ~LogindSleep() override;

    /// Whether sound is, or may soon be, recorded: the machine shall not sleep meanwhile.
    void setOnDuty(bool onDuty);
    /// The duty ends: no handler is called any more. The lock stays, so that the last file is finished as well.
    void endDuty() { m_ending = true; }

private Q_SLOTS:
    void ownerChanged(const QDBusMessage& signal);
    void prepareForSleep(const QDBusMessage& signal);
    void busLost();

private:
    void reachBus();
    void busReached(QDBusConnection bus);
    void busMissed(const std::string& why);
    void leaveBus();
    void askForOwner();
    void setOwner(const QString& owner);
    void takeLock();
    void lockAnswered(const QDBusMessage& answer);
    void releaseLock();
    void takeBlock();
    QDBusMessage inhibition(const QString& why, const QString& mode) const;
    void fallAsleep();
    void wakeUp();
    /// Destroying what it returns forgets the call, or its answer.
    std::unique_ptr<QDBusPendingCallWatcher> call(const QDBusMessage& message,
                                                  std::function<void(const QDBusMessage&)> answered);
    /// Logs `text` unless it was the last complaint.
    void complain(const std::string& text);
    void retryLater(void (LogindSleep::*what)());

    const Clock& m_clock;
    RunLoop& m_runLoop;
    SystemLog& m_log;
    const SleepHandlers m_handlers;
    const LogindPatience m_patience;

    std::shared_ptr<const bool> m_living = std::make_shared<const bool>(true); // asked by posted calls
    std::thread m_reaching;  // the bus may take its time to answer
    QString m_busName;       // Qt's name of the connection
    unsigned m_attempts = 0; // to reach the bus
    std::optional<QDBusConnection> m_bus;
    QString m_owner; // logind's unique name on the bus; empty when it is not there
    std::unique_ptr<QDBusPendingCallWatcher> m_ownerCall;
    std::unique_ptr<QDBusPendingCallWatcher> m_lockCall;  // its answer holds the only descriptor of the lock
    std::unique_ptr<QDBusPendingCallWatcher> m_blockCall; // as above, of the lock while on duty
    std::string m_complaint;
    std::unique_ptr<Timer> m_retry;
    std::unique_ptr<Timer> m_overdue; // the machine was to sleep
    bool m_onDuty = false;
    bool m_asleep = false;
    bool m_finishing = false; // `willSleep` is running
    bool m_wokeEarly = false; // ... and the machine has woken meanwhile
    bool m_ending = false;
};

// desktop/LogindStandIn.h — plays org.freedesktop.login1 on a bus.
#pragma once
#include <functional>
#include <memory>
#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <string>
#include <vector>

/// Answers "Inhibit" in the manner that a test chooses, with the file descriptor of a pipe as the real one
/// does. Lives on the main thread, and answers while that thread's loop runs.
class LogindStandIn final : public QDBusVirtualObject {
public:
    enum class Manner { grants, refuses, answersNonsense, answersNever };

    explicit LogindStandIn(const std::string& address, Manner manner = Manner::grants);
    ~LogindStandIn() override;

    void setManner(Manner manner) { m_manner = manner; }
    /// The arguments of each "Inhibit".
    const std::vector<QStringList>& requests() const { return m_requests; }
    /// The locks that somebody holds, of one mode ("delay", "block") or of any.
    int heldLocks(const QString& mode = {}) const;
    /// Sends the signal and waits until the bus has passed it on.
    void emitPrepareForSleep(const QVariantList& arguments);

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

    /// Sends the signal from a connection that is not logind's.
    static void pretendPrepareForSleep(const std::string& address, bool sleeping);

private:
    static void emitFrom(QDBusConnection& bus, const QVariantList& arguments);

    Manner m_manner;
    QString m_name; // Qt's name of the connection
    QDBusConnection m_bus;
    std::vector<QStringList> m_requests;
    struct Lock {
        int pipe; // our end
        QString mode;
    };
    std::vector<Lock> m_locks;
};

/// Runs the main thread's loop until `condition` holds, for ten seconds at most. False when it never held.
bool becomesTrueInLoop(const std::function<bool()>& condition);

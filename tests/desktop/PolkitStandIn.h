// desktop/PolkitStandIn.h — plays org.freedesktop.PolicyKit1 on a bus.
#pragma once
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <string>
#include <vector>

/// Answers "CheckAuthorization" in the manner that a test chooses. Lives on the main thread.
class PolkitStandIn final : public QDBusVirtualObject {
public:
    enum class Manner {
        grants,
        grantsForAWhile,
        denies,
        hasNoAgent,
        isCancelled,
        fails,
        answersNonsense,
        answersNever
    };
    struct Question {
        std::string kind;   ///< of the subject
        std::string name;   ///< of the subject on the bus
        std::string sender; ///< who asked
        std::string action;
        unsigned flags = 0;
        std::string cancellation;
    };

    explicit PolkitStandIn(const std::string& address, Manner manner);
    ~PolkitStandIn() override;

    const std::vector<Question>& questions() const { return m_questions; }
    const std::vector<std::string>& cancelled() const { return m_cancelled; }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    bool note(const QDBusMessage& message);

    const Manner m_manner;
    QDBusConnection m_bus;
    std::vector<Question> m_questions;
    std::vector<std::string> m_cancelled;
};

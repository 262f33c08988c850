// desktop/PolkitRight.h — the administrator right, as polkit grants it.
#pragma once
#include "base/AdministratorRight.h"

#include <memory>
#include <optional>
#include <QDBusConnection>
#include <QString>
#include <string>

class QDBusMessage;
class SystemLog;

/// Asks org.freedesktop.PolicyKit1 on the system bus for the action "org.velmoratide.administer", which lets it
/// ask the person for a password. Everything but a clear yes is a no; what is wrong with the authority, or the
/// bus, is a line in the system log, while a person's no is not.
///
/// The interface:
/// https://www.freedesktop.org/software/polkit/docs/latest/eggdbus-interface-org.freedesktop.PolicyKit1.Authority.html
///
/// Main thread only. While a person is asked the thread's loop goes on without the person's input, so that
/// recording is not held up.
class PolkitRight final : public AdministratorRight {
public:
    /// `patience` in seconds: how long a person may take to answer. Needs a Qt application object.
    explicit PolkitRight(SystemLog& log, double patience = 300.0) : m_log(log), m_patience(patience) {}

    /// False also while it is asking already.
    bool obtain() override;
    std::optional<ExternalForm> externalForm() const override { return m_form; }

private:
    std::optional<QDBusConnection> reachBus(const QString& name) const;
    bool ask(QDBusConnection& bus);
    bool isGranted(const QDBusMessage& answer);
    bool refuse(const std::string& why) const;

    SystemLog& m_log;
    const double m_patience;
    bool m_asking = false;
    unsigned m_questions = 0;
    std::optional<ExternalForm> m_form;
};

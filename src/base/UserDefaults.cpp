#include "base/UserDefaults.h"

#include "base/EndOfLinks.h"
#include "base/SystemLog.h"

#include <cmath>
#include <limits>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>
#include <utility>

namespace {
constexpr QLatin1String versionKey("SettingsVersion");

QString qString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// Two numbers are of one type however they are written; a registered null accepts every type.
bool sameType(const QJsonValue& value, const QJsonValue& registered) {
    return registered.isUndefined() || registered.isNull() || value.type() == registered.type();
}

/// Why `file` must not be replaced; empty if it may be. The superuser could replace a read-only file as well.
std::string protectionOf(const QString& file) {
    const QFileInfo info(file);
    if (info.isSymLink())
        return "its links lead in a circle";
    return info.exists() && !info.permissions().testFlag(QFileDevice::WriteOwner) ? "it is read-only" : "";
}
} // namespace

UserDefaults::UserDefaults(std::string path, SystemLog& log) : m_path(std::move(path)), m_log(log) {
    if (!m_path.empty())
        load();
}

void UserDefaults::load() {
    QFile file(qString(endOfLinks(m_path)));
    if (!file.exists() || QFileInfo(file).isSymLink()) // whoever writes hears of a circle of links
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        setAside(file.errorString().toStdString());
        return;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    file.close();
    if (!document.isObject()) {
        setAside(error.error == QJsonParseError::NoError ? "it holds no JSON object"
                                                         : error.errorString().toStdString());
        return;
    }
    m_stored = document.object();
    checkVersion();
}

void UserDefaults::checkVersion() {
    const QJsonValue version = m_stored.value(versionKey);
    // A version that is no number is nothing that this one ever wrote.
    m_isOfLaterVersion =
        !version.isUndefined() && (!version.isDouble() || version.toDouble() > settingsVersion);
    if (m_isOfLaterVersion)
        m_log.log("UserDefaults: settings file " + m_path +
                  " is of a later version; what is known of it is used, the rest is kept.");
}

/// Before anything is changed in a file whose meaning is only known in part.
bool UserDefaults::keepCopyOfLaterVersion() {
    const QJsonValue version = m_stored.value(versionKey);
    const QString number = version.isDouble() ? QString::number(version.toDouble()) : QStringLiteral("unknown");
    const QString path = qString(endOfLinks(m_path));
    const QString copy = path + QStringLiteral(".version-") + number;
    if (QFileInfo::exists(copy) || !QFileInfo::exists(path))
        return true;
    QFile file(path);
    return file.copy(copy) || sayUnwritten("no copy of it can be kept: " + file.errorString().toStdString());
}

void UserDefaults::setAside(const std::string& why) {
    m_wasUnreadable = true;
    for (int number = 1; number < 1000; ++number) {
        const QString aside = qString(endOfLinks(m_path)) + QStringLiteral(".unreadable-%1").arg(number);
        if (QFileInfo::exists(aside))
            continue;
        if (QFile::rename(qString(endOfLinks(m_path)), aside)) {
            sayFault("UserDefaults: settings file " + m_path + " cannot be read (" + why + "); it is kept as " +
                     aside.toStdString() + ", defaults are used.");
            return;
        }
        break;
    }
    sayFault("UserDefaults: settings file " + m_path + " cannot be read (" + why +
             ") nor set aside; defaults are used and nothing will be saved.");
    m_writeFailureSaid = true;
    m_readOnly = true;
}

void UserDefaults::registerDefault(std::string_view key, QJsonValue value) {
    const std::lock_guard guard(m_mutex);
    const QString name = qString(key);
    const QJsonValue stored = m_stored.value(name);
    if (!stored.isUndefined() && !sameType(stored, value))
        m_log.log("UserDefaults: setting \"" + std::string(key) +
                  "\" is of the wrong type; its default is used.");
    m_registered.insert(name, std::move(value));
}

void UserDefaults::overrideForThisRun(std::string_view key, QJsonValue value) {
    const std::lock_guard guard(m_mutex);
    m_overrides.insert(qString(key), std::move(value));
}

QJsonValue UserDefaults::valueForKey(std::string_view key) const {
    const std::lock_guard guard(m_mutex);
    const QString name = qString(key);
    const QJsonValue registered = m_registered.value(name);
    for (const QJsonObject* values : {&m_overrides, &m_stored}) {
        const QJsonValue value = values->value(name);
        if (!value.isUndefined() && sameType(value, registered))
            return value;
    }
    return registered;
}

void UserDefaults::keepOutOfFile(std::string_view key) {
    const std::lock_guard guard(m_mutex);
    m_keptOut.emplace(key);
}

bool UserDefaults::boolForKey(std::string_view key) const {
    return valueForKey(key).toBool();
}

int UserDefaults::integerForKey(std::string_view key) const {
    const double value = std::trunc(valueForKey(key).toDouble());
    if (value >= std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    if (value <= std::numeric_limits<int>::min())
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

double UserDefaults::doubleForKey(std::string_view key) const {
    return valueForKey(key).toDouble();
}

std::string UserDefaults::stringForKey(std::string_view key) const {
    return valueForKey(key).toString().toStdString();
}

QJsonValue UserDefaults::registeredDefault(std::string_view key) const {
    const std::lock_guard guard(m_mutex);
    return m_registered.value(qString(key));
}

void UserDefaults::set(std::string_view key, QJsonValue value) {
    const std::lock_guard guard(m_mutex);
    const QString name = qString(key);
    if (m_keptOut.contains(key)) {
        m_overrides.insert(name, std::move(value));
        return;
    }
    // What this run was merely told to use is not a person's choice, as long as it stays unchanged.
    const QJsonValue overridden = m_overrides.value(name);
    if (!overridden.isUndefined()) {
        if (overridden == value)
            return;
        m_overrides.remove(name);
    }
    if (isSettled(name, value))
        return;
    m_stored.insert(name, std::move(value));
    m_dirty = true;
}

/// Whether storing `value` would change nothing, or only lose what a later version means by the stored value.
bool UserDefaults::isSettled(const QString& name, const QJsonValue& value) const {
    const QJsonValue stored = m_stored.value(name);
    if (stored.isUndefined())
        return false;
    const QJsonValue registered = m_registered.value(name);
    return stored == value || (m_isOfLaterVersion && !sameType(stored, registered) && value == registered);
}

void UserDefaults::set(std::string_view key, std::string_view text) {
    set(key, QJsonValue(qString(text)));
}

bool UserDefaults::synchronize() {
    const std::lock_guard guard(m_mutex);
    if (!m_dirty || m_path.empty())
        return true;
    if (m_readOnly)
        return false;
    const QString path = qString(endOfLinks(m_path));
    if (const std::string why = protectionOf(path); !why.empty())
        return sayUnwritten(why);
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (m_isOfLaterVersion && !keepCopyOfLaterVersion())
        return false;
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        QJsonObject written = m_stored;
        if (!m_isOfLaterVersion)
            written.insert(versionKey, settingsVersion);
        file.write(QJsonDocument(written).toJson());
        if (file.commit()) {
            m_dirty = false;
            m_writeFailureSaid = false;
            return true;
        }
    }
    return sayUnwritten(file.errorString().toStdString());
}

/// Always false.
bool UserDefaults::sayUnwritten(const std::string& why) {
    if (!std::exchange(m_writeFailureSaid, true))
        sayFault("UserDefaults: settings file " + m_path + " cannot be written (" + why + ").");
    return false;
}

void UserDefaults::sayFault(const std::string& fault) {
    m_log.log(fault);
    if (m_faultHandler)
        m_faultHandler(fault);
    else
        m_untoldFaults.push_back(fault);
}

void UserDefaults::setFaultHandler(std::function<void(const std::string& fault)> handler) {
    const std::lock_guard guard(m_mutex);
    m_faultHandler = std::move(handler);
    if (m_faultHandler)
        for (const std::string& fault : std::exchange(m_untoldFaults, {}))
            m_faultHandler(fault);
}

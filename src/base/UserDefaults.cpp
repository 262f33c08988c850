#include "base/UserDefaults.h"

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
QString qString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// Two numbers are of one type however they are written; a registered null accepts every type.
bool sameType(const QJsonValue& value, const QJsonValue& registered) {
    return registered.isUndefined() || registered.isNull() || value.type() == registered.type();
}
} // namespace

UserDefaults::UserDefaults(std::string path, SystemLog& log) : m_path(std::move(path)), m_log(log) {
    if (!m_path.empty())
        load();
}

void UserDefaults::load() {
    QFile file(qString(m_path));
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        setAside(file.errorString().toStdString());
        return;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    file.close();
    if (document.isObject())
        m_stored = document.object();
    else
        setAside(error.error == QJsonParseError::NoError ? "it holds no JSON object"
                                                         : error.errorString().toStdString());
}

void UserDefaults::setAside(const std::string& why) {
    for (int number = 1; number < 1000; ++number) {
        const QString aside = qString(m_path) + QStringLiteral(".unreadable-%1").arg(number);
        if (QFileInfo::exists(aside))
            continue;
        if (QFile::rename(qString(m_path), aside)) {
            m_log.log("UserDefaults: settings file " + m_path + " cannot be read (" + why +
                      "); it is kept as " + aside.toStdString() + ", defaults are used.");
            return;
        }
        break;
    }
    m_log.log("UserDefaults: settings file " + m_path + " cannot be read (" + why +
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
    const QJsonValue stored = m_stored.value(name);
    if (stored == value && !stored.isUndefined())
        return;
    m_stored.insert(name, std::move(value));
    m_dirty = true;
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
    const QString path = qString(m_path);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(m_stored).toJson());
        if (file.commit()) {
            m_dirty = false;
            m_writeFailureSaid = false;
            return true;
        }
    }
    if (!std::exchange(m_writeFailureSaid, true))
        m_log.log("UserDefaults: settings file " + m_path + " cannot be written (" +
                  file.errorString().toStdString() + ").");
    return false;
}

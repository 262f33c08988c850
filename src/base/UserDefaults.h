// base/UserDefaults.h — the settings store.
#pragma once
#include <functional>
#include <mutex>
#include <QJsonObject>
#include <QJsonValue>
#include <set>
#include <string>
#include <string_view>
#include <vector>

class SystemLog;

/// Settings in one JSON file, replaced atomically.
///
/// A key is looked up among this run's overrides, then the stored values, then the registered defaults. A
/// stored value of another type than the registered default is passed over.
///
/// The file bears the number of its format under "SettingsVersion". Of a file of a later format, what is known
/// is used and the rest stays; a copy of it is kept under "<path>.version-N" before it is first written to.
class UserDefaults {
public:
    static constexpr int settingsVersion = 1;

    /// `path` may be empty: nothing is read or written then. It may be a link: the file that it leads to is
    /// meant. An unreadable file is set aside under "<path>.unreadable-N", reported to `log`, and defaults are
    /// used.
    UserDefaults(std::string path, SystemLog& log);

    // Any thread
    void registerDefault(std::string_view key, QJsonValue value);
    /// Holds for this run only and is never written to the file, unless `set` replaces it.
    void overrideForThisRun(std::string_view key, QJsonValue value);
    /// From now on the key is set for this run only, whoever sets it.
    void keepOutOfFile(std::string_view key);

    bool boolForKey(std::string_view key) const;
    int integerForKey(std::string_view key) const;
    double doubleForKey(std::string_view key) const;
    std::string stringForKey(std::string_view key) const;
    QJsonValue valueForKey(std::string_view key) const;
    /// The registered default; undefined for a key that nobody registered.
    QJsonValue registeredDefault(std::string_view key) const;

    void set(std::string_view key, QJsonValue value);
    void set(std::string_view key, std::string_view text);
    /// Writes the file if something changed. False when it could not be written (said once in the log).
    bool synchronize();
    /// Is told what the log is told of a file that cannot be read or written, also what it was told before. It
    /// may be called on any thread, and must not use the settings. An empty one ends it.
    void setFaultHandler(std::function<void(const std::string& fault)> handler);

    const std::string& path() const { return m_path; }
    /// Whether the file was written by a later version than this one.
    bool isOfLaterVersion() const { return m_isOfLaterVersion; }
    /// Whether there was a file that could not be read: all settings have their defaults.
    bool wasUnreadable() const { return m_wasUnreadable; }

private:
    void load();
    void checkVersion();
    bool keepCopyOfLaterVersion();
    void setAside(const std::string& why);
    bool isSettled(const QString& name, const QJsonValue& value) const;
    bool sayUnwritten(const std::string& why);
    void sayFault(const std::string& fault);

    const std::string m_path;
    SystemLog& m_log;
    mutable std::mutex m_mutex;
    QJsonObject m_registered;
    QJsonObject m_overrides;
    QJsonObject m_stored;
    std::set<std::string, std::less<>> m_keptOut;
    std::function<void(const std::string&)> m_faultHandler;
    std::vector<std::string> m_untoldFaults; // of the time before there was a handler
    bool m_dirty = false;
    bool m_readOnly = false;
    bool m_isOfLaterVersion = false;
    bool m_wasUnreadable = false;
    bool m_writeFailureSaid = false;
};

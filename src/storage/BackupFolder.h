// storage/BackupFolder.h — sets recordings aside in a folder for a person to copy away.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class NotificationCenter;
class SystemLog;
class Volume;
struct VolumeEntry;

/// The folder "VelmoratideBackup" beside another one. Only files of ours (their names begin with one of the two
/// headers) that are not locked are ever moved or removed; all else stays where it is. Links are not followed.
///
/// Main thread.
class BackupFolder {
public:
    BackupFolder(Volume& volume, SystemLog& log, const NotificationCenter& notifications)
        : m_volume(volume), m_log(log), m_notifications(notifications) {}

    static std::string beside(std::string_view folder);
    /// The sizes of all entries below `folder` in bytes, folders included.
    static double sizeOf(Volume& volume, const std::string& folder);

    struct Move {
        std::string folder;                   ///< whose files are moved
        double limit = 0.0;                   ///< bytes that may be moved
        std::string_view progressName;        ///< bare name of the recording in progress: it stays
        std::vector<std::string> untouchable; ///< folders that must not turn out to be the backup folder
    };
    /// Empties the backup folder and fills it with the first files by name, up to the first that goes beyond
    /// the limit. Returns the bytes moved; 0 also when the folder cannot be had, which is said in the system
    /// log. Of what goes wrong, the first thing is also the log event "SomeErrorHappen".
    double refill(const Move& move);

private:
    bool isSafe(const std::string& backup, const Move& move) const;
    void empty(const std::string& folder);
    bool fill(const std::string& from, const std::string& to, const Move& move);
    bool moveFile(const std::string& from, const std::string& to, double bytes);
    void reportFailure(const std::string& message);
    void reportFailure(const char* what, int error, const std::string& path);

    Volume& m_volume;
    SystemLog& m_log;
    const NotificationCenter& m_notifications;
    bool m_failureReported = false; ///< by the present refill
    double m_moved = 0.0;           ///< bytes, by the present refill
};

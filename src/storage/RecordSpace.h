// storage/RecordSpace.h — makes room in the record folder by deleting the oldest recordings.
#pragma once
#include "storage/RecordFolder.h"
#include "storage/RecordingLooks.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class Clock;
class NotificationCenter;
class SystemLog;
class Volume;

/// Deletes unlocked recordings of one folder, oldest first, and says each deletion with its reason in the
/// system log. Each recording is tried once in a clean-up, so a clean-up always ends. Of what goes wrong in a
/// clean-up, the first thing is also the log event "SomeErrorHappen".
///
/// The names alone tell the longest that the total time can be; files are looked at only when that is too long.
/// Deleting thousands of large files takes minutes. As long as there is free space, what the total time asks
/// for is therefore left to `proceed` after a while: each stretch finds out anew what is there.
///
/// Main thread.
class RecordSpace {
public:
    /// What became of the wish to keep a copy of a recording that is about to be deleted.
    enum class Kept {
        yes,      ///< it may go now
        no,       ///< it stays; whoever refused has said why
        underWay, ///< it counts as gone, and goes with `deleteKept` once its copy is safe
    };
    /// Keeps a copy of the recording at a full path.
    using KeepHook = std::function<Kept(const std::string& path)>;

    RecordSpace(Volume& volume, const Clock& clock, SystemLog& log, const NotificationCenter& notifications)
        : m_volume(volume),
          m_clock(clock),
          m_log(log),
          m_notifications(notifications),
          m_looks(volume, clock) {}

    struct Place {
        std::string folder;
        std::string progressPath; ///< of the recording in progress, or empty
    };
    struct Limits {
        double maxTotalTime = 0.0;  ///< seconds
        double maxRecordTime = 0.0; ///< seconds by which the total may go beyond
        double needFreeSpace = 0.0; ///< bytes
    };
    void setKeepHook(KeepHook hook) { m_keep = std::move(hook); }

    /// False when nothing could be deleted for the total time, when there is too little free space, or when
    /// there was: a call that deleted for free space alone says no even if there is room by now. Free space
    /// that cannot be had is no reason to delete anything.
    ///
    /// May leave recordings for `proceed` to delete; says then what it would say after that.
    bool secure(const Place& place, const Limits& limits);
    bool isUnfinished() const { return m_unfinished.has_value(); }
    /// Goes on with the last clean-up for a stretch. Limits that have become wider since hold; narrower ones
    /// are the next clean-up's.
    void proceed(const Place& place, const Limits& limits);
    /// Deletes one recording, whatever the room; false when there was none to delete.
    bool deleteOlderFile(const Place& place);
    /// Deletes a recording whose keeping was under way, now that its copy is safe. False when it stays: it was
    /// locked meanwhile, or could not be deleted.
    bool deleteKept(const std::string& path);
    /// Seconds of the unlocked recordings.
    double totalTime(const Place& place);
    /// The recordings in order, with their locks and lengths; an unreadable folder is said in the system log
    /// and has none.
    std::vector<Recording> recordings(const Place& place);
    /// Free bytes where `folder` lies; when they cannot be had, that is said once in the system log.
    std::optional<double> freeSpace(const std::string& folder);

private:
    struct CleanUp {
        std::string folder;
        std::vector<Recording> recordings{};
        bool isLooked = false; ///< whether locks and lengths are those of the files
        std::size_t next = 0;
        double totalTime = 0.0;         ///< seconds left
        double removedBytes = 0.0;      ///< by the sizes of the files
        std::set<std::string> failed{}; ///< names that were tried and stay
    };
    struct Unfinished {
        Limits limits;
        std::set<std::string> failed;
        bool failureReported = false;
    };
    CleanUp begin(const Place& place, const Limits& limits);
    bool isLocked(const CleanUp& cleanUp, const Recording& recording);
    bool deleteForTime(CleanUp& cleanUp, const Limits& limits);
    bool hasRoom(const std::string& folder, double needed);
    bool deleteOldest(CleanUp& cleanUp, const std::string& reason);
    std::vector<Recording> list(const Place& place);
    void reportFailure(const std::string& message);
    bool deleteRecording(const std::string& path, const std::string& reason);
    bool remove(const std::string& path, const std::string& reason);
    void deleteImage(const std::string& path);
    bool makeFreeSpace(CleanUp& cleanUp, const Limits& limits, std::optional<double> freeAtFirst);

    Volume& m_volume;
    const Clock& m_clock;
    SystemLog& m_log;
    const NotificationCenter& m_notifications;
    RecordingLooks m_looks;
    KeepHook m_keep;
    std::optional<Unfinished> m_unfinished;
    std::map<std::string, std::string> m_underWay; ///< full path, reason of the deletion
    std::set<std::string> m_unkept;                ///< full paths of which it was said that they stay
    bool m_failureReported = false;                ///< in the present clean-up
    bool m_unknownFreeSpaceSaid = false;
};

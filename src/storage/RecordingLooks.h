// storage/RecordingLooks.h — what only the files of recordings tell: their locks, and lengths that names leave
// open.
#pragma once
#include "storage/FileStatus.h"
#include "storage/RecordFolder.h"

#include <map>
#include <string>
#include <vector>

class Clock;
class Volume;

/// Looks at each file once. A file is read only if its name leaves its length open, and only when it is not
/// known or not as it was: replaced, grown, cut short or renamed. Locks are never remembered.
///
/// Main thread.
class RecordingLooks {
public:
    RecordingLooks(Volume& volume, const Clock& clock) : m_volume(volume), m_clock(clock) {}

    /// Completes `recordings`, which are all of `folder`.
    void complete(const std::string& folder, std::vector<Recording>& recordings);
    /// Files that were read so far.
    int filesRead() const { return m_filesRead; }

private:
    struct Known {
        FileStatus file;
        double seconds = 0.0;
    };
    double secondsOf(const std::string& path, const Recording& recording, const FileStatus& file);
    bool isSettled(const FileStatus& file) const;

    Volume& m_volume;
    const Clock& m_clock;
    std::map<std::string, Known> m_known; // by name; of the last folder that was looked at
    std::map<std::string, Known> m_found; // at the present look
    int m_filesRead = 0;
};

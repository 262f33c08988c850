// keeper/KeepSpace.h — keeps the folder of kept recordings within its budget.
#pragma once
#include "keeper/KeepName.h"

#include <string>
#include <vector>

class SystemLog;
class Volume;

/// Deletes the oldest kept files of one folder: never a locked one, one that is no kept file of ours, a link, a
/// folder, or one whose recording still lies beside it uncompressed. Each deletion is said in the system log.
/// Any thread.
class KeepSpace {
public:
    KeepSpace(Volume& volume, SystemLog& log, KeepName names, std::string folder)
        : m_volume(volume), m_log(log), m_names(std::move(names)), m_folder(std::move(folder)) {}

    struct Limits {
        int keepPeriod = 10;            ///< days; at most `longestPeriod`
        double maxRecordTime = 3600.0;  ///< seconds by which the total may go beyond
        double needFreeKeepSpace = 0.0; ///< bytes
    };
    /// The seconds of more days than these do not fit the number they are reckoned in.
    static constexpr int longestPeriod = 24855;

    /// False when nothing could be deleted though it should have been, when there is too little free space, or
    /// when there was.
    bool secureKeepSpace(const Limits& limits);
    /// Deletes the first kept file by name that may go; false when there is none.
    bool deleteOlderKeepFile();
    /// Seconds of all kept files, by their names.
    double totalKeepTime() const;
    /// Bytes of all entries of the folder itself, each taken as a 32-bit number.
    double totalKeepSpace() const;
    /// Free bytes where the folder lies; infinite when they cannot be had: nothing is deleted for them then.
    double freeSystemSpace() const;

private:
    bool secure(const Limits& limits, double freeAtFirst);

    Volume& m_volume;
    SystemLog& m_log;
    const KeepName m_names;
    const std::string m_folder;
    double m_removedBytes = 0.0;
};

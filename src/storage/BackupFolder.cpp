#include "storage/BackupFolder.h"

#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "storage/Paths.h"
#include "storage/SoundFileNames.h"
#include "storage/Volume.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

namespace {
constexpr std::string_view backupName = "VelmoratideBackup";

bool isFolderEntry(const VolumeEntry& entry) {
    return entry.isFolder && !entry.isLink;
}

bool isOurs(const VolumeEntry& entry) {
    return !entry.isFolder && !entry.isLink && !entry.isSpecial &&
           (entry.name.starts_with(SoundFileNames::headerString) ||
            entry.name.starts_with(SoundFileNames::hiddenHeaderString));
}

/// Without links and dots; empty when the system cannot tell.
std::filesystem::path realPath(const std::string& path) {
    std::error_code error;
    std::filesystem::path real = std::filesystem::weakly_canonical(path, error);
    return error ? std::filesystem::path() : real;
}

bool isInside(const std::filesystem::path& path, const std::filesystem::path& folder) {
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
}
} // namespace

std::string BackupFolder::beside(std::string_view folder) {
    return Paths::inFolder(Paths::folderOf(Paths::trimmed(folder)), backupName);
}

double BackupFolder::sizeOf(Volume& volume, const std::string& folder) {
    double size = 0.0;
    for (const VolumeEntry& entry : volume.list(folder)) {
        const std::string path = Paths::inFolder(folder, entry.name);
        size += static_cast<double>(volume.fileSize(path).value_or(0));
        if (isFolderEntry(entry))
            size += sizeOf(volume, path);
    }
    return size;
}

void BackupFolder::reportFailure(const std::string& message) {
    m_log.log(message);
    if (!std::exchange(m_failureReported, true))
        m_notifications.postLogEvent("SomeErrorHappen", message);
}

void BackupFolder::reportFailure(const char* what, int error, const std::string& path) {
    reportFailure(formatted("VmMechanic: %s (%s): %s", what, std::strerror(error), path.c_str()));
}

/// A link, or a folder in use, under the backup's name would have recordings removed that nobody set aside.
bool BackupFolder::isSafe(const std::string& backup, const Move& move) const {
    const std::filesystem::path real = realPath(backup);
    const std::filesystem::path parent = realPath(Paths::folderOf(backup));
    if (real.empty() || parent.empty() || real != parent / backupName)
        return false;
    return std::none_of(move.untouchable.begin(), move.untouchable.end(), [&](const std::string& folder) {
        const std::filesystem::path used = realPath(folder);
        return used.empty() || isInside(used, real);
    });
}

double BackupFolder::refill(const Move& move) {
    const std::string backup = beside(move.folder);
    m_moved = 0.0;
    m_failureReported = false;
    if (!isSafe(backup, move)) {
        reportFailure("VmMechanic: backup folder is a link or in use, nothing is moved: " + backup);
        return 0.0;
    }
    if (m_volume.isFolder(backup))
        empty(backup);
    if (!m_volume.makeFolder(backup)) {
        reportFailure("VmMechanic: backup folder create error: " + backup);
        return 0.0;
    }
    fill(move.folder, backup, move);
    return m_moved;
}

void BackupFolder::empty(const std::string& folder) {
    int staying = 0;
    for (const VolumeEntry& entry : m_volume.list(folder)) {
        const std::string path = Paths::inFolder(folder, entry.name);
        if (isFolderEntry(entry)) {
            empty(path);
            if (const int error = m_volume.remove(path); error != 0 && error != ENOTEMPTY && error != EEXIST)
                reportFailure("backup folder cannot be emptied", error, path);
        } else if (!isOurs(entry) || m_volume.isLocked(path)) {
            ++staying;
        } else if (const int error = m_volume.remove(path); error != 0) {
            reportFailure("old backup cannot be deleted", error, path);
        } else {
            m_log.log("VmMechanic: old backup deleted (a new one is made): " + path);
        }
    }
    if (staying > 0)
        m_log.log(formatted("VmMechanic: %d locked or other files stay in the backup folder: %s", staying,
                            folder.c_str()));
}

/// False when the walk is over.
bool BackupFolder::fill(const std::string& from, const std::string& to, const Move& move) {
    errno = 0;
    const std::vector<VolumeEntry> entries = m_volume.list(from);
    if (errno != 0)
        reportFailure("folder cannot be read for the backup", errno, from);
    for (const VolumeEntry& entry : entries) {
        const std::string path = Paths::inFolder(from, entry.name);
        const std::string target = Paths::inFolder(to, entry.name);
        if (isFolderEntry(entry)) {
            if (!fill(path, target, move))
                return false;
            continue;
        }
        if (!isOurs(entry) || entry.name == move.progressName || m_volume.isLocked(path))
            continue;
        const double bytes = static_cast<double>(m_volume.fileSize(path).value_or(0));
        if (m_moved + bytes > move.limit || !moveFile(path, target, bytes))
            return false;
    }
    return true;
}

/// False when no other file can be moved either.
bool BackupFolder::moveFile(const std::string& from, const std::string& to, double bytes) {
    const std::string folder = Paths::folderOf(to);
    if (!m_volume.makeFolder(folder)) {
        reportFailure("VmMechanic: backup folder create error: " + folder);
        return false;
    }
    const int error = m_volume.renameWithoutReplacing(from, to);
    if (error == 0)
        m_moved += bytes;
    else
        reportFailure("file cannot be moved into the backup folder", error, from);
    return error != EXDEV; // the folder is a volume of its own: no name can leave it
}

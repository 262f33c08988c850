#include "storage/RecordSpace.h"

#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "storage/Paths.h"
#include "storage/Volume.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

namespace {
/// Seconds that deleting may take at a stretch: enough for thousands of files on most disks, and far less than
/// the sample queue holds.
constexpr double longestStretch = 2.0;

bool exceeds(double totalTime, const RecordSpace::Limits& limits) {
    return totalTime - limits.maxTotalTime > limits.maxRecordTime;
}
} // namespace

void RecordSpace::reportFailure(const std::string& message) {
    m_log.log(message);
    if (!std::exchange(m_failureReported, true))
        m_notifications.postLogEvent("SomeErrorHappen", message);
}

std::vector<Recording> RecordSpace::list(const Place& place) {
    RecordFolder::Listing listing = RecordFolder::list(m_volume, place.folder, place.progressPath);
    m_failureReported = false;
    if (listing.error != 0)
        reportFailure(formatted("VmMechanic: record folder cannot be read (%s): %s",
                                std::strerror(listing.error), place.folder.c_str()));
    return std::move(listing.recordings);
}

std::vector<Recording> RecordSpace::recordings(const Place& place) {
    std::vector<Recording> found = list(place);
    m_looks.complete(place.folder, found);
    return found;
}

double RecordSpace::totalTime(const Place& place) {
    return RecordFolder::totalTimeExceptLocked(recordings(place));
}

std::optional<double> RecordSpace::freeSpace(const std::string& folder) {
    const std::optional<double> bytes = m_volume.freeBytes(folder);
    const bool known = bytes && std::isfinite(*bytes);
    if (!known && !m_unknownFreeSpaceSaid)
        m_log.log("VmMechanic: free space is unknown, nothing is deleted for it: " + folder);
    m_unknownFreeSpaceSaid = !known;
    return known ? bytes : std::nullopt;
}

bool RecordSpace::deleteOlderFile(const Place& place) {
    CleanUp cleanUp{.folder = place.folder, .recordings = list(place)};
    return deleteOldest(cleanUp, "asked for");
}

RecordSpace::CleanUp RecordSpace::begin(const Place& place, const Limits& limits) {
    CleanUp cleanUp{.folder = place.folder, .recordings = list(place)};
    cleanUp.totalTime = RecordFolder::totalTimeExceptLocked(cleanUp.recordings);
    if (!exceeds(cleanUp.totalTime, limits)) // neither with locks nor with shorter sound
        return cleanUp;
    m_looks.complete(cleanUp.folder, cleanUp.recordings);
    cleanUp.totalTime = RecordFolder::totalTimeExceptLocked(cleanUp.recordings);
    cleanUp.isLooked = true;
    return cleanUp;
}

bool RecordSpace::secure(const Place& place, const Limits& limits) {
    m_unfinished.reset();
    const std::optional<double> freeAtFirst = freeSpace(place.folder);
    CleanUp cleanUp = begin(place, limits);
    const bool isTooLong = exceeds(cleanUp.totalTime, limits);
    if (isTooLong && !deleteForTime(cleanUp, limits))
        return false;
    if (m_unfinished || hasRoom(place.folder, limits.needFreeSpace))
        return true;
    // Whoever deleted for the total time first asks for the free space once more at the end.
    return makeFreeSpace(cleanUp, limits, freeAtFirst) && isTooLong;
}

void RecordSpace::proceed(const Place& place, const Limits& limits) {
    if (!m_unfinished)
        return;
    Unfinished rest = *std::exchange(m_unfinished, std::nullopt);
    rest.limits.maxTotalTime = std::max(rest.limits.maxTotalTime, limits.maxTotalTime);
    rest.limits.maxRecordTime = std::max(rest.limits.maxRecordTime, limits.maxRecordTime);
    CleanUp cleanUp = begin(place, rest.limits);
    cleanUp.failed = std::move(rest.failed);
    m_failureReported = m_failureReported || rest.failureReported;
    deleteForTime(cleanUp, rest.limits);
}

/// False when nothing could be deleted.
bool RecordSpace::deleteForTime(CleanUp& cleanUp, const Limits& limits) {
    const HostTime enough = m_clock.hostTime() + hostTimeFromSeconds(longestStretch);
    bool isDeleted = false;
    while (exceeds(cleanUp.totalTime, limits)) {
        if (isDeleted && m_clock.hostTime() >= enough && hasRoom(cleanUp.folder, limits.needFreeSpace)) {
            m_unfinished = {limits, std::move(cleanUp.failed), m_failureReported};
            break;
        }
        if (!deleteOldest(cleanUp, formatted("total time %.0f s exceeds %.0f s by more than %.0f s",
                                             cleanUp.totalTime, limits.maxTotalTime, limits.maxRecordTime)))
            break;
        isDeleted = true;
    }
    return isDeleted;
}

/// A free space that cannot be had is no reason to delete anything.
bool RecordSpace::hasRoom(const std::string& folder, double needed) {
    const std::optional<double> free = freeSpace(folder);
    return !free || *free > needed;
}

/// True when there is enough in the end.
bool RecordSpace::makeFreeSpace(CleanUp& cleanUp, const Limits& limits, std::optional<double> freeAtFirst) {
    for (;;) {
        const std::optional<double> free = freeSpace(cleanUp.folder);
        if (!free || *free > limits.needFreeSpace)
            return true;
        // Some file systems give the room of removed files back only seconds later. Going by the free space
        // alone would take every recording meanwhile.
        if (cleanUp.removedBytes > 0.0 && freeAtFirst &&
            *freeAtFirst + cleanUp.removedBytes > limits.needFreeSpace) {
            m_log.log(
                formatted("VmMechanic: %.0f bytes were removed but only %.0f are free, no more is deleted "
                          "for now: %s",
                          cleanUp.removedBytes, *free, cleanUp.folder.c_str()));
            return false;
        }
        if (!deleteOldest(cleanUp, formatted("%.0f bytes free, %.0f needed", *free, limits.needFreeSpace)))
            return false;
    }
}

bool RecordSpace::isLocked(const CleanUp& cleanUp, const Recording& recording) {
    return cleanUp.isLooked ? recording.locked
                            : m_volume.isLocked(Paths::inFolder(cleanUp.folder, recording.name));
}

bool RecordSpace::deleteOldest(CleanUp& cleanUp, const std::string& reason) {
    while (cleanUp.next < cleanUp.recordings.size()) {
        const Recording& recording = cleanUp.recordings[cleanUp.next++];
        if (recording.inProgress || cleanUp.failed.contains(recording.name) || isLocked(cleanUp, recording))
            continue;
        const std::string path = Paths::inFolder(cleanUp.folder, recording.name);
        const std::int64_t bytes = m_volume.fileSize(path).value_or(0);
        if (!deleteRecording(path, reason)) {
            cleanUp.failed.insert(recording.name);
            continue;
        }
        cleanUp.totalTime -= recording.seconds;
        cleanUp.removedBytes += static_cast<double>(bytes);
        return true;
    }
    m_log.log(formatted("VmMechanic: no recording could be deleted (%s): %s", reason.c_str(),
                        cleanUp.folder.c_str()));
    return false;
}

bool RecordSpace::deleteRecording(const std::string& path, const std::string& reason) {
    switch (m_keep ? m_keep(path) : Kept::yes) {
    case Kept::no:
        if (m_unkept.insert(path).second) // every clean-up asks again
            m_log.log("VmMechanic: recording stays, for it was not kept: " + path);
        return false;
    case Kept::underWay:
        m_underWay.insert_or_assign(path, reason);
        return true;
    case Kept::yes:
        break;
    }
    return remove(path, reason);
}

bool RecordSpace::deleteKept(const std::string& path) {
    m_failureReported = false;
    const auto found = m_underWay.extract(path);
    return !m_volume.exists(path) || remove(path, found ? found.mapped() : "it was kept");
}

bool RecordSpace::remove(const std::string& path, const std::string& reason) {
    m_unkept.erase(path);
    if (m_volume.isLocked(path)) { // since it was listed; keeping may take a while
        m_log.log("VmMechanic: recording stays, for it was locked meanwhile: " + path);
        return false;
    }
    const int error = m_volume.remove(path);
    if (error != 0 || m_volume.exists(path)) {
        reportFailure(formatted("VmMechanic: recording cannot be deleted (%s): %s",
                                error != 0 ? std::strerror(error) : "it is still there", path.c_str()));
        return false;
    }
    m_log.log(formatted("VmMechanic: recording deleted (%s): %s", reason.c_str(), path.c_str()));
    deleteImage(path);
    return true;
}

void RecordSpace::deleteImage(const std::string& path) {
    const std::string image = RecordFolder::imagePath(path);
    if (!m_volume.exists(image) || m_volume.isFolder(image) || m_volume.isLocked(image))
        return;
    if (const int error = m_volume.remove(image); error != 0)
        reportFailure(formatted("VmMechanic: waveform image cannot be deleted (%s): %s", std::strerror(error),
                                image.c_str()));
}

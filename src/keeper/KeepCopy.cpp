#include "keeper/KeepCopy.h"

#include "keeper/KeepName.h"
#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/SoundFileNames.h"
#include "storage/Volume.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {
using Result = FileCopier::Result;

Result failure(const std::string& what, int error) {
    return {FileCopier::Outcome::failed, what + " (" + std::strerror(error) + ")", error};
}

/// Whether a file system or a volume border has no second name for a file, where a copy may do.
bool wantsCopy(int error) {
    return error == EXDEV || error == EPERM || error == EOPNOTSUPP || error == EMLINK || error == ENOSYS ||
           error == EINVAL;
}

/// What was written to the recording and the folder's names reach the disk.
Result synchronized(Volume& volume, const std::string& target) {
    const std::unique_ptr<VolumeFile> file = volume.openForReading(target);
    if (file == nullptr)
        return failure("it cannot be opened", errno);
    if (const int error = file->synchronize(); error != 0)
        return failure("it cannot be brought to the disk", error);
    if (const int error = volume.synchronizeFolder(Paths::folderOf(target)); error != 0 && error != EINVAL)
        return failure("the keep folder cannot be brought to the disk", error);
    return {FileCopier::Outcome::done, {}, 0};
}
} // namespace

KeepCopy KeepCopy::make(Volume& volume, const std::string& recording, const std::string& folder,
                        std::atomic<bool>& cancelled) {
    KeepCopy copy;
    if (!volume.isFolder(folder)) {
        copy.result = failure("the keep folder is not there", ENOENT);
        return copy;
    }
    // By what the paths lead to: there a second name would be the recording's own, and go with it.
    if (volume.isSameFile(Paths::inFolder(folder, "."), Paths::inFolder(Paths::folderOf(recording), "."))) {
        copy.result = failure("the keep folder is the record folder", EINVAL);
        return copy;
    }
    errno = 0;
    const std::vector<VolumeEntry> entries = volume.list(folder);
    if (errno != 0) {
        copy.result = failure("the keep folder cannot be read", errno);
        return copy;
    }
    const std::string name(RecordFolder::bareName(recording));
    copy.target = Paths::inFolder(folder, name);
    if (volume.isSameFile(recording, copy.target)) { // since a crash between the keeping and the deletion
        copy.result = synchronized(volume, copy.target);
        return copy;
    }
    copy.target = Paths::inFolder(folder, SoundFileNames::freeName(name, [&entries](const std::string& wished) {
                                      return std::ranges::any_of(entries, [&wished](const VolumeEntry& entry) {
                                          return entry.name == wished || KeepName::stemOf(entry.name) == wished;
                                      });
                                  }));
    const int error = volume.makeLink(recording, copy.target);
    if (error == 0) {
        copy.result = synchronized(volume, copy.target);
        if (!copy.result.done())
            volume.remove(copy.target);
    } else if (wantsCopy(error)) {
        copy.result = FileCopier(volume).copy(recording, copy.target, {.cancelled = &cancelled});
    } else {
        copy.result = failure("it cannot be brought into the keep folder", error);
    }
    return copy;
}

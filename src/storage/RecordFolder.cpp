#include "storage/RecordFolder.h"

#include "storage/Paths.h"
#include "storage/RecordingName.h"
#include "storage/SoundFileNames.h"
#include "storage/Volume.h"

#include <cerrno>

RecordFolder::Listing RecordFolder::list(Volume& volume, const std::string& folder,
                                         std::string_view progressPath) {
    Listing listing;
    errno = 0;
    const std::vector<VolumeEntry> entries = volume.list(folder);
    listing.error = errno;
    if (listing.error != 0)
        return listing;
    // By its bare name, for the same folder may be reached on several paths.
    const std::string_view progressName = bareName(progressPath);
    for (const VolumeEntry& entry : entries) {
        if (entry.isFolder || entry.isLink || entry.isSpecial)
            continue;
        const auto name = RecordingName::of(entry.name);
        if (!name)
            continue;
        listing.recordings.push_back({.name = entry.name,
                                      .seconds = static_cast<double>(name->length()),
                                      .inProgress = entry.name == progressName,
                                      .endsBeforeStart = name->endSeconds < name->startSeconds});
    }
    return listing;
}

double RecordFolder::totalTimeExceptLocked(const std::vector<Recording>& recordings) {
    double total = 0.0;
    for (const Recording& recording : recordings)
        if (!recording.locked && !recording.inProgress)
            total += recording.seconds;
    return total;
}

std::string RecordFolder::imagePath(std::string_view path) {
    const std::string_view name = bareName(path);
    const std::string_view stem = name.substr(0, name.rfind('.'));
    std::string image = "." + std::string(stem.substr(stem.empty() ? 0 : 1)) + ".";
    return Paths::inFolder(Paths::folderOf(path), image.append(SoundFileNames::imageExtension));
}

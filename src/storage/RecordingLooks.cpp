#include "storage/RecordingLooks.h"

#include "base/Clock.h"
#include "storage/Paths.h"
#include "storage/SoundFile.h"
#include "storage/Volume.h"

#include <algorithm>
#include <optional>
#include <utility>

void RecordingLooks::complete(const std::string& folder, std::vector<Recording>& recordings) {
    std::vector<std::string> names;
    names.reserve(recordings.size());
    for (const Recording& recording : recordings)
        names.push_back(recording.name);
    const std::vector<std::optional<FileStatus>> files = m_volume.look(folder, names);
    for (std::size_t i = 0; i < recordings.size(); ++i) {
        Recording& recording = recordings[i];
        recording.locked = files[i] && files[i]->locked;
        if (recording.endsBeforeStart && files[i])
            recording.seconds = secondsOf(Paths::inFolder(folder, recording.name), recording, *files[i]);
    }
    m_known = std::exchange(m_found, {});
}

/// Two changes within one tick of the file system's clock may leave one status, so a file that has changed just
/// now is not remembered.
bool RecordingLooks::isSettled(const FileStatus& file) const {
    constexpr std::int64_t settling = 2'000'000'000; // nanoseconds: the coarsest clock of a file system
    return m_clock.now().microseconds * 1000 - std::max(file.changed, file.modified) > settling;
}

/// A recording that ends earlier in the day than it began went over midnight, or through the hour that comes
/// twice when summer time ends: half an hour is no day then. Its sound tells which.
double RecordingLooks::secondsOf(const std::string& path, const Recording& recording, const FileStatus& file) {
    if (auto known = m_known.extract(recording.name); known && known.mapped().file == file)
        return m_found.insert(std::move(known)).position->second.seconds;
    ++m_filesRead;
    double seconds = recording.seconds; // by its name
    const SoundFile::Opened opened = SoundFile::openForReading(m_volume, path);
    if (opened.file == nullptr || !(opened.file->rate() > 0.0))
        return seconds;
    const double bySound = static_cast<double>(opened.file->frames()) / opened.file->rate();
    constexpr double tolerance = 60.0; // a name holds whole seconds, and sound may be missing here and there
    if (bySound < seconds - tolerance)
        seconds = bySound;
    if (isSettled(file))
        m_found.insert_or_assign(recording.name, Known{file, seconds});
    return seconds;
}

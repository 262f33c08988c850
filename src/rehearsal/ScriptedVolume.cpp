#include "rehearsal/ScriptedVolume.h"

#include "base/Clock.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace {
class ScriptedFile final : public VolumeFileLayer {
public:
    ScriptedFile(std::unique_ptr<VolumeFile> file, ScriptedVolume& volume)
        : VolumeFileLayer(std::move(file)), m_volume(volume) {}

    int writeAt(std::int64_t offset, std::span<const std::byte> bytes) override {
        const std::int64_t end = offset + static_cast<std::int64_t>(bytes.size());
        const int fault =
            m_volume.beforeWrite(static_cast<double>(std::max<std::int64_t>(end - m_file->size(), 0)));
        return fault != 0 ? fault : m_file->writeAt(offset, bytes);
    }
    int synchronize() override {
        m_volume.beforeSynchronizing();
        return 0; // a rehearsal's machine never loses power
    }

private:
    ScriptedVolume& m_volume;
};
} // namespace

std::vector<VolumeEntry> ScriptedVolume::list(const std::string& folder) {
    if (const double seconds = m_listSeconds; seconds > 0.0)
        m_clock.sleep(seconds);
    return m_files.list(folder); // errno is its word too
}

void ScriptedVolume::beforeSynchronizing() {
    if (const double seconds = m_writeSeconds; seconds > 0.0)
        m_clock.sleep(seconds);
}

int ScriptedVolume::beforeWrite(double growth) {
    if (m_failingWrite > 0 && --m_failingWrite == 0)
        return EIO;
    return m_writeError ? ENOSPC : takeRoom(growth);
}

int ScriptedVolume::takeRoom(double growth) {
    // Other programs write too, so the files themselves are counted; but not for each write on an empty volume.
    constexpr double ample = 64.0 * 1024.0 * 1024.0;
    const std::lock_guard guard(m_mutex);
    if (m_folder.empty() || growth <= 0.0)
        return 0;
    if (m_countedFree < growth + ample)
        m_countedFree = countFreeBytes();
    if (m_countedFree < growth)
        return ENOSPC;
    m_countedFree -= growth;
    return 0;
}

void ScriptedVolume::limitRoom(const std::string& folder, const VolumeRoom& room) {
    const std::lock_guard guard(m_mutex);
    m_folder = folder;
    m_room = room;
    m_countedFree = countFreeBytes();
}

void ScriptedVolume::setFreeBytes(double bytes) {
    const std::lock_guard guard(m_mutex);
    m_room = {bytes, usedBytes(m_folder)};
    m_countedFree = bytes;
}

VolumeRoom ScriptedVolume::room() const {
    const std::lock_guard guard(m_mutex);
    return m_room;
}

double ScriptedVolume::countFreeBytes() const {
    return std::max(m_room.freeBytes - (usedBytes(m_folder) - m_room.usedBytes), 0.0);
}

std::optional<double> ScriptedVolume::freeBytes(const std::string& folder) {
    const std::lock_guard guard(m_mutex);
    if (m_folder.empty())
        return m_files.freeBytes(folder);
    m_countedFree = countFreeBytes();
    return m_countedFree;
}

double ScriptedVolume::usedBytes(const std::string& folder) {
    namespace fs = std::filesystem;
    double bytes = 0.0;
    std::set<std::pair<dev_t, ino_t>> counted;
    std::error_code fault; // what vanishes meanwhile takes no room
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, fault);
    for (; !fault && entry != fs::recursive_directory_iterator(); entry.increment(fault)) {
        struct stat status {};
        if (entry.depth() == 0 || ::lstat(entry->path().c_str(), &status) != 0 || !S_ISREG(status.st_mode))
            continue;
        if (status.st_nlink == 1 || counted.emplace(status.st_dev, status.st_ino).second)
            bytes += static_cast<double>(status.st_size);
    }
    return bytes;
}

std::unique_ptr<VolumeFile> ScriptedVolume::wrapped(std::unique_ptr<VolumeFile> file) {
    return file == nullptr ? nullptr : std::make_unique<ScriptedFile>(std::move(file), *this);
}

std::unique_ptr<VolumeFile> ScriptedVolume::create(const std::string& path) {
    if (m_writeError) {
        errno = ENOSPC;
        return nullptr;
    }
    return wrapped(m_files.create(path));
}

std::unique_ptr<VolumeFile> ScriptedVolume::openForUpdating(const std::string& path) {
    return wrapped(m_files.openForUpdating(path));
}

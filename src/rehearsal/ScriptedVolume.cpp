#include "rehearsal/ScriptedVolume.h"

#include "base/Clock.h"

#include <cerrno>

namespace {
class ScriptedFile final : public VolumeFile {
public:
    ScriptedFile(std::unique_ptr<VolumeFile> file, ScriptedVolume& volume)
        : m_file(std::move(file)), m_volume(volume) {}

    std::int64_t readAt(std::int64_t offset, std::span<std::byte> into) override {
        return m_file->readAt(offset, into);
    }
    int writeAt(std::int64_t offset, std::span<const std::byte> bytes) override {
        const int fault = m_volume.beforeWrite();
        return fault != 0 ? fault : m_file->writeAt(offset, bytes);
    }
    int truncate(std::int64_t size) override { return m_file->truncate(size); }
    int synchronize() override {
        m_volume.beforeSynchronizing();
        return 0; // a rehearsal's machine never loses power
    }
    std::int64_t size() override { return m_file->size(); }
    int close() override { return m_file->close(); }

private:
    std::unique_ptr<VolumeFile> m_file;
    ScriptedVolume& m_volume;
};
} // namespace

void ScriptedVolume::beforeSynchronizing() {
    if (const double seconds = m_writeSeconds; seconds > 0.0)
        m_clock.sleep(seconds);
}

int ScriptedVolume::beforeWrite() {
    if (m_failingWrite > 0 && --m_failingWrite == 0)
        return EIO;
    return m_writeError ? ENOSPC : 0;
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

std::unique_ptr<VolumeFile> ScriptedVolume::openForReading(const std::string& path) {
    return m_files.openForReading(path);
}

std::unique_ptr<VolumeFile> ScriptedVolume::openForUpdating(const std::string& path) {
    return wrapped(m_files.openForUpdating(path));
}

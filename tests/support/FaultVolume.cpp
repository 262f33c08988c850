#include "support/FaultVolume.h"

#include <algorithm>
#include <cerrno>

class FaultVolume::File final : public VolumeFileLayer {
public:
    File(FaultVolume& volume, std::unique_ptr<VolumeFile> file)
        : VolumeFileLayer(std::move(file)), m_volume(volume) {}

    std::int64_t readAt(std::int64_t offset, std::span<std::byte> into) override {
        return m_volume.m_readFails ? -1 : m_file->readAt(offset, into);
    }
    int writeAt(std::int64_t offset, std::span<const std::byte> bytes) override {
        ++m_volume.m_writes;
        if (m_volume.m_failingWrite > 0 && --m_volume.m_failingWrite == 0)
            return m_volume.m_writeError;
        const std::int64_t end = offset + static_cast<std::int64_t>(bytes.size());
        const std::int64_t grown = std::max<std::int64_t>(end - m_file->size(), 0);
        if (grown > m_volume.m_room) {
            const auto lacking = static_cast<std::size_t>(grown - std::max<std::int64_t>(m_volume.m_room, 0));
            m_volume.m_room = 0;
            m_file->writeAt(offset, bytes.first(bytes.size() - std::min(lacking, bytes.size())));
            return ENOSPC;
        }
        m_volume.m_room -= grown;
        return m_file->writeAt(offset, bytes);
    }
    int synchronize() override {
        ++m_volume.m_synchronizations;
        return m_volume.m_synchronizeError != 0 ? m_volume.m_synchronizeError : m_file->synchronize();
    }

private:
    FaultVolume& m_volume;
};

std::unique_ptr<VolumeFile> FaultVolume::wrapped(std::unique_ptr<VolumeFile> file) {
    if (!file || m_openFails)
        return nullptr;
    return std::make_unique<File>(*this, std::move(file));
}

std::unique_ptr<VolumeFile> FaultVolume::create(const std::string& path) {
    return m_openFails ? nullptr : wrapped(m_files.create(path));
}

std::unique_ptr<VolumeFile> FaultVolume::openForReading(const std::string& path) {
    return wrapped(m_files.openForReading(path));
}

std::unique_ptr<VolumeFile> FaultVolume::openForUpdating(const std::string& path) {
    return wrapped(m_files.openForUpdating(path));
}

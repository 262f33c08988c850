#include "faults/NthFaultVolume.h"

#include <cerrno>

class NthFaultVolume::File final : public VolumeFileLayer {
public:
    File(NthFaultVolume& volume, std::unique_ptr<VolumeFile> file)
        : VolumeFileLayer(std::move(file)), m_volume(volume) {}

    int writeAt(std::int64_t offset, std::span<const std::byte> bytes) override {
        if (!m_volume.strikes(writing))
            return m_file->writeAt(offset, bytes);
        const int error = m_file->writeAt(offset, bytes.first(bytes.size() / 2));
        return error != 0 ? error : ENOSPC;
    }
    int truncate(std::int64_t size) override {
        return m_volume.strikes(truncating) ? EIO : m_file->truncate(size);
    }
    int synchronize() override { return m_volume.strikes(synchronizing) ? EIO : m_file->synchronize(); }
    int close() override {
        const int error = m_file->close();
        return m_volume.strikes(closing) ? EIO : error;
    }

private:
    NthFaultVolume& m_volume;
};

std::unique_ptr<VolumeFile> NthFaultVolume::wrapped(std::unique_ptr<VolumeFile> file) {
    return file == nullptr ? nullptr : std::make_unique<File>(*this, std::move(file));
}

std::unique_ptr<VolumeFile> NthFaultVolume::create(const std::string& path) {
    if (!strikes(creating))
        return wrapped(m_files.create(path));
    errno = EIO;
    return nullptr;
}

std::unique_ptr<VolumeFile> NthFaultVolume::openForReading(const std::string& path) {
    if (!strikes(openingForReading))
        return wrapped(m_files.openForReading(path));
    errno = EIO;
    return nullptr;
}

std::unique_ptr<VolumeFile> NthFaultVolume::openForUpdating(const std::string& path) {
    if (!strikes(openingForUpdating))
        return wrapped(m_files.openForUpdating(path));
    errno = EIO;
    return nullptr;
}

std::vector<VolumeEntry> NthFaultVolume::list(const std::string& folder) {
    if (!strikes(listing))
        return m_files.list(folder);
    errno = EIO;
    return {};
}

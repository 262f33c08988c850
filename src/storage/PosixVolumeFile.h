// storage/PosixVolumeFile.h — an open file of the machine's volume.
#pragma once
#include "storage/Volume.h"

/// Owns a file descriptor.
class PosixVolumeFile final : public VolumeFile {
public:
    explicit PosixVolumeFile(int descriptor) : m_descriptor(descriptor) {}
    ~PosixVolumeFile() override;
    PosixVolumeFile(const PosixVolumeFile&) = delete;
    PosixVolumeFile& operator=(const PosixVolumeFile&) = delete;

    // One thread at a time
    std::int64_t readAt(std::int64_t offset, std::span<std::byte> into) override;
    int writeAt(std::int64_t offset, std::span<const std::byte> bytes) override;
    int truncate(std::int64_t size) override;
    int synchronize() override;
    std::int64_t size() override;
    bool isAt(const std::string& path) override;
    int close() override;

private:
    int m_descriptor;
};

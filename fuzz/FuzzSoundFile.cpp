// Opens, reads, repairs and re-opens arbitrary bytes as a sound file.
#include "storage/SoundFile.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {
using Contents = std::vector<std::byte>;

/// A file in memory; all files opened on the same contents see each other's changes.
class MemoryFile final : public VolumeFile {
public:
    explicit MemoryFile(std::shared_ptr<Contents> contents) : m_contents(std::move(contents)) {}

    std::int64_t readAt(std::int64_t offset, std::span<std::byte> into) override {
        require(offset >= 0);
        const std::int64_t left = std::max<std::int64_t>(size() - offset, 0);
        const std::size_t count = std::min(into.size(), static_cast<std::size_t>(left));
        if (count > 0)
            std::memcpy(into.data(), m_contents->data() + offset, count);
        return static_cast<std::int64_t>(count);
    }
    int writeAt(std::int64_t offset, std::span<const std::byte> bytes) override {
        require(offset >= 0);
        const std::size_t end = static_cast<std::size_t>(offset) + bytes.size();
        m_contents->resize(std::max(m_contents->size(), end));
        std::copy(bytes.begin(), bytes.end(), m_contents->begin() + offset);
        return 0;
    }
    int truncate(std::int64_t size) override {
        m_contents->resize(static_cast<std::size_t>(size));
        return 0;
    }
    int synchronize() override { return 0; }
    std::int64_t size() override { return static_cast<std::int64_t>(m_contents->size()); }
    bool isAt(const std::string&) override { return true; }
    int close() override { return 0; }

    static void require(bool condition) {
        if (!condition)
            std::abort();
    }

private:
    const std::shared_ptr<Contents> m_contents;
};

/// What an opened file says must hold, whatever its bytes are.
void readThrough(SoundFile& file, std::int64_t fileSize) {
    MemoryFile::require(file.channels() > 0 && file.rate() > 0.0);
    MemoryFile::require(file.byteCount() >= 0 && file.byteCount() <= fileSize);
    MemoryFile::require(file.frames() * file.channels() * 2 == file.byteCount());
    std::array<std::int16_t, 333> samples{};
    std::int64_t position = 0;
    while (const std::int64_t got = file.readSamples(position, samples)) {
        MemoryFile::require(got > 0);
        position += got * 2;
    }
    MemoryFile::require(position == file.byteCount());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto* const bytes = reinterpret_cast<const std::byte*>(data);
    const auto contents = std::make_shared<Contents>(bytes, bytes + size);
    const auto open = [&] { return SoundFile::openForReading(std::make_unique<MemoryFile>(contents)); };
    const auto reading = open();
    MemoryFile::require((reading.file != nullptr) == (reading.error == SoundFileError::none));
    if (reading.file)
        readThrough(*reading.file, static_cast<std::int64_t>(size));

    const auto updating = SoundFile::openForUpdating(std::make_unique<MemoryFile>(contents));
    if (!updating.file)
        return 0;
    const std::int64_t frames = updating.file->frames();
    const std::array<std::int16_t, 4> more{1, 2, 3, 4};
    MemoryFile::require(updating.file->writeSamples(updating.file->byteCount(), more));
    MemoryFile::require(updating.file->close());
    const auto repaired = open();
    MemoryFile::require(repaired.file != nullptr && repaired.file->frames() >= frames);
    readThrough(*repaired.file, static_cast<std::int64_t>(contents->size()));
    return 0;
}

#include "keeper/CompressionProof.h"

#include "keeper/KeepName.h"
#include "storage/FileCopier.h"
#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/Volume.h"

#include <algorithm>
#include <cstring>
#include <sys/stat.h>

CompressionProof::CompressionProof(Volume& volume, std::string target)
    : m_volume(volume),
      m_target(std::move(target)),
      m_before(outputs(volume, m_target)),
      m_input(volume.openForReading(m_target)),
      m_inputBytes(m_input ? m_input->size() : 0) {}

CompressionProof::~CompressionProof() = default;

std::vector<CompressionProof::Stamp> CompressionProof::outputs(Volume& volume, const std::string& target) {
    std::vector<Stamp> found;
    const std::string folder = Paths::folderOf(target);
    const std::string_view name = RecordFolder::bareName(target);
    for (const VolumeEntry& entry : volume.list(folder)) {
        if (entry.isFolder || entry.isLink || entry.name == name || KeepName::stemOf(entry.name) != name)
            continue;
        struct stat status {};
        std::string path = Paths::inFolder(folder, entry.name);
        if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
            continue;
        found.push_back(
            {.path = std::move(path),
             .inode = status.st_ino,
             .bytes = status.st_size,
             .changed = status.st_ctim.tv_sec * std::int64_t{1'000'000'000} + status.st_ctim.tv_nsec});
    }
    return found;
}

std::optional<CompressionProof::Output> CompressionProof::find(Volume& volume, const std::string& target) {
    const std::vector<Stamp> found = outputs(volume, target);
    if (found.empty())
        return std::nullopt;
    return Output{found.front().path, found.front().bytes};
}

std::vector<CompressionProof::Stamp> CompressionProof::written() const {
    std::vector<Stamp> found = outputs(m_volume, m_target);
    std::erase_if(found,
                  [this](const Stamp& stamp) { return std::ranges::find(m_before, stamp) != m_before.end(); });
    return found;
}

void CompressionProof::discard() const {
    if (m_input == nullptr || m_volume.fileSize(m_target) != m_inputBytes)
        return;
    for (const Stamp& stamp : written())
        if (!m_volume.isLocked(stamp.path))
            m_volume.remove(stamp.path);
}

std::string CompressionProof::fault() const {
    const std::vector<Stamp> found = written();
    if (found.empty())
        return "it left no compressed file";
    // A list of checksums may lie beside it.
    const Stamp& output = *std::ranges::max_element(found, {}, &Stamp::bytes);
    if (output.bytes == 0)
        return "it left an empty file";
    if (output.bytes < smallestFile || (output.bytes * 2 * mostSamplesPerByte < m_inputBytes &&
                                        output.bytes * mostSamplesPerByte < movingSamples()))
        return "it left a file that is too small to hold the sound (" + std::to_string(output.bytes) +
               " bytes)";
    const std::unique_ptr<VolumeFile> file = m_volume.openForReading(output.path);
    if (file == nullptr)
        return "its file cannot be opened";
    if (const int error = file->synchronize(); error != 0)
        return std::string("its file cannot be brought to the disk: ") + std::strerror(error);
    m_volume.synchronizeFolder(Paths::folderOf(m_target));
    return {};
}

bool CompressionProof::isGone() const {
    return m_input != nullptr && !m_input->isAt(m_target);
}

bool CompressionProof::isWrittenOver() const {
    return m_input != nullptr && m_input->size() != m_inputBytes;
}

std::string CompressionProof::restore() const {
    if (!isGone())
        return {};
    m_volume.makeFolder(Paths::folderOf(m_target)); // what cannot be made, the copy tells
    return FileCopier(m_volume).copy(*m_input, m_target, {.replace = true}).fault;
}

std::int64_t CompressionProof::movingSamples() const {
    constexpr std::int64_t soundOffset = 4096;
    constexpr std::size_t blockSize = std::size_t{1} << 20;
    if (m_input == nullptr)
        return 0;
    std::vector<std::byte> block(blockSize);
    std::int64_t moving = 0;
    std::uint16_t last = 0;
    std::uint16_t lastButOne = 0;
    for (std::int64_t offset = soundOffset;; offset += static_cast<std::int64_t>(blockSize)) {
        const std::int64_t got = m_input->readAt(offset, block);
        for (std::int64_t at = 0; at + 1 < got; at += 2) {
            std::uint16_t sample = 0;
            std::memcpy(&sample, block.data() + at, sizeof sample);
            moving += sample != last && sample != lastButOne ? 1 : 0; // one channel or two
            lastButOne = last;
            last = sample;
        }
        if (got < static_cast<std::int64_t>(blockSize))
            return moving;
    }
}

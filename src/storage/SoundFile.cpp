#include "storage/SoundFile.h"

#include "storage/BigEndian.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <cmath>

namespace {
/// Samples converted and written at a time; stays in the processor's cache.
constexpr std::size_t pieceSamples = 65536;

int writeWord(VolumeFile& file, std::int64_t at, std::int64_t value) {
    std::array<std::byte, 4> word{};
    BigEndian::put32(word.data(), static_cast<std::uint32_t>(value));
    return file.writeAt(at, word);
}

/// Until the last word is written, readers go by the shorter of the two lengths: the old one.
int writeSizes(VolumeFile& file, std::int64_t fileSize, unsigned channels) {
    if (const int error = writeWord(file, AiffHeader::formSizeAt, fileSize - 8); error != 0)
        return error;
    if (const int error =
            writeWord(file, AiffHeader::framesAt, (fileSize - AiffHeader::soundAt) / 2 / channels);
        error != 0)
        return error;
    return writeWord(file, AiffHeader::soundSizeAt, fileSize - 4088);
}
} // namespace

SoundFile::SoundFile(std::unique_ptr<VolumeFile> file, const AiffHeader& header, bool writable)
    : m_file(std::move(file)), m_header(header), m_writable(writable) {}

SoundFile::Opened SoundFile::create(Volume& volume, const std::string& path, double rate, unsigned channels) {
    if (!std::isfinite(rate) || rate <= 0.0 || channels == 0 || channels > 0xFFFF)
        return {nullptr, SoundFileError::unsupportedFormat};
    std::unique_ptr<VolumeFile> file = volume.create(path);
    if (!file)
        return {nullptr, SoundFileError::cannotCreate};
    if (file->writeAt(0, AiffHeader::make(rate, channels)) != 0)
        return {nullptr, SoundFileError::writeFailed};
    AiffHeader header;
    header.rate = rate;
    header.channels = channels;
    header.soundOffset = AiffHeader::soundAt;
    header.ownLayout = true;
    return {std::unique_ptr<SoundFile>(new SoundFile(std::move(file), header, true)), SoundFileError::none};
}

SoundFile::Opened SoundFile::openForReading(Volume& volume, const std::string& path) {
    return openForReading(volume.openForReading(path));
}

SoundFile::Opened SoundFile::openForReading(std::unique_ptr<VolumeFile> file) {
    return open(std::move(file), false);
}

SoundFile::Opened SoundFile::openForUpdating(Volume& volume, const std::string& path) {
    return openForUpdating(volume.openForUpdating(path));
}

SoundFile::Opened SoundFile::openForUpdating(std::unique_ptr<VolumeFile> file) {
    return open(std::move(file), true);
}

SoundFile::Opened SoundFile::open(std::unique_ptr<VolumeFile> file, bool writable) {
    if (!file)
        return {nullptr, SoundFileError::cannotOpen};
    AiffHeader header;
    const SoundFileError error = header.read(*file);
    if (error != SoundFileError::none)
        return {nullptr, error};
    if (writable) {
        if (!header.ownLayout)
            return {nullptr, SoundFileError::foreignLayout};
        const std::int64_t held = file->size() - AiffHeader::soundAt;
        if (held < 0)
            return {nullptr, SoundFileError::readFailed};
        header.soundBytes = held / header.bytesPerFrame() * header.bytesPerFrame();
    }
    return {std::unique_ptr<SoundFile>(new SoundFile(std::move(file), header, writable)), SoundFileError::none};
}

SoundFileError SoundFile::repairHeader(Volume& volume, const std::string& path, unsigned channels) {
    const auto size = volume.fileSize(path);
    if (!size)
        return SoundFileError::cannotOpen;
    if (*size < AiffHeader::soundAt || channels == 0)
        return SoundFileError::foreignLayout;
    if (*size - 8 > 0xFFFFFFFF)
        return SoundFileError::tooLarge;
    const std::unique_ptr<VolumeFile> file = volume.openForUpdating(path);
    if (!file)
        return SoundFileError::cannotOpen;
    AiffHeader header;
    if (const SoundFileError error = header.read(*file); error != SoundFileError::none)
        return error;
    if (!header.ownLayout)
        return SoundFileError::foreignLayout;
    if (writeSizes(*file, *size, channels) != 0 || file->close() != 0)
        return SoundFileError::writeFailed;
    return SoundFileError::none;
}

bool SoundFile::fail(SoundFileError error, int systemError) {
    m_error = error;
    m_systemError = systemError;
    return false;
}

bool SoundFile::outcome(int systemError) {
    return systemError == 0 || fail(SoundFileError::writeFailed, systemError);
}

bool SoundFile::writeSamples(std::int64_t byteOffset, std::span<const std::int16_t> samples) {
    assert(m_writable && byteOffset >= 0 && byteOffset % 2 == 0);
    if (!m_file || !m_writable || byteOffset < 0)
        return outcome(EBADF);
    const auto bytes = static_cast<std::int64_t>(samples.size_bytes());
    if (bytes > largestFile || byteOffset > largestFile - AiffHeader::soundAt - bytes)
        return fail(SoundFileError::tooLarge);
    m_bytes.resize(pieceSamples * 2);
    while (!samples.empty()) {
        const std::size_t count = std::min(samples.size(), pieceSamples);
        BigEndian::copySamples(m_bytes.data(), samples.data(), count);
        const int error =
            m_file->writeAt(AiffHeader::soundAt + byteOffset, std::span(m_bytes).first(count * 2));
        if (error != 0)
            return outcome(error);
        byteOffset += static_cast<std::int64_t>(count) * 2;
        m_header.soundBytes = std::max(m_header.soundBytes, byteOffset);
        samples = samples.subspan(count);
    }
    return true;
}

std::int64_t SoundFile::readBytes(std::int64_t byteOffset, std::span<std::byte> into) {
    if (!m_file || byteOffset < 0) {
        fail(SoundFileError::readFailed);
        return -1;
    }
    if (byteOffset >= m_header.soundBytes)
        return 0;
    const auto bytes = static_cast<std::size_t>(
        std::min(m_header.soundBytes - byteOffset, static_cast<std::int64_t>(into.size())));
    const std::int64_t got = m_file->readAt(m_header.soundOffset + byteOffset, into.first(bytes));
    if (got < 0)
        fail(SoundFileError::readFailed, errno);
    return got;
}

std::int64_t SoundFile::readSamples(std::int64_t byteOffset, std::span<std::int16_t> into) {
    const std::int64_t got = readBytes(byteOffset, std::as_writable_bytes(into));
    if (got < 0)
        return -1;
    BigEndian::copySamples(into.data(), into.data(), static_cast<std::size_t>(got / 2));
    return got / 2;
}

bool SoundFile::updateHeader() {
    assert(m_writable);
    if (!m_file || !m_writable)
        return outcome(EBADF);
    return outcome(writeSizes(*m_file, AiffHeader::soundAt + m_header.soundBytes, m_header.channels));
}

bool SoundFile::synchronize() {
    return outcome(m_file ? m_file->synchronize() : EBADF);
}

bool SoundFile::refresh() {
    AiffHeader fresh;
    if (!m_file)
        return fail(SoundFileError::readFailed);
    if (const SoundFileError error = fresh.read(*m_file); error != SoundFileError::none)
        return fail(error);
    if (fresh.rate != m_header.rate || fresh.channels != m_header.channels ||
        fresh.soundOffset != m_header.soundOffset)
        return fail(SoundFileError::unsupportedFormat);
    m_header.soundBytes = fresh.soundBytes;
    return true;
}

bool SoundFile::close() {
    if (!m_file)
        return true;
    bool written = true;
    if (m_writable) {
        written = updateHeader();
        written = synchronize() && written;
    }
    written = outcome(m_file->close()) && written;
    m_file.reset();
    return written;
}

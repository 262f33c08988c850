#include "library/WaveformEnvelope.h"

#include "base/WidestVectors.h"
#include "storage/BigEndian.h"
#include "storage/SoundFile.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {
constexpr std::size_t stride = 8; ///< samples from one that is examined to the next
constexpr std::size_t wordsPerGroup = stride * 2 / sizeof(std::uint32_t);
constexpr std::size_t groupsPerBlock = 64; ///< a fixed number, so that vectors are made of it
constexpr std::size_t lanes = 32;
constexpr std::size_t pieceBytes = std::size_t{128} * 1024; ///< read at a time; stays in the cache
constexpr std::int64_t bytesPerReport = std::int64_t{2} << 20;

std::int16_t sampleAt(const std::byte* bytes) {
    return static_cast<std::int16_t>(BigEndian::get16(bytes));
}

void include(WaveformEnvelope::Column& column, std::int16_t sample) {
    column.minimum = std::min(column.minimum, sample);
    column.maximum = std::max(column.maximum, sample);
}

/// Takes in the second sample of each of `groups` groups of eight. The words that hold them are picked first,
/// so that little else goes through the vectors.
KA_WIDEST_VECTORS
void includeGroups(const std::uint32_t* words, std::size_t groups, WaveformEnvelope::Column& column) {
    std::int16_t least[lanes];
    std::int16_t greatest[lanes];
    std::fill_n(least, lanes, column.minimum);
    std::fill_n(greatest, lanes, column.maximum);
    for (; groups >= groupsPerBlock; groups -= groupsPerBlock, words += groupsPerBlock * wordsPerGroup) {
        std::uint32_t picked[groupsPerBlock];
        for (std::size_t i = 0; i < groupsPerBlock; ++i)
            picked[i] = words[i * wordsPerGroup];
        std::uint16_t pairs[groupsPerBlock * 2];
        std::memcpy(pairs, picked, sizeof pairs);
        for (std::size_t first = 0; first < groupsPerBlock * 2; first += lanes)
            for (std::size_t i = 0; i < lanes; ++i) {
                std::uint16_t bits = pairs[first + i];
                if constexpr (std::endian::native == std::endian::little)
                    bits = static_cast<std::uint16_t>(bits << 8 | bits >> 8);
                const auto sample = static_cast<std::int16_t>(bits);
                least[i] = std::min(least[i], sample);
                greatest[i] = std::max(greatest[i], sample);
            }
    }
    for (std::size_t i = 1; i < lanes; i += 2) {
        include(column, least[i]);
        include(column, greatest[i]);
    }
    for (; groups > 0; --groups, words += wordsPerGroup)
        include(column, sampleAt(reinterpret_cast<const std::byte*>(words) + 2));
}
} // namespace

WaveformEnvelope::WaveformEnvelope(std::int64_t soundBytes, int width)
    : m_samplesPerColumn(width > 0 ? soundBytes / 2 / width : 0),
      m_columns(static_cast<std::size_t>(std::max(width, 0))) {}

std::int64_t WaveformEnvelope::examinedPerColumn() const {
    if (m_samplesPerColumn == 0)
        return 0;
    return std::max<std::int64_t>(m_samplesPerColumn / static_cast<std::int64_t>(stride), 1);
}

WaveformEnvelope::Outcome WaveformEnvelope::read(SoundFile& file, const Progress& goesOn) {
    if (m_samplesPerColumn == 0)
        return goesOn(1.0) ? Outcome::done : Outcome::cancelled;
    const auto total = static_cast<double>(columnBytes()) * static_cast<double>(m_columns.size());
    std::vector<std::uint32_t> buffer(pieceBytes / sizeof(std::uint32_t));
    std::int64_t offset = 0;
    std::int64_t reported = 0;
    for (Column& column : m_columns) {
        if (!readColumn(file, offset, column, buffer)) {
            m_failedAt = offset;
            return Outcome::readFailed;
        }
        offset += columnBytes();
        if (offset - reported < bytesPerReport)
            continue;
        reported = offset;
        if (!goesOn(static_cast<double>(offset) / total))
            return Outcome::cancelled;
    }
    return goesOn(1.0) ? Outcome::done : Outcome::cancelled;
}

bool WaveformEnvelope::readColumn(SoundFile& file, std::int64_t offset, Column& column,
                                  std::span<std::uint32_t> buffer) const {
    std::int64_t left = columnBytes();
    std::int64_t groups = examinedPerColumn() - 1;
    for (bool first = true; left > 0; first = false) {
        const auto bytes = std::as_writable_bytes(buffer);
        const auto piece = bytes.first(std::min(static_cast<std::size_t>(left), bytes.size()));
        const auto size = static_cast<std::int64_t>(piece.size());
        if (file.readBytes(offset, piece) != size)
            return false;
        if (first)
            column.minimum = column.maximum = sampleAt(piece.data());
        const std::int64_t here = std::min(groups, size / static_cast<std::int64_t>(stride * 2));
        includeGroups(buffer.data(), static_cast<std::size_t>(here), column);
        groups -= here;
        offset += size;
        left -= size;
    }
    return true;
}

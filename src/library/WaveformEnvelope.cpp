#include "library/WaveformEnvelope.h"

#include "base/WidestVectors.h"
#include "storage/BigEndian.h"
#include "storage/SoundFile.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {
constexpr std::size_t stride = 8;         ///< samples from one that is examined to the next
constexpr std::size_t groupsPerBlock = 8; ///< a fixed number, so that vectors are made of it
constexpr std::size_t blockSamples = groupsPerBlock * stride;
constexpr std::size_t pieceBytes = std::size_t{128} * 1024; ///< read at a time; stays in the cache
constexpr std::int64_t bytesPerReport = std::int64_t{2} << 20;

std::int16_t sampleAt(const std::byte* bytes) {
    return static_cast<std::int16_t>(BigEndian::get16(bytes));
}

void include(WaveformEnvelope::Column& column, std::int16_t sample) {
    column.minimum = std::min(column.minimum, sample);
    column.maximum = std::max(column.maximum, sample);
}

/// Takes in the second sample of each of `groups` groups of eight. All eight go through the vectors; that is
/// quicker than picking one.
KA_WIDEST_VECTORS
void includeGroups(const std::byte* from, std::size_t groups, WaveformEnvelope::Column& column) {
    std::int16_t least[blockSamples];
    std::int16_t greatest[blockSamples];
    std::fill_n(least, blockSamples, column.minimum);
    std::fill_n(greatest, blockSamples, column.maximum);
    for (; groups >= groupsPerBlock; groups -= groupsPerBlock, from += blockSamples * 2) {
        std::uint16_t block[blockSamples];
        std::memcpy(block, from, sizeof block);
        for (std::size_t i = 0; i < blockSamples; ++i) {
            std::uint16_t bits = block[i];
            if constexpr (std::endian::native == std::endian::little)
                bits = static_cast<std::uint16_t>(bits << 8 | bits >> 8);
            const auto sample = static_cast<std::int16_t>(bits);
            least[i] = std::min(least[i], sample);
            greatest[i] = std::max(greatest[i], sample);
        }
    }
    for (std::size_t i = 1; i < blockSamples; i += stride) {
        include(column, least[i]);
        include(column, greatest[i]);
    }
    for (; groups > 0; --groups, from += stride * 2)
        include(column, sampleAt(from + 2));
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
    std::vector<std::byte> buffer(pieceBytes);
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
                                  std::span<std::byte> buffer) const {
    std::int64_t left = columnBytes();
    std::int64_t groups = examinedPerColumn() - 1;
    for (bool first = true; left > 0; first = false) {
        const auto piece =
            buffer.first(static_cast<std::size_t>(std::min(left, static_cast<std::int64_t>(buffer.size()))));
        const auto size = static_cast<std::int64_t>(piece.size());
        if (file.readBytes(offset, piece) != size)
            return false;
        if (first)
            column.minimum = column.maximum = sampleAt(piece.data());
        const std::int64_t here = std::min(groups, size / static_cast<std::int64_t>(stride * 2));
        includeGroups(piece.data(), static_cast<std::size_t>(here), column);
        groups -= here;
        offset += size;
        left -= size;
    }
    return true;
}

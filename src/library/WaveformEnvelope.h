// library/WaveformEnvelope.h — the outline of a sound: least and greatest sample of each column of a picture.
#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

class SoundFile;

/// Reads a sound once, from its start to its end, and keeps two samples for each column.
///
/// Of each column the first sample is examined, and then every eighth from the second on: all pages of the file
/// are needed, but only one sample in sixteen bytes. Samples are taken from the interleaved data, whatever
/// their channel.
class WaveformEnvelope {
public:
    struct Column {
        std::int16_t minimum = 0;
        std::int16_t maximum = 0;
        bool operator==(const Column&) const = default;
    };
    enum class Outcome { done, readFailed, cancelled };
    /// Is told how much is done, 0 to 1, about every 2 MB; false ends the reading.
    using Progress = std::function<bool(double)>;

    /// For a sound of `soundBytes` in `width` columns.
    WaveformEnvelope(std::int64_t soundBytes, int width);

    // Any thread
    /// A sound with fewer samples than columns is not read: it is silent in every column.
    Outcome read(SoundFile& file, const Progress& goesOn);
    std::span<const Column> columns() const { return m_columns; }
    /// Samples of one column.
    std::int64_t samplesPerColumn() const { return m_samplesPerColumn; }
    std::int64_t columnBytes() const { return m_samplesPerColumn * 2; }
    /// How many samples of a column are looked at.
    std::int64_t examinedPerColumn() const;
    /// Bytes of sound before the column whose reading failed.
    std::int64_t failedAt() const { return m_failedAt; }

private:
    bool readColumn(SoundFile& file, std::int64_t offset, Column& column, std::span<std::byte> buffer) const;

    std::int64_t m_samplesPerColumn = 0;
    std::int64_t m_failedAt = 0;
    std::vector<Column> m_columns;
};

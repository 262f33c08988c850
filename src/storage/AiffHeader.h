// storage/AiffHeader.h — the header of a sound file.
#pragma once
#include "storage/SoundFileError.h"
#include "storage/Volume.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// What the chunks of an AIFF file say, as far as the file bears it out.
///
/// The format is "Audio Interchange File Format: AIFF", version 1.3 (January 1989): a FORM of type AIFF with a
/// COMM chunk, one SSND chunk and any others in any order, all words big-endian, the rate an IEEE 754 extended
/// number. Our own files place them so:
///
///     0     FORM, size of the file - 8, AIFF
///     12    COMM, 18: channels, frames, bits (16), rate
///     38    APPL, 4034: "Vmor", then the record information at 256 and the note at 291
///     4080  SSND, size of the file - 4088: offset 0, block size 0
///     4096  samples
struct AiffHeader {
    static constexpr std::int64_t formSizeAt = 4;
    static constexpr std::int64_t framesAt = 22;
    static constexpr std::int64_t recordInformationAt = 256;
    static constexpr std::int64_t noteAt = 291;
    static constexpr std::int64_t soundChunkAt = 4080;
    static constexpr std::int64_t soundSizeAt = 4084;
    static constexpr std::int64_t soundAt = 4096;
    using Bytes = std::array<std::byte, soundAt>;

    double rate = 0.0; ///< Hz
    unsigned channels = 0;
    std::int64_t soundOffset = 0; ///< of the first sample in the file, bytes
    std::int64_t soundBytes = 0;  ///< whole frames that header and file agree on
    bool ownLayout = false;       ///< placed as above

    unsigned bytesPerFrame() const { return channels * 2; }

    /// The header of an empty file of our own.
    static Bytes make(double rate, unsigned channels);
    /// Reads the chunks of `file`; trusts no length further than the file goes.
    SoundFileError read(VolumeFile& file);

private:
    SoundFileError readFormat(VolumeFile& file, std::int64_t at, std::uint32_t size, std::uint32_t& frames);
};

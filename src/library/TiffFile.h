// library/TiffFile.h — a small picture as the bytes of a TIFF file.
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// RGB pictures of "TIFF, Revision 6.0" (June 1992), section 6: little-endian, eight bits a sample, one strip,
/// so that every viewer opens them. The strip is compressed as "Adobe Photoshop TIFF Technical Notes" (March
/// 2002) has it, by deflate: a folder of short recordings would hold half as much in pictures as in sound
/// otherwise.
///
///     0     "II", 42, offset of the directory (8)
///     8     directory: 14 entries of 12 bytes, 0
///     182   bits per sample, resolutions, description with its zero byte, samples row by row,
///           deflated as a whole
struct TiffFile {
    static constexpr std::uint32_t largestSide = 16384; ///< points

    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::string description;    ///< text of seven-bit characters
    std::vector<std::byte> rgb; ///< three bytes a point, top row first

    // Any thread
    std::vector<std::byte> encoded() const;
    /// Reads what `encoded` makes of a picture of this size. Nothing for any other file, be it cut off, too
    /// long or changed in any byte.
    static std::optional<TiffFile> decoded(std::span<const std::byte> bytes, std::uint32_t width,
                                           std::uint32_t height);
};

#include "library/TiffFile.h"

#include <cassert>
#include <cstring>
#include <QByteArray>
#include <utility>

namespace {
constexpr std::uint16_t shortType = 3;
constexpr std::uint16_t longType = 4;
constexpr std::uint16_t asciiType = 2;
constexpr std::uint16_t rationalType = 5;
constexpr std::uint32_t directoryAt = 8;
constexpr std::uint32_t entryBytes = 12;
constexpr std::uint32_t entries = 14;
constexpr std::uint32_t bitsAt = directoryAt + 2 + entries * entryBytes + 4;
constexpr std::uint32_t resolutionAt = bitsAt + 6 + 2; // on an even place
constexpr std::uint32_t descriptionAt = resolutionAt + 16;
constexpr std::uint32_t pointsPerInch = 72;
constexpr std::size_t longestDescription = 1024;
constexpr std::uint32_t deflated = 8;
constexpr qsizetype sizeBytes = 4; // what Qt puts before the compressed bytes: how many they are of, big-endian

/// Where the samples begin.
std::uint32_t samplesAt(std::size_t descriptionSize) {
    return (descriptionAt + static_cast<std::uint32_t>(descriptionSize) + 1 + 1) & ~1U;
}

class Writer {
public:
    explicit Writer(std::size_t size) : m_bytes(size) {}
    void put16(std::uint32_t at, std::uint32_t value) {
        m_bytes[at] = static_cast<std::byte>(value);
        m_bytes[at + 1] = static_cast<std::byte>(value >> 8);
    }
    void put32(std::uint32_t at, std::uint32_t value) {
        put16(at, value);
        put16(at + 2, value >> 16);
    }
    void putEntry(std::uint16_t tag, std::uint16_t type, std::uint32_t count, std::uint32_t value) {
        put16(m_entryAt, tag);
        put16(m_entryAt + 2, type);
        put32(m_entryAt + 4, count);
        put32(m_entryAt + 8,
              value); // a short stands first in the four bytes, as it does in a little-endian long
        m_entryAt += entryBytes;
    }
    void copy(std::uint32_t at, const void* from, std::size_t size) {
        if (size > 0)
            std::memcpy(m_bytes.data() + at, from, size);
    }
    std::vector<std::byte> take() { return std::move(m_bytes); }

private:
    std::vector<std::byte> m_bytes;
    std::uint32_t m_entryAt = directoryAt + 2;
};

std::uint32_t get16(std::span<const std::byte> bytes, std::size_t at) {
    return std::to_integer<std::uint32_t>(bytes[at]) | std::to_integer<std::uint32_t>(bytes[at + 1]) << 8;
}

std::uint32_t get32(std::span<const std::byte> bytes, std::size_t at) {
    return get16(bytes, at) | get16(bytes, at + 2) << 16;
}

/// Everything before the description.
void putHead(Writer& writer, const TiffFile& picture, std::uint32_t stripBytes) {
    const auto textSize = static_cast<std::uint32_t>(picture.description.size()) + 1;
    writer.put16(0, 0x4949);
    writer.put16(2, 42);
    writer.put32(4, directoryAt);
    writer.put16(directoryAt, entries);
    writer.putEntry(254, longType, 1, 0); // what kind of picture: a plain one
    writer.putEntry(256, longType, 1, picture.width);
    writer.putEntry(257, longType, 1, picture.height);
    writer.putEntry(258, shortType, 3, bitsAt);
    writer.putEntry(259, shortType, 1, deflated);
    writer.putEntry(262, shortType, 1, 2); // RGB
    // Four bytes or less stand in the entry itself; no description of ours is that short.
    writer.putEntry(270, asciiType, textSize, descriptionAt);
    writer.putEntry(273, longType, 1, samplesAt(picture.description.size()));
    writer.putEntry(277, shortType, 1, 3); // samples a point
    writer.putEntry(278, longType, 1, picture.height);
    writer.putEntry(279, longType, 1, stripBytes);
    writer.putEntry(282, rationalType, 1, resolutionAt);
    writer.putEntry(283, rationalType, 1, resolutionAt + 8);
    writer.putEntry(296, shortType, 1, 2); // resolutions are per inch
    for (std::uint32_t sample = 0; sample < 3; ++sample)
        writer.put16(bitsAt + sample * 2, 8);
    for (const std::uint32_t at : {resolutionAt, resolutionAt + 8}) {
        writer.put32(at, pointsPerInch);
        writer.put32(at + 4, 1);
    }
}

/// `size` bytes out of a strip; nothing if it holds another number of them, or was changed.
std::optional<std::vector<std::byte>> inflated(std::span<const std::byte> strip, std::size_t size) {
    if (strip.size() > size + size / 8 + 64) // deflating adds less than that to what cannot be compressed
        return std::nullopt;
    QByteArray input(sizeBytes, '\0');
    for (qsizetype place = 0; place < sizeBytes; ++place)
        input[place] = static_cast<char>(size >> (8 * (sizeBytes - 1 - place)));
    input.append(reinterpret_cast<const char*>(strip.data()), static_cast<qsizetype>(strip.size()));
    const QByteArray samples = qUncompress(input);
    if (static_cast<std::size_t>(samples.size()) != size)
        return std::nullopt;
    const auto* const first = reinterpret_cast<const std::byte*>(samples.constData());
    return std::vector<std::byte>(first, first + size);
}
} // namespace

std::vector<std::byte> TiffFile::encoded() const {
    assert(width > 0 && width <= largestSide && height > 0 && height <= largestSide);
    assert(rgb.size() == std::size_t{width} * height * 3);
    assert(description.size() >= 4 && description.size() <= longestDescription);
    const QByteArray strip =
        qCompress(reinterpret_cast<const uchar*>(rgb.data()), static_cast<qsizetype>(rgb.size()))
            .mid(sizeBytes);
    const std::uint32_t start = samplesAt(description.size());
    Writer writer(start + static_cast<std::size_t>(strip.size()));
    putHead(writer, *this, static_cast<std::uint32_t>(strip.size()));
    writer.copy(descriptionAt, description.data(), description.size());
    writer.copy(start, strip.constData(), static_cast<std::size_t>(strip.size()));
    return writer.take();
}

std::optional<TiffFile> TiffFile::decoded(std::span<const std::byte> bytes, std::uint32_t width,
                                          std::uint32_t height) {
    if (bytes.size() <= descriptionAt || width == 0 || width > largestSide || height == 0 ||
        height > largestSide)
        return std::nullopt;
    const std::uint32_t textSize = get32(bytes, directoryAt + 2 + 6 * entryBytes + 4);
    if (textSize < 5 || textSize > longestDescription + 1)
        return std::nullopt;
    const std::size_t start = samplesAt(textSize - 1);
    if (bytes.size() <= start || bytes[descriptionAt + textSize - 1] != std::byte{0})
        return std::nullopt;
    TiffFile picture{width, height, {}, {}};
    picture.description.assign(reinterpret_cast<const char*>(bytes.data()) + descriptionAt, textSize - 1);
    // With the lengths as they are, every other byte before the samples is settled.
    const auto strip = bytes.subspan(start);
    Writer expected(descriptionAt);
    putHead(expected, picture, static_cast<std::uint32_t>(strip.size()));
    if (std::memcmp(expected.take().data(), bytes.data(), descriptionAt) != 0)
        return std::nullopt;
    auto samples = inflated(strip, std::size_t{width} * height * 3);
    if (!samples)
        return std::nullopt;
    picture.rgb = std::move(*samples);
    return picture;
}

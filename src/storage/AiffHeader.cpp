#include "storage/AiffHeader.h"

#include "storage/BigEndian.h"
#include "storage/ExtendedFloat.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace {
constexpr std::uint32_t fourCharacters(const char (&text)[5]) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[0])) << 24 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(text[1])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(text[2])) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(text[3]));
}

constexpr std::uint32_t formID = fourCharacters("FORM");
constexpr std::uint32_t aiffType = fourCharacters("AIFF");
constexpr std::uint32_t commonID = fourCharacters("COMM");
constexpr std::uint32_t applicationID = fourCharacters("APPL");
constexpr std::uint32_t applicationSignature = fourCharacters("Vmor");
constexpr std::uint32_t soundID = fourCharacters("SSND");

constexpr std::int64_t formHeaderBytes = 12;
constexpr std::int64_t chunkHeaderBytes = 8;
constexpr std::uint32_t commonBytes = 18;
constexpr std::uint32_t soundFieldsBytes = 8; ///< offset and block size
constexpr unsigned bitsPerSample = 16;
constexpr double highestRate = 1e7;
/// More chunks than any real file has; ends the search in a file of empty ones.
constexpr int mostChunks = 1000;

enum class Fetch { whole, cutShort, failed };

Fetch fetch(VolumeFile& file, std::int64_t at, std::span<std::byte> into) {
    const std::int64_t got = file.readAt(at, into);
    if (got < 0)
        return Fetch::failed;
    return static_cast<std::size_t>(got) == into.size() ? Fetch::whole : Fetch::cutShort;
}

struct SoundChunk {
    std::int64_t at = 0;
    std::int64_t offset = 0;
    std::int64_t bytes = 0;
};
} // namespace

AiffHeader::Bytes AiffHeader::make(double rate, unsigned channels) {
    Bytes bytes{};
    std::byte* const to = bytes.data();
    BigEndian::put32(to, formID);
    BigEndian::put32(to + formSizeAt, soundAt - chunkHeaderBytes);
    BigEndian::put32(to + 8, aiffType);
    BigEndian::put32(to + 12, commonID);
    BigEndian::put32(to + 16, commonBytes);
    BigEndian::put16(to + 20, static_cast<std::uint16_t>(channels));
    BigEndian::put32(to + framesAt, 0);
    BigEndian::put16(to + 26, bitsPerSample);
    const ExtendedFloat::Bytes extended = ExtendedFloat::fromDouble(rate);
    std::copy(extended.begin(), extended.end(), to + 28);
    BigEndian::put32(to + 38, applicationID);
    BigEndian::put32(to + 42, soundChunkAt - 46);
    BigEndian::put32(to + 46, applicationSignature);
    BigEndian::put32(to + soundChunkAt, soundID);
    BigEndian::put32(to + soundSizeAt, soundFieldsBytes);
    return bytes;
}

SoundFileError AiffHeader::read(VolumeFile& file) {
    const std::int64_t fileSize = file.size();
    if (fileSize < 0)
        return SoundFileError::readFailed;
    std::array<std::byte, formHeaderBytes> form{};
    const Fetch begun = fetch(file, 0, form);
    if (begun == Fetch::failed)
        return SoundFileError::readFailed;
    if (begun == Fetch::cutShort || BigEndian::get32(form.data()) != formID ||
        BigEndian::get32(form.data() + 8) != aiffType)
        return SoundFileError::notAiff;

    // The FORM size is not looked at: a file that was cut off or never closed has a wrong one.
    std::optional<SoundChunk> sound;
    std::optional<std::uint32_t> frames;
    std::int64_t at = formHeaderBytes;
    bool commonInPlace = false;
    for (int chunk = 0; chunk < mostChunks && !(sound && frames); ++chunk) {
        std::array<std::byte, chunkHeaderBytes + soundFieldsBytes> head{};
        const std::int64_t got = file.readAt(at, head);
        if (got < 0)
            return SoundFileError::readFailed;
        if (got < chunkHeaderBytes)
            break;
        const std::uint32_t id = BigEndian::get32(head.data());
        const std::uint32_t size = BigEndian::get32(head.data() + 4);
        if (id == commonID && !frames) {
            commonInPlace = at == formHeaderBytes && size == commonBytes;
            const SoundFileError error = readFormat(file, at, size, frames.emplace());
            if (error != SoundFileError::none)
                return error;
        } else if (id == soundID && !sound && got == static_cast<std::int64_t>(head.size())) {
            const std::int64_t offset = at + std::int64_t{16} + BigEndian::get32(head.data() + 8);
            const std::int64_t end = std::min(at + chunkHeaderBytes + size, fileSize);
            sound = SoundChunk{at, offset, std::max<std::int64_t>(end - offset, 0)};
        }
        at += chunkHeaderBytes + size + size % 2;
    }
    if (!frames)
        return SoundFileError::noFormat;
    if (!sound)
        return SoundFileError::noSound;
    soundOffset = sound->offset;
    soundBytes = std::min(sound->bytes / bytesPerFrame(), std::int64_t{*frames}) * bytesPerFrame();
    ownLayout = commonInPlace && sound->at == soundChunkAt && soundOffset == soundAt;
    return SoundFileError::none;
}

SoundFileError AiffHeader::readFormat(VolumeFile& file, std::int64_t at, std::uint32_t size,
                                      std::uint32_t& frames) {
    std::array<std::byte, commonBytes> fields{};
    if (size < commonBytes)
        return SoundFileError::noFormat;
    const Fetch fetched = fetch(file, at + chunkHeaderBytes, fields);
    if (fetched == Fetch::failed)
        return SoundFileError::readFailed;
    if (fetched == Fetch::cutShort)
        return SoundFileError::noFormat;
    channels = BigEndian::get16(fields.data());
    frames = BigEndian::get32(fields.data() + 2);
    rate = ExtendedFloat::toDouble(std::span<const std::byte, commonBytes>(fields).subspan<8, 10>());
    if (channels == 0 || BigEndian::get16(fields.data() + 6) != bitsPerSample || !(rate > 0.0) ||
        !(rate <= highestRate))
        return SoundFileError::unsupportedFormat;
    return SoundFileError::none;
}

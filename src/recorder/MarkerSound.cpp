#include "recorder/MarkerSound.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <initializer_list>
#include <new>
#include <sndfile.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {
using Outcome = MarkerSound::Outcome;
constexpr int lowestRate = 1000;    // Hz
constexpr int highestRate = 768000; // Hz

/// A file of the system, closed at the end. It bears so many reads and no more: what reads sounds goes from
/// chunk to chunk, and a broken file may be millions of empty ones, which would stop the main thread for
/// minutes.
class SourceFile {
public:
    // A pipe without a writer must not stop the main thread.
    explicit SourceFile(const std::string& path)
        : m_number(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)), m_error(errno) {
        struct stat status {};
        m_isKnown = m_number >= 0 && fstat(m_number, &status) == 0;
        m_isRegular = m_isKnown && S_ISREG(status.st_mode);
        m_size = m_isKnown ? status.st_size : 0;
    }
    ~SourceFile() {
        if (m_number >= 0)
            close(m_number);
    }
    SourceFile(const SourceFile&) = delete;
    SourceFile& operator=(const SourceFile&) = delete;

    Outcome outcome() const {
        if (m_number < 0)
            return m_error == ENOENT || m_error == ENOTDIR ? Outcome::missing : Outcome::unreadable;
        if (!m_isKnown)
            return Outcome::unreadable;
        return m_isRegular ? Outcome::loaded : Outcome::noFile;
    }
    std::int64_t size() const { return m_size; }
    /// More was read than any sound needs.
    bool gaveUp() const { return m_reads > mostReads; }
    /// Returns how many bytes it got; none once it gave up.
    sf_count_t readAt(sf_count_t at, void* data, sf_count_t bytes) {
        if (at < 0 || bytes <= 0 || ++m_reads > mostReads)
            return 0;
        return std::max<sf_count_t>(pread(m_number, data, static_cast<std::size_t>(bytes), at), 0);
    }
    /// For what reads sounds.
    SNDFILE* openSound(SF_INFO& info) {
        SF_VIRTUAL_IO calls{
            .get_filelen = [](void* file) { return self(file).m_size; },
            .seek = [](sf_count_t offset, int whence, void* file) { return self(file).seek(offset, whence); },
            .read = [](void* data, sf_count_t bytes, void* file) { return self(file).read(data, bytes); },
            .write = [](const void*, sf_count_t, void*) { return sf_count_t{0}; },
            .tell = [](void* file) { return self(file).m_position; }};
        return sf_open_virtual(&calls, SFM_READ, &info, this);
    }

private:
    static constexpr int mostReads = 200'000; // a minute of the smallest blocks there are needs a quarter of it

    static SourceFile& self(void* file) { return *static_cast<SourceFile*>(file); }
    sf_count_t seek(sf_count_t offset, int whence) {
        const sf_count_t position = offset + (whence == SEEK_CUR   ? m_position
                                              : whence == SEEK_END ? m_size
                                                                   : sf_count_t{0});
        if (position < 0)
            return -1;
        m_position = position;
        return m_position;
    }
    sf_count_t read(void* data, sf_count_t bytes) {
        const sf_count_t got = readAt(m_position, data, bytes);
        m_position += got;
        return got;
    }

    const int m_number;
    const int m_error;
    bool m_isKnown = false;
    bool m_isRegular = false;
    sf_count_t m_size = 0;
    sf_count_t m_position = 0;
    std::int64_t m_reads = 0;
};

/// A name of four letters, and the number that follows it.
struct ChunkHeader {
    std::string_view name() const { return {letters, 4}; }
    std::int64_t size(bool isBigEndian) const {
        std::int64_t number = 0;
        for (unsigned i = 0; i < 4; ++i)
            number = number * 256 + bytes[isBigEndian ? i : 3 - i];
        return number;
    }

    char letters[4];
    unsigned char bytes[4];
};

/// What the chunks of a WAV, AIFF or SVX file tell, before what reads sounds looks at it.
struct Chunks {
    /// The file is shorter than its chunk of sound says. What reads sounds takes such a one as a shorter sound.
    /// Whoever writes into a pipe does not know the size, and says the greatest one.
    bool isCutOff = false;
    /// There is chunk after chunk and no sound; of an SVX file, what reads sounds would never find the end.
    bool isEndless = false;
};

Chunks chunksOf(SourceFile& file) {
    constexpr std::int64_t unknownSize = 0x7FFFF000;
    constexpr int mostChunks = 1000;
    ChunkHeader chunk{};
    const auto readAt = [&](std::int64_t at) {
        return file.readAt(at, &chunk, sizeof chunk) == static_cast<sf_count_t>(sizeof chunk);
    };
    const auto isOneOf = [&](std::initializer_list<std::string_view> names) {
        return std::find(names.begin(), names.end(), chunk.name()) != names.end();
    };
    if (!readAt(0) || !isOneOf({"RIFF", "FORM"}))
        return {};
    const bool isBigEndian = chunk.name() == "FORM";
    if (!readAt(8) || !isOneOf({"WAVE", "AIFF", "AIFC", "8SVX", "16SV"}))
        return {};
    const bool isSvx = isOneOf({"8SVX", "16SV"});
    std::int64_t at = 12;
    for (int chunks = 0; readAt(at); ++chunks) {
        const std::int64_t size = chunk.size(isBigEndian);
        const std::int64_t end = at + static_cast<std::int64_t>(sizeof chunk) + size;
        if (!isSvx && isOneOf({"data", "SSND"}))
            return {.isCutOff = size < unknownSize && end > file.size()};
        if (chunks == mostChunks)
            return {.isEndless = true};
        at = end + size % 2;
    }
    return {};
}

/// An open sound file.
class SoundReader {
public:
    explicit SoundReader(SourceFile& file) : m_file(file.openSound(m_info)) {}
    ~SoundReader() {
        if (m_file != nullptr)
            sf_close(m_file);
    }
    SoundReader(const SoundReader&) = delete;
    SoundReader& operator=(const SoundReader&) = delete;

    int rate() const { return m_info.samplerate; }
    int channels() const { return std::min(m_info.channels, 2); }

    Outcome outcome() const {
        if (m_file == nullptr || m_info.channels < 1 || m_info.samplerate < lowestRate ||
            m_info.samplerate > highestRate)
            return Outcome::noSound;
        if (m_info.frames <= 0)
            return Outcome::empty;
        return m_info.frames > longest() ? Outcome::tooLong : Outcome::loaded;
    }

    /// Appends the first two channels to `samples`. Formats that do not know their length say a wrong one, so
    /// what counts is what comes.
    Outcome read(std::pmr::vector<std::int16_t>& samples) {
        constexpr sf_count_t blockFrames = 4096;
        std::pmr::vector<float> block(static_cast<std::size_t>(blockFrames * m_info.channels),
                                      samples.get_allocator().resource());
        samples.reserve(static_cast<std::size_t>(m_info.frames * channels()));
        sf_count_t frames = 0;
        for (sf_count_t got = blockFrames; got == blockFrames; frames += got) {
            got = sf_readf_float(m_file, block.data(), blockFrames);
            if (got < 0 || frames + got > longest())
                return got < 0 ? Outcome::readFailed : Outcome::tooLong;
            for (sf_count_t frame = 0; frame < got; ++frame)
                for (int channel = 0; channel < channels(); ++channel)
                    samples.push_back(
                        sixteenBits(block[static_cast<std::size_t>(frame * m_info.channels + channel)]));
        }
        if (sf_error(m_file) != SF_ERR_NO_ERROR || frames < m_info.frames)
            return Outcome::readFailed;
        return Outcome::loaded;
    }

private:
    /// Frames.
    sf_count_t longest() const {
        return std::min(static_cast<sf_count_t>(MarkerSound::longest * m_info.samplerate),
                        static_cast<sf_count_t>(MarkerSound::largest / m_info.channels));
    }
    /// Samples of 16 bits come out as they are in the file.
    static std::int16_t sixteenBits(float sample) {
        if (std::isnan(sample))
            return 0;
        return static_cast<std::int16_t>(std::lrint(std::clamp(sample * 32768.0F, -32768.0F, 32767.0F)));
    }

    SF_INFO m_info{};
    SNDFILE* const m_file;
};

/// Interleaved stereo at another rate. Each side is picked by itself: samples of both together would wander
/// from one side to the other.
std::vector<std::int16_t> pickedBySide(std::span<const std::int16_t> source, double ratio,
                                       std::pmr::memory_resource& temporary) {
    std::pmr::vector<std::int16_t> side(source.size() / 2, &temporary);
    std::pmr::vector<std::int16_t> picked(
        static_cast<std::size_t>(static_cast<double>(side.size()) / ratio) + 2, &temporary);
    std::vector<std::int16_t> samples;
    for (const std::size_t channel : {0U, 1U}) {
        for (std::size_t frame = 0; frame < side.size(); ++frame)
            side[frame] = source[frame * 2 + channel];
        const double bytes = static_cast<double>(side.size()) * sizeof(std::int16_t);
        const std::size_t count = MarkerSound::transformSoundDataSInt16(side, picked, bytes, ratio, 2);
        samples.resize(count * 2);
        for (std::size_t frame = 0; frame < count; ++frame)
            samples[frame * 2 + channel] = picked[frame];
    }
    return samples;
}

MarkerSound::Loaded loadOrThrow(const std::string& path, double recordSampleRate,
                                std::pmr::memory_resource& temporary) {
    SourceFile file(path);
    if (const Outcome outcome = file.outcome(); outcome != Outcome::loaded)
        return {{}, outcome};
    const Chunks chunks = chunksOf(file);
    if (chunks.isEndless)
        return {{}, Outcome::noSound};
    SoundReader reader(file);
    if (const Outcome outcome = reader.outcome(); outcome != Outcome::loaded || file.gaveUp())
        return {{}, file.gaveUp() ? Outcome::noSound : outcome};
    if (chunks.isCutOff)
        return {{}, Outcome::readFailed};
    std::pmr::vector<std::int16_t> source(&temporary);
    if (const Outcome outcome = reader.read(source); outcome != Outcome::loaded || file.gaveUp())
        return {{}, file.gaveUp() ? Outcome::readFailed : outcome};
    const double ratio = reader.rate() / recordSampleRate;
    const double bytes = static_cast<double>(source.size()) * sizeof(std::int16_t);
    const double widened = static_cast<double>(source.size()) * (2.0 / reader.channels()) / ratio;
    if (widened > static_cast<double>(MarkerSound::largest))
        return {{}, Outcome::tooLong};
    if (reader.channels() == 2 && ratio != 1.0)
        return {pickedBySide(source, ratio, temporary), Outcome::loaded};
    std::vector<std::int16_t> samples(static_cast<std::size_t>(widened) + 4);
    samples.resize(MarkerSound::transformSoundDataSInt16(source, samples, bytes, ratio, reader.channels()));
    return {std::move(samples), Outcome::loaded};
}
} // namespace

MarkerSound::Loaded MarkerSound::load(const std::string& path, double recordSampleRate,
                                      std::pmr::memory_resource& temporary) {
    try {
        return loadOrThrow(path, recordSampleRate, temporary);
    } catch (const std::bad_alloc&) {
        return {{}, Outcome::noMemory};
    }
}

std::size_t MarkerSound::transformSoundDataSInt16(std::span<const std::int16_t> source,
                                                  std::span<std::int16_t> destination, double size,
                                                  double ratio, int channels) {
    const bool isMono = channels == 1;
    const auto limit = static_cast<std::size_t>(std::trunc(size * (2 / channels) / ratio)) / 2;
    const std::size_t step = isMono ? 2 : 1;
    std::size_t count = 0;
    for (double position = 0.0; count <= limit && count + step <= destination.size(); position += ratio) {
        const auto at = static_cast<std::size_t>(position);
        const std::int16_t sample = at < source.size() ? source[at] : std::int16_t{0};
        destination[count] = sample;
        if (isMono)
            destination[count + 1] = sample;
        count += step;
    }
    return count;
}

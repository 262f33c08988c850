#include "recorder/MarkerSound.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <new>
#include <sndfile.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {
using Outcome = MarkerSound::Outcome;
constexpr int lowestRate = 1000;    // Hz
constexpr int highestRate = 768000; // Hz

/// A file of the system, closed at the end.
class Descriptor {
public:
    // A pipe without a writer must not stop the main thread.
    explicit Descriptor(const std::string& path)
        : m_number(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)), m_error(errno) {}
    ~Descriptor() {
        if (m_number >= 0)
            close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return m_number; }
    Outcome outcome() const {
        if (m_number < 0)
            return m_error == ENOENT || m_error == ENOTDIR ? Outcome::missing : Outcome::unreadable;
        struct stat status {};
        if (fstat(m_number, &status) != 0)
            return Outcome::unreadable;
        return S_ISREG(status.st_mode) ? Outcome::loaded : Outcome::noFile;
    }

private:
    const int m_number;
    const int m_error;
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

/// Whether a WAV or AIFF file is shorter than its chunk of sound says. What reads sounds takes such a one as a
/// shorter sound. Whoever writes into a pipe does not know the size, and says the greatest one.
bool isCutOff(int descriptor) {
    constexpr std::int64_t unknownSize = 0x7FFFF000;
    struct stat status {};
    ChunkHeader chunk{};
    const auto readAt = [&](std::int64_t at) {
        return pread(descriptor, &chunk, sizeof chunk, at) == static_cast<ssize_t>(sizeof chunk);
    };
    if (fstat(descriptor, &status) != 0 || !readAt(0) || (chunk.name() != "RIFF" && chunk.name() != "FORM"))
        return false;
    const bool isAiff = chunk.name() == "FORM";
    if (!readAt(8) || (isAiff ? chunk.name() != "AIFF" && chunk.name() != "AIFC" : chunk.name() != "WAVE"))
        return false;
    for (std::int64_t at = 12; readAt(at);) {
        const std::int64_t size = chunk.size(isAiff);
        const std::int64_t end = at + static_cast<std::int64_t>(sizeof chunk) + size;
        if (chunk.name() == (isAiff ? "SSND" : "data"))
            return size < unknownSize && end > status.st_size;
        at = end + size % 2;
    }
    return false;
}

/// An open sound file.
class SoundReader {
public:
    explicit SoundReader(int descriptor) : m_file(sf_open_fd(descriptor, SFM_READ, &m_info, SF_FALSE)) {}
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

MarkerSound::Loaded loadOrThrow(const std::string& path, double recordSampleRate,
                                std::pmr::memory_resource& temporary) {
    const Descriptor descriptor(path);
    if (const Outcome outcome = descriptor.outcome(); outcome != Outcome::loaded)
        return {{}, outcome};
    const bool isTorn = isCutOff(descriptor.number());
    SoundReader reader(descriptor.number());
    if (const Outcome outcome = reader.outcome(); outcome != Outcome::loaded)
        return {{}, outcome};
    if (isTorn)
        return {{}, Outcome::readFailed};
    std::pmr::vector<std::int16_t> source(&temporary);
    if (const Outcome outcome = reader.read(source); outcome != Outcome::loaded)
        return {{}, outcome};
    const double ratio = reader.rate() / recordSampleRate;
    const double bytes = static_cast<double>(source.size()) * sizeof(std::int16_t);
    const double widened = static_cast<double>(source.size()) * (2.0 / reader.channels()) / ratio;
    if (widened > static_cast<double>(MarkerSound::largest))
        return {{}, Outcome::tooLong};
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
    // By the frame, a position is one of frames; a sample of the left side then never comes out on the right.
    const bool byFrame = !isMono && ratio != 1.0;
    for (double position = 0.0; count <= limit && count + step <= destination.size();) {
        const bool isRight = byFrame && count % 2 != 0;
        const auto at = byFrame ? static_cast<std::size_t>(position) * 2 + (isRight ? 1 : 0)
                                : static_cast<std::size_t>(position);
        if (!byFrame || isRight)
            position += ratio;
        const std::int16_t sample = at < source.size() ? source[at] : std::int16_t{0};
        destination[count] = sample;
        if (isMono)
            destination[count + 1] = sample;
        count += step;
    }
    return count;
}

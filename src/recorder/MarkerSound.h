// recorder/MarkerSound.h — a short sound file as samples that can be mixed into a recording.
#pragma once
#include <cstdint>
#include <memory_resource>
#include <span>
#include <string>
#include <vector>

/// Loads sound files of any format, rate and channel count that libsndfile reads. Of more than two channels the
/// first two are taken.
struct MarkerSound {
    /// Why there is no sound, or none.
    enum class Outcome {
        loaded,
        missing,    ///< no such file
        unreadable, ///< the system does not let it be opened
        noFile,     ///< a folder, a pipe, a device
        noSound,    ///< not a sound file, or one with a header that makes no sense
        empty,      ///< a sound file without a sample
        tooLong,    ///< longer than `longest`, or of more samples than `largest`
        readFailed, ///< it breaks off
        noMemory,
    };
    struct Loaded {
        std::vector<std::int16_t> samples; ///< interleaved stereo
        Outcome outcome = Outcome::loaded;
    };

    static constexpr double longest = 60.0;                   ///< seconds
    static constexpr std::int64_t largest = 24 * 1024 * 1024; ///< samples of all channels together

    /// Loads the file at `path` for a device that records at `recordSampleRate` Hz. Reads the whole file, so
    /// main thread only. Never waits for a pipe, and needs 200 MiB at most, whatever the file claims to be.
    /// `temporary` is where it takes its work buffers from.
    static Loaded load(const std::string& path, double recordSampleRate,
                       std::pmr::memory_resource& temporary = *std::pmr::get_default_resource());

    /// Copies about every `ratio`-th sample of `source`, of the sound's `size` bytes, without interpolation.
    /// `channels` is 1 or 2; one channel is doubled into left and right. Behind the end of `source` there is
    /// silence; what does not fit into `destination` is left out. Returns the number of samples written.
    static std::size_t transformSoundDataSInt16(std::span<const std::int16_t> source,
                                                std::span<std::int16_t> destination, double size, double ratio,
                                                int channels);
};

// library/SoundTransform.h — 16-bit samples of a file become what an output plays.
#pragma once
#include <cstdint>

/// Pure functions. Any thread. `ratio` is the file's rate over the output's; `channels` is 1 or 2.
struct SoundTransform {
    /// Writes 32-bit stereo floats at the output's rate for `size` bytes at `samples`, each the nearest sample
    /// before its time. Returns how many: the last step lies at `size` itself, so up to two floats come from
    /// the sample after the data, which must be there to be read. `to` holds `floats(...) + 2`.
    ///
    /// The samples of a stereo file are stepped through one by one, not in pairs.
    static unsigned transformSoundData(const std::int16_t* samples, float* to, std::int64_t size, double ratio,
                                       int channels);
    /// How many of these floats belong to the data: up to there, in whole frames, the pieces of a file join
    /// without a sample too many and with every channel on its side.
    static unsigned floats(std::int64_t size, double ratio, int channels);
};

/// What one read step reads, and the room in the queue that it waits for.
struct ReadPlan {
    std::int64_t readSize = 0;    ///< bytes of the file
    std::int64_t neededSpace = 0; ///< bytes of floats

    /// Two seconds of the file, or more of a file that has more samples than the output plays. Rates in Hz;
    /// nothing to read for a rate or a channel count that cannot be played.
    static ReadPlan make(float sampleRate, int channels, double deviceRate);
};

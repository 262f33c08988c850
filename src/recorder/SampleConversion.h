// recorder/SampleConversion.h — from captured floats to the samples of a file.
#pragma once
#include <cstddef>
#include <cstdint>

/// A float sample as 16 bits: times 32767, truncated toward zero, low 16 bits kept. There is no clipping, a
/// sample beyond full scale wraps around. What is no number becomes 0.
inline std::int16_t sampleFromFloat(float sample) noexcept {
    double value = sample * 32767.0;
    value = value > -2147483648.0 ? value : -2147483648.0; // also catches what is no number
    value = value < 2147483647.0 ? value : 2147483647.0;
    return static_cast<std::int16_t>(static_cast<std::uint32_t>(static_cast<std::int32_t>(value)));
}

/// Reduces interleaved stereo floats to `frames` file frames of `channels` (1 or 2) interleaved 16-bit samples.
///
/// Every `ratio`-th frame is taken, without a filter. A mono file takes the left channel; the right channel of
/// a stereo file is the sample `ratio` floats after the left one. `in` holds frames * ratio * 2 samples, `out`
/// frames * channels.
void reduceToFile(const float* in, std::size_t frames, unsigned ratio, int channels,
                  std::int16_t* out) noexcept;

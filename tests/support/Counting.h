// The counting signal: a recording of it says which frames it holds.
#pragma once
#include <cstdint>
#include <span>
#include <vector>

namespace counting {
constexpr std::int64_t period = 32767;

inline std::int16_t low(std::int64_t frame) {
    return static_cast<std::int16_t>(frame % period);
}
inline std::int16_t high(std::int64_t frame) {
    return static_cast<std::int16_t>(frame / period % period);
}
inline float left(std::int64_t frame) {
    return (static_cast<float>(low(frame)) + 0.5F) / 32767.0F;
}
inline float right(std::int64_t frame) {
    return (static_cast<float>(high(frame)) + 0.5F) / 32767.0F;
}
/// The frame that a stereo frame of a recording stands for.
inline std::int64_t frameOf(std::int16_t recordedLeft, std::int16_t recordedRight) {
    return std::int64_t{recordedRight} * period + recordedLeft;
}
/// How many of the interleaved stereo frames do not follow the one before them; the first counts when it is not
/// `first`.
inline std::int64_t breaks(std::span<const std::int16_t> stereo, std::int64_t first) {
    std::int64_t found = 0;
    for (std::size_t sample = 0; sample + 1 < stereo.size(); sample += 2) {
        const std::int64_t frame = frameOf(stereo[sample], stereo[sample + 1]);
        found += frame != first ? 1 : 0;
        first = frame + 1;
    }
    return found;
}
} // namespace counting

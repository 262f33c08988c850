#include "recorder/SampleConversion.h"

#include "base/WidestVectors.h"

#include <bit>

namespace {
constexpr std::size_t blockSamples = 256; // a fixed number, so that every compiler makes vectors of the loops

/// Whether all samples of a block lie between -2 and 2, so that their products fit into 32 bits by far: below 2
/// the uppermost bit of the exponent is not set.
inline bool isTame(const float* in) noexcept {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < blockSamples; ++i)
        bits |= std::bit_cast<std::uint32_t>(in[i]);
    return (bits & 0x40000000U) == 0;
}

/// `sampleFromFloat` for each sample. Its bounds cost more than all the rest, and sound never needs them.
KA_WIDEST_VECTORS
void convertRun(const float* __restrict in, std::size_t samples, std::int16_t* __restrict out) noexcept {
    for (; samples >= blockSamples; samples -= blockSamples, in += blockSamples, out += blockSamples) {
        if (isTame(in)) {
            for (std::size_t i = 0; i < blockSamples; ++i)
                out[i] = static_cast<std::int16_t>(static_cast<std::int32_t>(in[i] * 32767.0));
        } else {
            for (std::size_t i = 0; i < blockSamples; ++i)
                out[i] = sampleFromFloat(in[i]);
        }
    }
    for (std::size_t i = 0; i < samples; ++i)
        out[i] = sampleFromFloat(in[i]);
}
} // namespace

void reduceToFile(const float* in, std::size_t frames, unsigned ratio, int channels,
                  std::int16_t* out) noexcept {
    if (channels >= 2 && ratio == 1) {
        convertRun(in, frames * 2, out);
        return;
    }
    for (std::size_t frame = 0; frame < frames; ++frame, in += std::size_t{2} * ratio) {
        *out++ = sampleFromFloat(in[0]);
        if (channels >= 2)
            *out++ = sampleFromFloat(in[ratio]);
    }
}

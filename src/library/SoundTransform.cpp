#include "library/SoundTransform.h"

#include <algorithm>
#include <cmath>

namespace {
/// Bytes of the floats that `size` bytes of a file become.
double floatBytes(std::int64_t size, double ratio, int channels) {
    return std::trunc(static_cast<double>(size * 2 * (2 / channels)) / ratio);
}
unsigned limitOf(std::int64_t size, double ratio, int channels) {
    return static_cast<unsigned>(floatBytes(size, ratio, channels)) >> 2U;
}
} // namespace

unsigned SoundTransform::transformSoundData(const std::int16_t* samples, float* to, std::int64_t size,
                                            double ratio, int channels) {
    constexpr float scale = 1.0F / 32768.0F;
    const unsigned limit = limitOf(size, ratio, channels);
    const auto last = static_cast<std::size_t>(size / 2);
    unsigned count = 0;
    double index = 0.0;
    while (count <= limit) {
        const float value =
            static_cast<float>(samples[std::min(static_cast<std::size_t>(index), last)]) * scale;
        to[count++] = value;
        if (channels == 1)
            to[count++] = value;
        index += ratio;
    }
    return count;
}

unsigned SoundTransform::floats(std::int64_t size, double ratio, int channels) {
    // A quotient that ought to be whole may come out a little less: a frame would be left out at every read.
    constexpr double rounding = 1e-9;
    const double exact = static_cast<double>(size / 2 * (2 / channels)) / ratio;
    return static_cast<unsigned>(exact + rounding) & ~1U;
}

ReadPlan ReadPlan::make(float sampleRate, int channels, double deviceRate) {
    if (channels < 1 || channels > 2 || !(sampleRate > 0.0F) || !(deviceRate > 0.0))
        return {};
    const double ratio = static_cast<double>(sampleRate) / deviceRate;
    ReadPlan plan;
    plan.readSize = static_cast<std::int64_t>(static_cast<double>(sampleRate) * channels * 4.0);
    plan.neededSpace = static_cast<std::int64_t>(floatBytes(plan.readSize, ratio, channels));
    const double factor = 2.0 / channels / ratio;
    if (factor < 1.0) {
        plan.readSize =
            static_cast<std::int64_t>(static_cast<double>(plan.readSize) / factor) & ~std::int64_t{1};
        plan.neededSpace = static_cast<std::int64_t>(floatBytes(plan.readSize, ratio, channels));
    }
    return plan;
}

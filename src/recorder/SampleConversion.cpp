#include "recorder/SampleConversion.h"

void reduceToFile(const float* in, std::size_t frames, unsigned ratio, int channels,
                  std::int16_t* out) noexcept {
    if (channels >= 2 && ratio == 1) {
        for (std::size_t sample = 0; sample < frames * 2; ++sample) // one run, so that it vectorises
            out[sample] = sampleFromFloat(in[sample]);
        return;
    }
    for (std::size_t frame = 0; frame < frames; ++frame, in += std::size_t{2} * ratio) {
        *out++ = sampleFromFloat(in[0]);
        if (channels >= 2)
            *out++ = sampleFromFloat(in[ratio]);
    }
}

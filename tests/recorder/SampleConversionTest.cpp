#include "recorder/SampleConversion.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {
/// The definition in plain words: times 32767 in double, cut off toward zero, held within 32 bits, the low 16
/// bits of that; what is no number is silence.
std::int16_t definition(float sample) {
    if (std::isnan(sample))
        return 0;
    const double whole = std::trunc(static_cast<double>(sample) * 32767.0);
    const auto held = static_cast<std::int64_t>(std::clamp(whole, -2147483648.0, 2147483647.0));
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(held & 0xFFFF));
}

std::vector<std::int16_t> reduced(const std::vector<float>& in) {
    std::vector<std::int16_t> out(in.size());
    reduceToFile(in.data(), in.size() / 2, 1, 2, out.data());
    return out;
}

/// How many of the samples come out otherwise than defined; `first` is one of them.
std::size_t differences(const std::vector<float>& in, std::string& first) {
    const std::vector<std::int16_t> out = reduced(in);
    std::size_t count = 0;
    for (std::size_t i = 0; i < in.size(); ++i)
        if (out[i] != definition(in[i]) || sampleFromFloat(in[i]) != out[i]) {
            first = std::to_string(std::bit_cast<std::uint32_t>(in[i]));
            ++count;
        }
    return count;
}
} // namespace

TEST(SampleConversion, cutsTowardZeroAndWrapsAround) {
    const float infinity = std::numeric_limits<float>::infinity();
    const std::vector<float> in = {0.0F,  1.0F, -1.0F,    0.99999F,  -0.99999F,     2.0F,
                                   -2.0F, 1.5F, infinity, -infinity, std::nanf(""), 1e-9F};
    EXPECT_EQ(reduced(in),
              (std::vector<std::int16_t>{0, 32767, -32767, 32766, -32766, -2, 2, -16386, -1, 0, 0, 0}));
}

TEST(SampleConversion, convertsEveryFloatAsDefined) {
    constexpr std::uint64_t all = std::uint64_t{1} << 32;
    constexpr std::size_t run = std::size_t{1} << 16;
    // Without the long tests one float of 251 or so; their low bits still take every value.
    const std::uint64_t step = std::getenv("VELMORATIDE_TEST_ALL") != nullptr ? 1 : 251;
    std::vector<float> in(run);
    std::size_t count = 0;
    std::string first;
    for (std::uint64_t pattern = 0; pattern < all;) {
        for (float& sample : in) {
            sample = std::bit_cast<float>(static_cast<std::uint32_t>(pattern));
            pattern += step;
        }
        count += differences(in, first);
    }
    EXPECT_EQ(count, 0U) << "for example the float of the bits " << first;
}

TEST(SampleConversion, convertsTheSameInRunsOfAnyLength_whereverALoudSampleStands) {
    std::string first;
    for (const std::size_t length : {2U, 254U, 256U, 258U, 510U, 512U, 514U, 1024U, 1538U, 2048U})
        for (std::size_t loud = 0; loud < length; ++loud) {
            std::vector<float> in(length);
            for (std::size_t i = 0; i < length; ++i)
                in[i] = static_cast<float>(i) / 1024.0F - 1.0F;
            in[loud] = loud % 2 == 0 ? 70000.0F : -3.5F;
            ASSERT_EQ(differences(in, first), 0U) << length << " samples, the loud one at " << loud;
        }
}

TEST(SampleConversion, takesEveryRatiothFrame_andTheRightChannelRatioFloatsBehindTheLeft) {
    std::vector<float> in(24);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = (static_cast<float>(i) + 0.5F) / 32767.0F;
    std::vector<std::int16_t> stereo(8);
    reduceToFile(in.data(), 4, 3, 2, stereo.data());
    EXPECT_EQ(stereo, (std::vector<std::int16_t>{0, 3, 6, 9, 12, 15, 18, 21}));
    std::vector<std::int16_t> mono(6);
    reduceToFile(in.data(), 6, 2, 1, mono.data());
    EXPECT_EQ(mono, (std::vector<std::int16_t>{0, 4, 8, 12, 16, 20}));
}

#include "audio/CycleDuet.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {
void runAnHour(CycleSide from, CycleSide to) {
    CycleDuet duet(from, to);
    const auto sine = sineOf(1000.0, static_cast<double>(from.rate));
    duet.runUntil(60.0, sine);
    const std::uint64_t dropped = duet.dropped;
    const unsigned underruns = duet.underruns;
    unsigned least = 0;
    unsigned most = 0;
    for (int minute = 2; minute <= 60; ++minute) {
        duet.forgetExtremes();
        duet.runUntil(60.0 * minute, sine);
        if (minute > 2) {
            EXPECT_EQ(duet.leastHeld, least) << minute;
            EXPECT_EQ(duet.mostHeld, most) << minute;
        }
        least = duet.leastHeld;
        most = duet.mostHeld;
        const std::uint64_t expected = duet.read * from.rate / to.rate;
        ASSERT_LE(duet.taken + duet.silent, expected + 1) << minute;
        ASSERT_GE(duet.taken + duet.silent + 1, expected) << minute;
    }
    EXPECT_EQ(duet.dropped, dropped);
    EXPECT_EQ(duet.underruns, underruns);
    std::printf(
        "[ MEASURED ] %llu to %llu Hz, one hour: %llu frames out, %lld frames of drift, %u to %u held\n",
        static_cast<unsigned long long>(from.rate), static_cast<unsigned long long>(to.rate),
        static_cast<unsigned long long>(duet.read),
        static_cast<long long>(duet.taken + duet.silent) -
            static_cast<long long>(duet.read * from.rate / to.rate),
        least, most);
}
} // namespace

TEST(ConversionHourTest, neitherDriftsNorDropsNorFallsSilent_upwards) {
    runAnHour({44100, 1}, {48000, 1});
}

TEST(ConversionHourTest, neitherDriftsNorDropsNorFallsSilent_downwards) {
    runAnHour({48000, 1}, {44100, 1});
}

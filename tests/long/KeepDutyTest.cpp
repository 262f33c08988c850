// Thirty days of keeping: see tests/keeper for what is proved of each.
#include "keeper/KeepDuty.h"

namespace {
constexpr double thirtyDays = 30 * 86400.0;
} // namespace

TEST(LongKeepDuty, hasEveryFrameOfThirtyDays_compressedByTheRealCompressor) {
    KeepDuty duty({.seconds = thirtyDays});
    duty.run();
    duty.expectEveryFrame();
    EXPECT_GE(duty.compressed, 715u);
    EXPECT_EQ(duty.uncompressed, 0u);
    EXPECT_EQ(duty.errors(), 0);
}

TEST(LongKeepDuty, hasEveryFrameOfThirtyDays_withCompressorsThatFailHangAndLie) {
    KeepDuty duty({.seconds = thirtyDays, .script = moodyCompressor, .timeLimit = 4});
    duty.run();
    duty.expectEveryFrame();
    EXPECT_GE(duty.uncompressed, 400u);
}

TEST(LongKeepDuty, hasWhatTheKeepPeriodKeepsOfThirtyDays) {
    KeepDuty duty({.seconds = thirtyDays, .command = "/usr/bin/gzip", .argument = "-1 -f %@", .keepPeriod = 5});
    duty.run();
    EXPECT_GE(duty.secondsFound(), 5 * 86400.0 + KeepDuty::budget);
    EXPECT_LE(duty.secondsFound(), 5 * 86400.0 + KeepDuty::budget + 4.0 * KeepDuty::hour);
    EXPECT_EQ(duty.errors(), 0);
}

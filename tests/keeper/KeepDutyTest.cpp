#include "keeper/KeepDuty.h"

TEST(KeepDuty, hasEveryFrame_compressedByTheRealCompressor) {
    KeepDuty duty({.seconds = 5.0 * KeepDuty::hour});
    duty.run();
    duty.expectEveryFrame();
    EXPECT_GE(duty.compressed, 2u);
    EXPECT_EQ(duty.uncompressed, 0u);
    EXPECT_EQ(duty.errors(), 0);
}

TEST(KeepDuty, hasEveryFrame_withCompressorsThatFailHangAndLie) {
    KeepDuty duty({.seconds = 11.0 * KeepDuty::hour, .script = moodyCompressor});
    duty.run();
    duty.expectEveryFrame();
    EXPECT_EQ(duty.compressed, 4u);
    EXPECT_EQ(duty.uncompressed, 4u);
    EXPECT_GE(duty.errors(), 3);
    EXPECT_LE(duty.errors(), 4) << "one report for each kind of failure in a row";
}

TEST(KeepDuty, hasWhatTheKeepPeriodKeeps) {
    KeepDuty duty({.seconds = 30.0 * KeepDuty::hour,
                   .command = "/usr/bin/gzip",
                   .argument = "-1 -f %@",
                   .keepPeriod = 1});
    duty.run();
    EXPECT_GE(duty.lines("kept file deleted to make room"), 1u);
    EXPECT_GE(duty.secondsFound(), 24.0 * KeepDuty::hour + KeepDuty::budget);
    EXPECT_LE(duty.secondsFound(), 26.0 * KeepDuty::hour + KeepDuty::budget + 2.0 * KeepDuty::hour);
    EXPECT_EQ(duty.errors(), 0);
}

#include "storage/StoragePlan.h"

#include <gtest/gtest.h>

namespace {
StoragePlan fullStereo(double hours, double days = 1.0) {
    return StoragePlan({.rate = 44100.0, .channels = 2, .maxRecordTime = hours * 3600.0, .maxTotalDays = days});
}
constexpr double twoGigabytes = 2147483648.0;
} // namespace

TEST(StoragePlan, countsTwoBytesPerSample) {
    EXPECT_DOUBLE_EQ(fullStereo(1).needPerSecond(), 176400.0);
    EXPECT_DOUBLE_EQ(StoragePlan({.rate = 11025.0, .channels = 1}).needPerSecond(), 22050.0);
}

TEST(StoragePlan, sharesTheHeaderAmongTheSecondsOfAFile) {
    EXPECT_NEAR(fullStereo(1).needRecordSpacePerSecond(), 176400.0 + 4096.0 / 3600.0, 1e-9);
    EXPECT_NEAR(fullStereo(2).needRecordSpacePerSecond(), 176400.0 + 4096.0 / 7200.0, 1e-9);
}

TEST(StoragePlan, needsAHeaderAndItsSoundForOneFile) {
    EXPECT_NEAR(fullStereo(2).needRecordSpace(), 1270084096.0, 1e-3);
    EXPECT_NEAR(fullStereo(1).needRecordSpace(), 635044096.0, 1e-3);
}

TEST(StoragePlan, refusesTwoHours_andAcceptsOne_withTwoGigabytesFree) {
    EXPECT_TRUE(fullStereo(2).isRecordTooBig(twoGigabytes));
    EXPECT_FALSE(fullStereo(1).isRecordTooBig(twoGigabytes));
}

TEST(StoragePlan, acceptsAFileOfExactlyHalfTheFreeSpace) {
    EXPECT_FALSE(fullStereo(2).isRecordTooBig(2.0 * 1270084096.0));
    EXPECT_TRUE(fullStereo(2).isRecordTooBig(2.0 * 1270084095.0));
}

TEST(StoragePlan, needsAsManyFilesAsTheTotalTimeHolds) {
    EXPECT_NEAR(fullStereo(1, 1).needTotalSpace(), 24.0 * 635044096.0, 1e-2);
    EXPECT_NEAR(fullStereo(2, 10).needTotalSpace(), 120.0 * 1270084096.0, 1e-1);
}

TEST(StoragePlan, acceptsATotalTimeOfExactlyTheFreeSpace) {
    constexpr double day = 24.0 * 635044096.0;
    EXPECT_FALSE(fullStereo(1, 1).isTotalTooLong(day));
    EXPECT_TRUE(fullStereo(1, 1).isTotalTooLong(day - 1.0));
}

TEST(StoragePlan, roundsTheFreeTimeToHours) {
    const double hour = fullStereo(1).needRecordSpacePerSecond() * 3600.0;
    EXPECT_EQ(fullStereo(1).freeHours(hour * 1.49), 1);
    EXPECT_EQ(fullStereo(1).freeHours(hour * 1.51), 2);
    EXPECT_EQ(fullStereo(1).freeHours(0.0), 0);
}

TEST(StoragePlan, reservesWhatIsStillToBeFilled) {
    EXPECT_DOUBLE_EQ(fullStereo(1).reserveSpace(86400.0, 3600.0), 82800.0 * 176400.0);
    EXPECT_LT(fullStereo(1).reserveSpace(86400.0, 90000.0), 0.0);
}

TEST(StoragePlan, tellsHowLongTheKeepFolderLasts) {
    const double seconds = StoragePlan::maxKeepTimeWithReserveSpace(
        {.freeSpace = 1e9, .reserveSpace = 4e8, .totalKeepSpace = 1e8}, 176400.0, 0.5);
    EXPECT_DOUBLE_EQ(seconds, 7e8 / 176400.0 / 0.5);
}

TEST(StoragePlan, needsNothing_withoutAnInput) {
    const StoragePlan none({.rate = 0.0});
    EXPECT_EQ(none.freeHours(1e12), 0);
    EXPECT_DOUBLE_EQ(none.needPerSecond(), 0.0);
    EXPECT_DOUBLE_EQ(StoragePlan::maxKeepTimeWithReserveSpace({.freeSpace = 1e9}, 0.0, 0.5), 0.0);
    EXPECT_DOUBLE_EQ(StoragePlan::maxKeepTimeWithReserveSpace({.freeSpace = 1e9}, 1.0, 0.0), 0.0);
}

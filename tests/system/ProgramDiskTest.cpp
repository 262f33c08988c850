// The built program on disks that stand still, fill up, lose their power or become read-only.
#include "system/CountedDuty.h"
#include "system/PrivateDisk.h"

#include <fstream>
#include <gtest/gtest.h>

namespace {
constexpr double mostLost = 7.0; // seconds, of a disk without power: a write interval, and what was on its way
const std::vector<std::string> smallRecordings = {"MaxRecordTime=60"}; // so that a small disk holds one
constexpr double goesOnWithin = 12.0;                                  // seconds: two tries

class ProgramDisk : public testing::Test {
protected:
    void SetUp() override {
        if (const std::string why = PrivateDisk::whyNot(); !why.empty())
            GTEST_SKIP() << why;
        if (const std::string why = PrivatePulseServer::whyNot(); !why.empty())
            GTEST_SKIP() << why;
    }
    /// A recording of the year 2000.
    static std::string oldRecording(const PrivateDisk& disk, int megabytes) {
        std::filesystem::create_directories(disk.path() + "/record");
        std::string path = disk.path() + "/record/_Velmoratide_20000101_080000~090000.aif";
        const std::vector<char> piece(1 << 20);
        std::ofstream file(path, std::ios::binary);
        for (int i = 0; i < megabytes; ++i)
            file.write(piece.data(), static_cast<std::streamsize>(piece.size()));
        return path;
    }
};
} // namespace

TEST_F(ProgramDisk, losesNoFrame_whenTheDiskStandsStillForHalfAMinute) {
    PrivateDisk disk(PrivateDisk::Kind::ext4, 128);
    PrivatePulseServer server;
    CountedDuty duty(server, disk.path() + "/record", 80.0);
    ASSERT_TRUE(duty.launch(smallRecordings));
    duty.pauseFor(6.0);
    ASSERT_TRUE(disk.freezeFor(30.0));
    disk.awaitThaw();
    duty.pauseFor(6.0);
    const double seconds = duty.elapsed();
    EXPECT_EQ(duty.end(), 0);
    duty.expectEveryFrameOnce(seconds);
    EXPECT_EQ(duty.census().pieces().size(), 1U);
}

TEST_F(ProgramDisk, losesLessThanSevenSeconds_whenThePowerIsCut) {
    PrivateDisk disk(PrivateDisk::Kind::ext4, 128);
    PrivatePulseServer server;
    CountedDuty duty(server, disk.path() + "/record", 70.0);
    ASSERT_TRUE(duty.launch(smallRecordings));
    duty.pauseFor(19.5);
    const double lived = duty.elapsed();
    ASSERT_TRUE(disk.cutPower());
    duty.kill();
    ASSERT_TRUE(disk.unmount());
    ASSERT_TRUE(disk.mount());
    ASSERT_TRUE(duty.launch(smallRecordings)) << duty.log();
    duty.pauseFor(6.0);
    const double second = duty.elapsed();
    EXPECT_EQ(duty.end(), 0) << duty.log();
    const FrameCensus census = duty.census();
    EXPECT_EQ(census.complaint(), "");
    const auto pieces = census.pieces();
    ASSERT_EQ(pieces.size(), 2U) << duty.log();
    const double kept = static_cast<double>(pieces[0].frames) / CountedDuty::rate;
    EXPECT_GE(kept, lived - mostLost);
    EXPECT_TRUE(pieces[0].information.ends_with("*")) << pieces[0].information;
    EXPECT_NEAR(static_cast<double>(pieces[1].frames) / CountedDuty::rate, second, 1.0);
    std::printf("[ MEASURED ] the power was cut after %.2f s, %.2f s were kept\n", lived, kept);
}

TEST_F(ProgramDisk, goesOnByItself_whenAFullDiskBecomesLarger) {
    PrivateDisk disk(PrivateDisk::Kind::memory, 60);
    PrivatePulseServer server;
    CountedDuty duty(server, disk.path() + "/record", 70.0);
    ASSERT_TRUE(duty.launch(smallRecordings));
    duty.pauseFor(7.0);
    disk.fill("of somebody else");
    ASSERT_TRUE(duty.awaitLines("audio file write error", 1, 15.0)) << duty.log();
    duty.pauseFor(2.0);
    ASSERT_TRUE(disk.remount("size=300m"));
    ASSERT_TRUE(duty.awaitLines("recording goes on", 1, goesOnWithin)) << duty.log();
    EXPECT_EQ(duty.secondsToldBy("recording goes on"), 0.0) << duty.log();
    duty.pauseFor(7.0);
    const double seconds = duty.elapsed();
    duty.end();
    duty.expectEveryFrameOnce(seconds);
}

TEST_F(ProgramDisk, makesRoomByTheOldestRecordingAndGoesOn_whenTheDiskIsFull) {
    PrivateDisk disk(PrivateDisk::Kind::memory, 100);
    const std::string victim = oldRecording(disk, 60);
    PrivatePulseServer server;
    CountedDuty duty(server, disk.path() + "/record", 70.0);
    ASSERT_TRUE(duty.launch(smallRecordings));
    duty.pauseFor(7.0);
    disk.fill("of somebody else");
    ASSERT_TRUE(duty.awaitLines("recording goes on", 1, 15.0 + goesOnWithin)) << duty.log();
    EXPECT_EQ(duty.secondsToldBy("recording goes on"), 0.0) << duty.log();
    EXPECT_EQ(duty.linesWith("recording deleted").size(), 1U) << duty.log();
    EXPECT_FALSE(std::filesystem::exists(victim));
    duty.pauseFor(7.0);
    const double seconds = duty.elapsed();
    duty.end();
    duty.expectEveryFrameOnce(seconds);
}

TEST_F(ProgramDisk, goesOnByItself_whenADamagedDiskIsMountedAnew) {
    PrivateDisk disk(PrivateDisk::Kind::ext4, 128);
    PrivatePulseServer server;
    CountedDuty duty(server, disk.path() + "/record", 80.0);
    ASSERT_TRUE(duty.launch(smallRecordings));
    duty.pauseFor(12.5);
    ASSERT_TRUE(disk.failForGood());
    ASSERT_TRUE(duty.awaitLines("audio file write error", 1, 15.0)) << duty.log();
    duty.pauseFor(3.0);
    ASSERT_TRUE(disk.pullOut()) << duty.log();
    ASSERT_TRUE(disk.mount());
    ASSERT_TRUE(duty.awaitLines("recording goes on", 1, goesOnWithin)) << duty.log();
    EXPECT_EQ(duty.secondsToldBy("recording goes on"), 0.0) << duty.log();
    duty.pauseFor(7.0);
    const double seconds = duty.elapsed();
    duty.end();
    duty.expectEveryFrameOnce(seconds);
}

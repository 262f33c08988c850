#include "rehearsal/ScriptedVolume.h"

#include "storage/PosixVolume.h"
#include "support/ManualClock.h"
#include "support/TemporaryFolder.h"

#include <array>
#include <cerrno>
#include <gtest/gtest.h>

namespace {
struct ScriptedVolumeTest : testing::Test {
    static constexpr std::array<std::byte, 4> bytes{std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4}};

    TemporaryFolder folder;
    const std::string path = folder.path() + "/file";
    PosixVolume files;
    ManualClock clock;
    ScriptedVolume volume{files, clock};
};
} // namespace

TEST_F(ScriptedVolumeTest, writesAndReadsRealFiles_whenNothingIsScripted) {
    const auto file = volume.create(path);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->writeAt(2, bytes), 0);
    EXPECT_EQ(file->synchronize(), 0);
    EXPECT_EQ(file->size(), 6);
    EXPECT_EQ(file->truncate(5), 0);
    EXPECT_EQ(file->close(), 0);
    EXPECT_EQ(files.fileSize(path), 5);
    std::array<std::byte, 8> read{};
    EXPECT_EQ(volume.openForReading(path)->readAt(2, read), 3);
    EXPECT_EQ(read[0], bytes[0]);
    EXPECT_EQ(clock.hostTime(), 0);
}

TEST_F(ScriptedVolumeTest, failsEveryWriteOfFilesOpenAlready_whileToldTo) {
    const auto file = volume.create(path);
    ASSERT_EQ(file->writeAt(0, bytes), 0);
    volume.setWriteError(true);
    EXPECT_EQ(file->writeAt(4, bytes), ENOSPC);
    EXPECT_EQ(file->writeAt(0, bytes), ENOSPC);
    EXPECT_EQ(file->size(), 4);
    volume.setWriteError(false);
    EXPECT_EQ(file->writeAt(4, bytes), 0);
    EXPECT_EQ(file->size(), 8);
}

TEST_F(ScriptedVolumeTest, createsNothing_onAFullDisk) {
    volume.setWriteError(true);
    errno = 0;
    EXPECT_EQ(volume.create(path), nullptr);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_FALSE(files.exists(path));
}

TEST_F(ScriptedVolumeTest, failsTheWriteOfThatNumberOnce) {
    const auto file = volume.create(path);
    volume.failWrite(2);
    EXPECT_EQ(file->writeAt(0, bytes), 0);
    EXPECT_EQ(file->writeAt(4, bytes), EIO);
    EXPECT_EQ(file->size(), 4);
    EXPECT_EQ(file->writeAt(4, bytes), 0);
    volume.failWrite(1);
    volume.failWrite(0);
    EXPECT_EQ(file->writeAt(8, bytes), 0);
}

TEST_F(ScriptedVolumeTest, countsWritesOfAllFiles_alsoOfThoseOpenedForUpdating) {
    const auto first = volume.create(path);
    const auto second = volume.openForUpdating(path);
    volume.failWrite(2);
    EXPECT_EQ(first->writeAt(0, bytes), 0);
    EXPECT_EQ(second->writeAt(0, bytes), EIO);
}

TEST_F(ScriptedVolumeTest, takesTimeToReachTheDisk) {
    const auto file = volume.create(path);
    volume.setWriteSeconds(2.5);
    EXPECT_EQ(file->writeAt(0, bytes), 0);
    EXPECT_EQ(clock.hostTime(), 0);
    EXPECT_EQ(file->synchronize(), 0);
    EXPECT_EQ(clock.hostTime(), 2'500'000'000);
}

TEST_F(ScriptedVolumeTest, opensNoFileThatIsNotThere) {
    EXPECT_EQ(volume.openForReading(path), nullptr);
    EXPECT_EQ(volume.openForUpdating(path), nullptr);
}

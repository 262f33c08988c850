#include "rehearsal/ScriptedVolume.h"

#include "rehearsal/VirtualClock.h"
#include "storage/PosixVolume.h"
#include "support/ManualClock.h"
#include "support/TemporaryFolder.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <vector>

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

namespace {
/// A folder with a record folder in it, on a volume with room for 10000 bytes more.
struct LimitedVolume {
    LimitedVolume() {
        std::filesystem::create_directories(folder.path() + "/record");
        volume.limitRoom(folder.path(), {10000.0, ScriptedVolume::usedBytes(folder.path())});
    }
    int write(const std::string& name, std::int64_t offset, std::size_t bytes) {
        const std::string path = folder.path() + "/record/" + name;
        const auto file = volume.exists(path) ? volume.openForUpdating(path) : volume.create(path);
        return file->writeAt(offset, std::vector<std::byte>(bytes));
    }
    double free() { return volume.freeBytes(folder.path()).value_or(-1.0); }

    TemporaryFolder folder;
    VirtualClock clock{QTimeZone::utc(), {}};
    PosixVolume files;
    ScriptedVolume volume{files, clock};
};
} // namespace

TEST(ScriptedVolumeRoomTest, getsSmallerByWhatFilesGrow) {
    LimitedVolume it;
    EXPECT_EQ(it.free(), 10000.0);
    EXPECT_EQ(it.write("a", 0, 4000), 0);
    EXPECT_EQ(it.free(), 6000.0);
    EXPECT_EQ(it.write("a", 0, 4000), 0); // over what is there
    EXPECT_EQ(it.free(), 6000.0);
    EXPECT_EQ(it.write("a", 3000, 2000), 0);
    EXPECT_EQ(it.free(), 5000.0);
}

TEST(ScriptedVolumeRoomTest, refusesAWriteThatDoesNotFit_andTakesItWhenSomethingWasRemoved) {
    LimitedVolume it;
    EXPECT_EQ(it.write("a", 0, 8000), 0);
    EXPECT_EQ(it.write("b", 0, 2001), ENOSPC);
    EXPECT_EQ(it.write("b", 0, 2000), 0);
    EXPECT_EQ(it.write("b", 2000, 1), ENOSPC);
    EXPECT_EQ(it.volume.remove(it.folder.path() + "/record/a"), 0);
    EXPECT_EQ(it.free(), 8000.0);
    EXPECT_EQ(it.write("b", 2000, 1), 0);
}

TEST(ScriptedVolumeRoomTest, countsAFileOnce_howeverManyNamesItHas) {
    LimitedVolume it;
    EXPECT_EQ(it.write("a", 0, 4000), 0);
    EXPECT_EQ(it.volume.makeLink(it.folder.path() + "/record/a", it.folder.path() + "/record/b"), 0);
    EXPECT_EQ(it.free(), 6000.0);
    EXPECT_EQ(it.volume.remove(it.folder.path() + "/record/a"), 0);
    EXPECT_EQ(it.free(), 6000.0);
}

TEST(ScriptedVolumeRoomTest, doesNotCountTheLogsOfARehearsal) {
    LimitedVolume it;
    std::ofstream(it.folder.path() + "/system-log.txt") << "a line";
    EXPECT_EQ(it.free(), 10000.0);
}

TEST(ScriptedVolumeRoomTest, canBeSetAnew) {
    LimitedVolume it;
    EXPECT_EQ(it.write("a", 0, 4000), 0);
    it.volume.setFreeBytes(500.0);
    EXPECT_EQ(it.free(), 500.0);
    EXPECT_EQ(it.volume.room().usedBytes, 4000.0);
    EXPECT_EQ(it.write("a", 4000, 501), ENOSPC);
    EXPECT_EQ(it.write("a", 4000, 500), 0);
    EXPECT_EQ(it.free(), 0.0);
}

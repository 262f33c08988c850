#include "keeper/KeepCopy.h"

#include "storage/PosixVolume.h"
#include "support/FaultVolume.h"
#include "support/TemporaryFolder.h"

#include <cerrno>
#include <fstream>

namespace {
const std::string name = "_Velmoratide_20071023_093000~101500.aif";

class KeepCopyTest : public testing::Test {
protected:
    KeepCopyTest() {
        for (const char* below : {"/record", "/keep"})
            std::filesystem::create_directory(folder.path() + below);
        std::ofstream(recording, std::ios::binary) << sound;
    }
    KeepCopy make() { return KeepCopy::make(volume, recording, keepFolder, cancelled); }
    std::string textOf(const std::string& path) const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    TemporaryFolder folder;
    const std::string recording = folder.path() + "/record/" + name;
    const std::string keepFolder = folder.path() + "/keep";
    const std::string sound = std::string(3'000'000, 's') + "end";
    PosixVolume disk;
    FaultVolume volume{disk};
    std::atomic<bool> cancelled{false};
};
} // namespace

TEST_F(KeepCopyTest, needsNoRoomOnOneVolume) {
    const KeepCopy copy = make();
    EXPECT_TRUE(copy.result.done());
    EXPECT_EQ(copy.target, keepFolder + "/" + name);
    EXPECT_TRUE(disk.isSameFile(recording, copy.target));
    EXPECT_EQ(volume.writes(), 0);
    EXPECT_EQ(volume.synchronizations(), 1);
}

TEST_F(KeepCopyTest, copiesToAnotherVolume) {
    volume.failLinking(EXDEV);
    const KeepCopy copy = make();
    EXPECT_TRUE(copy.result.done());
    EXPECT_FALSE(disk.isSameFile(recording, copy.target));
    EXPECT_EQ(textOf(copy.target), sound);
    EXPECT_EQ(textOf(recording), sound);
    EXPECT_EQ(disk.list(keepFolder).size(), 1u);
    EXPECT_EQ(volume.synchronizations(), 1);
}

TEST_F(KeepCopyTest, leavesNothingBehind_whicheverWriteFails) {
    volume.failLinking(EXDEV);
    make();
    const int writes = volume.writes();
    ASSERT_GE(writes, 3);
    disk.remove(keepFolder + "/" + name);
    for (int number = 1; number <= writes; ++number) {
        volume.failWrite(number, EIO);
        const KeepCopy copy = make();
        EXPECT_EQ(copy.result.error, EIO) << number;
        EXPECT_EQ(copy.result.fault, "the copy cannot be written (Input/output error)");
        EXPECT_TRUE(disk.list(keepFolder).empty()) << number;
        EXPECT_EQ(textOf(recording), sound);
    }
}

TEST_F(KeepCopyTest, leavesNothingBehind_whenTheDiskFills) {
    volume.failLinking(EXDEV);
    volume.setRoom(1'500'000);
    EXPECT_EQ(make().result.error, ENOSPC);
    EXPECT_TRUE(disk.list(keepFolder).empty());
}

TEST_F(KeepCopyTest, fails_whereTheDiskTakesNothing) {
    volume.failSynchronizing(EIO);
    EXPECT_EQ(make().result.error, EIO);
    volume.failLinking(EXDEV);
    EXPECT_EQ(make().result.error, EIO);
    EXPECT_TRUE(disk.list(keepFolder).empty());
    EXPECT_EQ(textOf(recording), sound);
}

TEST_F(KeepCopyTest, fails_whereTheRecordingCannotBeRead) {
    volume.failLinking(EXDEV);
    volume.failReading(true);
    EXPECT_FALSE(make().result.done());
    EXPECT_TRUE(disk.list(keepFolder).empty());
}

TEST_F(KeepCopyTest, isCancelled) {
    volume.failLinking(EXDEV);
    cancelled = true;
    EXPECT_EQ(make().result.outcome, FileCopier::Outcome::cancelled);
    EXPECT_TRUE(disk.list(keepFolder).empty());
}

TEST_F(KeepCopyTest, writesOverNothing) {
    std::ofstream(keepFolder + "/" + name) << "another one";
    std::ofstream(keepFolder + "/_Velmoratide_20071023_093000~101500+.aif.bz2") << "and one that is compressed";
    const KeepCopy copy = make();
    EXPECT_EQ(copy.target, keepFolder + "/_Velmoratide_20071023_093000~101500++.aif");
    EXPECT_EQ(textOf(keepFolder + "/" + name), "another one");
}

TEST_F(KeepCopyTest, findsWhatACrashLeft) {
    std::filesystem::create_hard_link(recording, keepFolder + "/" + name);
    const KeepCopy copy = make();
    EXPECT_TRUE(copy.result.done());
    EXPECT_EQ(copy.target, keepFolder + "/" + name);
    EXPECT_EQ(disk.list(keepFolder).size(), 1u);
}

TEST_F(KeepCopyTest, keepsNothingInTheRecordFolderItself) {
    const std::string record = folder.path() + "/record";
    std::filesystem::create_directory_symlink(record, folder.path() + "/alias");
    for (const std::string& same : {record, record + "/", folder.path() + "/alias"})
        EXPECT_EQ(KeepCopy::make(volume, recording, same, cancelled).result.error, EINVAL) << same;
    EXPECT_EQ(disk.list(record).size(), 1u);
}

TEST_F(KeepCopyTest, makesNoFolder) {
    std::filesystem::remove(keepFolder);
    EXPECT_EQ(make().result.error, ENOENT);
    EXPECT_FALSE(disk.exists(keepFolder)) << "a volume that is not mounted is not this one";
}

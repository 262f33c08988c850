#include "library/SoundFileCopier.h"

#include "library/RecordedFiles.h"
#include "support/FaultVolume.h"

#include <cerrno>
#include <sys/stat.h>

using Outcome = SoundFileCopier::Outcome;

class SoundFileCopierTest : public testing::Test {
protected:
    SoundFileCopierTest() { files.record("source", frames, 22050.0, 2); }
    SoundFileCopier::Result copy(const std::string& destination,
                                 std::optional<SoundFileCopier::Range> range = {}, bool mayReplace = true) {
        return SoundFileCopier(volume, progress)
            .copy({.source = files / "source",
                   .destination = files / destination,
                   .range = range,
                   .mayReplace = mayReplace});
    }
    /// Nothing was left and nothing harmed.
    void expectOnly(const std::vector<std::string>& names) const { EXPECT_EQ(files.names(), names); }

    static constexpr std::size_t frames = 300000; // several pieces
    TemporaryFolder folder;
    RecordedFiles files{folder.path()};
    PosixVolume disk;
    FaultVolume volume{disk};
    SoundFileCopier::Progress progress;
};

TEST_F(SoundFileCopierTest, copiesAWholeFileByteByByte) {
    files.note("source", "Rain");
    EXPECT_EQ(copy("copy").outcome, Outcome::copied);
    EXPECT_EQ(files.read("copy"), files.read("source"));
    EXPECT_EQ(progress.done, 1.0);
    EXPECT_GE(volume.synchronizations(), 1);
    expectOnly({"copy", "source"});
}

TEST_F(SoundFileCopierTest, copiesARange_inTheSourcesFormat) {
    const auto all = files.samples(files / "source");
    EXPECT_EQ(copy("copy", SoundFileCopier::Range{4000, 804000}).outcome, Outcome::copied);
    const auto part = files.samples(files / "copy");
    ASSERT_EQ(part.size(), 400000u);
    EXPECT_TRUE(std::equal(part.begin(), part.end(), all.begin() + 2000));
    PosixVolume plain;
    const auto opened = SoundFile::openForReading(plain, files / "copy");
    EXPECT_EQ(opened.file->rate(), 22050.0);
    EXPECT_EQ(opened.file->channels(), 2u);
    EXPECT_EQ(progress.done, 1.0);
}

TEST_F(SoundFileCopierTest, cutsARangeToWholeFramesOfWhatIsThere) {
    EXPECT_EQ(copy("copy", SoundFileCopier::Range{-10, INT64_MAX}).outcome, Outcome::copied);
    EXPECT_EQ(files.samples(files / "copy"), files.samples(files / "source"));
    EXPECT_EQ(copy("part", SoundFileCopier::Range{3, 11}).outcome, Outcome::copied);
    EXPECT_EQ(files.samples(files / "part"), (std::vector<std::int16_t>{0, 1, 2, 3}));
    EXPECT_EQ(copy("none", SoundFileCopier::Range{40, 40}).outcome, Outcome::copied);
    EXPECT_TRUE(files.samples(files / "none").empty());
}

TEST_F(SoundFileCopierTest, refusesToCopyAFileOntoItself) {
    const std::string before = files.read("source");
    EXPECT_EQ(copy("source").error, EINVAL);
    EXPECT_EQ(copy("../" + folder.path().substr(folder.path().rfind('/') + 1) + "/source").error, EINVAL);
    ASSERT_EQ(disk.makeLink(files / "source", files / "other"), 0);
    EXPECT_EQ(copy("other").error, EINVAL);
    EXPECT_EQ(files.read("source"), before);
}

TEST_F(SoundFileCopierTest, replacesAFile_onlyWhenTheCopyIsWhole) {
    files.write("copy", "precious");
    volume.failWrite(3, EIO);
    EXPECT_EQ(copy("copy").error, EIO);
    EXPECT_EQ(files.read("copy"), "precious");
    EXPECT_EQ(copy("copy").outcome, Outcome::copied);
    EXPECT_EQ(files.read("copy"), files.read("source"));
    expectOnly({"copy", "source"});
}

TEST_F(SoundFileCopierTest, replacesNothing_whenItMayNot) {
    files.write("copy", "precious");
    EXPECT_EQ(copy("copy", {}, false).error, EEXIST);
    EXPECT_EQ(files.read("copy"), "precious");
    EXPECT_EQ(copy("free", {}, false).outcome, Outcome::copied);
    expectOnly({"copy", "free", "source"});
}

TEST_F(SoundFileCopierTest, replacesNeitherALockedFileNorAFolder) {
    files.write("copy", "precious");
    ASSERT_EQ(FileLock::setLocked(files / "copy", true), 0);
    EXPECT_EQ(copy("copy").error, EPERM);
    EXPECT_EQ(files.read("copy"), "precious");
    ASSERT_EQ(::mkdir((files / "folder").c_str(), 0755), 0);
    EXPECT_EQ(copy("folder").error, EISDIR);
    expectOnly({"copy", "folder", "source"});
}

TEST_F(SoundFileCopierTest, replacesALinkItself_notWhatItLeadsTo) {
    files.write("target", "precious");
    std::filesystem::create_symlink("target", files / "copy");
    EXPECT_EQ(copy("copy").outcome, Outcome::copied);
    EXPECT_EQ(files.read("target"), "precious");
    EXPECT_FALSE(std::filesystem::is_symlink(files / "copy"));
}

TEST_F(SoundFileCopierTest, leavesNothing_whenTheDiskIsFull) {
    for (const std::int64_t room : {0, 100, 4096, 500000}) {
        volume.setRoom(room);
        EXPECT_EQ(copy("copy").error, ENOSPC) << room;
        volume.setRoom(room);
        EXPECT_NE(copy("copy", SoundFileCopier::Range{0, INT64_MAX}).outcome, Outcome::copied) << room;
        expectOnly({"source"});
    }
}

TEST_F(SoundFileCopierTest, leavesNothing_whicheverWriteFails) {
    for (int number = 1; number <= 5; ++number) {
        volume.failWrite(number, EIO);
        EXPECT_EQ(copy("copy").outcome, Outcome::failed) << number;
        expectOnly({"source"});
    }
    for (int number = 1; number <= 7; ++number) {
        volume.failWrite(number, EIO);
        EXPECT_EQ(copy("copy", SoundFileCopier::Range{0, INT64_MAX}).outcome, Outcome::failed) << number;
        expectOnly({"source"});
    }
}

TEST_F(SoundFileCopierTest, leavesNothing_whenItCannotBeBroughtToTheDiskOrRead) {
    volume.failSynchronizing(EIO);
    EXPECT_EQ(copy("copy").error, EIO);
    EXPECT_EQ(copy("copy", SoundFileCopier::Range{0, 100}).error, EIO);
    volume.failSynchronizing(0);
    volume.failReading(true);
    EXPECT_EQ(copy("copy").error, EIO);
    volume.failReading(false);
    expectOnly({"source"});
}

TEST_F(SoundFileCopierTest, leavesNothing_whenCancelled) {
    progress.cancelled = true;
    EXPECT_EQ(copy("copy").outcome, Outcome::cancelled);
    EXPECT_EQ(copy("copy", SoundFileCopier::Range{0, INT64_MAX}).outcome, Outcome::cancelled);
    expectOnly({"source"});
}

TEST_F(SoundFileCopierTest, fails_whenSourceOrFolderIsMissing) {
    EXPECT_EQ(copy("missing/copy").error, ENOENT);
    const auto result =
        SoundFileCopier(volume, progress).copy({.source = files / "none", .destination = files / "copy"});
    EXPECT_EQ(result.error, ENOENT);
    expectOnly({"source"});
}

TEST_F(SoundFileCopierTest, neverOpensAPipe) {
    ASSERT_EQ(::mkfifo((files / "pipe").c_str(), 0644), 0);
    const auto result =
        SoundFileCopier(volume, progress).copy({.source = files / "pipe", .destination = files / "copy"});
    EXPECT_EQ(result.outcome, Outcome::failed);
}

TEST_F(SoundFileCopierTest, touchesNoForeignFileOfItsHiddenName) {
    files.write(".exporting-1", "foreign");
    EXPECT_EQ(copy("copy").outcome, Outcome::copied);
    EXPECT_EQ(files.read(".exporting-1"), "foreign");
    expectOnly({".exporting-1", "copy", "source"});
}

// What is remembered of recordings is never other than what their files are.
#include "storage/RecordingLooks.h"

#include "rehearsal/VirtualClock.h"
#include "storage/FileFolder.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"

#include <gtest/gtest.h>

class RecordingLooksTest : public testing::Test {
protected:
    static constexpr int rate = 100;
    static constexpr char overMidnight[] = "_Velmoratide_20071024_233000~003000.aif";
    static constexpr char inTheMorning[] = "_Velmoratide_20071024_093000~101500.aif";

    /// A sound of `seconds` in a new file.
    void record(const std::string& name, int seconds) {
        write(*SoundFile::create(disk, folder / name, rate, 1).file, seconds);
    }
    static void write(SoundFile& file, int seconds) {
        EXPECT_TRUE(file.writeSamples(0, std::vector<std::int16_t>(static_cast<std::size_t>(seconds * rate))));
        EXPECT_TRUE(file.close());
    }
    std::vector<Recording> look() {
        std::vector<Recording> found = RecordFolder::list(disk, folder.path(), {}).recordings;
        looks.complete(folder.path(), found);
        return found;
    }
    double seconds() { return RecordFolder::totalTimeExceptLocked(look()); }

    FileFolder folder;
    PosixVolume disk;
    VirtualClock clock{QTimeZone("UTC"),
                       Date{.microseconds = 4'102'444'800'000'000}}; // 2100: files are old by then
    RecordingLooks looks{disk, clock};
};

TEST_F(RecordingLooksTest, readsNoFile_whoseNameTellsItsLength) {
    record(inTheMorning, 1);
    EXPECT_EQ(seconds(), 2700.0);
    EXPECT_EQ(looks.filesRead(), 0);
}

TEST_F(RecordingLooksTest, readsAFileOnce_whileItStaysAsItIs) {
    record(overMidnight, 1800);
    record(inTheMorning, 1);
    for (int times = 0; times < 3; ++times)
        EXPECT_EQ(seconds(), 1800.0 + 2700.0);
    EXPECT_EQ(looks.filesRead(), 1);
}

TEST_F(RecordingLooksTest, readsAnotherFileInItsPlace) {
    record(overMidnight, 1800);
    EXPECT_EQ(seconds(), 1800.0);
    record("other", 1200);
    std::filesystem::rename(folder / "other", folder / overMidnight);
    EXPECT_EQ(seconds(), 1200.0);
    EXPECT_EQ(looks.filesRead(), 2);
}

TEST_F(RecordingLooksTest, readsAnotherFileOfTheSameSizeInItsPlace) {
    record(overMidnight, 1800);
    EXPECT_EQ(seconds(), 1800.0);
    write(*SoundFile::create(disk, folder / "other", rate * 3, 1).file, 1800);
    std::filesystem::last_write_time(folder / "other", std::filesystem::last_write_time(folder / overMidnight));
    std::filesystem::rename(folder / "other", folder / overMidnight);
    EXPECT_EQ(seconds(), 600.0);
}

TEST_F(RecordingLooksTest, readsAFileThatHasGrown) {
    record(overMidnight, 600);
    EXPECT_EQ(seconds(), 600.0);
    write(*SoundFile::openForUpdating(disk, folder / overMidnight).file, 1200);
    EXPECT_EQ(seconds(), 1200.0);
}

TEST_F(RecordingLooksTest, readsAFileThatWasCutShort) {
    record(overMidnight, 1200);
    EXPECT_EQ(seconds(), 1200.0);
    std::filesystem::resize_file(folder / overMidnight, 4096 + 300 * rate * 2);
    EXPECT_EQ(seconds(), 300.0);
}

TEST_F(RecordingLooksTest, readsAFileThatWasRenamed_andForgetsItsOldName) {
    record(overMidnight, 1200);
    EXPECT_EQ(seconds(), 1200.0);
    const std::string renamed = "_Velmoratide_20071025_233000~003000.aif";
    std::filesystem::rename(folder / overMidnight, folder / renamed);
    const std::vector<Recording> found = look();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].name, renamed);
    EXPECT_EQ(found[0].seconds, 1200.0);
    record(overMidnight, 300);
    EXPECT_EQ(seconds(), 1500.0);
}

TEST_F(RecordingLooksTest, countsNoFileThatIsGone) {
    record(overMidnight, 1200);
    record(inTheMorning, 1);
    EXPECT_EQ(seconds(), 3900.0);
    std::filesystem::remove(folder / overMidnight);
    EXPECT_EQ(seconds(), 2700.0);
}

TEST_F(RecordingLooksTest, seesALockFromOutside_andThatItIsGone) {
    record(overMidnight, 1200);
    record(inTheMorning, 1);
    EXPECT_EQ(seconds(), 3900.0);
    using enum std::filesystem::perms;
    for (const char* name : {overMidnight, inTheMorning}) {
        std::filesystem::permissions(folder / name, owner_read);
        const double left = name == overMidnight ? 2700.0 : 1200.0;
        EXPECT_EQ(seconds(), left) << name;
        EXPECT_TRUE(look()[name == inTheMorning ? 0 : 1].locked) << name;
        std::filesystem::permissions(folder / name, owner_read | owner_write);
        EXPECT_EQ(seconds(), 3900.0) << name;
    }
}

TEST_F(RecordingLooksTest, readsAFileAgain_thatChangedJustNow) {
    VirtualClock past(QTimeZone("UTC"), {}); // before all files, as a clock may be that was set
    RecordingLooks early(disk, past);
    record(overMidnight, 1200);
    for (int times = 1; times < 4; ++times) {
        std::vector<Recording> found = RecordFolder::list(disk, folder.path(), {}).recordings;
        early.complete(folder.path(), found);
        EXPECT_EQ(found.at(0).seconds, 1200.0);
        EXPECT_EQ(early.filesRead(), times) << "within a tick of the clock it could change unseen";
    }
}

TEST_F(RecordingLooksTest, goesByTheName_whenTheFileCannotBeRead) {
    folder.write(overMidnight, "no sound");
    EXPECT_EQ(seconds(), 3600.0);
    record(overMidnight, 1200);
    EXPECT_EQ(seconds(), 1200.0);
}

TEST_F(RecordingLooksTest, takesAllForLocked_whenNothingCanBeLearned) {
    record(inTheMorning, 1);
    std::filesystem::create_symlink("loop", folder / "loop");
    std::vector<Recording> found = RecordFolder::list(disk, folder.path(), {}).recordings;
    looks.complete(folder / "loop", found); // ELOOP
    EXPECT_TRUE(found.at(0).locked);
    looks.complete(folder / "none", found);
    EXPECT_FALSE(found.at(0).locked) << "what is not there is not locked";
}

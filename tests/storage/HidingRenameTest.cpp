#include "storage/HidingRename.h"

#include "storage/FileFolder.h"
#include "storage/PosixVolume.h"
#include "storage/RecordFolder.h"

#include <filesystem>

namespace {
constexpr const char* shown = "_Velmoratide_20071024_093000~101500.aif";
constexpr const char* hidden = ".Velmoratide_20071024_093000~101500.aif";

class HidingRenameTest : public ::testing::Test {
protected:
    void run(HidingRename::Wish wish, const std::string& inUse = {}) {
        HidingRename renaming(volume, folder.path(), wish);
        EXPECT_TRUE(
            renaming.proceed([] { return false; }, [&](const std::string& name) { return name == inUse; }));
        renamed = renaming.renamed();
        failures = renaming.failures();
    }

    FileFolder folder;
    PosixVolume volume;
    unsigned renamed = 0;
    std::vector<std::string> failures;
};
} // namespace

TEST_F(HidingRenameTest, putsADotInPlaceOfTheFirstCharacter) {
    folder.write(shown, "sound");
    run(HidingRename::Wish::hide);
    EXPECT_EQ(folder.read(hidden), "sound");
    EXPECT_FALSE(folder.has(shown));
    EXPECT_EQ(renamed, 1U);
    EXPECT_TRUE(failures.empty());
}

TEST_F(HidingRenameTest, putsAnUnderscoreInPlaceOfTheDot) {
    folder.write(hidden, "sound");
    run(HidingRename::Wish::show);
    EXPECT_EQ(folder.read(shown), "sound");
    EXPECT_FALSE(folder.has(hidden));
}

TEST_F(HidingRenameTest, leavesAlone_whatIsAsWished) {
    folder.write(hidden, "sound");
    run(HidingRename::Wish::hide);
    EXPECT_TRUE(folder.has(hidden));
    EXPECT_EQ(renamed, 0U);
}

TEST_F(HidingRenameTest, leavesOtherFilesAlone) {
    const std::vector<std::string> others = {"VelmoratideLog.txt", ".VelmoratideTempFile", "music.aif",
                                             "_Velmoratide_20071024_093000~101500+.aif",
                                             ".Velmoratide_20071024_093000~101500.tif"};
    for (const std::string& name : others)
        folder.write(name, "other");
    std::filesystem::create_directory(folder / shown);
    run(HidingRename::Wish::hide);
    run(HidingRename::Wish::show);
    for (const std::string& name : others)
        EXPECT_TRUE(folder.has(name)) << name;
    EXPECT_TRUE(folder.has(shown));
}

TEST_F(HidingRenameTest, leavesLinksAlone) {
    folder.write("elsewhere", "sound");
    std::filesystem::create_symlink(folder / "elsewhere", folder / shown);
    run(HidingRename::Wish::hide);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / shown));
}

TEST_F(HidingRenameTest, takesALockOff_andPutsItOnAgain) {
    folder.write(shown, "sound");
    ASSERT_EQ(volume.setLocked(folder / shown, true), 0);
    run(HidingRename::Wish::hide);
    EXPECT_TRUE(volume.isLocked(folder / hidden));
    run(HidingRename::Wish::show);
    EXPECT_TRUE(volume.isLocked(folder / shown));
    EXPECT_TRUE(failures.empty());
    volume.setLocked(folder / shown, false);
}

TEST_F(HidingRenameTest, neverOverwritesAName) {
    folder.write(shown, "one");
    folder.write(hidden, "other");
    ASSERT_EQ(volume.setLocked(folder / shown, true), 0);
    run(HidingRename::Wish::hide);
    EXPECT_EQ(folder.read(shown), "one");
    EXPECT_EQ(folder.read(hidden), "other");
    EXPECT_TRUE(volume.isLocked(folder / shown));
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_NE(failures.front().find("name is taken"), std::string::npos);
    volume.setLocked(folder / shown, false);
}

TEST_F(HidingRenameTest, leavesTheRecordingInProgressAlone) {
    folder.write(shown, "sound");
    run(HidingRename::Wish::hide, shown);
    EXPECT_TRUE(folder.has(shown));
    EXPECT_TRUE(failures.empty());
}

TEST_F(HidingRenameTest, goesOnWhereItPaused) {
    for (int hour = 10; hour < 15; ++hour)
        folder.write("_Velmoratide_20071024_" + std::to_string(hour) + "0000~" + std::to_string(hour) +
                         "1500.aif",
                     "sound");
    HidingRename renaming(volume, folder.path(), HidingRename::Wish::hide);
    int turns = 1;
    while (!renaming.proceed([] { return true; }, [](const std::string&) { return false; }))
        EXPECT_EQ(renaming.renamed(), static_cast<unsigned>(turns++));
    EXPECT_EQ(renaming.renamed(), 5U);
    EXPECT_EQ(turns, 5);
}

TEST_F(HidingRenameTest, keepsRecordingsCountable) {
    folder.write(shown, "sound");
    run(HidingRename::Wish::hide);
    const auto listing = RecordFolder::list(volume, folder.path(), {});
    ASSERT_EQ(listing.recordings.size(), 1U);
    EXPECT_DOUBLE_EQ(RecordFolder::totalTimeExceptLocked(listing.recordings), 2700.0);
}

TEST_F(HidingRenameTest, saysThatAFolderCannotBeRead) {
    HidingRename renaming(volume, folder / "missing", HidingRename::Wish::hide);
    EXPECT_TRUE(renaming.proceed([] { return false; }, [](const std::string&) { return false; }));
    EXPECT_EQ(renaming.failures().size(), 1U);
}

// Which folder is recorded into, when the one of the settings cannot be, or belongs to another recorder.
#include "storage/MechanicDesk.h"
#include "storage/Paths.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>

namespace {
namespace files = std::filesystem;

class RecordFolderTest : public testing::Test {
protected:
    using Lines = std::vector<std::string>;

    RecordFolderTest() {
        ::setenv("HOME", (desk.folder / "home").c_str(), 1);
        seams.claimFolder = [this](const std::string& folder) {
            if (taken.contains(folder))
                return false;
            claimed = folder;
            return true;
        };
    }
    VmMechanic& mechanic() {
        if (!m_mechanic)
            m_mechanic = std::make_unique<VmMechanic>(seams);
        return *m_mechanic;
    }
    static std::string takenMessage(const std::string& folder) {
        return "VmMechanic: another recorder is recording into the folder " + folder;
    }

    MechanicDesk desk;
    Seams seams = desk.seams;
    std::set<std::string> taken;
    std::string claimed;
    const std::string usual = desk.folder / "home/Documents/VelmoratideRecord";

private:
    std::unique_ptr<VmMechanic> m_mechanic;
};
} // namespace

TEST_F(RecordFolderTest, isTheDefault_whenTheSettingIsNoWholePathOrNoFolder) {
    desk.folder.write("file", "contents");
    const files::path before = files::current_path();
    files::current_path(desk.folder.path());
    for (const std::string& path :
         {std::string(), std::string("relative/records"), std::string("."), std::string("~nobody/x"),
          desk.folder / "file", desk.folder / "file/below"}) {
        desk.defaults.set("DirectoryPath", std::string_view(path));
        const VmMechanic each(seams);
        EXPECT_EQ(each.recordFolder(), usual) << path;
        EXPECT_EQ(desk.log.lines().back(), "Data folder is changed to default") << path;
        EXPECT_EQ(desk.defaults.stringForKey("DirectoryPath"), usual) << path;
    }
    files::current_path(before);
    EXPECT_FALSE(files::exists(desk.folder / "relative")); // nothing is strewn about
    EXPECT_EQ(desk.folder.read("file"), "contents");
    EXPECT_TRUE(desk.errors().empty());
}

TEST_F(RecordFolderTest, isClaimed) {
    EXPECT_EQ(mechanic().recordFolder(), desk.folder.path());
    EXPECT_EQ(claimed, desk.folder.path());
    mechanic().setDirPath(desk.folder / "other");
    EXPECT_EQ(claimed, desk.folder / "other");
}

TEST_F(RecordFolderTest, isTheDefaultAtTheLaunch_whenAnotherRecorderHasIt) {
    taken = {desk.folder.path()};
    EXPECT_EQ(mechanic().recordFolder(), usual);
    EXPECT_EQ(claimed, usual);
    EXPECT_EQ(desk.errors(), Lines{takenMessage(desk.folder.path())});
    EXPECT_EQ(desk.log.lines().back(), "Data folder is changed to default");
}

TEST_F(RecordFolderTest, liesBesideTheDefault_whenOthersHaveThatToo) {
    taken = {desk.folder.path(), usual, usual + "-2"};
    EXPECT_EQ(mechanic().recordFolder(), usual + "-3");
    EXPECT_TRUE(files::is_directory(usual + "-3"));
    EXPECT_EQ(claimed, usual + "-3");
}

TEST_F(RecordFolderTest, staysWhereItIs_whenItIsChangedToTheFolderOfAnotherRecorder) {
    const std::string other = desk.folder / "other";
    taken = {other};
    mechanic().setDirPath(other);
    EXPECT_EQ(mechanic().recordFolder(), desk.folder.path());
    EXPECT_EQ(desk.defaults.stringForKey("DirectoryPath"), desk.folder.path());
    EXPECT_EQ(desk.errors(), Lines{takenMessage(other)});
    EXPECT_EQ(claimed, desk.folder.path());
}

TEST_F(RecordFolderTest, isLeftAlone_whileAnotherRecorderHasWhatCameInItsPlace) {
    const std::string records = desk.folder / "records";
    desk.defaults.set("DirectoryPath", std::string_view(records));
    ASSERT_TRUE(mechanic().restoreFolder());
    const std::string oldest = "records/_Velmoratide_20071001_000000~010000.aif";
    desk.folder.write(oldest, "of the other");
    taken = {records};
    EXPECT_FALSE(mechanic().restoreFolder());
    EXPECT_FALSE(mechanic().isWritable(1.0));
    EXPECT_TRUE(mechanic().isFolderTaken());
    mechanic().setMaxTotalTime(1.0);
    mechanic().setMaxRecordTime(1.0);
    EXPECT_FALSE(mechanic().secureRecordSpace(22050.0, 1));
    EXPECT_TRUE(desk.folder.has(oldest));
    EXPECT_EQ(desk.errors(), Lines{takenMessage(records)}); // once
    taken.clear();
    EXPECT_TRUE(mechanic().isWritable(1.0));
    EXPECT_FALSE(mechanic().isFolderTaken());
}

#include "storage/BackupFolder.h"
#include "storage/SpaceDesk.h"

class BackupAdviceTest : public SpaceDesk {
protected:
    static constexpr std::size_t half = 512 * 1024; // bytes; two are one megabyte

    BackupAdviceTest() {
        desk.defaults.set("BackupAdviceOperation", true);
        desk.defaults.set("BackupAdviceDataSize", 1.0);
    }
    std::string backup() const { return desk.folder / "VelmoratideBackup"; }
    bool backedUp(const std::string& name) { return desk.disk.exists(backup() + "/" + name); }
    bool advise() { return mechanic().makeSecureRecordSpace(rate, channels); }
    AdvicePanel& panel() { return mechanic().advicePanel(); }
};

TEST_F(BackupAdviceTest, addsUpEveryEntry_withoutFollowingLinks) {
    std::filesystem::create_directories(pathOf("below/deep"));
    record("a", 1000);
    record("below/b", 200);
    record("below/deep/c", 30);
    desk.folder.write("outside", std::string(5000, 'x'));
    std::filesystem::create_symlink(desk.folder / "outside", pathOf("link"));
    std::filesystem::create_directory_symlink(desk.folder.path(), pathOf("loop"));
    const auto size = [&](const std::string& name) {
        return static_cast<double>(desk.disk.fileSize(pathOf(name)).value_or(-1));
    };
    EXPECT_EQ(mechanic().totalDataSize(),
              1230.0 + size("below") + size("below/deep") + size("link") + size("loop"));
    EXPECT_EQ(mechanic().folderSizeWithPath(pathOf("below/deep")), 30.0);
    EXPECT_EQ(mechanic().folderSizeWithPath(pathOf("none")), 0.0);
}

TEST_F(BackupAdviceTest, advisesNothing_upToTheSizeAndWhileItIsOff) {
    record(hourOf(1, 0), half);
    record(hourOf(1, 1), half);
    EXPECT_TRUE(advise());
    EXPECT_FALSE(panel().isShown()) << "exactly one megabyte";
    EXPECT_FALSE(desk.disk.exists(backup()));
    record(hourOf(1, 2), half);
    mechanic().setAdviceOperation(false);
    EXPECT_TRUE(advise());
    EXPECT_FALSE(panel().isShown());
    EXPECT_EQ(files(), 3u);
}

TEST_F(BackupAdviceTest, movesTheFirstFilesAside_andShowsThePanel) {
    for (const int hour : {0, 1, 2, 3})
        record(hourOf(1, hour), half);
    int changes = 0;
    panel().observe([&] { ++changes; });
    EXPECT_TRUE(advise());
    EXPECT_TRUE(backedUp(hourOf(1, 0)));
    EXPECT_TRUE(backedUp(hourOf(1, 1))) << "up to the size itself";
    EXPECT_FALSE(backedUp(hourOf(1, 2)));
    EXPECT_EQ(files(), 2u);
    EXPECT_TRUE(panel().isShown());
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(panel().adviceSizeText.text(), "1");
    EXPECT_EQ(panel().advicePathText.text(), backup());
    EXPECT_EQ(panel().adviceTotalText.text(), "2.0");
    EXPECT_TRUE(panel().adviceIndicator.isAnimating());
    EXPECT_EQ(logged("1048576 bytes were moved to the backup folder"), 1u);

    panel().close();
    EXPECT_TRUE(advise());
    EXPECT_FALSE(panel().isShown()) << "one megabyte is left";
    EXPECT_FALSE(panel().adviceIndicator.isAnimating());
}

TEST_F(BackupAdviceTest, emptiesAndRefillsTheBackupFolder_eachTime) {
    for (const int hour : {0, 1, 2, 3, 4})
        record(hourOf(1, hour), half);
    EXPECT_TRUE(advise());
    EXPECT_TRUE(advise());
    const std::vector<VolumeEntry> left = desk.disk.list(backup());
    ASSERT_EQ(left.size(), 2u);
    EXPECT_EQ(left[0].name, hourOf(1, 2));
    EXPECT_EQ(left[1].name, hourOf(1, 3));
    EXPECT_EQ(logged("old backup deleted"), 2u) << "each deletion is said";
}

TEST_F(BackupAdviceTest, showsTheSizeInTheDigitsInWhichItWasSet) {
    const auto shown = [this](double megabytes) {
        mechanic().setAdviceDataSize(megabytes);
        mechanic().adviceAlertWithPath(backup(), 0.0);
        return panel().adviceSizeText.text();
    };
    EXPECT_EQ(shown(0.05), "0.05");
    EXPECT_EQ(shown(4096.0), "4096");
    EXPECT_EQ(shown(16777216.0), "16777216");
}

TEST_F(BackupAdviceTest, tellsTheBytesMoved_withoutTheOneTooMany) {
    record(hourOf(1, 0), 300'000);
    record(hourOf(1, 1), 700'000);
    record(hourOf(1, 2), 100'000);
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "records"), 1'000'000.0);
    EXPECT_EQ(files(), 1u);
}

TEST_F(BackupAdviceTest, movesFilesOfSubfoldersUnderTheirRelativeNames) {
    std::filesystem::create_directories(pathOf("2006/may"));
    record("2006/may/" + hourOf(1, 0), 10);
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "records/"), 10.0);
    EXPECT_TRUE(backedUp("2006/may/" + hourOf(1, 0)));
}

TEST_F(BackupAdviceTest, leavesAlone_whatMustStay) {
    record(hourOf(1, 0), 10);
    record(hourOf(1, 1), 20);
    record(hourOf(1, 2), 40);
    record("letter.txt", 80);
    record(".VelmoratideTempFile", 160);
    desk.folder.write("precious", "x");
    std::filesystem::create_symlink(desk.folder / "precious", pathOf(hourOf(1, 3)));
    lock(hourOf(1, 0));
    desk.defaults.set("ProgressSoundFileName", std::string_view(pathOf(hourOf(1, 1))));
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "records"), 40.0);
    EXPECT_EQ(desk.disk.list(backup()).size(), 1u);
    EXPECT_TRUE(backedUp(hourOf(1, 2)));
}

TEST_F(BackupAdviceTest, removesNothingFromTheBackupFolder_thatMustStay) {
    std::filesystem::create_directories(backup() + "/below");
    std::filesystem::create_directories(backup() + "/mine");
    desk.folder.write("VelmoratideBackup/" + hourOf(1, 0), "locked");
    desk.folder.write("VelmoratideBackup/below/" + hourOf(1, 1), "old");
    desk.folder.write("VelmoratideBackup/mine/letter.txt", "mine");
    lock("../VelmoratideBackup/" + hourOf(1, 0));
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "records"), 0.0);
    EXPECT_TRUE(backedUp(hourOf(1, 0)));
    EXPECT_TRUE(backedUp("mine/letter.txt"));
    EXPECT_FALSE(backedUp("below"));
    EXPECT_EQ(logged("1 locked or other files stay in the backup folder"), 2u);
    EXPECT_TRUE(desk.errors().empty());
}

TEST_F(BackupAdviceTest, usesTheFolderOfKeptRecordings_whileKeepingIsOn) {
    std::filesystem::create_directories(desk.folder / "kept/preserve");
    desk.folder.write("kept/preserve/" + hourOf(1, 0) + ".bz2", std::string(3 * half, 'x'));
    desk.folder.write("kept/preserve/" + hourOf(1, 1) + ".bz2", std::string(10, 'x'));
    std::string keepFolder;
    mechanic().setKeepFolderHook([&] { return keepFolder; });
    EXPECT_TRUE(advise());
    EXPECT_FALSE(panel().isShown()) << "keeping is off, and the record folder is empty";
    keepFolder = desk.folder / "kept/preserve";
    EXPECT_TRUE(advise());
    EXPECT_TRUE(panel().isShown());
    EXPECT_EQ(panel().advicePathText.text(), desk.folder / "kept/VelmoratideBackup");
    EXPECT_EQ(panel().adviceTotalText.text(), "1.5");
    EXPECT_TRUE(desk.disk.list(desk.folder / "kept/VelmoratideBackup").empty())
        << "the first file goes beyond the size: the walk ends there";
}

TEST_F(BackupAdviceTest, neverTakesAFolderInUseForTheBackupFolder) {
    std::filesystem::create_directories(backup() + "/records");
    mechanic().setDirPath(backup());
    desk.folder.write("VelmoratideBackup/" + hourOf(1, 0), "x");
    EXPECT_EQ(mechanic().moveBackupDataWithPath(backup()), 0.0);
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "records"), 0.0)
        << "the record folder is beside it";
    mechanic().setDirPath(backup() + "/records");
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "records"), 0.0) << "the record folder is in it";
    EXPECT_TRUE(backedUp(hourOf(1, 0)));
    EXPECT_EQ(logged("backup folder is a link or in use, nothing is moved"), 3u);
    EXPECT_EQ(desk.errors().size(), 3u);
}

TEST_F(BackupAdviceTest, neverFollowsALinkToTheBackupFolder) {
    std::filesystem::create_directory(desk.folder / "elsewhere");
    desk.folder.write("elsewhere/" + hourOf(1, 0), "x");
    std::filesystem::create_directory_symlink(desk.folder / "elsewhere", backup());
    record(hourOf(1, 1));
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "records"), 0.0);
    EXPECT_TRUE(desk.folder.has("elsewhere/" + hourOf(1, 0)));
    EXPECT_TRUE(has(hourOf(1, 1)));
}

TEST_F(BackupAdviceTest, findsItsWay_throughALinkToTheRecordFolder) {
    std::filesystem::create_directory_symlink(desk.folder.path(), desk.folder / "way");
    record(hourOf(1, 0), 10);
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "way/records"), 10.0);
    EXPECT_TRUE(backedUp(hourOf(1, 0)));
}

TEST_F(BackupAdviceTest, goesOn_whereAFileCannotBeMoved) {
    record(hourOf(1, 0), 10);
    record(hourOf(1, 1), 20);
    volume.refused[pathOf(hourOf(1, 0))] = EACCES;
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "records"), 20.0);
    EXPECT_EQ(logged("file cannot be moved into the backup folder (Permission denied)"), 1u);
    EXPECT_EQ(desk.errors().size(), 1u);
}

TEST_F(BackupAdviceTest, givesUp_whereTheFolderIsAVolumeOfItsOwn) {
    for (const int hour : {0, 1, 2}) {
        record(hourOf(1, hour), 10);
        volume.refused[pathOf(hourOf(1, hour))] = EXDEV;
    }
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "records"), 0.0);
    EXPECT_EQ(desk.errors().size(), 1u);
    EXPECT_EQ(logged("file cannot be moved"), 1u);
    EXPECT_EQ(files(), 3u);
}

TEST_F(BackupAdviceTest, saysThatTheBackupFolderCannotBeMade) {
    desk.folder.write("VelmoratideBackup", "a file");
    record(hourOf(1, 0), 10);
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "records"), 0.0);
    EXPECT_EQ(desk.folder.read("VelmoratideBackup"), "a file");
    EXPECT_EQ(desk.errors(), Lines{"VmMechanic: backup folder create error: " + backup()});
}

TEST_F(BackupAdviceTest, securesRoomAfterTheAdvice) {
    for (const int hour : {0, 1, 2, 3})
        record(hourOf(1, hour), half);
    volume.free = 0.0;
    EXPECT_FALSE(advise());
    EXPECT_TRUE(backedUp(hourOf(1, 0))) << "what was set aside is not deleted for room";
    EXPECT_TRUE(backedUp(hourOf(1, 1)));
    EXPECT_EQ(files(), 0u);
}

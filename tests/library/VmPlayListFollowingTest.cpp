#include "library/RecordedFiles.h"
#include "library/VmPlayList.h"
#include "support/DeskOfATest.h"

#include <filesystem>

namespace {
constexpr char earlyName[] = "_Velmoratide_20071023_080000~090000.aif";
constexpr char morningName[] = "_Velmoratide_20071024_093000~101500.aif";
constexpr char renamedName[] = "_Velmoratide_20071024_093000~101600.aif";
using Names = std::vector<std::string>;
} // namespace

/// The list beside a launched application, on virtual time.
class VmPlayListFollowingTest : public testing::Test {
protected:
    VmPlayListFollowingTest() {
        desk.desk.launch();
        list = std::make_unique<VmPlayList>(*desk.desk.controler);
        list->attach(table);
        list->setRenewedHandler([this] { ++renewals; });
    }
    ~VmPlayListFollowingTest() override { list.reset(); }
    void show() {
        list->setShown(true);
        run();
    }
    void run(double seconds = 0.01) { desk.desk.runFor(seconds); }
    std::string selected() const { return list->fileNameAtRow(table.selectedRow()); }

    Desk desk;
    RecordedFiles files{desk.desk.recordFolder()};
    VmTableView table;
    std::unique_ptr<VmPlayList> list;
    int renewals = 0;
};

TEST_F(VmPlayListFollowingTest, readsTheFolderOnAThreadOfItsOwn) {
    files.record(morningName);
    list->renewWithDirPath(files.folder());
    EXPECT_EQ(list->numberOfRows(), 0) << "nothing is read on the main thread";
    EXPECT_TRUE(list->isRenewing());
    run();
    EXPECT_FALSE(list->isRenewing());
    EXPECT_EQ(list->fileList(), Names{morningName});
    EXPECT_EQ(renewals, 1);
}

TEST_F(VmPlayListFollowingTest, dropsARenewalThatIsSuperseded) {
    files.record(morningName);
    RecordedFiles others(desk.folder.path() + "/others");
    others.record(earlyName);
    list->renewWithDirPath(files.folder());
    list->initWithDirPath(others.folder());
    run();
    EXPECT_EQ(list->fileList(), Names{earlyName});
    EXPECT_EQ(list->folder(), others.folder());
}

TEST_F(VmPlayListFollowingTest, readsTheLatestFolder_whenSeveralAreAskedFor) {
    RecordedFiles others(desk.folder.path() + "/others");
    others.record(earlyName);
    list->renewWithDirPath(files.folder());
    list->renewWithDirPath(files.folder());
    list->renewWithDirPath(others.folder());
    run();
    EXPECT_EQ(list->fileList(), Names{earlyName});
}

TEST_F(VmPlayListFollowingTest, saysNothing_whenNothingChanged) {
    files.record(morningName);
    show();
    const unsigned generation = table.generation();
    run(20.0);
    EXPECT_EQ(renewals, 1);
    EXPECT_EQ(table.generation(), generation);
}

TEST_F(VmPlayListFollowingTest, followsTheFolder_onceForABurstOfChanges) {
    show();
    EXPECT_EQ(desk.desk.folderWatch.folder(), files.folder());
    for (const char* name : {earlyName, morningName}) {
        files.record(name);
        desk.desk.folderWatch.tell();
    }
    run(0.5);
    EXPECT_EQ(list->fileList(), (Names{earlyName, morningName}));
    EXPECT_EQ(renewals, 2) << "one for the empty folder, one for the burst";
    std::filesystem::remove(files / earlyName);
    desk.desk.folderWatch.tell();
    run(0.5);
    EXPECT_EQ(list->fileList(), Names{morningName});
}

TEST_F(VmPlayListFollowingTest, looksFromTimeToTime_whereNothingTellsOfChanges) {
    show();
    files.record(morningName);
    run(6.0);
    EXPECT_EQ(list->fileList(), Names{morningName});
    files.note(morningName, "from elsewhere");
    run(6.0);
    EXPECT_EQ(list->noteStringAtRow(0), "from elsewhere");
}

TEST_F(VmPlayListFollowingTest, looksLessOften_whereLookingTakesLong) {
    desk.desk.volume.setListSeconds(0.1); // as it does with very many recordings
    show();
    run(1.0);
    files.record(morningName);
    run(27.0);
    EXPECT_EQ(list->numberOfRows(), 0) << "a third of a percent of the time, that is every 30 s";
    run(3.0);
    EXPECT_EQ(list->fileList(), Names{morningName});
    files.record(earlyName);
    desk.desk.folderWatch.tell();
    run(0.5);
    EXPECT_EQ(list->numberOfRows(), 2) << "what is told is looked at soon";
    desk.desk.volume.setListSeconds(10.0);
    run(50.0);
    files.note(morningName, "from elsewhere");
    run(80.0);
    EXPECT_EQ(list->noteStringAtRow(1), "from elsewhere") << "once a minute at least";
}

TEST_F(VmPlayListFollowingTest, restsWhileItIsNotShown) {
    show();
    list->setShown(false);
    EXPECT_EQ(desk.desk.folderWatch.folder(), "");
    files.record(morningName);
    run(20.0);
    EXPECT_EQ(list->numberOfRows(), 0);
    show();
    EXPECT_EQ(list->numberOfRows(), 1);
}

TEST_F(VmPlayListFollowingTest, keepsTheSelectionOnItsName) {
    files.record(morningName);
    show();
    table.chooseRow(0);
    files.record(earlyName);
    desk.desk.folderWatch.tell();
    run(0.5);
    EXPECT_EQ(table.selectedRow(), 1);
    EXPECT_EQ(selected(), morningName);
    table.pressHead("StartTime");
    table.pressHead("StartTime");
    EXPECT_EQ(table.selectedRow(), 0);
    EXPECT_EQ(selected(), morningName);
}

TEST_F(VmPlayListFollowingTest, keepsTheSelectionOnAFileThatGotAnotherEnd) {
    files.record(morningName);
    files.record(earlyName);
    show();
    table.chooseRow(1);
    std::filesystem::rename(files / morningName, files / renamedName);
    desk.desk.folderWatch.tell();
    run(0.5);
    EXPECT_EQ(selected(), renamedName);
}

TEST_F(VmPlayListFollowingTest, selectsNothing_whenTheSelectedFileIsGone) {
    files.record(morningName);
    files.record(earlyName);
    show();
    table.chooseRow(0);
    std::filesystem::remove(files / earlyName);
    desk.desk.folderWatch.tell();
    run(0.5);
    EXPECT_EQ(table.selectedRow(), -1);
    EXPECT_EQ(list->numberOfRows(), 1);
}

TEST_F(VmPlayListFollowingTest, movesNoRow_whileANoteIsEdited) {
    files.record(morningName);
    show();
    table.chooseRow(0);
    table.editCell(0, "Remark", nullptr);
    files.record(earlyName);
    desk.desk.folderWatch.tell();
    run(3.0);
    EXPECT_EQ(list->fileList(), Names{morningName});
    table.giveUpEditing();
    run(1.0);
    EXPECT_EQ(list->fileList(), (Names{earlyName, morningName}));
    EXPECT_EQ(table.selectedRow(), 1);
}

TEST_F(VmPlayListFollowingTest, readsOneRowAnewAtOnce) {
    files.record(morningName);
    files.record(earlyName);
    show();
    ASSERT_EQ(FileLock::setLocked(files / morningName, true), 0);
    list->renewRow(morningName);
    EXPECT_TRUE(list->isLockedAtRow(1));
    std::filesystem::remove(files / earlyName);
    list->renewRow(earlyName);
    EXPECT_EQ(list->fileList(), Names{morningName});
    list->renewRow(earlyName);
    EXPECT_EQ(list->numberOfRows(), 1);
}

TEST_F(VmPlayListFollowingTest, showsTheRecordingInProgressGrow_andKeepsItSelected) {
    show();
    desk.recorder().recordButton().press(true);
    run(20.0);
    ASSERT_EQ(list->numberOfRows(), 1);
    EXPECT_TRUE(list->isInProgressAtRow(0));
    EXPECT_EQ(list->startTimeStringAtRow(0).substr(0, 5), "09:30");
    table.chooseRow(0);
    double size = list->fileSizeAtRow(0);
    double seconds = list->spendTimeAtRow(0);
    for (int look = 0; look < 12; ++look) {
        run(10.0);
        ASSERT_EQ(list->numberOfRows(), 1);
        ASSERT_EQ(table.selectedRow(), 0);
        EXPECT_GT(list->fileSizeAtRow(0), size);
        EXPECT_NEAR(list->spendTimeAtRow(0) - seconds, 10.0, 6.0);
        size = list->fileSizeAtRow(0);
        seconds = list->spendTimeAtRow(0);
    }
    EXPECT_NEAR(seconds, 140.0, 6.0);
    EXPECT_EQ(list->noteStringAtRow(0), "PROGRESS");
    desk.recorder().recordButton().press(false);
    run(10.0);
    ASSERT_EQ(list->numberOfRows(), 1);
    EXPECT_FALSE(list->isInProgressAtRow(0));
    EXPECT_EQ(table.selectedRow(), 0);
}

TEST_F(VmPlayListFollowingTest, findsARecordingAmongAThousandForeignFiles) {
    for (int number = 0; number < 1000; ++number)
        files.write("foreign " + std::to_string(number), "");
    files.record(morningName);
    show();
    EXPECT_EQ(list->fileList(), Names{morningName});
}

#include "keeper/KeepingDesk.h"

namespace {
const std::string early = "_Velmoratide_20071023_235950~000010.aif.bz2";
const std::string late = "_Velmoratide_20071024_093000~101500.aif.bz2";

/// A keep folder with two kept files, and the keep tab in front.
class ListedDuty : public KeepingDesk {
public:
    ListedDuty() {
        write(kept(late), std::string(300, 'x'));
        write(kept(early), std::string(2000, 'x'));
        launch();
        desk.controler->mainTab().select(3);
        keeper().mainTabSelected();
    }
    VmTableView& table() { return desk.controler->keepTable(); }
    VmKeepList& list() { return keeper().keepList(); }
};
} // namespace

TEST(VmKeepList, hasNoRowsAndNoTotals_withAnEmptyFolder) {
    KeepingDesk duty;
    duty.launch();
    VmKeepList& list = duty.keeper().keepList();
    EXPECT_EQ(list.numberOfRowsInTableView(), 0);
    EXPECT_EQ(list.totalSize(), 0.0);
    EXPECT_EQ(list.totalTime(), 0.0);
    EXPECT_EQ(duty.keeper().totalFilesText().text(), "0");
    EXPECT_EQ(duty.keeper().totalTimeText().text(), "0'00\"");
}

TEST(VmKeepList, showsWhatTheNamesSay) {
    ListedDuty duty;
    ASSERT_EQ(duty.list().numberOfRows(), 2);
    EXPECT_EQ(duty.list().fileNameAtRow(0), early);
    EXPECT_EQ(duty.list().cell(0, "RecordDate"), "07.10.23");
    EXPECT_EQ(duty.list().cell(0, "StartTime"), "23:59:50");
    EXPECT_EQ(duty.list().cell(0, "EndTime"), "00:00:10");
    EXPECT_EQ(duty.list().cell(0, "RecordTime"), "0'20\"");
    EXPECT_EQ(duty.list().spendTimeAtRow(0), 20.0);
    EXPECT_EQ(duty.list().spendTimeStringAtRow(1), "45'00\"");
    EXPECT_EQ(duty.list().fileSizeAtRow(1), 300.0);
    EXPECT_EQ(duty.list().cell(1, "FileSize"), "300");
    EXPECT_EQ(duty.list().totalTime(), 2720.0);
    EXPECT_EQ(duty.list().totalSize(), 2300.0);
    EXPECT_EQ(duty.list().totalPeriodString(), "45'20\"");
    EXPECT_EQ(duty.keeper().totalFilesText().text(), "2");
}

TEST(VmKeepList, answersForRowsThatAreNotThere) {
    ListedDuty duty;
    for (const int row : {-1, 2, 3}) {
        EXPECT_EQ(duty.list().fileNameAtRow(row), "");
        EXPECT_EQ(duty.list().fileSizeAtRow(row), 0.0);
        EXPECT_EQ(duty.list().cell(row, "RecordDate"), "");
    }
    EXPECT_EQ(duty.list().cell(0, "Remark"), "");
}

TEST(VmKeepList, dragsOnlyTheFirstRow) {
    ListedDuty duty;
    EXPECT_EQ(duty.list().draggedFiles({1, 0}), std::vector<std::string>{duty.kept(late)});
    EXPECT_TRUE(duty.list().draggedFiles({}).empty());
    EXPECT_TRUE(duty.list().draggedFiles({7}).empty());
}

TEST(VmKeepList, takesNoUncompressedFile) {
    ListedDuty duty;
    duty.write(duty.kept(morningName), "sound");
    duty.keeper().renewListAndControl();
    EXPECT_EQ(duty.list().numberOfRows(), 2);
}

TEST(VmKeepList, keepsAnEditedCellInMemoryOnly) {
    ListedDuty duty;
    duty.list().setCell(0, "RecordDate", "yesterday");
    EXPECT_EQ(duty.list().cell(0, "RecordDate"), "yesterday");
    EXPECT_TRUE(duty.exists(duty.kept(early)));
    duty.list().setCell(0, "FileSize", "700");
    EXPECT_EQ(duty.list().fileSizeAtRow(0), 700.0);
    EXPECT_EQ(duty.list().totalSize(), 1000.0);
    duty.list().setCell(0, "FileSize", "much");
    EXPECT_EQ(duty.list().fileSizeAtRow(0), 0.0);
    duty.list().setCell(0, "RecordTime", "1:02'05\"");
    EXPECT_EQ(duty.list().spendTimeAtRow(0), 3725.0);
    duty.keeper().renewListAndControl();
    EXPECT_EQ(duty.list().fileSizeAtRow(0), 2000.0);
    EXPECT_EQ(duty.list().spendTimeAtRow(0), 20.0);
}

TEST(VmKeepList, isSortedByAPressOnAHead_andKeepsTheSelection) {
    ListedDuty duty;
    duty.table().chooseRow(0);
    duty.table().pressHead("FileSize");
    EXPECT_EQ(duty.list().fileNameAtRow(0), late);
    EXPECT_EQ(duty.table().selectedRow(), 1);
    duty.table().pressHead("FileSize");
    EXPECT_EQ(duty.list().fileNameAtRow(0), early);
    EXPECT_EQ(duty.table().selectedRow(), 0);
}

// The keep tab

TEST(VmKeeperTab, enablesItsButtonsOnlyWithASelectedRow) {
    ListedDuty duty;
    EXPECT_FALSE(duty.keeper().playButton().enabled());
    EXPECT_FALSE(duty.keeper().copyButton().enabled());
    EXPECT_FALSE(duty.keeper().deleteButton().enabled());
    duty.table().chooseRow(1);
    EXPECT_TRUE(duty.keeper().playButton().enabled());
    EXPECT_TRUE(duty.keeper().copyButton().enabled());
    EXPECT_TRUE(duty.keeper().deleteButton().enabled());
}

TEST(VmKeeperTab, isRebuiltWhileACompressionRuns_andAtItsEnd) {
    ListedDuty duty;
    const std::string inHand = "_Velmoratide_20071024_080000~090000.aif";
    const int before = duty.list().numberOfRows();
    duty.table().chooseRow(1);
    const std::string selected = duty.list().fileNameAtRow(1);
    duty.write(duty.kept(inHand), std::string(100000, 'x'));
    duty.useCompressor("exec gzip -f \"$1\"");
    duty.desk.runLoop.post([&] {
        EXPECT_TRUE(duty.keeper().isCompressing());
        duty.keeper().renewListAndControl();
        EXPECT_EQ(duty.list().numberOfRows(), before);
        EXPECT_EQ(duty.list().fileNameAtRow(duty.table().selectedRow()), selected);
    });
    duty.desk.runFor(1.0);
    EXPECT_EQ(duty.list().numberOfRows(), before + 1);
    EXPECT_GE(duty.list().rowOfFile(inHand + ".gz"), 0);
    EXPECT_EQ(duty.list().fileNameAtRow(duty.table().selectedRow()), selected);
    EXPECT_EQ(duty.keeper().totalFilesText().text(), std::to_string(before + 1));
}

TEST(VmKeeperTab, saysOnceThatTheFolderCannotBeRead_untilItCan) {
    ListedDuty duty;
    for (const std::size_t times : {1U, 2U}) {
        std::filesystem::rename(duty.keepFolder(), duty.keepFolder() + "-away");
        duty.keeper().renewListAndControl();
        duty.keeper().renewListAndControl();
        EXPECT_EQ(duty.list().numberOfRows(), 0);
        EXPECT_EQ(duty.lines("VmKeeper: keep folder cannot be read (No such file or directory): "), times);
        EXPECT_EQ(duty.errors(), times);
        std::filesystem::rename(duty.keepFolder() + "-away", duty.keepFolder());
        duty.keeper().renewListAndControl();
        EXPECT_EQ(duty.list().numberOfRows(), 2);
    }
    duty.expectEachErrorIsLogged();
}

TEST(VmKeeperTab, enablesItsMenuOnlyWhileItIsShown) {
    ListedDuty duty;
    EXPECT_TRUE(duty.keeper().validateMenuItem());
    duty.desk.controler->mainTab().select(2);
    EXPECT_FALSE(duty.keeper().validateMenuItem());
}

TEST(VmKeeperTab, opensAFileWithTheDesktopsProgram) {
    ListedDuty duty;
    duty.table().chooseRow(1);
    duty.keeper().playButton().press(true);
    duty.table().doubleClick();
    EXPECT_EQ(duty.desk.workspace.opened(), (std::vector{duty.kept(late), duty.kept(late)}));
    duty.desk.workspace.setWorking(false);
    duty.keeper().actPlayback();
    EXPECT_EQ(duty.alerts("FileOpenError", "CheckAndRetry"), 1u);
    EXPECT_EQ(duty.errors(), 1u);
    EXPECT_TRUE(duty.logged("VmKeeper: kept file cannot be opened: " + duty.kept(late)));
    duty.expectEachErrorIsLogged();
}

TEST(VmKeeperTab, exportsACopy) {
    ListedDuty duty;
    duty.table().chooseRow(0);
    duty.desk.savePanel.answerNext(duty.desk.folder + "/exported.bz2");
    duty.keeper().copyButton().press(true);
    EXPECT_TRUE(duty.keeper().cancelCopyButton().enabled());
    EXPECT_FALSE(duty.keeper().copyButton().enabled());
    duty.desk.runFor(1.0);
    EXPECT_TRUE(duty.keeper().copyButton().enabled());
    EXPECT_EQ(duty.desk.savePanel.lastRequest().titleKey, "ExportFileTitle");
    EXPECT_EQ(duty.desk.savePanel.lastRequest().promptKey, "Export");
    EXPECT_EQ(duty.desk.savePanel.lastRequest().suggestedName, early);
    EXPECT_EQ(KeepingDesk::textOf(duty.desk.folder + "/exported.bz2"), std::string(2000, 'x'));
    EXPECT_FALSE(duty.keeper().cancelCopyButton().enabled());
    EXPECT_TRUE(duty.desk.alert.shown().empty());
}

TEST(VmKeeperTab, leavesNothing_ofAnExportThatIsCancelled) {
    ListedDuty duty;
    duty.table().chooseRow(0);
    duty.write(duty.desk.folder + "/exported.bz2", "older");
    duty.desk.savePanel.answerNext(duty.desk.folder + "/exported.bz2");
    duty.keeper().copyButton().press(true);
    duty.keeper().cancelCopyButton().press(true);
    duty.desk.runFor(1.0);
    EXPECT_EQ(KeepingDesk::textOf(duty.desk.folder + "/exported.bz2"), "older");
    EXPECT_FALSE(duty.exists(duty.desk.folder + "/.exported.bz2.copying"));
    EXPECT_TRUE(duty.desk.alert.shown().empty());
}

TEST(VmKeeperTab, saysThatAnExportFailed) {
    ListedDuty duty;
    duty.table().chooseRow(0);
    duty.desk.savePanel.answerNext("/nowhere/exported.bz2");
    duty.keeper().actCopy();
    duty.desk.runFor(1.0);
    EXPECT_EQ(duty.alerts("FileCopyError", "CheckAndRetry"), 1u);
    EXPECT_EQ(duty.lines("VmKeeper: kept file cannot be exported: "), 1u);
    EXPECT_EQ(duty.errors(), 1u);
    duty.expectEachErrorIsLogged();
}

TEST(VmKeeperTab, deletesAfterAsking) {
    ListedDuty duty;
    duty.table().chooseRow(0);
    duty.desk.alert.answerNext("RemoveCaution", AlertAnswer::alternateButton);
    duty.keeper().deleteButton().press(true);
    EXPECT_TRUE(duty.exists(duty.kept(early)));
    duty.keeper().deleteButton().press(true);
    EXPECT_FALSE(duty.exists(duty.kept(early)));
    EXPECT_EQ(duty.list().numberOfRows(), 1);
    const AlertRequest asked = duty.desk.alert.shown().at(0).request;
    EXPECT_EQ(asked.informativeKey, "RemoveInfo");
    EXPECT_EQ(asked.defaultKey, "ExecRemove");
    EXPECT_EQ(asked.alternateKey, "Cancel");
}

TEST(VmKeeperTab, saysThatALockedFileStays) {
    ListedDuty duty;
    duty.table().chooseRow(0);
    std::filesystem::permissions(duty.kept(early), std::filesystem::perms::owner_read);
    duty.keeper().actDelete();
    EXPECT_TRUE(duty.exists(duty.kept(early)));
    EXPECT_EQ(duty.alerts("FileRemoveError", "CheckAndRetry"), 1u);
    EXPECT_TRUE(
        duty.logged("VmKeeper: kept file cannot be deleted (Operation not permitted): " + duty.kept(early)));
    EXPECT_EQ(duty.errors(), 1u);
    duty.expectEachErrorIsLogged();
}

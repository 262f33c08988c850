// Lock, note and delete.
#include "library/SelectedRecordingTest.h"

#include <filesystem>

using VmPlayerFilesTest = SelectedRecordingTest;

// --- buttons -------------------------------------------------------------------------------------------------

TEST_F(VmPlayerFilesTest, enablesTheButtons_onlyWithARowSelected) {
    EXPECT_EQ(enabled(), "LNDE");
    select("");
    EXPECT_EQ(enabled(), "----");
}

TEST_F(VmPlayerFilesTest, enablesOnlyTheExport_ofTheRecordingInProgress) {
    const int row = recordFor(70.0);
    ASSERT_EQ(list->numberOfRows(), 3);
    EXPECT_EQ(enabled(), "---E");
    const std::string before = list->fileNameAtRow(row);
    work->actLock();
    work->actNote();
    work->actDelete();
    EXPECT_FALSE(list->isLockedAtRow(row));
    EXPECT_FALSE(table->isEditing());
    EXPECT_TRUE(files.has(before));
    EXPECT_EQ(alert(), "");
}

TEST_F(VmPlayerFilesTest, doesNothing_withoutASelection) {
    select("");
    work->actLock();
    work->actNote();
    work->actDelete();
    work->actCopy();
    EXPECT_EQ(alert(), "");
    EXPECT_FALSE(table->isEditing());
    EXPECT_TRUE(files.has(name) && files.has(earlyName));
}

// --- lock ----------------------------------------------------------------------------------------------------

TEST_F(VmPlayerFilesTest, locksAndUnlocks) {
    controls().lockButton().press(true);
    EXPECT_TRUE(FileLock::isLocked(files / name));
    EXPECT_TRUE(list->isLockedAtRow(1));
    EXPECT_TRUE(controls().lockButton().isOn());
    controls().lockButton().press(false);
    EXPECT_FALSE(FileLock::isLocked(files / name));
    EXPECT_FALSE(list->isLockedAtRow(1));
    EXPECT_FALSE(controls().lockButton().isOn());
}

// --- note ----------------------------------------------------------------------------------------------------

TEST_F(VmPlayerFilesTest, editsTheNoteOfTheSelectedRow) {
    controls().noteButton().press(true);
    EXPECT_TRUE(table->isEditing());
    EXPECT_EQ(table->editedRow(), 1);
    EXPECT_EQ(table->editedColumn(), "Remark");
    EXPECT_EQ(table->columns().at(6).identifier, "Remark");
    table->endEditing("Rain on the roof");
    EXPECT_EQ(desk.note(name), "Rain on the roof");
    EXPECT_EQ(list->noteStringAtRow(1), "Rain on the roof");
    EXPECT_EQ(files.samples(files / name).size(), 6000u);
}

TEST_F(VmPlayerFilesTest, writesTheNoteToTheFileThatWasSelected_whateverIsSelectedAtTheEnd) {
    controls().noteButton().press(true);
    select(earlyName);
    table->endEditing("for the second");
    EXPECT_EQ(desk.note(name), "for the second");
    EXPECT_EQ(desk.note(earlyName), "");
}

TEST_F(VmPlayerFilesTest, leavesTheNoteAlone_whenEditingIsGivenUp) {
    note("first");
    controls().noteButton().press(true);
    table->giveUpEditing();
    run();
    EXPECT_EQ(desk.note(name), "first");
}

TEST_F(VmPlayerFilesTest, editsNoNoteOfALockedFile) {
    ASSERT_EQ(FileLock::setLocked(files / name, true), 0);
    controls().noteButton().press(true);
    EXPECT_EQ(alert(), "FileLockedError UnlockAndRetry Understand");
    EXPECT_FALSE(table->isEditing());
}

TEST_F(VmPlayerFilesTest, writesNoNoteToAFileThatWasLockedMeanwhile) {
    controls().noteButton().press(true);
    ASSERT_EQ(FileLock::setLocked(files / name, true), 0);
    table->endEditing("too late");
    EXPECT_EQ(alert(), "FileLockedError UnlockAndRetry Understand");
    EXPECT_EQ(desk.note(name), "");
}

TEST_F(VmPlayerFilesTest, saysThatANoteCouldNotBeWritten) {
    controls().noteButton().press(true);
    std::filesystem::remove(files / name);
    table->endEditing("nowhere");
    EXPECT_EQ(alert(), "NoteWriteError CheckAndRetry Understand");
    EXPECT_TRUE(desk.happened("SomeErrorHappen: VmPlayer: note write error."));
    EXPECT_EQ(list->numberOfRows(), 1) << "the row goes with its file";
}

// --- delete --------------------------------------------------------------------------------------------------

TEST_F(VmPlayerFilesTest, deletesTheRecordingAndItsPicture) {
    const std::string image = ".Velmoratide_20071024_093000~094000.tif";
    EXPECT_TRUE(files.has(image));
    play();
    controls().deleteButton().press(true);
    EXPECT_EQ(alert(), "RemoveCaution RemoveInfo ExecRemove Cancel");
    EXPECT_FALSE(player->playButton().isOn() || player->playbacking());
    EXPECT_FALSE(player->isOpen());
    EXPECT_FALSE(files.has(name));
    EXPECT_FALSE(files.has(image));
    EXPECT_EQ(list->fileList(), Names{earlyName});
    EXPECT_EQ(table->selectedRow(), -1);
    EXPECT_EQ(work->deleteFile(), name);
    EXPECT_EQ(work->deleteImage(), image);
    EXPECT_TRUE(desk.happened("SoundFileDelete"));
    EXPECT_EQ(player->deleteFile(), name);
    EXPECT_EQ(player->deleteImage(), image);
}

TEST_F(VmPlayerFilesTest, leavesFileAndPlayback_whenTheCautionIsCancelled) {
    desk.desk.alert.answerNext("RemoveCaution", AlertAnswer::alternateButton);
    play();
    controls().deleteButton().press(true);
    EXPECT_TRUE(files.has(name));
    EXPECT_TRUE(player->playButton().isOn() && player->playbacking());
    EXPECT_EQ(work->deleteFile(), "");
    EXPECT_FALSE(desk.happened("SoundFileDelete"));
}

TEST_F(VmPlayerFilesTest, asksNothing_whenDeletesAreNotVerified) {
    EXPECT_TRUE(work->verifyDelete());
    work->setVerifyDelete(false);
    controls().deleteButton().press(true);
    EXPECT_EQ(alert(), "");
    EXPECT_FALSE(files.has(name));
}

TEST_F(VmPlayerFilesTest, deletesNoLockedFile) {
    ASSERT_EQ(FileLock::setLocked(files / name, true), 0);
    controls().deleteButton().press(true);
    EXPECT_EQ(alert(), "FileRemoveError CheckAndRetry Understand");
    EXPECT_TRUE(files.has(name));
    EXPECT_EQ(work->deleteFile(), "");
    EXPECT_FALSE(desk.happened("SoundFileDelete"));
}

TEST_F(VmPlayerFilesTest, canPlayTheRecordingAsBefore_whenItCouldNotBeDeleted) {
    ASSERT_EQ(FileLock::setLocked(files / name, true), 0);
    play();
    controls().deleteButton().press(true);
    EXPECT_FALSE(player->playButton().isOn());
    EXPECT_EQ(player->selectedName(), name);
    EXPECT_TRUE(player->isOpen());
    EXPECT_EQ(player->positionText().text(), "09:30:00");
    play();
}

TEST_F(VmPlayerFilesTest, saysThatAFileIsGoneAlready) {
    std::filesystem::remove(files / name);
    controls().deleteButton().press(true);
    EXPECT_EQ(alert(), "FileRemoveError CheckAndRetry Understand");
}

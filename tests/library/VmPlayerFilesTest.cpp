#include "library/VmPlayerFiles.h"

#include "library/PlayerControls.h"
#include "library/RecordedFiles.h"
#include "library/VmPlayList.h"
#include "storage/RecordFolder.h"
#include "support/DeskOfATest.h"

#include <filesystem>

namespace {
constexpr char earlyName[] = "_Velmoratide_20071023_235950~000010.aif";
constexpr char name[] = "_Velmoratide_20071024_093000~094000.aif"; // ten minutes
using Names = std::vector<std::string>;

struct OwnControls : PlayerControls {};
} // namespace

/// The work on the selected recording, in a launched application on virtual time.
class VmPlayerFilesTest : public testing::Test {
protected:
    VmPlayerFilesTest() {
        desk.desk.texts = Texts::forLanguage("en");
        desk.desk.launch();
        table = &desk.desk.controler->recordTable();
        list = std::make_unique<VmPlayList>(*desk.desk.controler);
        list->attach(*table);
        work =
            std::make_unique<VmPlayerFiles>(*desk.desk.controler, *list, controls,
                                            VmPlayerFiles::Host{.stopPlayback = [this] { ++stops; },
                                                                .renewListAndControl =
                                                                    [this] {
                                                                        list->renewWithDirPath(files.folder());
                                                                        ++renewals;
                                                                    },
                                                                .selection = [this] { return selection; },
                                                                .deleteImageFile =
                                                                    [this](const std::string& path) {
                                                                        const std::string image =
                                                                            RecordFolder::imagePath(path);
                                                                        desk.desk.volume.remove(image);
                                                                        return image;
                                                                    }});
        files.record(earlyName, 100);
        files.record(name, 3000, 22050.0, 2);
        renew();
        select(name);
        desk.events.clear();
    }
    ~VmPlayerFilesTest() override {
        work.reset();
        list.reset();
    }
    void renew() {
        list->setShown(true);
        list->renewWithDirPath(files.folder());
        run();
    }
    void run(double seconds = 0.05) { desk.desk.runFor(seconds); }
    /// Starts a recording, and selects it after `seconds`; its row.
    int recordFor(double seconds) {
        desk.recorder().recordButton().press(true);
        run(seconds);
        const auto row = std::ranges::find_if(list->playList(), &RecordRow::inProgress);
        EXPECT_NE(row, list->playList().end());
        const int number = static_cast<int>(row - list->playList().begin());
        select(list->fileNameAtRow(number));
        return number;
    }
    void select(const std::string& which) {
        table->selectRow(list->rowOfFileName(which));
        work->renewButtons();
    }
    /// The keys of the last alert, or nothing.
    std::string alert() const {
        const auto shown = desk.desk.alert.shown();
        if (shown.empty())
            return {};
        const AlertRequest& request = shown.back().request;
        return request.messageKey + " " + request.informativeKey + " " + request.defaultKey +
               (request.alternateKey.empty() ? "" : " " + request.alternateKey);
    }
    std::string enabled() {
        std::string text;
        for (const auto& [letter, button] : {std::pair{'L', &controls.lockButton()},
                                             {'N', &controls.noteButton()},
                                             {'D', &controls.deleteButton()},
                                             {'E', &controls.copyButton()}})
            text += button->enabled() ? letter : '-';
        return text;
    }
    /// Presses the export button and names `path`.
    void exportTo(const std::string& path, std::vector<bool> options = {false, false}) {
        desk.desk.savePanel.answerNext(path, std::move(options));
        controls.copyButton().press(true);
        run();
    }
    void note(const std::string& text) {
        controls.noteButton().press(true);
        table->endEditing(text);
        run();
    }
    std::string out(const std::string& path) const { return outside / path; }

    Desk desk{{{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}, {"VerifyDelete", true}}};
    RecordedFiles files{desk.desk.recordFolder()};
    RecordedFiles outside{desk.folder.path() + "/out"};
    OwnControls controls;
    VmPlayerFiles::Selection selection{.width = 600.0};
    VmTableView* table = nullptr;
    std::unique_ptr<VmPlayList> list;
    std::unique_ptr<VmPlayerFiles> work;
    int stops = 0;
    int renewals = 0;
};

// --- buttons -------------------------------------------------------------------------------------------------

TEST_F(VmPlayerFilesTest, enablesTheButtons_onlyWithARowSelected) {
    EXPECT_EQ(enabled(), "LNDE");
    table->selectRow(-1);
    work->renewButtons();
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
    table->selectRow(-1);
    work->actLock();
    work->actNote();
    work->actDelete();
    work->actCopy();
    EXPECT_EQ(alert(), "");
    EXPECT_FALSE(table->isEditing());
    EXPECT_EQ(stops + renewals, 0);
}

// --- lock ----------------------------------------------------------------------------------------------------

TEST_F(VmPlayerFilesTest, locksAndUnlocks) {
    controls.lockButton().press(true);
    EXPECT_TRUE(FileLock::isLocked(files / name));
    EXPECT_TRUE(list->isLockedAtRow(1));
    EXPECT_TRUE(controls.lockButton().isOn());
    EXPECT_EQ(renewals, 1);
    controls.lockButton().press(false);
    EXPECT_FALSE(FileLock::isLocked(files / name));
    EXPECT_FALSE(list->isLockedAtRow(1));
    EXPECT_FALSE(controls.lockButton().isOn());
}

// --- note ----------------------------------------------------------------------------------------------------

TEST_F(VmPlayerFilesTest, editsTheNoteOfTheSelectedRow) {
    controls.noteButton().press(true);
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
    controls.noteButton().press(true);
    select(earlyName);
    table->endEditing("for the second");
    EXPECT_EQ(desk.note(name), "for the second");
    EXPECT_EQ(desk.note(earlyName), "");
}

TEST_F(VmPlayerFilesTest, leavesTheNoteAlone_whenEditingIsGivenUp) {
    note("first");
    controls.noteButton().press(true);
    table->giveUpEditing();
    run();
    EXPECT_EQ(desk.note(name), "first");
}

TEST_F(VmPlayerFilesTest, editsNoNoteOfALockedFile) {
    ASSERT_EQ(FileLock::setLocked(files / name, true), 0);
    controls.noteButton().press(true);
    EXPECT_EQ(alert(), "FileLockedError UnlockAndRetry Understand");
    EXPECT_FALSE(table->isEditing());
}

TEST_F(VmPlayerFilesTest, writesNoNoteToAFileThatWasLockedMeanwhile) {
    controls.noteButton().press(true);
    ASSERT_EQ(FileLock::setLocked(files / name, true), 0);
    table->endEditing("too late");
    EXPECT_EQ(alert(), "FileLockedError UnlockAndRetry Understand");
    EXPECT_EQ(desk.note(name), "");
}

TEST_F(VmPlayerFilesTest, saysThatANoteCouldNotBeWritten) {
    controls.noteButton().press(true);
    std::filesystem::remove(files / name);
    table->endEditing("nowhere");
    EXPECT_EQ(alert(), "NoteWriteError CheckAndRetry Understand");
    EXPECT_TRUE(desk.happened("SomeErrorHappen: VmPlayer: note write error."));
    EXPECT_EQ(list->numberOfRows(), 1) << "the row goes with its file";
}

// --- delete --------------------------------------------------------------------------------------------------

TEST_F(VmPlayerFilesTest, deletesTheRecordingAndItsPicture) {
    const std::string image = ".Velmoratide_20071024_093000~094000.tif";
    files.write(image, "picture");
    controls.deleteButton().press(true);
    EXPECT_EQ(alert(), "RemoveCaution RemoveInfo ExecRemove Cancel");
    EXPECT_EQ(stops, 1);
    EXPECT_FALSE(files.has(name));
    EXPECT_FALSE(files.has(image));
    EXPECT_EQ(list->fileList(), Names{earlyName});
    EXPECT_EQ(table->selectedRow(), -1);
    EXPECT_EQ(work->deleteFile(), name);
    EXPECT_EQ(work->deleteImage(), image);
    EXPECT_TRUE(desk.happened("SoundFileDelete"));
}

TEST_F(VmPlayerFilesTest, leavesFileAndPlayback_whenTheCautionIsCancelled) {
    desk.desk.alert.answerNext("RemoveCaution", AlertAnswer::alternateButton);
    controls.deleteButton().press(true);
    EXPECT_TRUE(files.has(name));
    EXPECT_EQ(stops, 0);
    EXPECT_EQ(work->deleteFile(), "");
    EXPECT_FALSE(desk.happened("SoundFileDelete"));
}

TEST_F(VmPlayerFilesTest, asksNothing_whenDeletesAreNotVerified) {
    EXPECT_TRUE(work->verifyDelete());
    work->setVerifyDelete(false);
    controls.deleteButton().press(true);
    EXPECT_EQ(alert(), "");
    EXPECT_FALSE(files.has(name));
}

TEST_F(VmPlayerFilesTest, deletesNoLockedFile) {
    ASSERT_EQ(FileLock::setLocked(files / name, true), 0);
    controls.deleteButton().press(true);
    EXPECT_EQ(alert(), "FileRemoveError CheckAndRetry Understand");
    EXPECT_TRUE(files.has(name));
    EXPECT_EQ(work->deleteFile(), "");
    EXPECT_FALSE(desk.happened("SoundFileDelete"));
}

TEST_F(VmPlayerFilesTest, saysThatAFileIsGoneAlready) {
    std::filesystem::remove(files / name);
    controls.deleteButton().press(true);
    EXPECT_EQ(alert(), "FileRemoveError CheckAndRetry Understand");
}

// --- export --------------------------------------------------------------------------------------------------

TEST_F(VmPlayerFilesTest, exportsTheWholeFile) {
    note("Rain");
    exportTo(out("x.aif"));
    EXPECT_EQ(outside.read("x.aif"), files.read(name));
    EXPECT_EQ(outside.names(), Names{"x.aif"});
    EXPECT_EQ(work->originalFile(), name);
    EXPECT_EQ(work->destinationFile(), "x.aif");
    EXPECT_TRUE(desk.happened("SoundFileCopy"));
    EXPECT_EQ(alert(), "");
    const SaveRequest& asked = desk.desk.savePanel.lastRequest();
    EXPECT_EQ(asked.titleKey, "ExportFileTitle");
    EXPECT_EQ(asked.promptKey, "Export");
    EXPECT_EQ(asked.fileType, "aif");
    for (const SaveOption& option : asked.options)
        EXPECT_TRUE(desk.desk.texts.has(option.titleKey) && desk.desk.texts.has(option.helpKey));
}

TEST_F(VmPlayerFilesTest, doesNothing_whenThePanelIsGivenUp) {
    exportTo("");
    EXPECT_TRUE(outside.names().empty());
    EXPECT_FALSE(desk.happened("SoundFileCopy"));
    EXPECT_EQ(enabled(), "LNDE");
}

TEST_F(VmPlayerFilesTest, keepsTheCheckBoxesInTheSettings) {
    exportTo(out("x.aif"), {true, true});
    EXPECT_TRUE(desk.desk.defaults.boolForKey("AddDateName"));
    EXPECT_TRUE(desk.desk.defaults.boolForKey("AddNoteName"));
    EXPECT_TRUE(controls.addDateCheck().isOn());
    exportTo("", {false, false});
    EXPECT_TRUE(desk.desk.defaults.boolForKey("AddDateName"));
    EXPECT_TRUE(desk.desk.savePanel.lastRequest().options.at(0).on);
}

TEST_F(VmPlayerFilesTest, addsDateAndNoteToTheName_theDateFirst) {
    exportTo(out("x.aif"), {true, false});
    EXPECT_EQ(work->destinationFile(), "x_20071024_093000~094000.aif");
    exportTo(out("y.aif"), {false, true});
    EXPECT_EQ(work->destinationFile(), "y.aif") << "there is no note";
    note("in/out");
    exportTo(out("z.aif"), {true, true});
    EXPECT_EQ(work->destinationFile(), "z_20071024_093000~094000_in-out.aif");
    EXPECT_EQ(outside.names().size(), 3u);
}

TEST_F(VmPlayerFilesTest, exportsTheSelectedRange_withItsTimesInTheName) {
    selection = {.start = 0.0, .length = 60.0, .width = 600.0, .range = {0, 1200}};
    exportTo(out("x.aif"), {true, false});
    EXPECT_EQ(work->destinationFile(), "x_20071024_093000~093100.aif");
    selection = {.start = 300.0, .length = 60.0, .width = 600.0, .range = {6000, 7200}};
    exportTo(out("y.aif"), {true, false});
    EXPECT_EQ(work->destinationFile(), "y_20071024_093500~093100.aif")
        << "the second time is the length's, as if it were a point";
    const auto all = files.samples(files / name);
    const auto part = outside.samples(out("y_20071024_093500~093100.aif"));
    EXPECT_EQ(part, std::vector<std::int16_t>(all.begin() + 3000, all.begin() + 3600));
}

TEST_F(VmPlayerFilesTest, reckonsTheSecondsOfAPoint) {
    EXPECT_EQ(work->secondsAtPoint(0.0), 9.5 * 3600);
    EXPECT_EQ(work->secondsAtPoint(600.0), 9.5 * 3600 + 600);
    EXPECT_EQ(work->secondsAtPoint(1.0), 9.5 * 3600 + 1);
    selection.width = 0.0;
    EXPECT_EQ(work->secondsAtPoint(10.0), 9.5 * 3600);
}

TEST_F(VmPlayerFilesTest, replacesOnlyAFileOfTheChosenName) {
    outside.write("x.aif", "old");
    exportTo(out("x.aif"));
    EXPECT_EQ(outside.read("x.aif"), files.read(name));
    exportTo(out("y.aif"), {true, false});
    exportTo(out("y.aif"), {true, false});
    EXPECT_EQ(work->destinationFile(), "y_20071024_093000~094000+.aif");
}

TEST_F(VmPlayerFilesTest, refusesToExportOntoTheRecordingItself) {
    const std::string before = files.read(name);
    exportTo(files / name);
    EXPECT_EQ(alert(), "FileCopyError ChooseOtherName Understand");
    EXPECT_TRUE(desk.desk.texts.has("ChooseOtherName"));
    EXPECT_EQ(files.read(name), before);
    exportTo(files / ".VelmoratideTempFile");
    EXPECT_EQ(alert(), "FileCopyError ChooseOtherName Understand");
    EXPECT_FALSE(files.has(".VelmoratideTempFile"));
}

TEST_F(VmPlayerFilesTest, saysThatTheDiskIsFull_andLeavesNothing) {
    outside.write("x.aif", "old");
    desk.desk.volume.setWriteError(true);
    exportTo(out("x.aif"));
    EXPECT_EQ(alert(), "FileCopyError CheckAndRetry Understand");
    EXPECT_TRUE(desk.logged("VmPlayer: file copy error."));
    EXPECT_TRUE(desk.happened("SomeErrorHappen: VmPlayer: file copy error."));
    EXPECT_FALSE(desk.happened("SoundFileCopy"));
    EXPECT_EQ(outside.names(), Names{"x.aif"});
    EXPECT_EQ(outside.read("x.aif"), "old");
    EXPECT_EQ(work->destinationFile(), "");
    EXPECT_EQ(enabled(), "LNDE");
}

TEST_F(VmPlayerFilesTest, listsACopyInTheRecordFolderAtOnce) {
    exportTo(files / "_Velmoratide_20071025_000000~001000.aif");
    EXPECT_EQ(renewals, 1);
    EXPECT_EQ(list->numberOfRows(), 3);
    exportTo(out("x.aif"));
    EXPECT_EQ(renewals, 1);
}

TEST_F(VmPlayerFilesTest, showsAnExportUnderWay_andCancelsIt) {
    desk.desk.volume.setWriteSeconds(10.0);
    exportTo(out("x.aif"));
    EXPECT_TRUE(work->exporter().isCopying());
    EXPECT_TRUE(work->exporter().progressBar().enabled());
    EXPECT_EQ(enabled(), "LND-");
    EXPECT_FALSE(outside.has("x.aif"));
    run(1.0);
    EXPECT_EQ(work->exporter().progressBar().value(), SoundFileExporter::wholeProgress)
        << "not yet on the disk";
    run(10.0);
    EXPECT_FALSE(work->exporter().isCopying());
    EXPECT_TRUE(outside.has("x.aif"));
    EXPECT_EQ(enabled(), "LNDE");

    desk.desk.savePanel.answerNext(out("y.aif"));
    controls.copyButton().press(true);
    work->exporter().cancelButton().press(true);
    run(30.0);
    EXPECT_FALSE(work->exporter().isCopying());
    EXPECT_EQ(outside.names(), Names{"x.aif"});
    EXPECT_EQ(alert(), "");
}

TEST_F(VmPlayerFilesTest, exportsWhatHasBeenWrittenOfTheRecordingInProgress) {
    recordFor(100.0);
    exportTo(out("now.aif"));
    EXPECT_TRUE(desk.happened("SoundFileCopy"));
    const auto copied = outside.samples(out("now.aif"));
    EXPECT_GT(copied.size(), std::size_t{44100} * 2 * 90);
    run(20.0);
    desk.recorder().recordButton().press(false);
    run(5.0);
    const auto whole = files.samples(files / list->fileNameAtRow(table->selectedRow()));
    ASSERT_GT(whole.size(), copied.size());
    EXPECT_TRUE(std::equal(copied.begin(), copied.end(), whole.begin()));
}

TEST_F(VmPlayerFilesTest, tellsTheLogBookTheFiles) {
    exportTo(out("x.aif"));
    controls.deleteButton().press(true);
    run(400.0); // the book reaches the disk
    const std::string book = files.read("VelmoratideLog.txt");
    EXPECT_NE(book.find("x.aif"), std::string::npos) << book;
    EXPECT_NE(book.find(".Velmoratide_20071024_093000~094000.tif"), std::string::npos);
}

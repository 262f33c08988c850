// The export of recordings.
#include "library/SelectedRecordingTest.h"

using VmPlayerExportTest = SelectedRecordingTest;

TEST_F(VmPlayerExportTest, exportsTheWholeFile) {
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

TEST_F(VmPlayerExportTest, doesNothing_whenThePanelIsGivenUp) {
    exportTo("");
    EXPECT_TRUE(outside.names().empty());
    EXPECT_FALSE(desk.happened("SoundFileCopy"));
    EXPECT_EQ(enabled(), "LNDE");
}

TEST_F(VmPlayerExportTest, keepsTheCheckBoxesInTheSettings) {
    exportTo(out("x.aif"), {true, true});
    EXPECT_TRUE(desk.desk.defaults.boolForKey("AddDateName"));
    EXPECT_TRUE(desk.desk.defaults.boolForKey("AddNoteName"));
    EXPECT_TRUE(controls().addDateCheck().isOn());
    exportTo("", {false, false});
    EXPECT_TRUE(desk.desk.defaults.boolForKey("AddDateName"));
    EXPECT_TRUE(desk.desk.savePanel.lastRequest().options.at(0).on);
}

TEST_F(VmPlayerExportTest, addsDateAndNoteToTheName_theDateFirst) {
    exportTo(out("x.aif"), {true, false});
    EXPECT_EQ(work->destinationFile(), "x_20071024_093000~094000.aif");
    exportTo(out("y.aif"), {false, true});
    EXPECT_EQ(work->destinationFile(), "y.aif") << "there is no note";
    note("in/out");
    exportTo(out("z.aif"), {true, true});
    EXPECT_EQ(work->destinationFile(), "z_20071024_093000~094000_in-out.aif");
    EXPECT_EQ(outside.names().size(), 3u);
}

TEST_F(VmPlayerExportTest, exportsTheSelectedRange_withItsTimesInTheName) {
    mark(0, 60);
    exportTo(out("x.aif"), {true, false});
    EXPECT_EQ(work->destinationFile(), "x_20071024_093000~093100.aif");
    mark(300, 60);
    exportTo(out("y.aif"), {true, false});
    EXPECT_EQ(work->destinationFile(), "y_20071024_093500~093100.aif")
        << "the second time is the length's, as if it were a point";
    const auto all = files.samples(files / name);
    const auto part = outside.samples(out("y_20071024_093500~093100.aif"));
    EXPECT_EQ(part, std::vector<std::int16_t>(all.begin() + 3000, all.begin() + 3600));
}

TEST_F(VmPlayerExportTest, reckonsTheSecondsOfAPoint) {
    EXPECT_EQ(work->secondsAtPoint(0.0), 9.5 * 3600);
    EXPECT_EQ(work->secondsAtPoint(600.0), 9.5 * 3600 + 600);
    EXPECT_EQ(work->secondsAtPoint(1.0), 9.5 * 3600 + 1);
    player->waveView().setBounds(QSize(0, 80));
    EXPECT_EQ(work->secondsAtPoint(10.0), 9.5 * 3600);
}

TEST_F(VmPlayerExportTest, replacesOnlyAFileOfTheChosenName) {
    outside.write("x.aif", "old");
    exportTo(out("x.aif"));
    EXPECT_EQ(outside.read("x.aif"), files.read(name));
    exportTo(out("y.aif"), {true, false});
    exportTo(out("y.aif"), {true, false});
    EXPECT_EQ(work->destinationFile(), "y_20071024_093000~094000+.aif");
}

TEST_F(VmPlayerExportTest, refusesToExportOntoTheRecordingItself) {
    const std::string before = files.read(name);
    exportTo(files / name);
    EXPECT_EQ(alert(), "FileCopyError ChooseOtherName Understand");
    EXPECT_TRUE(desk.desk.texts.has("ChooseOtherName"));
    EXPECT_EQ(files.read(name), before);
    exportTo(files / ".VelmoratideTempFile");
    EXPECT_EQ(alert(), "FileCopyError ChooseOtherName Understand");
    EXPECT_FALSE(files.has(".VelmoratideTempFile"));
}

TEST_F(VmPlayerExportTest, asksForAnotherName_whenTheDateMakesItTooLong) {
    const std::string longest = std::string(251, 'x') + ".aif";
    exportTo(out(longest), {true, false});
    EXPECT_EQ(alert(), "FileCopyError ChooseOtherName Understand");
    EXPECT_TRUE(desk.logged("VmPlayer: " + out(std::string(251, 'x')) +
                            "_20071024_093000~094000.aif: File name too long"));
    EXPECT_TRUE(outside.names().empty());
    exportTo(out(longest));
    EXPECT_EQ(outside.names(), Names{longest});
}

TEST_F(VmPlayerExportTest, saysThatTheDiskIsFull_andLeavesNothing) {
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

TEST_F(VmPlayerExportTest, listsACopyInTheRecordFolderAtOnce) {
    exportTo(files / "_Velmoratide_20071025_000000~001000.aif");
    EXPECT_EQ(list->numberOfRows(), 3);
    EXPECT_EQ(player->totalFilesText().text(), "3");
}

TEST_F(VmPlayerExportTest, showsAnExportUnderWay_andCancelsIt) {
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
    controls().copyButton().press(true);
    work->exporter().cancelButton().press(true);
    run(30.0);
    EXPECT_FALSE(work->exporter().isCopying());
    EXPECT_EQ(outside.names(), Names{"x.aif"});
    EXPECT_EQ(alert(), "");
}

TEST_F(VmPlayerExportTest, exportsWhatHasBeenWrittenOfTheRecordingInProgress) {
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

TEST_F(VmPlayerExportTest, tellsTheLogBookTheFiles) {
    exportTo(out("x.aif"));
    controls().deleteButton().press(true);
    run(400.0); // the book reaches the disk
    const std::string book = files.read("VelmoratideLog.txt");
    EXPECT_NE(book.find("x.aif"), std::string::npos) << book;
    EXPECT_NE(book.find(".Velmoratide_20071024_093000~094000.tif"), std::string::npos);
}

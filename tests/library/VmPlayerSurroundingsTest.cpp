// What happens around the selected recording: the preferences, the record folder, the end of a recording.
#include "app/VmPrefer.h"
#include "base/Formatted.h"
#include "library/SelectedRecordingTest.h"
#include "library/VmAnalyzer.h"
#include "support/PlainUser.h"

#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>

using VmPlayerSurroundingsTest = SelectedRecordingTest;

TEST_F(VmPlayerSurroundingsTest, letsNoOtherOutputBeChosen_whilePlaying) {
    VmPrefer& preferences = desk.desk.controler->prefer();
    preferences.preferButton.press(true);
    ASSERT_TRUE(preferences.playSourcePopup.enabled());
    play();
    EXPECT_FALSE(preferences.playSourcePopup.enabled());
    EXPECT_TRUE(preferences.recordModePopup.enabled());
    preferences.resetControlState(); // as after every edit
    EXPECT_FALSE(preferences.playSourcePopup.enabled());
    player->playButton().press(false);
    EXPECT_TRUE(preferences.playSourcePopup.enabled());
}

TEST_F(VmPlayerSurroundingsTest, letsAnotherOutputBeChosen_whenPlaybackHasEndedByItself) {
    VmPrefer& preferences = desk.desk.controler->prefer();
    preferences.preferButton.press(true);
    player->endlessCheck().press(false);
    play();
    run(2.0);
    EXPECT_FALSE(player->playbacking());
    EXPECT_TRUE(preferences.playSourcePopup.enabled());
}

TEST_F(VmPlayerSurroundingsTest, listsAnotherRecordFolderAtOnce) {
    outside.record("_Velmoratide_20071025_000000~001000.aif");
    play();
    desk.desk.controler->mechanic().setDirPath(outside.folder());
    run();
    EXPECT_EQ(list->folder(), outside.folder());
    EXPECT_EQ(list->fileList(), Names{"_Velmoratide_20071025_000000~001000.aif"});
    EXPECT_EQ(player->totalFilesText().text(), "1");
    EXPECT_EQ(table->selectedRow(), -1);
    EXPECT_EQ(enabled(), "----");
}

TEST_F(VmPlayerSurroundingsTest, listsARecordingThatHasEnded_withinASecond) {
    desk.recorder().recordButton().press(true);
    run(65.0);
    ASSERT_EQ(list->numberOfRows(), 3);
    desk.recorder().recordButton().press(false);
    run(1.1);
    ASSERT_EQ(list->numberOfRows(), 3);
    EXPECT_FALSE(list->isInProgressAtRow(2));
    EXPECT_TRUE(files.has(list->fileNameAtRow(2)));
    select(list->fileNameAtRow(2));
    EXPECT_EQ(enabled(), "LNDE");
}

TEST_F(VmPlayerSurroundingsTest, keepsThePictureOfTheWholeRecording_whenTheSelectedOneHasEnded) {
    recordFor(30.0);
    run(10.0);
    ASSERT_FALSE(player->waveView().shownImage().isNull());
    EXPECT_FALSE(VmAnalyzer::imageFileExistAtPath(desk.desk.volume, player->selectedPath()));
    desk.recorder().recordButton().press(false);
    run(3.0);
    EXPECT_FALSE(list->isInProgressAtRow(table->selectedRow()));
    EXPECT_TRUE(VmAnalyzer::imageFileExistAtPath(desk.desk.volume, player->selectedPath()));
    EXPECT_FALSE(player->waveView().shownImage().isNull());
    EXPECT_FALSE(player->waveView().progress());
    EXPECT_EQ(static_cast<std::size_t>(player->numDatas() / 2), files.samples(player->selectedPath()).size());
    EXPECT_FALSE(desk.happened("SomeErrorHappen"));
}

TEST_F(VmPlayerSurroundingsTest, drawsTheGrowingRecordingAgain_alsoAfterALongerOne) {
    constexpr char longer[] = "_Velmoratide_20071022_000000~000200.aif";
    files.record(longer, std::size_t{44100} * 120, 44100.0, 2);
    player->renewListAndControl();
    run();
    select(longer);
    run();
    recordFor(20.0);
    int drawn = 0;
    const auto watch = desk.desk.notifications.observe(std::string(VmCreateImageFile_Notification),
                                                       [&drawn](const Notification&) { ++drawn; });
    run(25.0); // 20 s become 45: eight times a tenth more
    EXPECT_GE(drawn, 6);
    EXPECT_LE(drawn, 9);
}

TEST_F(VmPlayerSurroundingsTest, startsAtTheHeadOfARange_whenItStandsBeforeIt) {
    mark(300, 60);
    EXPECT_EQ(player->readPos(), 0);
    play();
    EXPECT_GE(player->readPos(), 6000);
}

TEST_F(VmPlayerSurroundingsTest, goesOnFromTheHeadOfTheRange_whenItIsEndless) {
    mark(300, 60); // 1200 bytes are 14 ms
    play();
    run(3.0);
    EXPECT_TRUE(player->playButton().isOn());
    EXPECT_GE(player->readPos(), 6000);
    EXPECT_LE(player->readPos(), 7200 + 4096);
}

TEST_F(VmPlayerSurroundingsTest, listsAFileThatItMayNotRead_andTellsSoWhenItIsSelected) {
    constexpr char closed[] = "_Velmoratide_20071025_000000~001000.aif";
    files.record(closed);
    ASSERT_EQ(::chmod((files / closed).c_str(), 0), 0);
    const PlainUser plain(desk.folder.path());
    player->renewListAndControl();
    run();
    ASSERT_EQ(list->numberOfRows(), 3);
    EXPECT_EQ(list->noteStringAtRow(2), "");
    select(closed);
    EXPECT_EQ(alert(), "FileOpenError CheckAndRetry Understand");
    EXPECT_FALSE(player->isOpen());
    EXPECT_FALSE(player->playButton().enabled());
    run(2.0);
    EXPECT_EQ(enabled(), "LNDE");
    select(earlyName);
    EXPECT_TRUE(player->isOpen());
}

TEST_F(VmPlayerSurroundingsTest, takesUpTheFileThatWasPutInThePlaceOfTheSelectedOne) {
    EXPECT_EQ(player->numDatas(), 12000);
    outside.record("other.aif", 5000, 22050.0, 2);
    std::filesystem::rename(outside / "other.aif", files / name);
    run(6.0);
    EXPECT_EQ(player->selectedName(), name);
    EXPECT_EQ(player->numDatas(), 20000);
    EXPECT_FALSE(player->waveView().shownImage().isNull());
    EXPECT_EQ(player->pointSlider().maximum(), 20000);
}

TEST_F(VmPlayerSurroundingsTest, survivesAFolderOfAHundredThousandFiles) {
    constexpr int many = 100'000;
    // In memory where that is possible: making so many files takes a disk minutes.
    std::string folder = std::filesystem::is_directory("/dev/shm") ? "/dev/shm/velmoratide-test-XXXXXX"
                                                                   : desk.folder.path() + "/many-XXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    {
        const RecordedFiles crowd(folder);
        for (int number = 0; number < many; ++number)
            crowd.write(formatted("_Velmoratide_19%02d0101_%06d~235959.aif", number / 1000, number % 1000), "");
        crowd.record(name, 3000, 22050.0, 2);
        desk.desk.controler->mechanic().setDirPath(folder);
        run(1.0);
        EXPECT_EQ(list->numberOfRows(), many + 1);
        select(name);
        EXPECT_TRUE(player->isOpen());
        table->pressHead("RecordTime");
        EXPECT_EQ(list->fileNameAtRow(table->selectedRow()), name);
        play();
        crowd.write("_Velmoratide_19000101_000000~000000.aif", "");
        run(6.0);
        EXPECT_EQ(list->numberOfRows(), many + 2);
        EXPECT_TRUE(player->playbacking());
    }
    std::filesystem::remove_all(folder);
}

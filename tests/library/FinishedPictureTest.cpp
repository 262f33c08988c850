// Pictures of recordings that end, which nobody asks for.
#include "library/SelectedRecordingTest.h"
#include "library/VmAnalyzer.h"
#include "library/WaveformPicture.h"

namespace {
class FinishedPicture : public testing::Test {
protected:
    explicit FinishedPicture(bool hidden = false)
        : desk({{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}, {"HideSoundFileFlag", hidden}}) {
        desk.desk.launch();
    }
    void record(double seconds) {
        desk.recorder().recordButton().press(true);
        desk.desk.runFor(seconds);
        desk.recorder().recordButton().press(false);
        desk.desk.runFor(1.0);
    }
    VmWaveView& view() { return desk.desk.controler->player().waveView(); }
    std::string pathOf(const std::string& recording) const {
        return desk.desk.recordFolder() + "/" + recording;
    }
    bool hasPicture(const std::string& recording) {
        return VmAnalyzer::imageFileExistAtPath(desk.desk.volume, pathOf(recording));
    }

    Desk desk;
    Names made;
    NotificationCenter::Observation watch = desk.desk.notifications.observe(
        VmCreateImageFile_Notification, [this](const Notification& notification) {
            made.push_back(notification.userInfo.at(std::string(ImageFilePath)));
        });
};

class HiddenFinishedPicture : public FinishedPicture {
protected:
    HiddenFinishedPicture() : FinishedPicture(true) {}
};
} // namespace

TEST_F(FinishedPicture, liesBesideTheRecordingThatHasEnded) {
    record(10.0);
    ASSERT_EQ(desk.recordings().size(), 1U);
    const std::string path = pathOf(desk.recordings()[0]);
    EXPECT_EQ(made, Names{path});
    const std::int64_t soundBytes = static_cast<std::int64_t>(desk.samples(desk.recordings()[0]).size()) * 2;
    EXPECT_TRUE(WaveformPicture::kept(desk.desk.volume, path, view().bounds(), soundBytes));
}

TEST_F(FinishedPicture, isMadeOfEachFile_whenARecordingIsSplit) {
    record(1830.0); // from 9:30 on, over the full hour
    ASSERT_EQ(desk.recordings().size(), 2U);
    for (const std::string& recording : desk.recordings())
        EXPECT_TRUE(hasPicture(recording)) << recording;
    EXPECT_EQ(made.size(), 2U);
}

TEST_F(FinishedPicture, leavesWhatIsShownAlone) {
    record(10.0);
    desk.desk.controler->mainTab().choose(1);
    desk.desk.runFor(1.0);
    desk.desk.controler->recordTable().chooseRow(0);
    desk.desk.runFor(1.0);
    const QImage shown = view().shownImage();
    ASSERT_FALSE(shown.isNull());
    record(10.0);
    EXPECT_EQ(made.size(), 2U);
    EXPECT_EQ(view().shownImage(), shown);
    EXPECT_EQ(view().progress(), std::nullopt);
}

TEST_F(FinishedPicture, isDrawnAlsoOfARescuedRecording) {
    desk.recorder().recordButton().press(true);
    desk.desk.runFor(60.0);
    desk.desk.controler.reset(); // as a crash does
    RehearsalDesk next(desk.folder.path(), QTimeZone("Asia/Tokyo"), {2007, 10, 24, 9, 40}, {countingInput()});
    next.defaults.set("RecordSwitch", false);
    next.launch();
    next.runFor(1.0);
    ASSERT_EQ(desk.recordings().size(), 1U);
    EXPECT_TRUE(hasPicture(desk.recordings()[0]));
}

TEST_F(FinishedPicture, isDrawnBehindThoseThatSomebodyWaitsFor) {
    RecordedFiles files(desk.desk.recordFolder());
    Names names;
    for (const char* end : {"091000", "092000", "093000", "094000"}) {
        names.push_back("_Velmoratide_20071023_090000~" + std::string(end) + ".aif");
        files.record(names.back());
    }
    for (const std::size_t ended : {0, 1, 2})
        desk.desk.notifications.post(
            {std::string(VmSoundFileFinished_Notification), {}, {{"SoundFilePath", pathOf(names[ended])}}});
    desk.desk.controler->analyzer().createImageFileWithSoundFile(pathOf(names[3]));
    desk.desk.controler->analyzer().createImageFileWithSoundFile(pathOf(names[2]));
    desk.desk.runFor(1.0);
    EXPECT_EQ(made, (Names{pathOf(names[2]), pathOf(names[3]), pathOf(names[0]), pathOf(names[1])}));
}

TEST_F(FinishedPicture, isNotMissed_whenTheRecordingIsGoneByThen) {
    desk.desk.notifications.post(
        {std::string(VmSoundFileFinished_Notification), {}, {{"SoundFilePath", pathOf("_gone.aif")}}});
    const std::size_t lines = desk.desk.log.lines().size();
    desk.desk.runFor(1.0);
    EXPECT_EQ(desk.desk.log.lines().size(), lines);
    EXPECT_FALSE(desk.happened("SomeErrorHappen"));
    EXPECT_FALSE(desk.desk.controler->analyzer().isCreatingImageFile(pathOf("_gone.aif")));
}

TEST_F(HiddenFinishedPicture, isNotDrawn) {
    // The recording goes at the next launch, and its picture would stay.
    record(10.0);
    ASSERT_EQ(desk.recordings().size(), 1U);
    ASSERT_EQ(desk.recordings()[0][0], '.');
    EXPECT_FALSE(hasPicture(desk.recordings()[0]));
    EXPECT_TRUE(made.empty());
}

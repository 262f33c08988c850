// Recordings that are selected in the table, and the one that is still being made.
#include "base/VmTableView.h"
#include "library/PlayerDesk.h"
#include "library/VmAnalyzer.h"
#include "library/VmPlayList.h"
#include "library/VmWaveView.h"

namespace {
using Settings = std::vector<RehearsalDesk::Setting>;
const Settings stereoOnce = {
    {"SamplingRateNumber", 2}, {"ChannelsNumber", 2}, {"EndressPlayMode", false}, {"StartOnTheHour", false}};
constexpr const char* name = "_Velmoratide_20071024_100000~100010.aif";
constexpr const char* later = "_Velmoratide_20071024_110000~110005.aif";

class ListedDesk : public PlayerDesk {
public:
    explicit ListedDesk(const Settings& settings = stereoOnce) : PlayerDesk(settings) {}
    VmTableView& table() { return desk.controler->recordTable(); }
    void show() {
        player().mainTabSelected();
        desk.runFor(0.5);
    }
    void select(const std::string& wanted) {
        table().chooseRow(player().dataSource().rowOfFileName(wanted));
        desk.runFor(0.1);
    }
    std::string texts() {
        return player().headText().text() + " " + player().tailText().text() + " " +
               player().lengthText().text();
    }
    void drag(int from, int to) {
        VmWaveView& view = player().waveView();
        view.mouseDown(from, false);
        view.mouseDragged(to);
        view.mouseUp();
    }
    const std::vector<std::int16_t> ten = markedSamples(std::size_t{44100} * 2 * 10);
};
} // namespace

TEST(VmPlayerRecording, isOpenedWithItsTimes_whenItsRowIsSelected) {
    ListedDesk it;
    it.write(name, 44100.0, 2, it.ten);
    it.show();
    EXPECT_FALSE(it.player().lockButton().enabled());
    EXPECT_FALSE(it.player().copyButton().enabled());
    it.select(name);
    EXPECT_EQ(it.player().selectedName(), name);
    EXPECT_TRUE(it.player().isOpen());
    EXPECT_EQ(it.player().numDatas(), 44100 * 4 * 10);
    EXPECT_EQ(it.player().pointSlider().maximum(), 44100 * 4 * 10);
    EXPECT_EQ(it.texts(), "10:00:00 10:00:10 0'10\"");
    EXPECT_EQ(it.player().positionText().text(), "10:00:00");
    EXPECT_EQ(it.player().totalFilesText().text(), "1");
    EXPECT_EQ(it.player().totalTimeText().text(), "0'10\"");
    EXPECT_EQ(it.player().totalSizeText().text(), "1.7");
    for (Button* button : {&it.player().lockButton(), &it.player().noteButton(), &it.player().deleteButton(),
                           &it.player().copyButton()})
        EXPECT_TRUE(button->enabled());
    it.player().playButton().press(true);
    it.desk.runFor(3.3);
    EXPECT_EQ(it.player().positionText().text(), "10:00:03");
    it.select("");
    EXPECT_FALSE(it.player().isOpen());
    EXPECT_FALSE(it.player().playButton().isOn());
    EXPECT_FALSE(it.player().lockButton().enabled());
}

TEST(VmPlayerRecording, isPlayedWithinTheSelectedRange) {
    ListedDesk it;
    it.write(name, 44100.0, 2, it.ten);
    it.show();
    it.select(name);
    it.player().waveView().setBounds(QSize(400, 80));
    it.drag(100, 201);
    // 1764000 bytes over 400 points: 100 is 441000, 201 is 886410, cut to 886408.
    EXPECT_EQ(it.player().headPosition(), 441000);
    EXPECT_EQ(it.player().tailPosition(), 886408);
    EXPECT_EQ(it.player().selectedLength(), 445408);
    EXPECT_EQ(it.texts(), "10:00:02 10:00:05 0'02\"");
    it.player().playButton().press(true);
    EXPECT_FALSE(it.player().waveView().selectEnabled());
    it.desk.runFor(5.0);
    EXPECT_FALSE(it.player().playButton().isOn());
    EXPECT_TRUE(it.player().waveView().selectEnabled());
    EXPECT_EQ(wrongSounds(it.sounds(), std::span(it.ten).subspan(441000 / 2)), 0U);
    const auto heardBytes = static_cast<std::int64_t>(it.sounds().size()) * 2;
    EXPECT_GE(heardBytes, it.player().selectedLength());
    EXPECT_LT(heardBytes, it.player().selectedLength() + 2048); // the cycle in which the tail lies
    it.player().waveView().clearSelectedRange();
    EXPECT_EQ(it.texts(), "10:00:00 10:00:10 0'10\"");
    EXPECT_EQ(it.player().tailPosition(), 44100 * 4 * 10);
}

TEST(VmPlayerRecording, losesItsRange_whenAnotherOneIsSelected) {
    ListedDesk it;
    it.write(name, 44100.0, 2, it.ten);
    it.write(later, 22050.0, 1, markedSamples(std::size_t{22050} * 5));
    it.show();
    it.select(name);
    it.drag(100, 200);
    it.select(later);
    EXPECT_EQ(it.player().headPosition(), 0);
    EXPECT_EQ(it.player().tailPosition(), 22050 * 2 * 5);
    EXPECT_EQ(it.texts(), "11:00:00 11:00:05 0'05\"");
}

TEST(VmPlayerRecording, isHeardToItsEnd_whenAnotherProgramRemovesIt) {
    ListedDesk it;
    const std::string path = it.write(name, 44100.0, 2, it.ten);
    it.show();
    it.select(name);
    it.player().playButton().press(true);
    it.desk.runFor(1.0);
    std::filesystem::remove(path);
    it.player().renewListAndControl();
    it.desk.runFor(12.0);
    EXPECT_EQ(it.sounds().size(), it.ten.size());
    EXPECT_EQ(it.player().selectedName(), "");
    EXPECT_FALSE(it.player().deleteButton().enabled());
}

TEST(VmPlayerRecording, isStopped_whenItsTabIsLeft) {
    ListedDesk it;
    it.write(name, 44100.0, 2, it.ten);
    it.show();
    it.select(name);
    it.player().playButton().press(true);
    it.desk.runFor(1.0);
    it.player().mainTabUnselected();
    EXPECT_FALSE(it.player().playButton().isOn());
    EXPECT_FALSE(it.player().playbacking());
}

TEST(VmPlayerRecording, getsAPictureWithALineWhereItIsHeard) {
    ListedDesk it;
    it.write(name, 44100.0, 2, it.ten);
    it.show();
    it.select(name);
    it.desk.runFor(2.0);
    EXPECT_FALSE(it.player().waveView().shownImage().isNull());
    EXPECT_EQ(it.desk.controler->analyzer().savePoint(), 0);
    it.player().playButton().press(true);
    it.desk.runFor(5.1);
    EXPECT_NEAR(it.desk.controler->analyzer().savePoint(), it.player().waveView().bounds().width() / 2, 12);
}

TEST(VmPlayerRecording, isPlayedWhileItIsMade_withoutAFrameLost) {
    // Ten minutes are recorded; from the first minute on they are heard, once through and from the start again.
    ListedDesk it;
    it.desk.hardware.setOutputSink({});
    std::int64_t expected = -1;
    std::int64_t heardFrames = 0;
    std::int64_t breaks = 0;
    it.desk.hardware.setOutputSink([&](const std::string&, const AudioTimeStamp&, const AudioBufferList& list) {
        const auto* samples = static_cast<const float*>(list.mBuffers[0].mData);
        const std::size_t count = list.mBuffers[0].mDataByteSize / sizeof(float);
        for (std::size_t i = 0; i + 1 < count; i += 2) {
            const auto left = static_cast<std::int16_t>(samples[i] * 32768.0F);
            const auto right = static_cast<std::int16_t>(samples[i + 1] * 32768.0F);
            if (left == 0 && right == 0)
                continue; // a pause, or one frame in 32767 * 32767
            const std::int64_t frame = counting::frameOf(left, right);
            breaks += expected >= 0 && frame != expected ? 1 : 0;
            expected = frame + 1;
            ++heardFrames;
        }
    });
    it.recorder().recordButton().press(true);
    it.desk.runFor(60.0);
    it.show();
    ASSERT_EQ(it.table().numberOfRows(), 1);
    it.table().chooseRow(0);
    ASSERT_TRUE(it.player().isOpen()) << it.player().selectedName() << " " << it.desk.log.lines().back() << " "
                                      << it.desk.defaults.stringForKey("ProgressSoundFileName");
    EXPECT_TRUE(it.player().copyButton().enabled());
    EXPECT_FALSE(it.player().deleteButton().enabled());
    EXPECT_FALSE(it.player().lockButton().enabled());
    const std::int64_t atFirst = it.player().numDatas();
    it.player().playButton().press(true);
    it.desk.runFor(539.5);
    EXPECT_TRUE(it.player().playButton().isOn()); // its name changed with every minute
    EXPECT_GT(it.player().numDatas(), atFirst * 8);
    EXPECT_EQ(it.player().tailPosition(), it.player().numDatas());
    EXPECT_EQ(breaks, 0);
    EXPECT_NEAR(static_cast<double>(heardFrames), 539.5 * 44100.0, 1024.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    const auto recorded = it.recordings();
    ASSERT_FALSE(recorded.empty());
    std::int64_t frames = 0;
    for (const std::string& file : recorded) {
        if (!file.ends_with(".aif"))
            continue;
        const auto all = it.samples(file);
        EXPECT_EQ(counting::breaks(all, counting::frameOf(all[0], all[1])), 0) << file;
        frames += static_cast<std::int64_t>(all.size() / 2);
    }
    EXPECT_EQ(frames, 600 * 44100);
    it.desk.hardware.setOutputSink({});
}

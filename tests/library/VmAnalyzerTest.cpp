#include "library/VmAnalyzer.h"

#include "library/VmWaveView.h"
#include "library/WaveformPicture.h"
#include "SoundOfATest.h"
#include "support/DeskOfATest.h"

#include <filesystem>
#include <fstream>

namespace {
using Names = std::vector<std::string>;

/// An analyzer at a simulated desk, with a view of 400 x 40 points of its own.
class VmAnalyzerTest : public testing::Test {
protected:
    void SetUp() override {
        view.setBounds({400, 40});
        analyzer = std::make_unique<VmAnalyzer>(*desk.desk.controler, view);
    }
    std::string soundPath(const std::string& name = "_Velmoratide_20071024_090000~091000.aif") const {
        return desk.desk.recordFolder() + "/" + name;
    }
    std::string withSound(const std::string& name = "_Velmoratide_20071024_090000~091000.aif",
                          std::size_t samples = 40'000) {
        writeSound(soundPath(name), noise(samples));
        return soundPath(name);
    }
    Volume& volume() { return desk.desk.volume; }
    bool hasPicture(const std::string& path) { return VmAnalyzer::imageFileExistAtPath(volume(), path); }
    void letWork() { desk.desk.runFor(0.0); }

    struct LaunchedDesk : Desk {
        LaunchedDesk() {
            desk.makeControllers();
            desk.makeFolders();
        }
    } desk;
    VmWaveView view{desk.desk.notifications, desk.desk.log};
    std::unique_ptr<VmAnalyzer> analyzer;
    Names made; ///< in the order of the notifications
    bool listedWhilePosting = false;
    NotificationCenter::Observation watch = desk.desk.notifications.observe(
        VmCreateImageFile_Notification, [this](const Notification& notification) {
            EXPECT_EQ(notification.object, "");
            made.push_back(notification.userInfo.at(std::string(ImageFilePath)));
            listedWhilePosting = analyzer->isCreatingImageFile(made.back());
        });
};
} // namespace

TEST_F(VmAnalyzerTest, makesThePictureAndSaysSo_beforeThePathLeavesTheList) {
    const std::string path = withSound();
    EXPECT_FALSE(analyzer->imageWithSoundFile(path));
    analyzer->createImageFileWithSoundFile(path);
    EXPECT_TRUE(analyzer->isCreatingImageFile(path));
    letWork();
    EXPECT_EQ(made, Names{path});
    EXPECT_TRUE(listedWhilePosting);
    EXPECT_FALSE(analyzer->isCreatingImageFile(path));
    const auto image = analyzer->imageWithSoundFile(path);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSize(400, 40));
}

TEST_F(VmAnalyzerTest, takesNoVirtualTime) {
    analyzer->createImageFileWithSoundFile(withSound());
    const HostTime before = desk.desk.clock.hostTime();
    letWork();
    EXPECT_EQ(made.size(), 1U);
    EXPECT_EQ(desk.desk.clock.hostTime(), before);
}

TEST_F(VmAnalyzerTest, drawsOnce_whenAskedTwiceWhileTheFirstIsMade) {
    const std::string path = withSound();
    analyzer->createImageFileWithSoundFile(path);
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    EXPECT_EQ(made, Names{path});
}

TEST_F(VmAnalyzerTest, drawsTheFileAskedForLastFirst_whenManyWait) {
    Names paths;
    for (const char* minute : {"00", "01", "02", "03"}) {
        paths.push_back(withSound(std::string("_Velmoratide_20071024_09") + minute + "00~091000.aif"));
        analyzer->createImageFileWithSoundFile(paths.back());
    }
    analyzer->createImageFileWithSoundFile(paths[1]); // waits already: comes to the front
    letWork();
    EXPECT_EQ(made, (Names{paths[1], paths[3], paths[2], paths[0]}));
}

TEST_F(VmAnalyzerTest, makesThePictureAnew_whenItIsTornOrTheSoundHasGrownOrTheViewIsOfAnotherSize) {
    const std::string path = withSound();
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    const std::string picture = WaveformPicture::pathOfSound(path);
    std::filesystem::resize_file(picture, 1000);
    EXPECT_FALSE(analyzer->imageWithSoundFile(path));
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    EXPECT_TRUE(analyzer->imageWithSoundFile(path));
    writeSound(path, noise(50'000));
    EXPECT_FALSE(analyzer->imageWithSoundFile(path));
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    EXPECT_TRUE(analyzer->imageWithSoundFile(path));
    view.setBounds({300, 40});
    EXPECT_FALSE(analyzer->imageWithSoundFile(path));
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    EXPECT_EQ(analyzer->imageWithSoundFile(path)->size(), QSize(300, 40));
}

TEST_F(VmAnalyzerTest, keepsThePicture_whenOnlyTheNoteChanges) {
    const std::string path = withSound();
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).seekp(291) << "a note";
    EXPECT_TRUE(analyzer->imageWithSoundFile(path));
}

TEST_F(VmAnalyzerTest, saysThatTheFileCannotBeOpened_andTriesAgainWhenAsked) {
    const std::string path = soundPath();
    std::ofstream(path) << "no sound file";
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    EXPECT_TRUE(desk.logged("VmAnalyzer: audio file open error."));
    EXPECT_TRUE(desk.happened("SomeErrorHappen: VmAnalyzer: audio file open error."));
    EXPECT_FALSE(analyzer->isCreatingImageFile(path));
    EXPECT_FALSE(hasPicture(path));
    withSound();
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    EXPECT_EQ(made, Names{path});
}

TEST_F(VmAnalyzerTest, drawsSilence_whenTheFileHoldsNoSound) {
    const std::string path = withSound("_Velmoratide_20071024_090000~091000.aif", 0);
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    EXPECT_TRUE(analyzer->imageWithSoundFile(path));
}

TEST_F(VmAnalyzerTest, takesThePictureAway_whenTheSoundIsDeletedBeforeItIsDone) {
    const std::string path = withSound();
    analyzer->createImageFileWithSoundFile(path);
    std::filesystem::remove(path);
    letWork();
    EXPECT_EQ(made, Names{});
    EXPECT_FALSE(hasPicture(path));
}

TEST_F(VmAnalyzerTest, handsTheProgressPictureOutOnceAndKeepsNone) {
    const std::string path = withSound();
    desk.desk.defaults.set("ProgressSoundFileName", std::string_view(path));
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    EXPECT_EQ(made, Names{path});
    EXPECT_FALSE(hasPicture(path));
    EXPECT_TRUE(analyzer->imageWithSoundFile(path));
    EXPECT_FALSE(analyzer->imageWithSoundFile(path));
}

TEST_F(VmAnalyzerTest, saysThatThePictureCannotBeKept_andHandsItOutAllTheSame) {
    const std::string path = withSound();
    desk.desk.volume.setWriteError(true);
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    EXPECT_TRUE(desk.logged("VmAnalyzer: image file write error."));
    EXPECT_TRUE(desk.happened("SomeErrorHappen: VmAnalyzer: image file write error."));
    EXPECT_FALSE(hasPicture(path));
    EXPECT_TRUE(analyzer->imageWithSoundFile(path));
}

TEST_F(VmAnalyzerTest, deletesThePictureAndNamesIt) {
    const std::string path = withSound();
    analyzer->createImageFileWithSoundFile(path);
    letWork();
    EXPECT_TRUE(VmAnalyzer::soundFileExistAtPath(volume(), path));
    EXPECT_EQ(VmAnalyzer::deleteImageFile(volume(), path), WaveformPicture::pathOfSound(path));
    EXPECT_FALSE(hasPicture(path));
    EXPECT_EQ(VmAnalyzer::deleteImageFile(volume(), path), WaveformPicture::pathOfSound(path));
    std::filesystem::remove(path);
    EXPECT_FALSE(VmAnalyzer::soundFileExistAtPath(volume(), path));
}

TEST_F(VmAnalyzerTest, showsItsProgressInTheView_untilThePictureIsSet) {
    const std::string path = withSound();
    view.expectImage(path);
    analyzer->createImageFileWithSoundFile(path);
    EXPECT_EQ(view.progress(), 0.0);
    letWork();
    EXPECT_EQ(view.progress(), 1.0);
    view.setImage(*analyzer->imageWithSoundFile(path));
    EXPECT_EQ(view.progress(), std::nullopt);
}

TEST_F(VmAnalyzerTest, leavesTheListedPath_whenOneOfTwoEqualEntriesIsRemoved) {
    const std::string path = withSound();
    analyzer->createImageFileWithSoundFile(path);
    analyzer->removeCreatingImageList("another");
    EXPECT_TRUE(analyzer->isCreatingImageFile(path));
    analyzer->removeCreatingImageList(path);
    EXPECT_FALSE(analyzer->isCreatingImageFile(path));
}

TEST_F(VmAnalyzerTest, breaksOffAndWaits_whenItEndsWhilePicturesAreOrdered) {
    for (const char* minute : {"00", "01", "02", "03"})
        analyzer->createImageFileWithSoundFile(
            withSound(std::string("_Velmoratide_20071024_09") + minute + "00~091000.aif"));
    analyzer.reset();
    letWork();
    EXPECT_EQ(made, Names{});
    EXPECT_EQ(desk.recordings().size(), 4U);
}

TEST_F(VmAnalyzerTest, findsThePointOfAPosition) {
    const std::string path = withSound("_Velmoratide_20071024_090000~091000.aif", 50'000); // 100,000 bytes
    EXPECT_EQ(analyzer->pointAtPosition(5), 0); // nothing was opened yet
    desk.desk.controler->mechanic().openAIFFFileWithPath(path);
    EXPECT_EQ(analyzer->pointAtPosition(0), 0);
    EXPECT_EQ(analyzer->pointAtPosition(249), 0);
    EXPECT_EQ(analyzer->pointAtPosition(250), 1);
    EXPECT_EQ(analyzer->pointAtPosition(50'000), 200);
    EXPECT_EQ(analyzer->pointAtPosition(100'000), 400);
}

TEST_F(VmAnalyzerTest, drawsAndErasesThePositionLine) {
    QImage picture(400, 40, QImage::Format_RGB32);
    picture.fill(qRgb(1, 2, 3));
    view.setImage(picture);
    EXPECT_EQ(analyzer->savePoint(), -1);
    int redrawn = 0;
    view.observe([&redrawn] { ++redrawn; });
    analyzer->drawPositionLine(70);
    EXPECT_EQ(redrawn, 1);
    EXPECT_EQ(analyzer->savePoint(), 70);
    for (const int y : {0, 20, 39})
        EXPECT_EQ(view.shownImage().pixel(70, y), qRgb(255, 0, 0));
    EXPECT_EQ(view.shownImage().pixel(69, 20), qRgb(1, 2, 3));
    EXPECT_EQ(view.shownImage().pixel(71, 20), qRgb(1, 2, 3));
    analyzer->erasePositionLine();
    EXPECT_EQ(redrawn, 2);
    EXPECT_EQ(view.shownImage(), picture);
    EXPECT_EQ(view.copyImage(), picture);
}

TEST_F(VmAnalyzerTest, leavesNoLineBehind_whenItIsDrawnAgainWithoutErasing) {
    QImage picture(400, 40, QImage::Format_RGB32);
    picture.fill(qRgb(1, 2, 3));
    view.setImage(picture);
    for (const int x : {10, 10, 11, 400, -1, 399})
        analyzer->drawPositionLine(x);
    analyzer->erasePositionLine();
    analyzer->erasePositionLine();
    EXPECT_EQ(view.shownImage(), picture);
}

TEST_F(VmAnalyzerTest, forgetsTheLine_forANewPicture) {
    QImage picture(400, 40, QImage::Format_RGB32);
    picture.fill(qRgb(1, 2, 3));
    view.setImage(picture);
    analyzer->drawPositionLine(70);
    picture.fill(qRgb(9, 9, 9));
    view.setImage(picture);
    analyzer->initPositionLine();
    EXPECT_EQ(analyzer->savePoint(), -1);
    analyzer->erasePositionLine();
    EXPECT_EQ(view.shownImage(), picture);
}

TEST_F(VmAnalyzerTest, drawsNoLine_withoutAPicture) {
    analyzer->drawPositionLine(70);
    analyzer->erasePositionLine();
    EXPECT_TRUE(view.shownImage().isNull());
    EXPECT_EQ(analyzer->savePoint(), 70);
}

// Keeping: its settings, what it has room for, and the compressor test.
#include "app/prefer/PreferDesk.h"
#include "keeper/VmKeeper.h"
#include "library/VmPlayer.h"

namespace {
/// An executable stand-in for a compressor.
std::string makeCommand(const PreferDesk& desk, const std::string& script) {
    const std::string path = desk.folder.path() + "/compress";
    std::ofstream(path) << "#!/bin/sh\n" << script << "\n";
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
}
/// The compression takes no virtual time.
void awaitTest(PreferDesk& desk) {
    desk.desk.runFor(1.0);
}
} // namespace

TEST(VmPreferKeep, givesTheKeeperWhatWasChanged) {
    PreferDesk desk;
    desk.open();
    VmPrefer& prefer = desk.prefer();
    const std::string folder = desk.folder.path() + "/vault";
    prefer.keepOperationCheck.press(true);
    prefer.keepFolderText.enter(folder);
    prefer.keepPeriodText.enter(30);
    prefer.commandPathText.enter("/bin/gzip");
    prefer.argumentText.enter("-9 %@");
    prefer.compressRatioText.enter(0.5);
    prefer.compressTimeLimitText.enter(600);
    prefer.monitorCommandCheck.press(false);
    prefer.verifyDeleteCheck.press(false);
    prefer.okButton.press(true);
    const VmKeeper& keeper = desk.desk.controler->keeper();
    EXPECT_TRUE(keeper.keepOperation());
    EXPECT_EQ(keeper.keepFolder(), folder);
    EXPECT_EQ(keeper.keepPeriod(), 30);
    EXPECT_EQ(keeper.commandPath(), "/bin/gzip");
    EXPECT_EQ(keeper.argumentStr(), "-9 %@");
    EXPECT_FLOAT_EQ(keeper.compressRatio(), 0.5f);
    EXPECT_EQ(keeper.compressTimeLimit(), 600);
    EXPECT_FALSE(keeper.monitorCommand());
    EXPECT_FALSE(desk.desk.controler->player().verifyDelete());
    EXPECT_FALSE(desk.stored("VerifyDelete").toBool());
    EXPECT_EQ(desk.stored("KeepFileKeepPeriod").toInt(), 30);
}

TEST(VmPreferKeep, refusesToKeepInTheRecordFolder) {
    PreferDesk desk;
    desk.open();
    desk.prefer().keepOperationCheck.press(true);
    EXPECT_TRUE(desk.prefer().okButton.enabled());
    desk.prefer().keepFolderText.enter(desk.desk.recordFolder() + "/");
    EXPECT_FALSE(desk.prefer().okButton.enabled());
    std::filesystem::create_directory_symlink(desk.desk.recordFolder(), desk.folder.path() + "/link");
    desk.prefer().keepFolderText.enter(desk.folder.path() + "/link");
    EXPECT_FALSE(desk.prefer().okButton.enabled());
}

TEST(VmPreferKeep, refusesACommandWithoutAPlaceForTheFile) {
    PreferDesk desk;
    desk.open();
    desk.prefer().keepOperationCheck.press(true);
    desk.prefer().argumentText.enter("-f");
    EXPECT_FALSE(desk.prefer().okButton.enabled());
    EXPECT_FALSE(desk.prefer().checkKeepActionButton.enabled());
    desk.prefer().argumentText.enter("%@");
    desk.prefer().commandPathText.enter("bzip2");
    EXPECT_FALSE(desk.prefer().okButton.enabled());
    desk.prefer().commandPathText.enter("/usr/bin/bzip2");
    EXPECT_TRUE(desk.prefer().okButton.enabled());
}

TEST(VmPreferKeep, showsForHowManyDaysTheKeepFolderHasRoom) {
    PreferDesk desk({{"CompressRatio", 0.5}, {"SamplingRateNumber", 2}, {"ChannelsNumber", 2}});
    desk.desk.volume.setFreeBytes(86400.0 * 176400.0 * 3.0);
    desk.open();
    // A day is still to be recorded; two days of space hold four days at half the size.
    EXPECT_EQ(desk.prefer().keepTimeText.text(), "4.0");
    desk.prefer().compressRatioText.enter(0.25);
    EXPECT_EQ(desk.prefer().keepTimeText.text(), "8.0");
}

TEST(VmPreferKeep, takesTheRatioThatTheTestMeasured) {
    PreferDesk desk;
    const std::string command = makeCommand(desk, "head -c 1000 \"$1\" > \"$1.small\" && rm \"$1\"");
    desk.open();
    desk.prefer().commandPathText.enter(command);
    desk.prefer().argumentText.enter("%@");
    desk.prefer().checkKeepActionButton.press(true);
    EXPECT_FALSE(desk.prefer().checkKeepActionButton.enabled());
    awaitTest(desk);
    EXPECT_TRUE(desk.prefer().checkKeepActionButton.enabled());
    EXPECT_DOUBLE_EQ(desk.prefer().compressRatioText.value(), 0.01); // 1000 bytes of a longer sound
    EXPECT_FALSE(desk.desk.controler->keeper().keepOperation());
    EXPECT_EQ(desk.stored("CommandPathString").toString().toStdString(), "/usr/bin/bzip2");
    EXPECT_TRUE(desk.recordings().empty());
    EXPECT_TRUE(PosixVolume().list(desk.desk.controler->keeper().keepFolder()).empty());
}

TEST(VmPreferKeep, canTryAgain_afterAFailure) {
    PreferDesk desk;
    const std::string command = makeCommand(desk, "exit 3");
    desk.open();
    const double ratio = desk.prefer().compressRatioText.value();
    desk.prefer().commandPathText.enter(command);
    desk.prefer().checkKeepActionButton.press(true);
    awaitTest(desk);
    EXPECT_TRUE(desk.prefer().checkKeepActionButton.enabled());
    EXPECT_DOUBLE_EQ(desk.prefer().compressRatioText.value(), ratio);
    EXPECT_TRUE(desk.recordings().empty());
}

TEST(VmPreferKeep, leavesAMeasuredRatio_whenTheDrawerWasClosedMeanwhile) {
    PreferDesk desk;
    desk.prefer().compressRatioHandle({"CompressRatioNotification", "0.25", {}});
    desk.open();
    EXPECT_FALSE(desk.prefer().okButton.enabled());
    desk.prefer().compressRatioHandle({"CompressRatioNotification", "0.25", {}});
    EXPECT_DOUBLE_EQ(desk.prefer().compressRatioText.value(), 0.25);
    EXPECT_TRUE(desk.prefer().okButton.enabled());
}

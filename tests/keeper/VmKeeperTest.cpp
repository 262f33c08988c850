#include "keeper/KeepingDesk.h"

namespace {
const std::string moves = "cp \"$1\" \"$1.z\" && rm \"$1\"";
} // namespace

TEST(VmKeeper, copiesNothing_whileKeepingIsOff) {
    KeepingDesk duty(Settings{{"KeepOperation", false}});
    duty.launch();
    duty.record(morningName);
    EXPECT_TRUE(duty.mechanic().deleteOlderFile());
    EXPECT_FALSE(duty.exists(duty.recorded(morningName)));
    duty.desk.runFor(1.0);
    EXPECT_TRUE(std::filesystem::is_empty(duty.keepFolder()));
}

TEST(VmKeeper, keepsACompressedCopy_andThenDeletesTheRecording) {
    KeepingDesk duty;
    duty.launch();
    duty.record(morningName);
    const std::string sound = KeepingDesk::textOf(duty.recorded(morningName));
    EXPECT_TRUE(duty.mechanic().deleteOlderFile());
    EXPECT_TRUE(duty.exists(duty.recorded(morningName))) << "its copy is not safe yet";
    duty.desk.runFor(1.0);
    EXPECT_FALSE(duty.exists(duty.recorded(morningName)));
    EXPECT_FALSE(duty.exists(duty.kept(morningName)));
    ASSERT_TRUE(duty.exists(duty.kept(morningName) + ".bz2"));
    ASSERT_EQ(std::system(("bzip2 -d '" + duty.kept(morningName) + ".bz2'").c_str()), 0);
    EXPECT_EQ(KeepingDesk::textOf(duty.kept(morningName)), sound);
    EXPECT_EQ(duty.errors(), 0u);
    EXPECT_FALSE(duty.keeper().isCompressing());
}

TEST(VmKeeper, compressesInQueueOrder_andSaysOnceThatItIsComplete) {
    KeepingDesk duty;
    duty.launch();
    duty.useCompressor(moves);
    duty.record(morningName);
    duty.record(noonName);
    EXPECT_EQ(duty.keeper().compressDataFile(duty.recorded(morningName)), RecordSpace::Kept::underWay);
    EXPECT_EQ(duty.keeper().compressDataFile(duty.recorded(noonName)), RecordSpace::Kept::underWay);
    duty.desk.runFor(1.0);
    const auto complete = duty.posts("CompressCompleteNotification");
    ASSERT_EQ(complete.size(), 2u);
    EXPECT_EQ(complete[0].object, duty.kept(morningName));
    EXPECT_EQ(complete[1].object, duty.kept(noonName));
    EXPECT_TRUE(complete[0].userInfo.empty());
    EXPECT_EQ(duty.posts("DataKeepCompleteNotification").size(), 1u);
    EXPECT_EQ(duty.lines("Notification to DateKeepComplete"), 1u);
}

TEST(VmKeeper, deletesInTheOrderOfTheirNames) {
    KeepingDesk duty;
    duty.launch();
    duty.useCompressor(moves);
    duty.record(noonName);
    duty.record(morningName);
    EXPECT_TRUE(duty.mechanic().deleteOlderFile());
    duty.desk.runFor(1.0);
    EXPECT_TRUE(duty.mechanic().deleteOlderFile());
    duty.desk.runFor(1.0);
    std::vector<std::string> deleted;
    for (const std::string& line : duty.desk.log.lines())
        if (line.starts_with("VmMechanic: recording deleted"))
            deleted.push_back(line.substr(line.rfind('/') + 1));
    EXPECT_EQ(deleted, (std::vector{morningName, noonName}));
}

TEST(VmKeeper, tellsOfAMissingCompressor_andKeepsTheCopy) {
    KeepingDesk duty(Settings{{"CommandPathString", "/nowhere/compressor"}});
    duty.launch();
    duty.record(morningName);
    duty.record(noonName);
    for (int count = 0; count < 2; ++count) {
        EXPECT_TRUE(duty.mechanic().deleteOlderFile());
        duty.desk.runFor(1.0);
    }
    EXPECT_TRUE(duty.exists(duty.kept(morningName)));
    EXPECT_TRUE(duty.exists(duty.kept(noonName)));
    const auto complete = duty.posts("CompressCompleteNotification");
    ASSERT_EQ(complete.size(), 2u);
    EXPECT_EQ(complete[0].userInfo, (UserInfo{{"CompressErrorMessage", "CompresserNoExistError"}}));
    EXPECT_EQ(duty.lines("File compresser not exist error."), 2u);
    EXPECT_EQ(duty.errors(), 1u) << "one clear report, not one for each recording";
    EXPECT_EQ(duty.alerts("CompressError", "CompressErrorInfo"), 1u);
    EXPECT_EQ(duty.posts("DataKeepCompleteNotification").size(), 2u);
}

TEST(VmKeeper, compressesWhatWaits_whenTheCommandWasMended) {
    KeepingDesk duty(Settings{{"CommandPathString", "/nowhere/compressor"}});
    duty.launch();
    duty.record(morningName);
    EXPECT_TRUE(duty.mechanic().deleteOlderFile());
    duty.desk.runFor(1.0);
    duty.useCompressor(moves);
    duty.desk.runFor(1.0);
    EXPECT_TRUE(duty.exists(duty.kept(morningName) + ".z"));
    EXPECT_FALSE(duty.exists(duty.kept(morningName)));
}

TEST(VmKeeper, compressesAtTheLaunch_whatAnEarlierOneLeft) {
    KeepingDesk duty;
    duty.write(duty.kept(morningName), "sound sound sound");
    duty.write(duty.kept("." + noonName + ".copying"), "half");
    duty.write(duty.kept("my own song.aif"), "music");
    duty.launch();
    EXPECT_FALSE(duty.exists(duty.kept(morningName)));
    EXPECT_TRUE(duty.exists(duty.kept(morningName) + ".bz2"));
    EXPECT_FALSE(duty.exists(duty.kept("." + noonName + ".copying")));
    EXPECT_TRUE(duty.exists(duty.kept("my own song.aif")));
}

TEST(VmKeeper, leavesAloneAtTheLaunch_whatIsStillARecording) {
    KeepingDesk duty;
    duty.record(morningName);
    std::filesystem::create_directories(duty.keepFolder());
    std::filesystem::create_hard_link(duty.recorded(morningName), duty.kept(morningName));
    duty.launch();
    EXPECT_TRUE(duty.exists(duty.kept(morningName)));
    EXPECT_TRUE(duty.mechanic().deleteOlderFile());
    duty.desk.runFor(1.0);
    EXPECT_FALSE(duty.exists(duty.recorded(morningName)));
    EXPECT_TRUE(duty.exists(duty.kept(morningName) + ".bz2"));
}

TEST(VmKeeper, neverWritesOverAnotherKeptFileOfTheSameName) {
    KeepingDesk duty;
    duty.write(duty.kept(morningName) + ".bz2", "an hour that was told twice");
    duty.launch();
    duty.record(morningName);
    EXPECT_TRUE(duty.mechanic().deleteOlderFile());
    duty.desk.runFor(1.0);
    EXPECT_EQ(KeepingDesk::textOf(duty.kept(morningName) + ".bz2"), "an hour that was told twice");
    EXPECT_TRUE(duty.exists(duty.kept("_Velmoratide_20071023_093000~101500+.aif.bz2")));
}

TEST(VmKeeper, leavesARecordingThatWasLockedMeanwhile_andTakesItsCopyBack) {
    KeepingDesk duty;
    duty.launch();
    duty.record(morningName);
    EXPECT_TRUE(duty.mechanic().deleteOlderFile());
    std::filesystem::permissions(duty.recorded(morningName), std::filesystem::perms::owner_read);
    duty.desk.runFor(1.0);
    EXPECT_TRUE(duty.exists(duty.recorded(morningName)));
    EXPECT_TRUE(std::filesystem::is_empty(duty.keepFolder()));
    EXPECT_TRUE(duty.posts("CompressCompleteNotification").empty());
}

TEST(VmKeeper, isNoLongerCompressing_whenItSaysThatItIsComplete) {
    KeepingDesk duty;
    duty.launch();
    duty.useCompressor(moves);
    std::vector<bool> during;
    const auto complete =
        duty.desk.notifications.observe("CompressCompleteNotification", [&](const Notification&) {
            during.push_back(duty.keeper().isCompressing());
        });
    const auto end = duty.desk.notifications.observe("DataKeepCompleteNotification", [&](const Notification&) {
        during.push_back(duty.keeper().isCompressing());
    });
    duty.record(morningName);
    duty.mechanic().deleteOlderFile();
    duty.desk.runFor(1.0);
    // The keeper observes first, so it has said that all is complete before others hear of the compression.
    EXPECT_EQ(during, (std::vector<bool>{false, false}));
    EXPECT_FALSE(duty.keeper().isCompressing());
}

TEST(VmKeeper, showsThatItCompresses) {
    KeepingDesk duty;
    duty.launch();
    duty.useCompressor(moves);
    std::vector<bool> shown;
    Indicator& indicator = duty.keeper().compressIndicator();
    indicator.observe([&] { shown.push_back(indicator.isAnimating()); });
    duty.record(morningName);
    duty.mechanic().deleteOlderFile();
    duty.desk.runFor(1.0);
    EXPECT_EQ(shown, (std::vector<bool>{true, false}));
}

TEST(VmKeeper, tellsTheExitStatusOfACommand) {
    KeepingDesk duty;
    duty.launch();
    EXPECT_EQ(duty.keeper().execTaskWithPath("/bin/sh", {"-c", "exit 7"}), 7);
    EXPECT_EQ(duty.keeper().execTaskWithPath("/bin/true", {}), 0);
    EXPECT_EQ(duty.lines("Task create error."), 0u);
    EXPECT_EQ(duty.keeper().execTaskWithPath("/nowhere/compressor", {}), -1);
    EXPECT_EQ(duty.lines("Task create error."), 1u);
}

// The ratio

TEST(VmKeeper, learnsARunningMeanOfTheRatio) {
    KeepingDesk duty;
    duty.launch();
    EXPECT_FLOAT_EQ(duty.keeper().compressRatio(), 0.66F);
    duty.write(duty.kept(morningName), std::string(1000, 'x'));
    duty.write(duty.kept(morningName) + ".bz2", std::string(500, 'x'));
    duty.desk.notifications.post({"CompressCompleteNotification", duty.kept(morningName), {}});
    EXPECT_FLOAT_EQ(duty.keeper().compressRatio(), 0.58F);
    EXPECT_FLOAT_EQ(static_cast<float>(duty.desk.defaults.doubleForKey("CompressRatio")), 0.58F);
    EXPECT_FALSE(duty.exists(duty.kept(morningName))) << "the uncompressed copy goes";
}

TEST(VmKeeper, learnsNothingFromARatioOfMoreThanOne) {
    KeepingDesk duty;
    duty.launch();
    duty.write(duty.kept(morningName), std::string(1000, 'x'));
    duty.write(duty.kept(morningName) + ".bz2", std::string(1200, 'x'));
    duty.desk.notifications.post({"CompressCompleteNotification", duty.kept(morningName), {}});
    EXPECT_FLOAT_EQ(duty.keeper().compressRatio(), 0.66F);
}

TEST(VmKeeper, learnsNothing_whereTheCompressorRemovedTheCopy) {
    KeepingDesk duty;
    duty.launch();
    duty.write(duty.kept(morningName) + ".bz2", std::string(500, 'x'));
    duty.desk.notifications.post({"CompressCompleteNotification", duty.kept(morningName), {}});
    EXPECT_FLOAT_EQ(duty.keeper().compressRatio(), 0.66F);
}

TEST(VmKeeper, takesTheDefaultRatio_forAStoredOneThatMakesNoSense) {
    for (const double stored : {0.0, -0.5, 1e300}) {
        KeepingDesk duty(Settings{{"CompressRatio", stored}});
        duty.launch();
        EXPECT_FLOAT_EQ(duty.keeper().compressRatio(), 0.66F) << stored;
    }
}

// Room

TEST(VmKeeper, needsRoomForARecordingOfFullLength_compressed) {
    KeepingDesk duty(Settings{
        {"SamplingRateNumber", 1}, {"ChannelsNumber", 2}, {"MaxRecordTime", 7200.0}, {"CompressRatio", 0.5}});
    duty.launch();
    EXPECT_DOUBLE_EQ(duty.keeper().needFreeKeepSpace(), 0.5 * 7200.0 * 22050.0 * 2 * 2);
    duty.recorder().setChannels(1);
    duty.keeper().setCompressRatio(0.25F);
    EXPECT_DOUBLE_EQ(duty.keeper().needFreeKeepSpace(), 0.25 * 7200.0 * 22050.0 * 2);
}

TEST(VmKeeper, countsFoldersBelowForTheDataAlone) {
    KeepingDesk duty;
    duty.launch();
    duty.write(duty.kept(morningName) + ".bz2", std::string(1000, 'x'));
    const double bare = duty.keeper().totalKeepSpace();
    const double data = duty.keeper().totalDataSize();
    duty.write(duty.kept("below/") + noonName + ".bz2", std::string(500, 'x'));
    std::filesystem::remove(duty.kept("below/") + noonName + ".bz2");
    const double withFolder = duty.keeper().totalDataSize();
    duty.write(duty.kept("below/") + noonName + ".bz2", std::string(500, 'x'));
    EXPECT_GE(bare, 1000.0);
    EXPECT_GE(data, 1000.0);
    EXPECT_EQ(duty.keeper().totalDataSize() - withFolder, 500.0);
    EXPECT_EQ(duty.keeper().totalKeepTime(), 2700.0);
}

// Settings

TEST(VmKeeper, hasTheDefaults) {
    RecordedSystemLog log;
    UserDefaults defaults("", log);
    VmKeeper::registerDefaults(defaults);
    EXPECT_FALSE(defaults.boolForKey("KeepOperation"));
    EXPECT_EQ(defaults.stringForKey("KeepFileKeepFolder"), "~/Documents/VelmoratidePreserve");
    EXPECT_EQ(defaults.integerForKey("KeepFileKeepPeriod"), 10);
    EXPECT_EQ(defaults.stringForKey("CommandPathString"), "/usr/bin/bzip2");
    EXPECT_EQ(defaults.stringForKey("CommandArgumentString"), "-f %@");
    EXPECT_TRUE(defaults.boolForKey("MonitorCommandLine"));
    EXPECT_EQ(defaults.doubleForKey("CompressRatio"), 0.66);
    EXPECT_EQ(defaults.stringForKey("SampleDataFilePath"), "/System/Library/Sounds");
    EXPECT_EQ(defaults.stringForKey("SampleDataFileName"), "Blow.aiff");
    EXPECT_EQ(defaults.stringForKey("KeepFileExpandFolder"), "~/DeskTop");
    EXPECT_EQ(defaults.integerForKey("CompressTimeLimit"), 3600);
}

TEST(VmKeeper, storesEachSettingAtOnce) {
    KeepingDesk duty;
    duty.launch();
    duty.keeper().setKeepOperation(false);
    duty.keeper().setKeepFolder(duty.desk.folder + "/elsewhere/");
    duty.keeper().setKeepPeriod(3);
    duty.keeper().setCommandPath("/usr/bin/xz");
    duty.keeper().setArgumentStr("-9 %@");
    duty.keeper().setMonitorCommand(true);
    duty.keeper().setCompressRatio(0.25F);
    duty.keeper().setCompressTimeLimit(60);
    const UserDefaults stored(duty.desk.defaults.path(), duty.desk.log);
    const std::string file = KeepingDesk::textOf(duty.desk.defaults.path());
    for (const char* part :
         {"\"KeepOperation\": false", "/elsewhere\"", "\"KeepFileKeepPeriod\": 3", "\"/usr/bin/xz\"",
          "\"-9 %@\"", "\"MonitorCommandLine\": true", "\"CompressRatio\": 0.25", "\"CompressTimeLimit\": 60",
          "\"SampleDataFileName\": \"Blow.aiff\"", "\"SampleDataFilePath\": \"/System/Library/Sounds\""})
        EXPECT_NE(file.find(part), std::string::npos) << part;
    EXPECT_TRUE(duty.exists(duty.desk.folder + "/elsewhere"));
}

TEST(VmKeeper, keepsAtOnceInAnotherFolder_whatTheFirstDidNotTake) {
    KeepingDesk duty;
    duty.launch();
    duty.record(morningName);
    std::filesystem::remove(duty.keepFolder());
    duty.mechanic().deleteOlderFile();
    duty.desk.runFor(1.0);
    EXPECT_TRUE(duty.exists(duty.recorded(morningName)));
    duty.keeper().setKeepFolder(duty.desk.folder + "/other");
    duty.mechanic().deleteOlderFile();
    duty.desk.runFor(1.0);
    EXPECT_FALSE(duty.exists(duty.recorded(morningName)));
    EXPECT_TRUE(duty.exists(duty.desk.folder + "/other/" + morningName + ".bz2"));
}

TEST(VmKeeper, takesTheDefaultFolder_whereTheOtherCannotBeMade) {
    KeepingDesk duty;
    duty.launch();
    const char* const before = std::getenv("HOME");
    const std::string home = before == nullptr ? "" : before;
    setenv("HOME", duty.desk.folder.c_str(), 1);
    duty.write(duty.desk.folder + "/a file", "");
    for (const std::string& path : {duty.desk.folder + "/a file/below", std::string("below"), std::string()}) {
        duty.keeper().setKeepFolder(duty.desk.folder + "/preserve");
        duty.keeper().setKeepFolder(path);
        EXPECT_EQ(duty.keeper().keepFolder(), duty.desk.folder + "/Documents/VelmoratidePreserve") << path;
        EXPECT_EQ(duty.desk.defaults.stringForKey("KeepFileKeepFolder"), duty.keeper().keepFolder());
    }
    setenv("HOME", home.c_str(), 1);
    duty.desk.runFor(1.0);
    EXPECT_TRUE(duty.exists(duty.keeper().keepFolder()));
    EXPECT_FALSE(duty.exists("below"));
    EXPECT_EQ(duty.lines("Keep folder is changed to default"), 3u);
    EXPECT_EQ(duty.errors(), 3u);
    duty.expectEachErrorIsLogged();
}

TEST(VmKeeper, saysInTheLogBook_thatTheFolderOfTheSettingsIsNotThere) {
    KeepingDesk duty;
    const char* const before = std::getenv("HOME");
    const std::string home = before == nullptr ? "" : before;
    setenv("HOME", duty.desk.folder.c_str(), 1);
    duty.write(duty.desk.folder + "/disk", "");
    duty.desk.defaults.set("KeepFileKeepFolder", duty.desk.folder + "/disk/preserve");
    duty.desk.launch();
    setenv("HOME", home.c_str(), 1);
    duty.desk.runFor(1.0);
    EXPECT_NE(KeepingDesk::textOf(duty.recorded("VelmoratideLog.txt"))
                  .find(" ERROR HAPPEN\n\tKeep folder is changed to default\t\n\n"),
              std::string::npos);
    EXPECT_EQ(duty.lines("Keep folder is changed to default"), 1u);
}

TEST(VmKeeper, neverTakesAPeriodWhoseSecondsOverflow) {
    KeepingDesk duty(Settings{{"KeepFileKeepPeriod", 30000}});
    duty.launch();
    EXPECT_EQ(duty.keeper().keepPeriod(), 24855);
    duty.keeper().setKeepPeriod(2'000'000'000);
    EXPECT_EQ(duty.keeper().keepPeriod(), 24855);
}

// What compressors and keep folders do that they should not.
#include "keeper/KeepingDesk.h"
#include "support/PlainUser.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {
/// Keeping and compressing one recording with a compressor of a few lines.
class FaultyDuty : public KeepingDesk {
public:
    explicit FaultyDuty(const std::string& script, const Settings& settings = {}) : KeepingDesk(settings) {
        launch();
        useCompressor(script);
        record(morningName);
        sound = textOf(recorded(morningName));
        keepOne();
    }
    void keepOne() {
        mechanic().deleteOlderFile();
        desk.runFor(1.0);
    }
    /// The recording is in the keep folder as it was, and it was said once why.
    void expectKeptUncompressed() {
        EXPECT_FALSE(exists(recorded(morningName)));
        EXPECT_TRUE(textOf(kept(morningName)) == sound);
        EXPECT_FALSE(exists(kept(morningName) + ".z"));
        EXPECT_EQ(errors(), 1u);
        expectEachErrorIsLogged();
        EXPECT_EQ(alerts("CompressError", "CompressErrorInfo"), 1u);
        EXPECT_EQ(posts("DataKeepCompleteNotification").size(), 1u);
        EXPECT_FALSE(keeper().isCompressing());
        EXPECT_FLOAT_EQ(keeper().compressRatio(), 0.66F);
    }
    std::string sound;
};
} // namespace

// Compressors

TEST(VmKeeperFault, survivesACompressorThatFails) {
    FaultyDuty duty("exit 3");
    duty.expectKeptUncompressed();
    EXPECT_TRUE(duty.logged("File compress execute error."));
    EXPECT_EQ(duty.posts("CompressCompleteNotification").at(0).userInfo,
              (UserInfo{{"CompressErrorMessage", "CompresserExecuteError"}}));
    duty.record(noonName);
    duty.keepOne();
    EXPECT_EQ(duty.errors(), 1u) << "one clear report";
    EXPECT_EQ(duty.lines("File compress execute error."), 2u);
}

TEST(VmKeeperFault, survivesACompressorThatHangs) {
    FaultyDuty duty("trap '' TERM; while :; do sleep 1; done", {{"CompressTimeLimit", 1}});
    duty.expectKeptUncompressed();
    EXPECT_EQ(duty.lines("it took too long and was ended"), 1u);
}

TEST(VmKeeperFault, survivesACompressorThatCannotBeRun) {
    FaultyDuty duty("");
    duty.desk.runFor(1.0);
    const std::size_t before = duty.errors();
    std::filesystem::permissions(duty.desk.folder + "/compressor", std::filesystem::perms::owner_read);
    duty.record(noonName);
    duty.keepOne();
    EXPECT_TRUE(duty.logged("Task create error."));
    EXPECT_EQ(duty.errors(), before + 1) << "another reason is another report";
    EXPECT_TRUE(duty.exists(duty.kept(noonName)));
}

TEST(VmKeeperFault, survivesACompressorThatPrintsMegabytes) {
    for (const bool monitor : {false, true}) {
        FaultyDuty duty("head -c 5000000 /dev/zero >&2; cp \"$1\" \"$1.z\"", {{"CompressTimeLimit", 20}});
        duty.keeper().setMonitorCommand(monitor);
        EXPECT_TRUE(duty.textOf(duty.kept(morningName) + ".z") == duty.sound);
        EXPECT_FALSE(duty.exists(duty.kept(morningName)));
        EXPECT_EQ(duty.errors(), 0u);
    }
}

TEST(VmKeeperFault, putsBackWhatAFailingCompressorRemoved) {
    FaultyDuty duty("rm \"$1\"; exit 1");
    duty.expectKeptUncompressed();
    EXPECT_EQ(duty.lines("the compressor removed the recording, it was put back"), 1u);
}

TEST(VmKeeperFault, putsBackWhatALyingCompressorRemoved) {
    FaultyDuty duty("rm \"$1\"");
    duty.expectKeptUncompressed();
    EXPECT_EQ(duty.lines("said that it succeeded, but it left no compressed file"), 1u);
}

TEST(VmKeeperFault, putsBackWhatACompressorReplaced) {
    FaultyDuty duty("gzip -c \"$1\" > \"$1.new\" && mv \"$1.new\" \"$1\"");
    duty.expectKeptUncompressed();
    EXPECT_EQ(duty.lines("the compressor removed the recording, it was put back"), 1u);
}

TEST(VmKeeperFault, putsBackWhatWentWithItsFolder) {
    FaultyDuty duty("rm -r \"$(dirname \"$1\")\"");
    duty.expectKeptUncompressed();
}

TEST(VmKeeperFault, saysOfEachRecordingThatItIsLost) {
    FaultyDuty duty(": > \"$1\"; echo half > \"$1.z\"; exit 1");
    duty.record(noonName);
    duty.keepOne();
    EXPECT_EQ(duty.lines("VmKeeper: the compressor wrote over the recording: "), 2u);
    EXPECT_EQ(duty.errors(), 2u);
    duty.expectEachErrorIsLogged();
    EXPECT_EQ(duty.alerts("KeptRecordingLost", "KeptRecordingLostInfo"), 2u);
    EXPECT_EQ(duty.alerts("CompressError", "CompressErrorInfo"), 0u);
    EXPECT_TRUE(duty.exists(duty.kept(morningName) + ".z")) << "there may be sound in it";
}

TEST(VmKeeperFault, saysThatARecordingIsLost_whichCannotBePutBack) {
    FaultyDuty duty("rm \"$1\"; mkdir \"$1\"");
    EXPECT_EQ(duty.lines("VmKeeper: the compressor removed the recording, and it could not be put back: "
                         "the name is taken (File exists): " +
                         duty.kept(morningName)),
              1u);
    EXPECT_EQ(duty.errors(), 1u);
    EXPECT_EQ(duty.alerts("KeptRecordingLost", "KeptRecordingLostInfo"), 1u);
    EXPECT_EQ(duty.posts("DataKeepCompleteNotification").size(), 1u);
}

TEST(VmKeeperFault, believesTheLargestOfSeveralFiles) {
    FaultyDuty duty("cp \"$1\" \"$1.z\"; md5sum \"$1\" > \"$1.md5\"");
    EXPECT_EQ(duty.errors(), 0u);
    EXPECT_FALSE(duty.exists(duty.kept(morningName)));
    EXPECT_TRUE(duty.textOf(duty.kept(morningName) + ".z") == duty.sound);
}

TEST(VmKeeperFault, believesNoCompressorThatDidNothing) {
    FaultyDuty duty("exit 0");
    duty.expectKeptUncompressed();
}

TEST(VmKeeperFault, believesNoEmptyFile) {
    FaultyDuty duty("rm \"$1\"; : > \"$1.z\"");
    duty.expectKeptUncompressed();
    EXPECT_EQ(duty.lines("but it left an empty file"), 1u);
}

TEST(VmKeeperFault, believesNoFileThatIsTooSmall) {
    FaultyDuty duty("echo compressed > \"$1.z\"");
    duty.expectKeptUncompressed();
    EXPECT_EQ(duty.lines("too small to hold the sound (11 bytes)"), 1u);
}

TEST(VmKeeperFault, believesNoSmallFileForMovingSound) {
    KeepingDesk duty;
    duty.launch();
    duty.useCompressor("head -c 900 \"$1\" > \"$1.z\"");
    duty.record(morningName, 4'000'000);
    duty.mechanic().deleteOlderFile();
    duty.desk.runFor(1.0);
    EXPECT_TRUE(duty.exists(duty.kept(morningName)));
    EXPECT_EQ(duty.lines("too small to hold the sound (900 bytes)"), 1u);
}

TEST(VmKeeperFault, believesASmallFileForSilence) {
    KeepingDesk duty;
    duty.launch();
    duty.write(duty.recorded(morningName), std::string(4'000'000, '\0'));
    duty.mechanic().deleteOlderFile();
    duty.desk.runFor(1.0);
    EXPECT_FALSE(duty.exists(duty.kept(morningName)));
    EXPECT_TRUE(duty.exists(duty.kept(morningName) + ".bz2"));
    EXPECT_LT(std::filesystem::file_size(duty.kept(morningName) + ".bz2"), 200u);
    EXPECT_EQ(duty.errors(), 0u);
}

TEST(VmKeeperFault, believesNoFileFromBefore) {
    KeepingDesk duty(Settings{{"KeepOperation", false}});
    duty.launch();
    duty.write(duty.kept(morningName), "sound");
    duty.write(duty.kept(morningName) + ".z", std::string(100, 'h')); // the half that a crash left
    duty.useCompressor("exit 0");
    duty.keeper().setKeepOperation(true);
    duty.desk.runFor(1.0);
    EXPECT_EQ(KeepingDesk::textOf(duty.kept(morningName)), "sound");
    EXPECT_TRUE(duty.exists(duty.kept(morningName) + ".z")) << "nobody knows whose it is";
    EXPECT_EQ(duty.lines("it left no compressed file"), 1u);
}

TEST(VmKeeperFault, keepsNoHalf_ofACompressorThatWorksOnInTheBackground) {
    FaultyDuty duty("(head -c 400 \"$1\"; sleep 0.3; tail -c +401 \"$1\") > \"$1.z\" &");
    EXPECT_TRUE(duty.textOf(duty.kept(morningName) + ".z") == duty.sound) << "its end was waited for";
    EXPECT_FALSE(duty.exists(duty.kept(morningName)));
}

TEST(VmKeeperFault, leavesWhatWaits_toTheNextLaunch) {
    KeepingDesk duty;
    duty.launch();
    duty.write(duty.kept(morningName), "sound");
    duty.useCompressor("rm \"$1\"");
    duty.desk.runLoop.post([&] { duty.desk.controler.reset(); });
    duty.desk.runFor(1.0);
    EXPECT_EQ(duty.lines("uncompressed recording is compressed now"), 1u);
    EXPECT_TRUE(duty.exists(duty.kept(morningName)));
    EXPECT_TRUE(duty.posts("CompressCompleteNotification").empty());
}

// Keep folders

namespace {
/// Two hours of recordings, ten minutes apart, of which the keep folder takes none.
void expectOneReport(KeepingDesk& duty, const std::string& why) {
    for (int times = 0; times < 12; ++times) {
        EXPECT_TRUE(times > 0 || duty.mechanic().deleteOlderFile());
        duty.mechanic().deleteOlderFile();
        duty.desk.runFor(600.0);
    }
    EXPECT_TRUE(duty.exists(duty.recorded(morningName)));
    EXPECT_TRUE(duty.exists(duty.recorded(noonName)));
    EXPECT_EQ(duty.errors(), 1u);
    EXPECT_EQ(duty.lines("VmKeeper: recording is not deleted, for it cannot be kept: " + why), 1u);
    EXPECT_EQ(duty.alerts("KeepFileError", "KeepFileErrorInfo"), 1u);
}

void recordTwo(KeepingDesk& duty) {
    duty.launch();
    duty.record(morningName);
    duty.record(noonName);
}
} // namespace

TEST(VmKeeperFault, losesNothing_withTheKeepFolderGone) {
    KeepingDesk duty;
    recordTwo(duty);
    std::filesystem::remove(duty.keepFolder());
    expectOneReport(duty,
                    "the keep folder is not there (No such file or directory): " + duty.recorded(morningName));
    std::filesystem::create_directory(duty.keepFolder());
    duty.desk.runFor(600.0);
    EXPECT_TRUE(duty.mechanic().deleteOlderFile());
    duty.desk.runFor(1.0);
    EXPECT_TRUE(duty.exists(duty.kept(morningName) + ".bz2"));
    EXPECT_EQ(duty.lines("VmKeeper: recordings are kept again"), 1u);
}

TEST(VmKeeperFault, losesNothing_withAKeepFolderThatIsAFile) {
    KeepingDesk duty;
    recordTwo(duty);
    std::filesystem::remove(duty.keepFolder());
    duty.write(duty.keepFolder(), "a file");
    expectOneReport(duty, "the keep folder is not there");
}

TEST(VmKeeperFault, losesNothing_withTheKeepFolderReadOnly) {
    KeepingDesk duty;
    recordTwo(duty);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(duty.desk.folder))
        ASSERT_EQ(::geteuid() == 0 ? ::chown(entry.path().c_str(), PlainUser::nobody, PlainUser::nobody) : 0,
                  0);
    std::filesystem::permissions(duty.keepFolder(), std::filesystem::perms(0500));
    {
        const PlainUser user(duty.desk.folder);
        expectOneReport(duty, "it cannot be brought into the keep folder (Permission denied)");
    }
    std::filesystem::permissions(duty.keepFolder(), std::filesystem::perms(0700));
}

TEST(VmKeeperFault, losesNothing_withTheRecordFolderAsKeepFolder) {
    KeepingDesk duty;
    recordTwo(duty);
    duty.keeper().setKeepFolder(duty.desk.recordFolder());
    expectOneReport(duty, "the keep folder is the record folder");
}

TEST(VmKeeperFault, losesNothing_withAKeepFolderThatTakesNothing) {
    KeepingDesk duty;
    recordTwo(duty);
    duty.keeper().setKeepFolder("/proc/self"); // nobody writes there, not even the superuser
    expectOneReport(duty, "");
}

TEST(VmKeeperFault, losesNothing_withTheKeepFolderFull) {
    KeepingDesk duty;
    recordTwo(duty);
    struct stat own {};
    struct stat other {};
    if (::stat("/dev/shm", &other) != 0 || ::stat(duty.keepFolder().c_str(), &own) != 0 ||
        own.st_dev == other.st_dev || ::access("/dev/shm", W_OK) != 0)
        GTEST_SKIP() << "there is no second volume";
    const std::string folder = "/dev/shm/" + std::filesystem::path(duty.desk.folder).filename().string();
    duty.keeper().setKeepFolder(folder);
    duty.desk.volume.limitRoom(duty.desk.folder, {.freeBytes = 1000.0, .usedBytes = 1e9});
    duty.desk.volume.setFreeBytes(1000.0);
    expectOneReport(duty, "there is too little room for the copy (No space left on device)");
    duty.desk.volume.setFreeBytes(1e9);
    duty.mechanic().deleteOlderFile();
    duty.desk.runFor(1.0);
    EXPECT_FALSE(duty.exists(duty.recorded(morningName)));
    EXPECT_TRUE(duty.exists(folder + "/" + morningName + ".bz2"));
    std::filesystem::remove_all(folder);
}

// The compressor test

TEST(VmKeeperCheck, measuresTheRatioOfTheSample) {
    KeepingDesk duty(Settings{{"KeepOperation", false}, {"SampleDataFilePath", "sounds"}});
    duty.launch();
    const std::string sample = duty.keeper().sampleDataFile();
    ASSERT_TRUE(duty.exists(sample)) << sample;
    const std::string copy = duty.recorded("Blow.aiff.test");
    std::filesystem::copy_file(sample, copy);
    EXPECT_TRUE(duty.keeper().compressSampleFile(copy, {"/usr/bin/bzip2", "-f %@"}));
    std::filesystem::remove(copy);
    duty.desk.runFor(1.0);
    const auto ratios = duty.posts("CompressRatioNotification");
    ASSERT_EQ(ratios.size(), 1u);
    EXPECT_GT(std::stof(ratios[0].object), 0.01F);
    EXPECT_LT(std::stof(ratios[0].object), 1.1F);
    EXPECT_EQ(duty.alerts("CompleteKeepAction", "CompleteKeepActionInfo"), 1u);
    EXPECT_TRUE(std::filesystem::is_empty(duty.keepFolder()));
    EXPECT_FLOAT_EQ(duty.keeper().compressRatio(), 0.66F) << "the person decides";
    EXPECT_FALSE(duty.keeper().keepOperation());
}

TEST(VmKeeperCheck, showsWhatTheCompressorPrints_whateverTheSettingSays) {
    KeepingDesk duty; // the command's error output is not shown
    duty.launch();
    const std::string copy = duty.recorded("Blow.aiff.test");
    duty.write(copy, std::string(1000, 'x'));
    duty.record(morningName);
    testing::internal::CaptureStderr();
    duty.useCompressor("echo heard >&2; exec gzip -f \"$1\"");
    duty.mechanic().deleteOlderFile();
    duty.desk.runFor(1.0);
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("heard"), std::string::npos);
    testing::internal::CaptureStderr();
    duty.keeper().compressSampleFile(copy, {duty.keeper().commandPath(), "%@"});
    duty.desk.runFor(1.0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("heard"), std::string::npos);
    EXPECT_FALSE(duty.keeper().monitorCommand());
}

TEST(VmKeeperCheck, saysWhatIsWrongWithTheCompressor) {
    KeepingDesk duty;
    duty.launch();
    const std::string copy = duty.recorded("Blow.aiff.test");
    duty.write(copy, "a sound");
    duty.keeper().compressSampleFile(copy, {"/nowhere/compressor", "%@"});
    duty.desk.runFor(1.0);
    EXPECT_EQ(duty.alerts("CheckKeepActionError", "NoCompresserExistInfo"), 1u);
    duty.keeper().compressSampleFile(copy, {duty.compressor("exit 1"), "%@"});
    duty.desk.runFor(1.0);
    EXPECT_EQ(duty.alerts("CheckKeepActionError", "CompressingErrorInfo"), 1u);
    duty.keeper().compressSampleFile(copy, {duty.compressor("exit 0"), "%@"});
    duty.desk.runFor(1.0);
    EXPECT_EQ(duty.alerts("CheckKeepActionError", "CompressingErrorInfo"), 2u);
    EXPECT_TRUE(duty.posts("CompressRatioNotification").empty());
    EXPECT_TRUE(std::filesystem::is_empty(duty.keepFolder()));
    EXPECT_EQ(duty.errors(), 0u);
}

TEST(VmKeeperCheck, warns_whenCompressingTookLongerThanTheRecordingLasted) {
    KeepingDesk duty;
    duty.launch();
    for (const auto& [name, alerts] : {std::pair{"_Velmoratide_20071023_093000~093000.test", 1U},
                                       {"_Velmoratide_20071023_093000~101500.test", 1U}}) {
        const std::string copy = duty.recorded(name);
        duty.write(copy, std::string(1000, 'x'));
        duty.keeper().compressSampleFile(copy, {duty.compressor("exec gzip -f \"$1\""), "%@"});
        std::filesystem::remove(copy);
        duty.desk.runFor(1.0);
        EXPECT_EQ(duty.alerts("CompressOverTimeAlert", "CompressOverTimeInfo"), alerts) << name;
    }
    // Of a recording it is not asked, for its copy still has its extension.
    duty.useCompressor("exec gzip -f \"$1\"");
    duty.record("_Velmoratide_20071023_093000~093000.aif");
    duty.mechanic().deleteOlderFile();
    duty.desk.runFor(1.0);
    EXPECT_TRUE(duty.exists(duty.kept("_Velmoratide_20071023_093000~093000.aif.gz")));
    EXPECT_EQ(duty.alerts("CompressOverTimeAlert", "CompressOverTimeInfo"), 1U);
}

TEST(VmKeeperCheck, passesOverOtherFiles) {
    KeepingDesk duty;
    duty.launch();
    duty.write(duty.kept("letter.txt"), "dear");
    duty.desk.notifications.post({"CompressCompleteNotification", duty.kept("letter.txt"), {}});
    EXPECT_TRUE(duty.exists(duty.kept("letter.txt")));
    EXPECT_TRUE(duty.desk.alert.shown().empty());
}

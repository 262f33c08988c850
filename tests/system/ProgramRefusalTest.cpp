// What the built program refuses, and what it survives at its edges.
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "support/Sanitizer.h"
#include "system/PrivateDisk.h"
#include "system/PrivatePulseServer.h"
#include "system/RunningProgram.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {
void pauseFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

using Lines = std::vector<std::string>;
} // namespace

TEST(Program, saysInOneLineThatThereIsNoInput) {
    RunningProgram program({"--headless", "--record-for", "5"}, {{"PULSE_SERVER", "unix:/nowhere/native"}});
    EXPECT_EQ(program.wait(), 1);
    ASSERT_EQ(program.errorLines().size(), 1U);
    EXPECT_NE(program.errorLines()[0].find("no sound input"), std::string::npos);
    EXPECT_TRUE(program.outputLines().empty());
}

TEST(Program, saysInOneLineThatTheFolderCannotBeWritten) {
    RunningProgram program({"--demo", "--headless", "--record-for", "5", "--folder", "/proc/recordings"});
    EXPECT_EQ(program.wait(), 1);
    ASSERT_EQ(program.errorLines().size(), 1U);
    EXPECT_NE(program.errorLines()[0].find("/proc/recordings"), std::string::npos);
    EXPECT_TRUE(program.outputLines().empty());
}

TEST(Program, saysInOneLineWhichArgumentIsWrong) {
    const std::vector<Lines> wrong = {
        {"--nonsense"},
        {"--record-for", "soon"},
        {"--record-for", "-1"},
        {"--record-for"},
        {"--set", "Nothing=1"},
        {"--set", "RecordMode=maybe"},
        {"--set", "RecordMode=nan"},
        {"--set", "RecordMode"},
        {"--set", "TimerList=x"},
        {"file.aif"},
        {"--demo", "--source", "Nowhere", "--folder", "/tmp"},
        {"--headless=yes"},
        {"--folder", ""},
        {"--settings", "/tmp"},
        {"--folder", "/tmp/\xff"},
    };
    for (Lines arguments : wrong) {
        arguments.insert(arguments.begin(), "--headless");
        RunningProgram program(arguments, {{"PULSE_SERVER", "unix:/nowhere/native"}});
        EXPECT_EQ(program.wait(), 2) << arguments.back();
        EXPECT_EQ(program.errorLines().size(), 1U) << arguments.back();
        EXPECT_TRUE(program.outputLines().empty()) << arguments.back();
    }
}

TEST(Program, leavesADeskInPeace_whenAnArgumentIsWrong) {
    RunningProgram program({"--demo", "--headless", "--set", "Nothing=1"});
    EXPECT_EQ(program.wait(), 2);
    EXPECT_EQ(program.errorLines().size(), 1U);
}

TEST(Program, saysInOneLineThatThereIsNoDisplay) {
    RunningProgram program({"--demo"}, {{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}, {"QT_QPA_PLATFORM", ""}});
    EXPECT_EQ(program.wait(), 1);
    ASSERT_EQ(program.errorLines().size(), 1U);
    EXPECT_NE(program.errorLines()[0].find("--headless"), std::string::npos);
}

TEST(Program, refusesToBeTheSecondRecorderOfAFolder) {
    RunningProgram first({"--demo", "--headless", "--set", "RecordSwitch=yes"});
    pauseFor(2.0);
    RunningProgram second({"--demo", "--headless", "--record-for", "1", "--folder", first.recordFolder()});
    EXPECT_EQ(second.wait(), 1);
    ASSERT_EQ(second.errorLines().size(), 1U);
    EXPECT_NE(second.errorLines()[0].find("another recorder"), std::string::npos);
    RunningProgram third({"--demo", "--headless", "--record-for", "1", "--settings", first.settingsPath()});
    EXPECT_EQ(third.wait(), 1);
    first.process().signal(SIGTERM);
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(first.outputLines().size(), 1U); // what it recorded was left alone
}

TEST(Program, refusesToBeTheSecondRecorder_onWhateverWayTheFolderOrTheSettingsAreReached) {
    if (const std::string why = PrivateDisk::whyNot(); !why.empty())
        GTEST_SKIP() << why;
    const PrivateDisk disk(PrivateDisk::Kind::memory, 64); // mounts below are its own
    const std::string folder = disk.path() + "/record";
    const std::string bound = disk.path() + "/bound";
    const std::string settings = disk.path() + "/settings.json";
    for (const std::string& each : {folder, bound})
        std::filesystem::create_directory(each);
    ASSERT_EQ(mount(folder.c_str(), bound.c_str(), nullptr, MS_BIND, nullptr), 0);
    std::filesystem::create_symlink("record", disk.path() + "/link");
    std::filesystem::create_symlink("settings.json", disk.path() + "/settings-link");
    std::ofstream(settings) << "{}";
    RunningProgram first(
        {"--demo", "--headless", "--set", "RecordSwitch=yes", "--folder", folder, "--settings", settings});
    pauseFor(2.0);
    // Each has settings of its own.
    for (const std::string& way : {folder + "/", disk.path() + "//record/.", disk.path() + "/link", bound}) {
        RunningProgram second({"--demo", "--headless", "--record-for", "1", "--folder", way});
        EXPECT_EQ(second.wait(), 1) << way;
    }
    RunningProgram third(
        {"--demo", "--headless", "--record-for", "1", "--settings", disk.path() + "/settings-link"});
    EXPECT_EQ(third.wait(), 1);
    first.process().signal(SIGTERM);
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(first.outputLines().size(), 1U);
    umount2(bound.c_str(), MNT_DETACH);
}

TEST(Program, refusesToBeTheSecondRecorder_whenTheSettingsAreALinkToWhatIsNotThereYet) {
    const TemporaryFolder place;
    const std::string link = place.path() + "/link.json";
    std::filesystem::create_symlink("settings.json", link);
    RunningProgram first({"--demo", "--headless", "--set", "RecordSwitch=yes", "--settings", link});
    pauseFor(2.0);
    RunningProgram second(
        {"--demo", "--headless", "--record-for", "1", "--settings", place.path() + "/settings.json"});
    EXPECT_EQ(second.wait(), 1);
    first.process().signal(SIGTERM);
    EXPECT_EQ(first.wait(), 0);
}

TEST(Program, locksItsSettingsByWhatIsThere_andSaysIfItCannot) {
    const TemporaryFolder place;
    const std::string settings = place.path() + "/settings.json";
    std::filesystem::create_directory(settings + ".lock"); // cannot be written, and yet be locked
    RunningProgram first({"--demo", "--headless", "--set", "RecordSwitch=yes", "--settings", settings});
    pauseFor(2.0);
    RunningProgram second({"--demo", "--headless", "--record-for", "1", "--settings", settings});
    EXPECT_EQ(second.wait(), 1);
    first.process().signal(SIGTERM);
    EXPECT_EQ(first.wait(), 0);

    std::filesystem::remove(settings + ".lock");
    std::filesystem::create_symlink("settings.json.lock", settings + ".lock"); // a circle
    RunningProgram third({"--demo", "--headless", "--record-for", "1", "--settings", settings});
    EXPECT_EQ(third.wait(), 0);
    ASSERT_FALSE(third.errorLines().empty());
    EXPECT_NE(third.errorLines()[0].find("Application: the settings cannot be locked ("), std::string::npos);
}

TEST(Program, saysInOneLineThatTheCurrentFolderIsGone) {
    const TemporaryFolder place;
    ChildProcess program(
        {"sh", "-c",
         "mkdir gone && cd gone && rmdir ../gone && exec \"$0\" --demo --headless --record-for 1 "
         "--settings ../settings.json --folder record 2>\"$1\"",
         VELMORATIDE_PROGRAM, place.path() + "/errors"},
        {{"LC_ALL", "C.UTF-8"}});
    EXPECT_EQ(program.wait(), 2);
    std::ifstream errors(place.path() + "/errors");
    std::string line;
    ASSERT_TRUE(std::getline(errors, line));
    EXPECT_NE(line.find("the current folder is gone"), std::string::npos) << line;
    EXPECT_FALSE(std::getline(errors, line)) << line;
}

TEST(Program, saysHowMuchIsRecorded_whenASignalCutsARecordingOfAGivenLengthShort) {
    RunningProgram program({"--demo", "--headless", "--record-for", "60"});
    pauseFor(patience(2.0));
    program.process().signal(SIGTERM);
    EXPECT_EQ(program.wait(), 1);
    EXPECT_EQ(program.outputLines().size(), 1U);
    const Lines errors = program.errorLines();
    ASSERT_FALSE(errors.empty());
    EXPECT_NE(errors.back().find("velmoratide: the program was told to end ("), std::string::npos)
        << errors.back();
    EXPECT_NE(errors.back().find(" of 60.0 seconds are recorded)"), std::string::npos) << errors.back();
}

TEST(Program, keepsSettingsOfALaterVersion) {
    const TemporaryFolder folder;
    const std::string settings = folder.path() + "/settings.json";
    const std::string later = R"({"SettingsVersion": 9, "RecordMode": "whenever", "Unknown": [1, 2],
        "MaxRecordTime": {"hours": 1}, "DirectoryPath": ")" +
                              folder.path() + R"(/record"})";
    std::ofstream(settings) << later;
    RunningProgram program({"--demo", "--headless", "--record-for", "1", "--settings", settings});
    EXPECT_EQ(program.wait(), 0);
    std::ifstream file(settings);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (const char* kept : {"\"SettingsVersion\": 9", "\"whenever\"", "\"Unknown\"", "\"hours\": 1"})
        EXPECT_NE(text.find(kept), std::string::npos) << kept << " is not in " << text;
    std::ifstream copy(settings + ".version-9");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(copy), {}), later);
}

TEST(Program, keepsWhatIsSetForThisRunOutOfTheSettings) {
    RunningProgram program({"--demo", "--headless", "--record-for", "1", "--set", "MaxRecordTime=1000.1",
                            "--set", "ChannelsNumber=5", "--set", "AutoStartLevel=25", "--set",
                            "AutoStopDelayTime=2.5"});
    EXPECT_EQ(program.wait(), 0);
    std::ifstream file(program.settingsPath());
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(text.find("SamplingRateNumber"), std::string::npos);
    for (const char* key : {"MaxRecordTime", "ChannelsNumber", "AutoStartLevel", "AutoStopDelayTime",
                            "RecordSwitch", "DirectoryPath"})
        EXPECT_EQ(text.find(key), std::string::npos) << key;
}

TEST(Program, recordsHoweverShortTheTime) {
    for (const char* seconds : {"0.01", "0.05", "0.3"}) {
        RunningProgram program({"--demo", "--headless", "--record-for", seconds});
        EXPECT_EQ(program.wait(), 0) << seconds;
        ASSERT_EQ(program.outputLines().size(), 1U) << seconds;
        PosixVolume volume;
        const auto opened = SoundFile::openForReading(volume, program.outputLines()[0]);
        ASSERT_EQ(opened.error, SoundFileError::none);
        EXPECT_NEAR(static_cast<double>(opened.file->frames()) / 22050.0, std::atof(seconds), 0.001);
    }
}

TEST(Program, endsAlthoughNobodyReadsItsOutput) {
    TemporaryFolder folder;
    const std::string pipe = folder.path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int descriptor = open(pipe.c_str(), O_RDWR | O_NONBLOCK);
    const std::string filling(4096, 'x');
    while (write(descriptor, filling.data(), filling.size()) > 0) {
    }
    ChildProcess program({"sh", "-c", "exec \"$0\" \"$@\" >'" + pipe + "' 2>&1", VELMORATIDE_PROGRAM, "--demo",
                          "--headless", "--record-for", "1", "--folder", folder.path() + "/record"},
                         {});
    EXPECT_EQ(program.wait(), 0);
    EXPECT_FALSE(std::filesystem::is_empty(folder.path() + "/record"));
    close(descriptor);
}

TEST(Program, saysThatAFrozenServerDeliversNothing) {
    if (const std::string why = PrivatePulseServer::whyNot(); !why.empty())
        GTEST_SKIP() << why;
    PrivatePulseServer server;
    RunningProgram program({"--headless", "--record-for", "8"}, server.environment());
    pauseFor(2.0);
    server.freeze();
    EXPECT_EQ(program.wait(), 1);
    server.thaw();
    const Lines lines = program.errorLines();
    ASSERT_FALSE(lines.empty());
    EXPECT_NE(lines.back().find("of 8.0 seconds are recorded"), std::string::npos) << lines.back();
    ASSERT_EQ(program.outputLines().size(), 1U);
}

TEST(Program, endsSoonOnASignalAtAnyTime) {
    for (const double delay : {0.0, 0.05, 0.15, 0.4, 1.0}) {
        RunningProgram program({"--demo", "--headless", "--set", "RecordSwitch=yes"});
        pauseFor(0.05 + delay);
        program.process().signal(SIGTERM);
        const auto begun = std::chrono::steady_clock::now();
        const int status = program.wait();
        EXPECT_TRUE(status == 0 || (delay == 0.0 && status == -1)) << delay; // -1: not yet at its first line
        EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::duration<double>(patience(4.0)));
    }
}

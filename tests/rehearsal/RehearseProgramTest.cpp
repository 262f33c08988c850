// The program velmoratide-rehearse: its arguments, its exit status, and what it leaves from launch to launch.
#include "rehearsal/RehearsedFolder.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace {
using Folder = RehearsedFolder;

bool isOneLineWith(const std::vector<std::string>& lines, const std::string& part) {
    return lines.size() == 1 && lines[0].starts_with("velmoratide-rehearse: ") &&
           lines[0].find(part) != std::string::npos;
}

/// The number of the input frame that a sample of the left channel holds, below 32767.
int firstFrame(const std::vector<std::int16_t>& samples) {
    return samples.empty() ? -1 : samples.front();
}

bool countsOn(const std::vector<std::int16_t>& samples) {
    for (std::size_t i = 1; i < samples.size(); ++i)
        if (samples[i] != (samples[i - 1] + 1) % 32767)
            return false;
    return true;
}

std::map<std::string, std::string> everything(const Folder& folder) {
    std::map<std::string, std::string> all;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.folder()))
        if (entry.is_regular_file())
            all[entry.path().lexically_relative(folder.folder())] = Folder::contentsOf(entry.path());
    for (const char* name : {"settings.json", "record/VelmoratideLog.txt"}) { // these name the record folder
        std::string& text = all[name];
        for (auto at = text.find(folder.folder()); at != std::string::npos; at = text.find(folder.folder()))
            text.replace(at, folder.folder().size(), "FOLDER");
    }
    return all;
}
} // namespace

TEST(RehearseProgramTest, tellsWhatItIs) {
    Folder folder;
    EXPECT_EQ(folder.run("--version"), 0);
    ASSERT_EQ(folder.output().size(), 1U);
    EXPECT_TRUE(folder.output()[0].starts_with("velmoratide-rehearse "));
    EXPECT_EQ(folder.run("--help"), 0);
    EXPECT_EQ(folder.output().at(0), "Usage: velmoratide-rehearse SCENARIO.json --out FOLDER");
    EXPECT_TRUE(folder.errors().empty());
}

TEST(RehearseProgramTest, refusesWrongArguments) {
    Folder folder;
    const std::pair<const char*, const char*> cases[] = {
        {"", "which scenario?"},
        {"a.json", "--out needs the folder"},
        {"a.json --out", "--out needs the folder"},
        {"a.json --out=", "--out needs the folder"},
        {"a.json b.json --out x", "one scenario at a time"},
        {"a.json --out x --loud", "unknown argument \"--loud\""},
        {"none.json --out x", "none.json: "}};
    for (const auto& [arguments, part] : cases) {
        EXPECT_EQ(folder.run(arguments), 2) << arguments;
        EXPECT_TRUE(isOneLineWith(folder.errors(), part)) << arguments << ": " << folder.errors().at(0);
        EXPECT_TRUE(folder.output().empty()) << arguments;
    }
}

TEST(RehearseProgramTest, writesNothing_whenTheScenarioIsUnusable) {
    Folder folder;
    EXPECT_EQ(folder.play(Folder::scenario(Folder::launch(R"({"at": 1, "do": "fly\nhigh"})"))), 2);
    EXPECT_TRUE(isOneLineWith(folder.errors(), "scenario.json: launches[0].events[0].do: \"fly?high\""))
        << folder.errors().at(0);
    EXPECT_FALSE(std::filesystem::exists(folder.folder()));
}

TEST(RehearseProgramTest, refusesAFolderThatCannotBeHad) {
    Folder folder("scenario.json/below");
    EXPECT_EQ(folder.play(Folder::scenario(Folder::launch(""))), 2);
    EXPECT_TRUE(isOneLineWith(folder.errors(), "--out: nothing can be written to the folder"));
}

TEST(RehearseProgramTest, playsADeskWithoutAnyDevice) {
    Folder folder;
    ASSERT_EQ(folder.play(R"({"timeZone": "UTC", "hardware": [], "launches": [)" +
                          Folder::launch(Folder::press(5, "record", true)) + "]}"),
              0)
        << folder.errors().at(0);
    EXPECT_EQ(folder.total("filesMade"), 0.0);
    EXPECT_FALSE(folder.lines("alerts.jsonl").empty());
}

TEST(RehearseProgramTest, keepsHomeOutOfIt) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(
                  Folder::launch(Folder::press(5, "record", true) + "," + Folder::press(9, "record", false)),
                  R"(, "DirectoryPath": "~/tapes")")),
              0);
    EXPECT_EQ(folder.recordings("tapes").size(), 1U);
}

TEST(RehearseProgramTest, leavesTheWholeFolder_andItsTotals) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(
                  Folder::launch(Folder::press(5, "record", true) + "," + Folder::press(65, "record", false)))),
              0)
        << folder.errors().at(0);
    for (const char* name : {"record", "preserve", "expand"})
        EXPECT_TRUE(std::filesystem::is_directory(folder.folder() + "/" + name)) << name;
    for (const char* name :
         {"settings.json", "system-log.txt", "notifications.jsonl", "alerts.jsonl", "states.jsonl"})
        EXPECT_TRUE(std::filesystem::is_regular_file(folder.folder() + "/" + name)) << name;
    ASSERT_EQ(folder.recordings(), (std::vector<std::string>{"_Velmoratide_20260302_090005~090105.aif"}));
    const auto samples = folder.samples(folder.recordings()[0]);
    EXPECT_TRUE(countsOn(samples));
    EXPECT_EQ(samples.size(), 480000U);
    EXPECT_EQ(folder.total("filesMade"), 1.0);
    EXPECT_EQ(folder.total("launches"), 1.0);
    EXPECT_EQ(folder.total("framesWritten"), 480000.0);
    EXPECT_EQ(folder.total("framesCaptured"), 480000.0);
    EXPECT_EQ(folder.total("framesLost"), 0.0);
    EXPECT_GE(folder.total("realSeconds"), 0.0);
    EXPECT_EQ(folder.output().size(), 1U);
    EXPECT_EQ(folder.lines("system-log.txt"),
              (std::vector<std::string>{"2026-03-02 09:01:05.150 ---applicationWillTerminate---"}));
}

TEST(RehearseProgramTest, stopsEverything_afterTheLastEvent) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(Folder::press(5, "record", true) +
                                                          R"(,{"at": 30, "do": "level", "value": 3})"))),
              0);
    EXPECT_EQ(folder.recordings(), (std::vector<std::string>{"_Velmoratide_20260302_090005~090030.aif"}));
    EXPECT_EQ(folder.events().back(), "DutyFinish");
    EXPECT_EQ(folder.states("record").back(), "09:00:30.000 false");
}

TEST(RehearseProgramTest, goesOn_whenQuittingIsRefused) {
    Folder folder;
    ASSERT_EQ(
        folder.play(Folder::scenario(Folder::launch(
            Folder::press(5, "record", true) + R"(,{"at": 20, "do": "quit"},)" +
            Folder::press(40, "record", false) + R"(,{"at": 50, "do": "quit"},{"at": 90, "do": "wake"})"))),
        0);
    const auto alerts = folder.lines("alerts.jsonl");
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_EQ(alerts[0],
              R"({"at":"2026-03-02 09:00:20.000","message":"UnableExit","informative":"StopRecording",)"
              R"("buttons":["Understand"],"answer":"default"})");
    EXPECT_EQ(folder.recordings(), (std::vector<std::string>{"_Velmoratide_20260302_090005~090040.aif"}));
    EXPECT_EQ(folder.total("simulatedSeconds"), 50.0);
}

TEST(RehearseProgramTest, losesWhatWasNotWritten_inACrash_andRescuesTheRest) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(
                  Folder::launch(Folder::press(5, "record", true) + R"(,{"at": 33, "do": "crash"})") + "," +
                  Folder::launch(Folder::press(10, "record", false), "2026-03-02 09:02:00"))),
              0);
    EXPECT_EQ(folder.total("launches"), 2.0);
    EXPECT_EQ(folder.total("filesMade"), 2.0);
    // Two write intervals of five seconds at most are unwritten, and a crash loses something.
    EXPECT_GT(folder.total("framesLost"), 1000.0);
    EXPECT_LE(folder.total("framesLost"), 48000.0);
    const auto names = folder.recordings();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_TRUE(names[0].starts_with("_Velmoratide_20260302_090005~0900")) << names[0];
    EXPECT_TRUE(names[1].starts_with("_Velmoratide_20260302_090200~090210")) << names[1];
    const auto rescued = folder.samples(names[0]);
    const auto after = folder.samples(names[1]);
    EXPECT_TRUE(countsOn(rescued));
    EXPECT_TRUE(countsOn(after));
    EXPECT_EQ(folder.total("framesWritten"), static_cast<double>(rescued.size() + after.size()));
    EXPECT_EQ(folder.total("framesCaptured"), folder.total("framesWritten") + folder.total("framesLost"));
    const auto events = folder.events();
    EXPECT_EQ(std::ranges::count(events, "DutyStart"), 2);
    EXPECT_EQ(std::ranges::count(events, "DutyFinish"), 1); // a crash does not say farewell
    EXPECT_EQ(std::ranges::count(events, "SomeReportHappen"), 1);
}

TEST(RehearseProgramTest, startsTheInputAnew_atEachLaunch) {
    Folder folder;
    const std::string launchEvents = Folder::press(0, "record", true) + "," + Folder::press(3, "record", false);
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(launchEvents) + "," +
                                           Folder::launch(launchEvents, "2026-03-02 10:00:00"))),
              0);
    ASSERT_EQ(folder.recordings().size(), 2U);
    EXPECT_EQ(firstFrame(folder.samples(folder.recordings()[0])),
              firstFrame(folder.samples(folder.recordings()[1])));
}

TEST(RehearseProgramTest, carriesOnInAFolderThatIsThere) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(
                  Folder::launch(Folder::press(5, "record", true) + R"(,{"at": 33, "do": "crash"})"),
                  R"(, "AutoStopDelayTime": 17, "ChannelsNumber": 2)")),
              0);
    const auto before = folder.lines("states.jsonl");
    ASSERT_EQ(
        folder.play(Folder::scenario(Folder::launch(Folder::press(10, "record", false), "2026-03-03 09:00:00"),
                                     R"(, "ChannelsNumber": 1)")),
        0);
    const auto after = folder.lines("states.jsonl");
    ASSERT_GT(after.size(), before.size());
    EXPECT_TRUE(std::equal(before.begin(), before.end(), after.begin()));
    ASSERT_EQ(folder.recordings().size(), 2U); // the rescued one, and the one that the switch revived
    EXPECT_TRUE(folder.recordings()[1].starts_with("_Velmoratide_20260303_090000~090010"));
    const auto settings = QJsonDocument::fromJson(
                              QByteArray::fromStdString(Folder::contentsOf(folder.folder() + "/settings.json")))
                              .object();
    EXPECT_EQ(settings["AutoStopDelayTime"].toInt(), 17); // kept
    EXPECT_EQ(settings["ChannelsNumber"].toInt(), 1);     // the scenario's
}

TEST(RehearseProgramTest, goesWhereItsFolderWasMoved) {
    Folder folder;
    const std::string json = Folder::scenario(
        Folder::launch(Folder::press(5, "record", true) + "," + Folder::press(9, "record", false)));
    ASSERT_EQ(folder.play(json), 0);
    std::filesystem::rename(folder.folder(), folder.path("moved"));
    ASSERT_EQ(folder.run("'" + folder.path("scenario.json") + "' --out '" + folder.path("moved") + "'"), 0);
    EXPECT_FALSE(std::filesystem::exists(folder.folder()));
    auto recordings = PosixVolume().list(folder.path("moved") + "/record");
    std::erase_if(recordings, [](const VolumeEntry& entry) {
        return VmDutyLog::isLogFile(entry.name) || SoundFileNames::isImageFile(entry.name);
    });
    EXPECT_EQ(recordings.size(), 2U);
}

TEST(RehearseProgramTest, putsARelativeFolderUnderItsOwn) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(
                  Folder::launch(Folder::press(5, "record", true) + "," + Folder::press(9, "record", false)) +
                      "," + Folder::launch("", "2026-03-03 09:00:00"),
                  R"(, "DirectoryPath": "tapes/today")")),
              0);
    EXPECT_EQ(folder.recordings("tapes/today").size(), 1U);
    EXPECT_FALSE(std::filesystem::exists(folder.folder() + "/record"));
}

TEST(RehearseProgramTest, leavesTheSameBytes_whateverIsAroundIt) {
    const std::string signal =
        R"({"at": 0, "kind": "silence"}, {"at": 20, "kind": "noise", "level": 0.5, "seed": 7},
        {"at": 50, "kind": "silence"}, {"at": 70, "kind": "sine", "level": 0.7, "frequency": 440})";
    const std::string json = Folder::scenario(
        Folder::launch(
            Folder::press(1, "monitor", true) + "," + Folder::press(5, "record", true) +
                R"(,{"at": 60, "do": "slowDisk", "seconds": 1.7}, {"at": 80, "do": "stall", "uid": "in",
            "seconds": 0.5}, {"at": 90, "do": "unplug", "uid": "in"}, {"at": 100, "do": "replug", "uid": "in"},
            {"at": 110, "do": "clock", "by": 2.5}, {"at": 133, "do": "crash"})",
            "2026-03-29 01:58:00") +
            "," +
            Folder::launch(R"({"at": 30, "do": "free", "bytes": 200000000}, {"at": 60, "do": "wake"})",
                           "2026-03-29 03:10:00"),
        R"(, "RecordMode": 1, "AutoStartLevel": 5)", R"("volume": {"freeBytes": 300000000},)", signal);
    Folder first("a");
    Folder second("another name, longer");
    ASSERT_EQ(first.play(json), 0);
    ASSERT_EQ(second.play(json, "TZ=America/New_York HOME=/nowhere LC_ALL=ja_JP.UTF-8 LANG=C"), 0);
    const auto one = everything(first);
    const auto other = everything(second);
    EXPECT_GE(one.size(), 7U);
    ASSERT_EQ(one.size(), other.size());
    for (const auto& [name, contents] : one) {
        ASSERT_TRUE(other.contains(name)) << name;
        EXPECT_TRUE(contents == other.at(name)) << name;
    }
}

TEST(RehearseProgramTest, doesNotShareItsFolder) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(""))), 0);
    // Another process holds the folder as a rehearsal does.
    const std::string command = "flock -n '" + folder.folder() + "' ";
    const int status = std::system((command + VELMORATIDE_REHEARSE " '" + folder.path("scenario.json") +
                                    "' --out '" + folder.folder() + "' 2>'" + folder.path("stderr") + "'")
                                       .c_str());
    EXPECT_EQ(WEXITSTATUS(status), 2);
    EXPECT_TRUE(isOneLineWith(folder.errors(), "--out: another rehearsal is running in the folder"));
}

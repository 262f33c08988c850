// Tabs, the gate before them, and the ways to quit, in a rehearsal.
#include "rehearsal/RehearsedFolder.h"

#include <algorithm>
#include <filesystem>

namespace {
using Folder = RehearsedFolder;
using Names = std::vector<std::string>;

std::string event(double at, const std::string& fields) {
    return R"({"at": )" + std::to_string(at) + R"(, "do": )" + fields + "}";
}

std::string quit(double at) {
    return event(at, R"("quit")");
}

std::string tab(double at, int index) {
    return event(at, R"("tab", "index": )" + std::to_string(index));
}

int alerts(const Folder& folder, const std::string& message) {
    const auto lines = folder.lines("alerts.jsonl");
    return static_cast<int>(std::ranges::count_if(lines, [&message](const std::string& line) {
        return line.find("\"" + message + "\"") != std::string::npos;
    }));
}

const std::string gate = R"(, "AuthorizationRequired": true)";

/// A launch in which keeping is switched on while a kept recording waits to be compressed, and in which the
/// application is asked to quit meanwhile, with these answers.
class CompressingFolder : public RehearsedFolder {
public:
    explicit CompressingFolder(const Names& answers) {
        for (const char* each : {"/record", "/preserve"})
            std::filesystem::create_directories(folder() + each);
        // Of noise, so that the compressor is busy for a while.
        std::ofstream(kept(), std::ios::binary) << noise(3000000);
        std::string events;
        for (const std::string& answer : answers)
            events += event(5, R"("quit", "compressing": ")" + answer + "\"") + ",";
        events +=
            event(10, R"("prefer", "settings": {"KeepOperation": true})") + "," + tab(60, 2) + "," + tab(70, 3);
        EXPECT_EQ(play(scenario(launch(events), R"(, "MonitorCommandLine": false)")), 0)
            << (errors().empty() ? "" : errors()[0]);
    }
    std::string kept() const { return folder() + "/preserve/_Velmoratide_20260301_093000~101500.aif"; }
    bool isCompressed() const { return std::filesystem::exists(kept() + ".bz2"); }
    /// What the system log says of quitting, in order.
    Names words() const {
        Names found;
        for (const std::string& line : lines("system-log.txt"))
            for (const char* word : {"standing by complete keeping.", "---dataKeepCompletedHandler---",
                                     "---applicationWillTerminate---"})
                if (line.ends_with(word))
                    found.emplace_back(word);
        return found;
    }
    /// The last tab that was chosen; empty when the application had quit before any was.
    std::string lastTab() const { return states("tab").size() < 2 ? "" : states("tab").back(); }

private:
    static std::string noise(std::size_t bytes) {
        std::string noise;
        std::uint32_t state = 1;
        while (noise.size() < bytes)
            noise.push_back(static_cast<char>((state = state * 1664525U + 1013904223U) >> 24U));
        return noise;
    }
};
} // namespace

TEST(QuitEvent, isRefusedWhileRecording_andGrantedAfterwards) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(Folder::press(5, "record", true) + "," + quit(20) +
                                                          "," + Folder::press(40, "record", false) + "," +
                                                          quit(50) + "," + tab(60, 1)))),
              0)
        << folder.errors().at(0);
    EXPECT_EQ(alerts(folder, "UnableExit"), 1);
    EXPECT_EQ(folder.events(), (Names{"DutyStart", "RecordingStart", "RecordingStop", "DutyFinish"}));
    EXPECT_EQ(folder.states("tab").size(), 1U) << "it went on after it had quit";
    EXPECT_EQ(folder.lines("system-log.txt").back().substr(24), "---applicationWillTerminate---");
}

TEST(QuitEvent, isRefusedWhileTheTimetableIsOn) {
    Folder folder;
    const std::string entry = event(
        2, R"("insertTimer", "values": {"name": "Night", "enabled": true, "start": "23:00", "stop": "23:30"})");
    ASSERT_EQ(folder.play(Folder::scenario(
                  Folder::launch(entry + "," + Folder::press(5, "reserve", true) + "," + quit(20) + "," +
                                 Folder::press(40, "reserve", false) + "," + quit(50)))),
              0)
        << folder.errors().at(0);
    EXPECT_EQ(alerts(folder, "UnableExit"), 1);
    EXPECT_EQ(folder.events().back(), "DutyFinish");
}

TEST(QuitEvent, isRefusedWithoutAWord_whenTheGateRefuses) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(quit(5) + "," + tab(10, 1) + "," +
                                                          event(15, R"("admin", "grant": true)") + "," +
                                                          tab(20, 2) + "," + quit(30) + "," + tab(40, 3)),
                                           gate)),
              0)
        << folder.errors().at(0);
    EXPECT_TRUE(folder.lines("alerts.jsonl").empty());
    EXPECT_EQ(folder.events(), (Names{"DutyStart", "DutyFinish"}));
    // The play tab stayed closed, the timer tab came with its size, and after the quit there was nothing more.
    Names sizes;
    for (const std::string& line : folder.lines("states.jsonl"))
        if (const auto place = line.find("\"windowSize\",\"value\":"); place != std::string::npos)
            sizes.push_back(line.substr(18, 8) + " " + line.substr(place + 21));
    EXPECT_EQ(sizes, (Names{"09:00:00 [352,262]}", "09:00:20 [706,318]}"}));
    const auto tabs = folder.states("tab");
    EXPECT_EQ(tabs.back(), "09:00:20.000 2");
}

TEST(QuitEvent, waitsForTheCompression_andEndsWithIt) {
    const CompressingFolder folder({"default"});
    EXPECT_EQ(alerts(folder, "CompressingCaution"), 1);
    EXPECT_EQ(folder.words(), (Names{"standing by complete keeping.", "---dataKeepCompletedHandler---",
                                     "---applicationWillTerminate---"}));
    EXPECT_TRUE(folder.isCompressed());
    EXPECT_EQ(folder.lastTab(), "") << "it went on after it had quit";
    EXPECT_EQ(folder.events().back(), "DutyFinish");
}

TEST(QuitEvent, goesOn_whenTheQuestionAboutTheCompressionIsCancelled) {
    const CompressingFolder folder({"alternate"});
    EXPECT_EQ(alerts(folder, "CompressingCaution"), 1);
    EXPECT_EQ(folder.words(), Names{"---applicationWillTerminate---"});
    EXPECT_TRUE(folder.isCompressed());
    EXPECT_EQ(folder.lastTab(), "09:01:10.000 3");
}

TEST(QuitEvent, quitsAtOnce_whenItIsNotToWaitForTheCompression) {
    const CompressingFolder folder({"other"});
    EXPECT_EQ(folder.words(), Names{"---applicationWillTerminate---"});
    EXPECT_EQ(folder.lastTab(), "");
}

TEST(QuitEvent, completesTheWaitingQuit_whenASecondOneStopsTheApplication) {
    const CompressingFolder folder({"default", "other"});
    EXPECT_EQ(alerts(folder, "CompressingCaution"), 2);
    EXPECT_EQ(folder.words(), (Names{"standing by complete keeping.", "---dataKeepCompletedHandler---",
                                     "---applicationWillTerminate---"}));
    EXPECT_EQ(folder.lastTab(), "");
}

TEST(QuitEvent, finishesTheFileAndAsksNobody_whenTheSystemEndsTheApplication) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(
                  Folder::launch(Folder::press(5, "record", true) + "," + event(20.5, R"("terminate")")) + "," +
                      Folder::launch(Folder::press(10, "record", false), "2026-03-02 09:10:00"),
                  gate)),
              0)
        << folder.errors().at(0);
    EXPECT_TRUE(folder.lines("alerts.jsonl").empty());
    EXPECT_EQ(folder.total("framesLost"), 0.0);
    ASSERT_EQ(folder.recordings().size(), 2U) << "the next launch does not go on";
    EXPECT_EQ(folder.recordings()[0], "_Velmoratide_20260302_090005~090020.aif");
    EXPECT_TRUE(folder.recordings()[1].starts_with("_Velmoratide_20260302_091000~"));
}

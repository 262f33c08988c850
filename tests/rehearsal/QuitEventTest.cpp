// Tabs, the gate before them, and the ways to quit, in a rehearsal.
#include "rehearsal/RehearsedFolder.h"

#include <algorithm>

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

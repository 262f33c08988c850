// What each event of a scenario does, through the real program.
#include "rehearsal/RehearsedFolder.h"
#include "rehearsal/ScriptedVolume.h"

#include <algorithm>
#include <QJsonArray>

namespace {
using Folder = RehearsedFolder;

std::string event(double at, const std::string& fields) {
    std::ostringstream text;
    text << R"(,{"at": )" << at << R"(, "do": )" << fields << "}";
    return text.str();
}

/// Records from 5 to 65 s, with `events` (each begun by a comma) between.
void record(Folder& folder, const std::string& events, const std::string& settings = "",
            const std::string& others = "") {
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(Folder::press(5, "record", true) + events + "," +
                                                          Folder::press(65, "record", false)),
                                           settings, others)),
              0)
        << folder.errors().at(0);
}

bool happened(const Folder& folder, const std::string& name) {
    const auto events = folder.events();
    return std::ranges::find(events, name) != events.end();
}

bool logged(const Folder& folder, const std::string& part) {
    return std::ranges::any_of(folder.lines("system-log.txt"), [&part](const std::string& line) {
        return line.find(part) != std::string::npos;
    });
}
} // namespace

TEST(ScenarioEventsTest, writesEveryStateAtTheLaunch_andThenItsChanges) {
    Folder folder;
    record(folder, "");
    for (const char* what :
         {"condition", "level", "record", "reserve", "monitor", "conditionText", "conditionColor", "modeText",
          "sourceText", "rateText", "recordTimeText", "totalTimeText", "messageText", "messageColor",
          "reserveNameText", "reserveTimeText", "tab", "windowSize"}) {
        ASSERT_FALSE(folder.states(what).empty()) << what;
        EXPECT_TRUE(folder.states(what)[0].starts_with("09:00:00.000 ")) << what;
    }
    EXPECT_EQ(folder.states("record"),
              (std::vector<std::string>{"09:00:00.000 false", "09:00:05.000 true", "09:01:05.000 false"}));
    const auto conditions = folder.states("condition");
    ASSERT_EQ(conditions.size(), 3U);
    EXPECT_TRUE(conditions[1].ends_with(" 1"));
    EXPECT_TRUE(conditions[2].ends_with(" 0"));
    EXPECT_GE(folder.states("recordTimeText").size(), 60U); // a second each
    const auto colors = folder.states("conditionColor");
    ASSERT_EQ(colors.size(), 3U);
    EXPECT_TRUE(colors[1].ends_with(" red"));
    EXPECT_TRUE(folder.lines("states.jsonl").back().starts_with(R"({"at":"2026-03-02 09:01:05.)"));
    const auto lines = folder.lines("states.jsonl");
    EXPECT_EQ(
        std::ranges::count(lines, R"({"at":"2026-03-02 09:00:00.000","what":"windowSize","value":[352,262]})"),
        1);
}

TEST(ScenarioEventsTest, writesNotificationsInOrder_withPathsInTheFolder) {
    Folder folder;
    record(folder, "");
    EXPECT_EQ(folder.events(),
              (std::vector<std::string>{"DutyStart", "RecordingStart", "RecordingStop", "DutyFinish"}));
    const auto lines = folder.lines("notifications.jsonl");
    EXPECT_EQ(
        lines[0],
        R"({"at":"2026-03-02 09:00:00.000","name":"VmLogEventNotification","object":"DutyStart","userInfo":{}})");
    EXPECT_TRUE(std::ranges::any_of(lines, [](const std::string& line) {
        return line.ends_with(
            R"("userInfo":{"SoundFilePath":"record/_Velmoratide_20260302_090005~090105.aif"}})");
    }));
}

TEST(ScenarioEventsTest, movesTheLevelSlider) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(R"({"at": 2, "do": "level", "value": 7})"),
                                           R"(, "RecordMode": 1)")),
              0);
    EXPECT_EQ(folder.states("levelSlider"), (std::vector<std::string>{"09:00:00.000 0", "09:00:02.000 7"}));
}

TEST(ScenarioEventsTest, pressesTheMonitorSwitch) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(Folder::press(2, "monitor", true) + "," +
                                                          Folder::press(3, "monitor", false)))),
              0);
    EXPECT_EQ(folder.states("monitor"),
              (std::vector<std::string>{"09:00:00.000 false", "09:00:02.000 true", "09:00:03.000 false"}));
}

TEST(ScenarioEventsTest, unplugsAndReplugsADevice) {
    Folder folder;
    record(folder, event(20.5, R"("unplug", "uid": "in")") + event(40, R"("replug", "uid": "in")"));
    const auto names = folder.recordings();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_EQ(names[0], "_Velmoratide_20260302_090005~090020.aif");
    EXPECT_TRUE(names[1].starts_with("_Velmoratide_20260302_090040~090105")) << names[1];
    EXPECT_EQ(folder.total("framesLost"), 0.0); // no file was open meanwhile
}

TEST(ScenarioEventsTest, stallsADevice) {
    Folder folder;
    record(folder, event(20, R"("stall", "uid": "in", "seconds": 0.5)"));
    EXPECT_TRUE(logged(folder, "sound was lost before the recorder"));
    ASSERT_EQ(folder.recordings().size(), 1U);
    const auto samples = folder.samples(folder.recordings()[0]);
    EXPECT_EQ(samples.size(), 480000U);
    EXPECT_GE(std::ranges::count(samples, 0), 4000); // the hole is silent
}

TEST(ScenarioEventsTest, jumpsTheWallClock_andCountsOnInElapsedTime) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(
                  Folder::launch(
                      R"({"at": 10, "do": "clock", "by": 3600}, {"at": 20, "do": "level", "value": 5},
                     {"at": 30, "do": "clock", "by": -7200}, {"at": 40, "do": "level", "value": 6})"),
                  R"(, "RecordMode": 1)")),
              0);
    EXPECT_EQ(folder.states("levelSlider"),
              (std::vector<std::string>{"09:00:00.000 0", "10:00:20.000 5", "08:00:40.000 6"}));
    EXPECT_EQ(folder.total("simulatedSeconds"), 40.0);
}

TEST(ScenarioEventsTest, inventsNoLoss_whenTheClockIsSet) {
    Folder folder;
    record(folder, event(20, R"("clock", "by": 90)"), R"(, "StartOnTheHour": false)");
    EXPECT_EQ(folder.total("framesLost"), 0.0);
}

TEST(ScenarioEventsTest, runsOutOfRoom) {
    Folder folder;
    record(folder, event(20, R"("free", "bytes": 1000)"));
    EXPECT_FALSE(folder.lines("alerts.jsonl").empty());
    EXPECT_TRUE(happened(folder, "SomeErrorHappen"));
    EXPECT_GT(folder.total("framesLost"), 0.0);
    EXPECT_EQ(folder.states("record").back().substr(13), "false");
    EXPECT_NE(folder.states("record").back(), "09:01:05.000 false"); // it gave up by itself
}

TEST(ScenarioEventsTest, countsTheRoomThatFilesTake_overLaunches) {
    // 8000 Hz mono: a minute takes a megabyte, so the second one makes room by removing files of the first.
    Folder folder;
    const std::string minute = Folder::press(0, "record", true) + "," + Folder::press(60, "record", false);
    ASSERT_EQ(folder.play(Folder::scenario(
                  Folder::launch(minute) + "," + Folder::launch(minute, "2026-03-02 09:10:00"),
                  R"(, "MaxRecordTime": 10, "MaxTotalTime": 1000000)", R"("volume": {"freeBytes": 1500000},)")),
              0);
    std::vector<std::string> removals;
    for (const std::string& line : folder.lines("system-log.txt"))
        if (line.find("recording deleted") != std::string::npos)
            removals.push_back(line);
    ASSERT_FALSE(removals.empty());
    EXPECT_TRUE(removals[0].starts_with("2026-03-02 09:10:")) << removals[0];
    EXPECT_TRUE(removals[0].ends_with(": record/_Velmoratide_20260302_090000~090010.aif")) << removals[0];
    EXPECT_EQ(folder.total("filesMade"), 12.0);
    EXPECT_EQ(folder.recordings().size(), 12U - removals.size());
    EXPECT_LE(ScriptedVolume::usedBytes(folder.folder()), 1500000.0);
}

TEST(ScenarioEventsTest, failsEveryWrite) {
    Folder folder;
    record(folder, event(20, R"("writeError", "on": true)"));
    EXPECT_FALSE(folder.lines("alerts.jsonl").empty());
    EXPECT_GT(folder.total("framesLost"), 0.0);
}

TEST(ScenarioEventsTest, slowsTheDisk_withoutLoss) {
    Folder folder;
    record(folder, event(10, R"("slowDisk", "seconds": 7)") + event(50, R"("slowDisk", "seconds": 0)"));
    EXPECT_EQ(folder.total("framesLost"), 0.0);
    EXPECT_EQ(folder.total("framesWritten"), 480000.0);
}

TEST(ScenarioEventsTest, sleepsAndWakes) {
    Folder folder;
    record(folder, event(20, R"("sleep")") + event(40, R"("wake")"));
    EXPECT_TRUE(happened(folder, "SleepIn"));
    EXPECT_TRUE(happened(folder, "WakeUp"));
}

TEST(ScenarioEventsTest, asksForTheAdministratorRight) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(
                  Folder::launch(R"({"at": 5, "do": "quit"}, {"at": 10, "do": "admin", "grant": true},
                                    {"at": 15, "do": "quit"}, {"at": 99, "do": "wake"})"),
                  R"(, "AuthorizationRequired": true)")),
              0);
    EXPECT_EQ(folder.total("simulatedSeconds"), 15.0);
}

TEST(ScenarioEventsTest, editsTheTimetable_andAnswersItsAlerts) {
    Folder folder;
    ASSERT_EQ(
        folder.play(Folder::scenario(Folder::launch(
            R"({"at": 1, "do": "insertTimer", "row": 0, "values": {"name": "Early", "start": "06:00", "stop": "06:30"}},
                     {"at": 2, "do": "insertTimer", "values": {"name": "Late", "stop": 86400}},
                     {"at": 3, "do": "editTimer", "row": 0, "values": {"channels": 2, "week": 7, "enabled": true}},
                     {"at": 4, "do": "answer", "message": "RemoveTimerCaution", "with": "alternate"},
                     {"at": 5, "do": "deleteTimer", "row": 1},
                     {"at": 6, "do": "deleteTimer", "row": 1}, {"at": 7, "do": "select", "row": 1})"))),
        0)
        << folder.errors().at(0);
    const auto alerts = folder.objects("alerts.jsonl");
    ASSERT_EQ(alerts.size(), 2U);
    EXPECT_EQ(alerts[0]["answer"].toString(), QLatin1String("alternate"));
    EXPECT_EQ(alerts[1]["answer"].toString(), QLatin1String("default"));
    const auto settings = QJsonDocument::fromJson(
                              QByteArray::fromStdString(Folder::contentsOf(folder.folder() + "/settings.json")))
                              .object();
    const QJsonArray timers = settings["TimerList"].toArray();
    ASSERT_EQ(timers.size(), 2); // the one in the middle, of a first launch, was removed
    EXPECT_EQ(timers[0].toArray()[0].toString(), QLatin1String("Early"));
    EXPECT_EQ(timers[0].toArray()[2].toInt(), 21600);
    EXPECT_EQ(timers[0].toArray()[6].toInt(), 2);
    EXPECT_EQ(timers[0].toArray()[10].toInt(), 7);
    EXPECT_EQ(timers[1].toArray()[0].toString(), QLatin1String("Late"));
    EXPECT_EQ(timers[1].toArray()[3].toInt(), 86400);
}

TEST(ScenarioEventsTest, refusesARowThatTheTimetableLacksThen) {
    Folder folder;
    EXPECT_EQ(folder.play(Folder::scenario(Folder::launch(R"({"at": 5, "do": "select", "row": 3})"))), 2);
    ASSERT_EQ(folder.errors().size(), 1U);
    EXPECT_TRUE(folder.errors()[0].ends_with("launches[0].events[0].row: the timetable has 1 rows then"))
        << folder.errors()[0];
}

TEST(ScenarioEventsTest, recordsByTheTimetable) {
    Folder folder;
    ASSERT_EQ(
        folder.play(Folder::scenario(Folder::launch(
            R"({"at": 1, "do": "editTimer", "row": 0, "values": {"enabled": true, "start": "09:02", "stop": "09:04"}},)" +
            Folder::press(2, "reserve", true) + "," + Folder::press(300, "reserve", false)))),
        0)
        << folder.errors().at(0);
    EXPECT_EQ(folder.recordings(), (std::vector<std::string>{"_Velmoratide_20260302_090200~090400.aif"}));
}

// Loading, storing and showing the entries.
#include "schedule/ScheduleDesk.h"

#include <fstream>
#include <QJsonDocument>

namespace {
using Settings = std::vector<RehearsalDesk::Setting>;

QJsonArray stored(ScheduleDesk& desk) {
    return desk.desk().defaults.valueForKey("TimerList").toArray();
}

QJsonArray inTheFile(ScheduleDesk& desk) {
    std::ifstream file(desk.desk().defaults.path());
    const std::string text(std::istreambuf_iterator<char>(file), {});
    return QJsonDocument::fromJson(QByteArray::fromStdString(text)).object().value("TimerList").toArray();
}

SimulatedDevice secondInput() {
    SimulatedDevice device = countingInput();
    device.name = "Interface";
    device.uid = "interface";
    device.dataSources = {};
    return device;
}
} // namespace

TEST(VmReserveList, hasOneDisabledEntry_onAFirstLaunch) {
    ScheduleDesk desk(Settings{});
    ASSERT_EQ(desk.reserver().count(), 1);
    const VmReserverElement& only = *desk.reserver().elementAtIndex(0);
    EXPECT_EQ(only.name(), desk.desk().texts("NoNamedTimer"));
    EXPECT_EQ(only.enabled(), 0);
    EXPECT_EQ(only.start(), 0);
    EXPECT_EQ(only.stop(), 0);
    EXPECT_EQ(only.channels(), 1);
    EXPECT_EQ(only.sample(), 1);
    EXPECT_EQ(desk.list().renewFlags(), std::vector{false});
    EXPECT_TRUE(desk.events.empty());
}

TEST(VmReserveList, showsTheFirstLaunchInWords) {
    ScheduleDesk desk(Settings{});
    const ReserveRow expected = {{"EnabledReserve", ""},     {"ReserveName", "Untitled"},
                                 {"ReserveMonth", "Every"},  {"ReserveDay", "Every"},
                                 {"ReserveWeek", "Every"},   {"StartTime", "00:00"},
                                 {"StopTime", "00:00"},      {"SampleRate", "22.050kHz"},
                                 {"ChannelsNumber", "Mono"}, {"SourceDevice", "Internal microphone"},
                                 {"RecordMode", "Always"}};
    ASSERT_EQ(desk.list().numberOfRows(), 1);
    EXPECT_EQ(desk.list().reserveList()[0], expected);
}

TEST(VmReserveList, showsEveryFieldInWords) {
    ScheduleDesk desk({{.name = "News",
                        .start = hourMinute(7, 5),
                        .stop = 86400,
                        .mode = 1,
                        .sample = 2,
                        .channels = 2,
                        .device = 1,
                        .month = 12,
                        .day = 31,
                        .week = 7}});
    const ReserveRow expected = {
        {"EnabledReserve", "✓"},     {"ReserveName", "News"},       {"ReserveMonth", "12"},
        {"ReserveDay", "31"},        {"ReserveWeek", "Sat"},        {"StartTime", "07:05"},
        {"StopTime", "24:00"},       {"SampleRate", "44.100kHz"},   {"ChannelsNumber", "Stereo"},
        {"SourceDevice", "Line in"}, {"RecordMode", "Auto (level)"}};
    ASSERT_EQ(desk.list().numberOfRows(), 1);
    EXPECT_EQ(desk.list().reserveList()[0], expected);
    EXPECT_EQ(desk.list().objectValue("ReserveName", 0), "News");
    EXPECT_EQ(desk.list().objectValue("NoSuchColumn", 0), "");
    EXPECT_EQ(desk.list().objectValue("ReserveName", 1), "");
    EXPECT_EQ(desk.list().objectValue("ReserveName", -1), "");
}

TEST(VmReserveList, loadsTheStoredEntriesInTheirOrder) {
    ScheduleDesk desk({{.name = "b"}, {.name = "a", .enabled = 0}, {.name = "c"}});
    EXPECT_EQ(nameOf(desk.reserver().elementAtIndex(0)), "b");
    EXPECT_EQ(nameOf(desk.reserver().elementAtIndex(1)), "a");
    EXPECT_EQ(nameOf(desk.reserver().elementAtIndex(2)), "c");
    EXPECT_EQ(desk.list().lastTimers().size(), 3U);
    EXPECT_EQ(desk.list().renewFlags(), (std::vector{false, false, false}));
}

TEST(VmReserveList, staysEmpty_whenThePersonLeftItEmpty) {
    ScheduleDesk desk({StoredTimer{}});
    desk.reserver().setSelectedRow(0);
    desk.reserver().actDeleteTimer();
    desk.desk().terminate();
    desk.relaunch({countingInput(), deskOutput()});
    EXPECT_EQ(desk.reserver().count(), 0);
    EXPECT_TRUE(desk.events.empty());
}

TEST(VmReserveList, reportsAndLeavesOutAnEntryThatCannotBeRead) {
    QJsonArray list = timerList({{.name = "one"}, {.name = "three"}});
    list.insert(1, QJsonArray{"two", 1});
    ScheduleDesk desk(Settings{{"TimerList", list}});
    ASSERT_EQ(desk.reserver().count(), 2);
    EXPECT_EQ(nameOf(desk.reserver().elementAtIndex(1)), "three");
    const std::string line = "VmReserveList: timer entry 2 cannot be read and is left out: [\"two\",1]";
    const auto lines = desk.desk().log.lines();
    EXPECT_EQ(std::ranges::count(lines, line), 1);
    EXPECT_EQ(std::ranges::count(desk.events, "SomeErrorHappen: " + line), 1);
}

TEST(VmReserveList, reportsAnEntryThatIsNoArray) {
    ScheduleDesk desk(Settings{{"TimerList", QJsonArray{StoredTimer{}.values(), "text", QJsonValue()}}});
    EXPECT_EQ(desk.reserver().count(), 1);
    ASSERT_EQ(desk.events.size(), 2U);
    EXPECT_EQ(desk.events[0],
              "SomeErrorHappen: VmReserveList: timer entry 2 cannot be read and is left out: \"text\"");
    EXPECT_EQ(desk.events[1],
              "SomeErrorHappen: VmReserveList: timer entry 3 cannot be read and is left out: null");
}

TEST(VmReserveList, keepsEachEntryThatCannotBeRead_alsoWhenALaterLaunchMeetsAnother) {
    const QJsonArray first{"two", 1};
    const QJsonArray second{"three", 2};
    ScheduleDesk desk(Settings{{"TimerList", QJsonArray{StoredTimer{}.values(), second, first}},
                               {"UnreadableTimers", QJsonArray{first}}});
    EXPECT_EQ(desk.desk().defaults.valueForKey("UnreadableTimers"), QJsonValue(QJsonArray{first, second}));
    ASSERT_EQ(desk.events.size(), 2U);
}

TEST(VmReserveList, usesTheDefaultEntry_whenNoneCanBeRead) {
    ScheduleDesk desk(Settings{{"TimerList", QJsonArray{QJsonArray{"short"}}}});
    ASSERT_EQ(desk.reserver().count(), 1);
    EXPECT_EQ(nameOf(desk.reserver().elementAtIndex(0)), desk.desk().texts("NoNamedTimer"));
    EXPECT_EQ(desk.reserver().enables(), 0);
    EXPECT_EQ(desk.events.size(), 1U);
}

TEST(VmReserveList, usesTheDefaultEntry_whenTheSettingIsNoList) {
    ScheduleDesk desk(Settings{{"TimerList", "text"}});
    EXPECT_EQ(desk.reserver().count(), 1);
    EXPECT_EQ(desk.reserver().enables(), 0);
}

TEST(VmReserveList, storesWhatItLoaded) {
    const QJsonArray list = timerList({{.name = "朝", .start = 3725, .sample = 2, .device = 1, .week = 3}, {}});
    ScheduleDesk desk(Settings{{"TimerList", list}});
    desk.desk().terminate();
    EXPECT_EQ(inTheFile(desk), list);
}

TEST(VmReserveList, replacesAMissingSource_forThisRunOnly) {
    ScheduleDesk desk({{.name = "interface", .device = 7}, {.name = "line", .device = 1}});
    EXPECT_EQ(desk.reserver().elementAtIndex(0)->device(), 0);
    EXPECT_EQ(desk.reserver().elementAtIndex(1)->device(), 1);
    EXPECT_EQ(desk.list().objectValue("SourceDevice", 0), "Internal microphone");
    EXPECT_EQ(desk.list().lastTimers()[0].device(), 7);
    desk.desk().terminate();
    EXPECT_EQ(inTheFile(desk).at(0).toArray().at(7).toInt(), 7);
    EXPECT_EQ(inTheFile(desk).at(1).toArray().at(7).toInt(), 1);
}

TEST(VmReserveList, findsASourceAgain_afterADutyWithoutIt) {
    ScheduleDesk desk({{.name = "interface", .device = 2}});
    EXPECT_EQ(desk.reserver().elementAtIndex(0)->device(), 0);
    desk.desk().terminate();
    desk.relaunch({countingInput(), secondInput(), deskOutput()});
    EXPECT_EQ(desk.reserver().elementAtIndex(0)->device(), 2);
    EXPECT_EQ(desk.list().objectValue("SourceDevice", 0), "Interface");
}

TEST(VmReserveList, storesTheSubstitute_onceTheEntryIsEdited) {
    ScheduleDesk desk({{.name = "interface", .device = 7}, {.name = "other", .device = 8}});
    VmReserverElement edited = *desk.reserver().elementAtIndex(0);
    edited.setName("edited");
    desk.list().replace(0, edited);
    desk.list().saveUserDefaults();
    EXPECT_EQ(stored(desk).at(0).toArray().at(7).toInt(), 0);
    EXPECT_EQ(stored(desk).at(1).toArray().at(7).toInt(), 8);
}

TEST(VmReserveList, keepsTheStoredSource_whenThereIsNoInputAtAll) {
    ScheduleDesk desk({{.name = "line", .device = 1}});
    desk.relaunch({deskOutput()}, {{"TimerList", timerList({{.name = "line", .device = 1}})}});
    EXPECT_EQ(desk.reserver().elementAtIndex(0)->device(), -1);
    EXPECT_EQ(desk.list().objectValue("SourceDevice", 0), "");
    desk.desk().terminate();
    EXPECT_EQ(inTheFile(desk).at(0).toArray().at(7).toInt(), 1);
}

TEST(VmReserveList, keepsItsHandsOffRowsThatThereAreNot) {
    ScheduleDesk desk({StoredTimer{}});
    for (const int row : {-1, 1}) {
        desk.list().remove(row);
        desk.list().replace(row, VmReserverElement(desk.desk().texts));
        desk.list().setObjectValue("ReserveName", row, "x");
    }
    EXPECT_EQ(desk.reserver().count(), 1);
    EXPECT_EQ(nameOf(desk.reserver().elementAtIndex(0)), "Entry");
    EXPECT_EQ(desk.changes, 0);
}

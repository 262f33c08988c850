// The order of the table, and of the entries with it.
#include "schedule/ScheduleDesk.h"

namespace {
std::string names(ScheduleDesk& desk) {
    std::string all;
    for (const VmReserverElement& element : desk.list().timers())
        all += element.name() + " ";
    return all;
}

/// Three entries that differ in everything.
std::vector<StoredTimer> mixed() {
    return {{"b", 1, 3600, 7200, 1, 2, 2, 1, 10, 2, 1},
            {"C", 0, 36000, 1800, 0, 0, 1, 0, 0, 0, 0},
            {"a", 1, 7200, 86400, 0, 1, 2, 1, 2, 31, 7}};
}
} // namespace

TEST(VmReserveListSort, keepsEachEntrysSettingsWithIt) {
    ScheduleDesk desk(mixed());
    desk.list().sortDescriptorsDidChange({{"ReserveName"}});
    ASSERT_EQ(names(desk), "a b C ");
    const std::vector<StoredTimer> before = mixed();
    EXPECT_EQ(desk.list().timers()[0].valueArray(), before[2].values());
    EXPECT_EQ(desk.list().timers()[1].valueArray(), before[0].values());
    EXPECT_EQ(desk.list().timers()[2].valueArray(), before[1].values());
    EXPECT_EQ(desk.list().objectValue("ReserveName", 0), "a");
    EXPECT_EQ(desk.changes, 1);
}

TEST(VmReserveListSort, sortsEachColumnAsAPersonReadsIt) {
    const std::vector<std::pair<std::string, std::string>> columns = {
        {"EnabledReserve", "C b a "}, {"ReserveName", "a b C "}, {"ReserveMonth", "C a b "},
        {"ReserveDay", "C b a "},     {"ReserveWeek", "C b a "}, {"StartTime", "b a C "},
        {"StopTime", "C b a "},       {"SampleRate", "C a b "},  {"ChannelsNumber", "C b a "},
        {"SourceDevice", "C b a "},   {"RecordMode", "C a b "}};
    for (const auto& [key, expected] : columns) {
        ScheduleDesk desk(mixed());
        desk.list().sortDescriptorsDidChange({{key}});
        EXPECT_EQ(names(desk), expected) << key;
    }
}

TEST(VmReserveListSort, turnsRound_whenDescending) {
    ScheduleDesk desk(mixed());
    desk.list().sortDescriptorsDidChange({{"ReserveName", false}});
    EXPECT_EQ(names(desk), "C b a ");
}

TEST(VmReserveListSort, asksTheNextDescriptor_ofEqualRows) {
    ScheduleDesk desk(
        {{.name = "b", .start = 7200}, {.name = "a", .start = 7200}, {.name = "c", .start = 3600}});
    desk.list().sortDescriptorsDidChange({{"StartTime"}, {"ReserveName"}});
    EXPECT_EQ(names(desk), "c a b ");
}

TEST(VmReserveListSort, leavesEqualRowsInTheirOrder) {
    ScheduleDesk desk({{.name = "b", .start = 60}, {.name = "a", .start = 60}});
    desk.list().sortDescriptorsDidChange({{"StartTime"}});
    EXPECT_EQ(names(desk), "b a ");
    desk.list().sortDescriptorsDidChange({});
    EXPECT_EQ(names(desk), "b a ");
}

TEST(VmReserveListSort, losesTheSecondsOfTimes) {
    ScheduleDesk desk({{.start = 3725, .stop = 7379}});
    desk.list().sortDescriptorsDidChange({{"ReserveName"}});
    EXPECT_EQ(desk.list().timers()[0].start(), 3720);
    EXPECT_EQ(desk.list().timers()[0].stop(), 7320);
}

TEST(VmReserveListSort, keepsTheStoredSourceAndTheRenewFlagWithTheirEntry) {
    ScheduleDesk desk({{.name = "b", .device = 7}, {.name = "a", .device = 1}});
    VmReserverElement edited = desk.list().timers()[1];
    edited.setStop(60);
    desk.list().replace(1, edited);
    desk.list().sortDescriptorsDidChange({{"ReserveName"}});
    EXPECT_EQ(desk.list().renewFlags(), (std::vector{true, false}));
    EXPECT_EQ(desk.list().lastTimers()[1].device(), 7);
    const QJsonArray stored = desk.desk().defaults.valueForKey("TimerList").toArray();
    EXPECT_EQ(stored.at(0).toArray().at(7).toInt(), 1);
    EXPECT_EQ(stored.at(1).toArray().at(7).toInt(), 7);
}

TEST(VmReserveListSort, takesOverEditedCells) {
    ScheduleDesk desk({StoredTimer{}});
    const std::vector<std::pair<std::string, std::string>> cells = {
        {"EnabledReserve", ""},      {"ReserveName", "Edited"},     {"ReserveMonth", "5"},
        {"ReserveDay", "17"},        {"ReserveWeek", "Fri"},        {"StartTime", "07:45"},
        {"StopTime", "24:00"},       {"SampleRate", "43kHz"},       {"ChannelsNumber", "Stereo"},
        {"SourceDevice", "Line in"}, {"RecordMode", "Auto (level)"}};
    for (const auto& [key, text] : cells)
        desk.list().setObjectValue(key, 0, text);
    desk.list().sortDescriptorsDidChange({{"ReserveName"}});
    const QJsonArray expected{"Edited", 0, 27900, 86400, 1, 2, 2, 1, 5, 17, 6};
    EXPECT_EQ(desk.list().timers()[0].valueArray(), expected);
}

TEST(VmReserveListSort, keepsWhatWas_whereACellSaysNothing) {
    const StoredTimer timer{"Kept", 1, 3600, 7200, 1, 2, 2, 1, 10, 2, 3};
    ScheduleDesk desk({timer});
    for (const char* key :
         {"ReserveMonth", "ReserveDay", "ReserveWeek", "StartTime", "StopTime", "SampleRate", "SourceDevice"})
        desk.list().setObjectValue(key, 0, "?");
    desk.list().setObjectValue("StartTime", 0, "99999999:00");
    desk.list().setObjectValue("StopTime", 0, "12:");
    desk.list().sortDescriptorsDidChange({{"ReserveName"}});
    EXPECT_EQ(desk.list().timers()[0].valueArray(), timer.values());
}

TEST(VmReserveListSort, keepsValuesThatNoWordStandsFor) {
    const StoredTimer timer{.start = 60, .sample = 9, .month = 99, .day = -3, .week = 12};
    ScheduleDesk desk({timer});
    desk.list().sortDescriptorsDidChange({{"ReserveName"}});
    EXPECT_EQ(desk.list().timers()[0].valueArray(), timer.values());
}

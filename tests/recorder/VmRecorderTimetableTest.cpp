// The timetable: waiting, recording, the seams between entries, and its switch.
#include "base/Clock.h"
#include "support/Counting.h"
#include "support/DeskOfATest.h"

#include <QJsonArray>

namespace {
using Names = std::vector<std::string>;

struct Entry {
    const char* name;
    int start; // seconds of the day
    int stop;
    int mode = 0;
    int sample = 2;
    int channels = 2;
    int device = 0;
    int enabled = 1;
};

QJsonArray timerList(std::initializer_list<Entry> entries) {
    QJsonArray list;
    for (const Entry& entry : entries)
        list.append(QJsonArray{entry.name, entry.enabled, entry.start, entry.stop, entry.mode, entry.sample,
                               entry.channels, entry.device, 0, 0, 0});
    return list;
}

constexpr int at(int hour, int minute, int second = 0) {
    return hour * 3600 + minute * 60 + second;
}

class Timetable : public testing::Test {
protected:
    void make(std::initializer_list<Entry> entries, const CalendarDate& start = morning,
              std::vector<RehearsalDesk::Setting> settings = {}) {
        settings.push_back({"TimerList", timerList(entries)});
        it = std::make_unique<Desk>(settings, std::vector<SimulatedDevice>{countingInput(), deskOutput()},
                                    start);
        it->desk.launch();
    }
    VmRecorder& recorder() { return it->recorder(); }
    void arm() { recorder().reserveButton().press(true); }
    std::int64_t breaksOverAll() {
        std::int64_t found = 0;
        std::int64_t next = -1;
        for (const std::string& name : it->recordings()) {
            const auto samples = it->samples(name);
            found += counting::breaks(samples, next < 0 ? counting::frameOf(samples[0], samples[1]) : next);
            next = counting::frameOf(samples[samples.size() - 2], samples.back()) + 1;
        }
        return found;
    }

    std::unique_ptr<Desk> it;
};
} // namespace

TEST_F(Timetable, recordsAnEntryFromItsStartToItsStop_toTheFrame) {
    make({{"News", at(9, 31), at(9, 33)}});
    it->desk.runFor(0.37);
    arm();
    it->desk.runFor(1.0);
    EXPECT_EQ(recorder().condition(), RecordCondition::waitingForTimer);
    EXPECT_TRUE(recorder().modeTimer());
    EXPECT_EQ(recorder().modeField().text(), "TimerMode");
    EXPECT_EQ(recorder().reserveNameField().text(), "News");
    EXPECT_EQ(recorder().reserveNameField().toolTip(), "News");
    EXPECT_EQ(recorder().reserveTimeField().text(), "ReserveStartTime 09:31");
    EXPECT_EQ(recorder().conditionField().text(), "59\"Before");
    EXPECT_EQ(recorder().conditionField().color(), TextColor::red);
    EXPECT_FALSE(recorder().recordButton().enabled());
    it->desk.runFor(60.0);
    EXPECT_EQ(recorder().condition(), RecordCondition::recording);
    EXPECT_FALSE(recorder().modeTimer());
    EXPECT_EQ(recorder().actionMethod(), 2);
    EXPECT_EQ(recorder().reserveTimeField().text(), "ReserveStopTime 09:33");
    it->desk.runFor(130.0);
    EXPECT_EQ(recorder().condition(), RecordCondition::waitingForTimer);
    ASSERT_EQ(it->recordings(), (Names{"_Velmoratide_20071024_093100~093300.aif"}));
    const auto samples = it->samples(it->recordings()[0]);
    EXPECT_EQ(counting::frameOf(samples[0], samples[1]), 60 * 44100);
    EXPECT_EQ(samples.size() / 2, 120U * 44100U);
    EXPECT_EQ(it->note(it->recordings()[0]), "News");
}

TEST_F(Timetable, recordsTheRestOfAnEntry_whenSwitchedOnWithinIt) {
    make({{"Long", at(9, 0), at(9, 31)}});
    it->desk.runFor(20.0);
    arm();
    it->desk.runFor(100.0);
    EXPECT_EQ(it->recordings(), (Names{"_Velmoratide_20071024_093020~093100.aif"}));
}

TEST_F(Timetable, isNotSplitAtTheHour) {
    make({{"Over the hour", at(9, 59), at(10, 1)}},
         {.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 58});
    arm();
    EXPECT_FALSE(recorder().hourButton().isOn());
    it->desk.runFor(200.0);
    EXPECT_EQ(it->recordings(), (Names{"_Velmoratide_20071024_095900~100100.aif"}));
}

TEST_F(Timetable, losesNoFrameBetweenTwoEntriesThatTouch) {
    make({{"First", at(9, 31), at(9, 32)}, {"Second", at(9, 32), at(9, 33)}});
    it->desk.runFor(0.61);
    arm();
    it->desk.runFor(200.0);
    ASSERT_EQ(it->recordings(),
              (Names{"_Velmoratide_20071024_093100~093200.aif", "_Velmoratide_20071024_093200~093300.aif"}));
    EXPECT_EQ(breaksOverAll(), 0);
    EXPECT_EQ(it->note(it->recordings()[0]), "First");
    EXPECT_EQ(it->note(it->recordings()[1]), "Second");
}

TEST_F(Timetable, goesOnWithAnEntryThatOverlaps_withoutLosingAFrame) {
    make({{"First", at(9, 31), at(9, 32)}, {"Longer", at(9, 31, 30), at(9, 33)}});
    it->desk.runFor(0.61);
    arm();
    it->desk.runFor(200.0);
    ASSERT_EQ(it->recordings(),
              (Names{"_Velmoratide_20071024_093100~093200.aif", "_Velmoratide_20071024_093200~093300.aif"}));
    EXPECT_EQ(breaksOverAll(), 0);
}

TEST_F(Timetable, recordsAcrossMidnight) {
    make({{"Night", at(23, 59), at(0, 1)}},
         {.year = 2007, .month = 10, .day = 24, .hour = 23, .minute = 58, .second = 30});
    arm();
    it->desk.runFor(200.0);
    EXPECT_EQ(it->recordings(), (Names{"_Velmoratide_20071024_235900~000100.aif"}));
}

TEST_F(Timetable, recordsUntilThatTimeTomorrow_whenTheStopLiesBeforeNow) {
    make({{"Night", at(22, 0), at(2, 0), 0, 0, 1}},
         {.year = 2007, .month = 10, .day = 24, .hour = 23, .minute = 30});
    arm();
    it->desk.runFor(3.0 * 3600);
    EXPECT_EQ(it->recordings(), (Names{"_Velmoratide_20071024_233000~020000.aif"}));
}

TEST_F(Timetable, joinsTheDaysOfAnAllDayEntry) {
    make({{"All day", at(9, 31), at(9, 31)}}, {.year = 2007, .month = 10, .day = 24, .hour = 9});
    it->desk.runFor(1800.0);
    arm(); // at 9:30, in the last minute of its day
    it->desk.runFor(120.0);
    EXPECT_EQ(it->recordings()[0], ".VelmoratideTempFile");
    recorder().reserveButton().press(false);
    it->desk.runFor(1.0);
    ASSERT_EQ(it->recordings(),
              (Names{"_Velmoratide_20071024_093000~093100.aif", "_Velmoratide_20071024_093100~093200.aif"}));
    EXPECT_EQ(breaksOverAll(), 0);
}

TEST_F(Timetable, takesTheFormatOfAnEntry_andGivesBackThePersonsAtTheEnd) {
    make({{"Small", at(9, 31), at(9, 32), 1, 0, 1, 1}}, morning,
         {{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}, {"RecordMode", 2}, {"AutoStartLevel", 0}});
    arm();
    it->desk.runFor(70.0);
    EXPECT_EQ(recorder().recordMode(), 1);
    EXPECT_EQ(recorder().sampleRate(), 11025.0);
    EXPECT_EQ(recorder().channels(), 1);
    EXPECT_EQ(it->desk.controler->devicer().recordSource(), 1);
    recorder().saveUserDefaults();
    EXPECT_EQ(it->desk.defaults.integerForKey("RecordMode"), 2);
    recorder().reserveButton().press(false);
    it->desk.runFor(1.0);
    EXPECT_EQ(recorder().condition(), RecordCondition::stopped);
    EXPECT_EQ(recorder().recordMode(), 2);
    EXPECT_EQ(recorder().sampleRate(), 44100.0);
    EXPECT_EQ(recorder().channels(), 2);
    EXPECT_TRUE(recorder().startOnTheHour());
    EXPECT_EQ(it->desk.controler->devicer().recordSource(), 0);
    EXPECT_EQ(recorder().reserveNameField().text(), "");
    EXPECT_EQ(recorder().reserveTimeField().text(), "");
    EXPECT_EQ(recorder().modeField().text(), "StandbyMode");
    ASSERT_EQ(it->recordings().size(), 1U);
}

TEST_F(Timetable, asksBeforeItIsSwitchedOff_withinFiveMinutesOfAStart) {
    make({{"Soon", at(9, 35), at(9, 40)}});
    arm();
    it->desk.alert.answerNext("TimerStopCaution", AlertAnswer::alternateButton);
    recorder().reserveButton().press(false);
    EXPECT_TRUE(recorder().reserveButton().isOn());
    EXPECT_TRUE(it->desk.defaults.boolForKey("ReserveSwitch"));
    ASSERT_EQ(it->desk.alert.shown().size(), 1U);
    EXPECT_EQ(it->desk.alert.shown()[0].request.informativeKey, "ReserveCancelInfo");
    EXPECT_EQ(it->desk.alert.shown()[0].request.defaultKey, "RecordStop");
    recorder().reserveButton().press(false);
    EXPECT_FALSE(recorder().reserveButton().isOn());
    EXPECT_FALSE(it->desk.defaults.boolForKey("ReserveSwitch"));
}

TEST_F(Timetable, switchesOffWithoutAsking_whenTheNextStartIsFar) {
    make({{"Later", at(9, 36), at(9, 40)}});
    arm();
    it->desk.runFor(5.0);
    recorder().reserveButton().press(false);
    EXPECT_TRUE(it->desk.alert.shown().empty());
    EXPECT_EQ(recorder().condition(), RecordCondition::stopped);
}

TEST_F(Timetable, asksBeforeARunningRecordingIsStopped) {
    make({{"Running", at(9, 0), at(10, 0)}});
    it->desk.runFor(1.0);
    arm();
    it->desk.runFor(10.0);
    it->desk.alert.answerNext("TimerStopCaution", AlertAnswer::alternateButton);
    recorder().reserveButton().press(false);
    it->desk.runFor(5.0);
    EXPECT_EQ(recorder().condition(), RecordCondition::recording);
    EXPECT_EQ(it->desk.alert.shown().at(0).request.informativeKey, "TimerStopInfo");
    recorder().reserveButton().press(false);
    it->desk.runFor(1.0);
    EXPECT_EQ(it->recordings(), (Names{"_Velmoratide_20071024_093001~093016.aif"}));
}

TEST_F(Timetable, cannotBeSwitchedOnWithoutAnEntry) {
    make({{"Off", at(9, 31), at(9, 32), 0, 2, 2, 0, 0}});
    EXPECT_FALSE(recorder().reserveButton().enabled());
    EXPECT_EQ(recorder().reserveButton().toolTip(), "NoReserves");
    arm();
    EXPECT_FALSE(recorder().reserveButton().isOn());
}

TEST_F(Timetable, goesOnAfterACrash_withinTheEntry) {
    TemporaryFolder folder;
    const std::vector<RehearsalDesk::Setting> settings{
        {"TimerList", timerList({{"Long", at(9, 0), at(9, 40)}})}};
    {
        RehearsalDesk desk(folder.path(), QTimeZone("Asia/Tokyo"), morning, {countingInput()}, settings);
        desk.launch();
        desk.runFor(5.0);
        desk.controler->recorder().reserveButton().press(true);
        desk.runFor(30.0);
    }
    RehearsalDesk next(folder.path(), QTimeZone("Asia/Tokyo"),
                       {.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 31}, {countingInput()});
    next.launch();
    next.runFor(30.0);
    EXPECT_EQ(next.controler->recorder().condition(), RecordCondition::recording);
    EXPECT_TRUE(next.controler->recorder().reserveButton().isOn());
    next.runFor(540.0);
    std::vector<std::string> names;
    for (const VolumeEntry& entry : PosixVolume().list(next.recordFolder()))
        if (!VmDutyLog::isLogFile(entry.name) && !VmMechanic::isImageFile(entry.name))
            names.push_back(entry.name);
    EXPECT_EQ(names,
              (Names{"_Velmoratide_20071024_093005~093035.aif", "_Velmoratide_20071024_093100~094000.aif"}));
    EXPECT_EQ(next.controler->recorder().lastCrashDate(),
              next.clock.dateFromLocal(
                  {.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 30, .second = 35}));
}

TEST_F(Timetable, needsTheAdministrator_toBeSwitchedOff_whenThatIsSet) {
    make({{"Running", at(9, 0), at(10, 0)}}, morning, {{"AuthorizationRequired", true}});
    it->desk.runFor(1.0);
    arm();
    it->desk.runFor(10.0);
    recorder().reserveButton().press(false);
    EXPECT_TRUE(recorder().reserveButton().isOn());
    EXPECT_TRUE(it->desk.alert.shown().empty());
    recorder().hourButton().press(true);
    EXPECT_FALSE(recorder().hourButton().isOn());
    it->desk.administratorRight.setGranted(true);
    recorder().reserveButton().press(false);
    EXPECT_FALSE(recorder().reserveButton().isOn());
}

// Whole log books of rehearsed duties, as they lie in golden/. VELMORATIDE_WRITE_GOLDEN=1 writes them anew.
#include "dutylog/LogDesk.h"

#include <cstdlib>
#include <functional>

namespace {
constexpr int at(int hour, int minute) {
    return hour * 3600 + minute * 60;
}

class GoldenBookTest : public testing::Test {
protected:
    void begin(const CalendarDate& start, const Settings& settings = fullRateStereo, double rate = 8000.0) {
        it.reset();
        it = std::make_unique<LogDesk>(folder, start, settings, rate);
        it->desk.launch();
        it->desk.runFor(1.0);
    }
    void record(double seconds) {
        it->recorder().recordButton().press(true);
        it->desk.runFor(seconds);
        it->recorder().recordButton().press(false);
        it->desk.runFor(1.0);
    }
    void expectBook(const std::string& name) const {
        const std::string path = std::string(VELMORATIDE_GOLDEN_BOOKS) + "/" + name + ".txt";
        if (std::getenv("VELMORATIDE_WRITE_GOLDEN") != nullptr)
            std::ofstream(path, std::ios::binary) << it->book();
        EXPECT_EQ(it->book(), textOf(path)) << name;
    }
    VmMechanic& mechanic() { return it->desk.controler->mechanic(); }

    TemporaryFolder folder;
    std::unique_ptr<LogDesk> it;
};
} // namespace

TEST_F(GoldenBookTest, ofACleanHour) {
    begin(morning);
    record(3600.0);
    it->desk.terminate();
    expectBook("clean-hour");
    std::istringstream book(it->book());
    int stops = 0;
    for (std::string line; std::getline(book, line);)
        if (line.starts_with("\tlost data")) {
            EXPECT_EQ(line, "\tlost data\t= 0bytes(0.000000seconds, 0.000000%)");
            ++stops;
        }
    EXPECT_EQ(stops, 2); // the full hour lies between
}

TEST_F(GoldenBookTest, ofAWeek) {
    Settings settings = fullRateStereo;
    settings.push_back(timetable({{"Morning news", at(7, 0), at(7, 10)}, {"夜の音楽", at(23, 55), at(0, 5)}}));
    begin({.year = 2026, .month = 12, .day = 28, .hour = 6}, settings, 2000.0);
    it->recorder().setShown(false);
    it->recorder().reserveButton().press(true);
    it->desk.runFor(7 * 86400.0);
    it->recorder().reserveButton().press(false);
    it->desk.runFor(1.0);
    it->desk.terminate();
    expectBook("week");
}

TEST_F(GoldenBookTest, ofACrash) {
    begin(morning);
    record(20.0);
    it->recorder().recordButton().press(true);
    it->desk.runFor(100.0);
    begin({.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 40}); // goes on recording
    it->desk.runFor(30.0);
    it->recorder().recordButton().press(false);
    it->desk.runFor(500.0);
    begin({.year = 2007, .month = 10, .day = 24, .hour = 10}); // nothing was being recorded
    it->desk.terminate();
    expectBook("crash");
}

TEST_F(GoldenBookTest, ofEveryChange) {
    begin(morning);
    it->log().setPlayerFilesHook([] {
        return VmDutyLog::PlayerFiles{"_Velmoratide_20071024_093000~094000.aif", "interview.aif",
                                      "_Velmoratide_20071024_080000~090000.aif",
                                      ".Velmoratide_20071024_080000~090000.tiff"};
    });
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"HourSwitchChange", [this] { it->recorder().setStartOnTheHour(false); }},
        {"SampleRateChange", [] {}},
        {"ChannelsChange", [this] { it->recorder().setChannels(1); }},
        {"InputSourceChange", [this] { it->desk.controler->devicer().changeRecordSource(1); }},
        {"RecordModeChange", [] {}},
        {"PreTimeChange", [] {}},
        {"DelayTimeChange", [] {}},
        {nullptr, [this] { it->recorder().markerButton().press(true); }}, // posts by itself
        {"MarkerPeriodChange", [this] { it->recorder().setMarkerOption(2); }},
        {"MarkerSoundChange", [this] { it->recorder().setMarkerSound("Blow"); }},
        {"RecordFolderChange", [this] { mechanic().setDirPath(folder.path() + "/elsewhere"); }},
        {"MaxRecordChange", [this] { mechanic().setMaxRecordTime(8 * 3600.0); }},
        {"KeepPeriodChange", [this] { mechanic().setMaxTotalTime(31 * 86400.0); }},
        {"SoundFileCopy", [] {}},
        {"SoundFileDelete", [] {}}};
    for (const auto& [event, apply] : changes) {
        apply();
        if (event != nullptr)
            it->post(event);
        it->desk.runFor(60.0);
    }
    it->desk.terminate();
    expectBook("changes");
}

TEST_F(GoldenBookTest, ofEveryMethod) {
    Settings settings = fullRateStereo;
    settings.push_back(timetable({{"Evening", at(18, 0), at(18, 1)}}));
    begin({.year = 2007, .month = 10, .day = 24, .hour = 17, .minute = 59, .second = 30}, settings);
    it->recorder().reserveButton().press(true); // timer
    it->desk.runFor(95.0);
    it->recorder().reserveButton().press(false);
    it->recorder().hourButton().press(true);
    it->desk.runFor(58 * 60.0);
    record(120.0); // manual, internal at the full hour
    it->recorder().recordButton().press(true);
    it->desk.runFor(30.0);
    it->recorder().willSleepHandle(); // internal(sleep)
    it->desk.runFor(60.0);
    it->recorder().didWakeHandle();
    it->desk.runFor(12.0);
    it->desk.volume.failWrite(1); // emergency
    it->desk.runFor(20.0);
    it->desk.terminate();
    expectBook("methods");
}

TEST_F(GoldenBookTest, ofACrashThatNobodyCanDate_inAutoMode_withSoundThatIsLost) {
    Settings settings = fullRateStereo;
    settings.push_back({"TroubleTermination", true});
    settings.push_back({"RecordMode", 1});
    it = std::make_unique<LogDesk>(folder, morning, settings);
    ASSERT_TRUE(PosixVolume().makeFolder(it->desk.recordFolder()));
    std::ofstream(it->path(), std::ios::binary) << "\t=== Log title ===\n2007.10.23 09:30:00 torn";
    it->desk.launch();
    it->desk.runFor(1.0);
    it->recorder().recordButton().press(true);
    it->desk.runFor(20.0);
    it->desk.volume.setWriteError(true);
    it->desk.runFor(30.0);
    it->desk.volume.setWriteError(false);
    it->desk.runFor(120.0);
    it->recorder().recordButton().press(false);
    it->desk.runFor(1.0);
    it->desk.terminate();
    expectBook("undated-crash-auto");
    for (const char* part : {"(date unknown) TROUBLE STOP\n", "= auto\n"})
        EXPECT_NE(it->book().find(part), std::string::npos) << part;
    std::istringstream book(it->book());
    int lost = 0;
    for (std::string line; std::getline(book, line);)
        lost += line.starts_with("\tlost data\t= ") && !line.starts_with("\tlost data\t= 0bytes") ? 1 : 0;
    EXPECT_GT(lost, 0);
}

TEST_F(GoldenBookTest, ofADutyInStandbyMode) {
    Settings settings = fullRateStereo;
    settings.push_back({"RecordMode", 2});
    begin(morning, settings);
    record(20.0);
    it->post("RecordModeChange");
    it->desk.terminate();
    expectBook("standby");
    EXPECT_NE(it->book().find("record mode\t= standby\n"), std::string::npos);
}

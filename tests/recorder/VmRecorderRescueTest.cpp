// What a crash leaves behind: its start, and files that hold no recording.
#include "recorder/ClockedDesk.h"

#include <filesystem>

namespace {
using Names = ClockedDesk::Names;
constexpr CalendarDate ten{.year = 2026, .month = 3, .day = 2, .hour = 10, .minute = 0, .second = 10};

/// Launches one after the other in the same folder; each ends in a crash.
class Crashes : public testing::Test {
protected:
    std::string temporary() const { return folder.path() + "/record/.VelmoratideTempFile"; }
    void leave(const std::string& bytes) {
        std::filesystem::create_directories(folder.path() + "/record");
        std::ofstream(temporary(), std::ios::binary) << bytes;
    }
    /// A file of our own with ten seconds of sound, or none; no start is noted in it.
    void leaveOwn(std::size_t samples = 160000) {
        std::filesystem::create_directories(folder.path() + "/record");
        PosixVolume volume;
        const auto made = SoundFile::create(volume, temporary(), 8000.0, 2);
        ASSERT_NE(made.file, nullptr);
        ASSERT_TRUE(samples == 0 || made.file->writeSamples(0, std::vector<std::int16_t>(samples, 100)));
        ASSERT_TRUE(made.file->close());
    }
    RehearsalDesk& launch(const ClockedDesk::Settings& settings = {}, const CalendarDate& start = ten,
                          const char* zone = "Europe/Berlin") {
        ClockedDesk::Settings all = fullRateStereo;
        all.insert(all.end(), settings.begin(), settings.end());
        watch = {}; // before what it watches
        desk.reset();
        desk = std::make_unique<RehearsalDesk>(folder.path(), QTimeZone(zone), start,
                                               std::vector<SimulatedDevice>{slowInput()}, all);
        events.clear();
        watch = desk->notifications.observe(VmLogEventNotification, [this](const Notification& event) {
            const auto text = event.userInfo.find(std::string(ErrorMessageString));
            events.push_back(event.object + ": " + (text == event.userInfo.end() ? "" : text->second));
        });
        desk->launch();
        desk->runFor(1.0);
        return *desk;
    }
    Names files() const {
        Names names;
        for (const VolumeEntry& entry : PosixVolume().list(folder.path() + "/record"))
            if (!VmDutyLog::isLogFile(entry.name) && !VmMechanic::isImageFile(entry.name))
                names.push_back(entry.name);
        return names;
    }
    bool toldThat(const std::string& part) const {
        return std::ranges::any_of(
            events, [&](const std::string& event) { return event.find(part) != std::string::npos; });
    }

    TemporaryFolder folder;
    std::unique_ptr<RehearsalDesk> desk;
    Names events;
    NotificationCenter::Observation watch;
};
} // namespace

TEST_F(Crashes, countsBackFromTheLaunch_whenTheStartInTheSettingsIsNone) {
    for (const char* start : {"20261399_999999", "99999999_999999", "-0260302_095000", "00000000_000000",
                              "2026 302_ 95000", "20260302_0958", ""}) {
        SCOPED_TRACE(start);
        leaveOwn();
        launch({{"WriteStartTempFile", start}});
        EXPECT_EQ(files(), (Names{"_Velmoratide_20260302_100000~100010.aif"}));
        EXPECT_TRUE(toldThat("VmRecorder: last recording file is rescued."));
        std::filesystem::remove(folder.path() + "/record/_Velmoratide_20260302_100000~100010.aif");
    }
}

TEST_F(Crashes, takeTheStartOfTheSettings_whenTheFileHasNone) {
    leaveOwn();
    launch({{"WriteStartTempFile", "20260302_095000"}});
    EXPECT_EQ(files(), (Names{"_Velmoratide_20260302_095000~095010.aif"}));
}

TEST_F(Crashes, takeTheStartNotedInTheFile_whenTheSettingsAreStale) {
    launch().controler->recorder().recordButton().press(true);
    desk->runFor(20.0);
    launch({{"WriteStartTempFile", "20260302_090000"}, {"RecordSwitch", false}},
           {.year = 2026, .month = 3, .day = 2, .hour = 10, .minute = 5});
    ASSERT_EQ(files().size(), 1U);
    EXPECT_EQ(files()[0].substr(0, 28), "_Velmoratide_20260302_100011");
    const Date began = desk->clock.dateFromLocal(ten).addingSeconds(1.0);
    EXPECT_NEAR(desk->controler->recorder().lastCrashDate().secondsSince(began), 20.0, 7.0);
}

TEST_F(Crashes, keepThePassOfAStartInTheHourThatComesTwice) {
    launch({{"StartOnTheHour", false}},
           {.year = 2026, .month = 10, .day = 25, .hour = 2, .minute = 59, .second = 0});
    desk->runFor(3500.0); // 02:57 for the second time
    ASSERT_EQ(desk->clock.format(desk->clock.now(), "%H%M%S"), "025721");
    desk->controler->recorder().recordButton().press(true);
    desk->runFor(299.0);
    const Date crash = desk->clock.now();
    launch({{"RecordSwitch", false}}, {.year = 2026, .month = 10, .day = 25, .hour = 3, .minute = 30});
    ASSERT_EQ(files().size(), 1U);
    EXPECT_EQ(files()[0].substr(0, 32), "_Velmoratide_20261025_025721~030");
    const double unwritten = crash.secondsSince(desk->controler->recorder().lastCrashDate());
    EXPECT_GE(unwritten, -1.0);
    EXPECT_LE(unwritten, 7.0);
}

TEST_F(Crashes, areKeptAsideWithAReport_whenTheyLeftNoSoundFile) {
    for (const std::size_t size : {100U, 4096U, 5000U}) {
        SCOPED_TRACE(size);
        leave(std::string(size, 'x'));
        launch();
        const std::string aside = "VelmoratideUnreadable_20260302_100010.data";
        ASSERT_EQ(files(), Names{aside});
        EXPECT_EQ(std::filesystem::file_size(folder.path() + "/record/" + aside), size);
        EXPECT_TRUE(
            toldThat("SomeErrorHappen: VmRecorder: last recording file cannot be read, it is kept as "));
        std::filesystem::remove(folder.path() + "/record/" + aside);
    }
}

TEST_F(Crashes, leaveNothing_whenTheFileHoldsNoSound) {
    leave("");
    launch();
    EXPECT_EQ(files(), Names{});
    EXPECT_TRUE(toldThat("SomeReportHappen: VmRecorder: a recording without sound is removed."));
    leaveOwn(0);
    launch();
    EXPECT_EQ(files(), Names{});
    EXPECT_TRUE(toldThat("SomeReportHappen: VmRecorder: a recording without sound is removed."));
}

TEST_F(Crashes, doNotHinderTheNextRecording) {
    leave(std::string(4096, 'x'));
    launch().controler->recorder().recordButton().press(true);
    desk->runFor(4.0);
    desk->controler->recorder().recordButton().press(false);
    desk->runFor(1.0);
    EXPECT_EQ(files(),
              (Names{"VelmoratideUnreadable_20260302_100010.data", "_Velmoratide_20260302_100011~100015.aif"}));
}

TEST_F(Crashes, leaveARecordingThatGetsAName_howeverManyOfTheSameSecondThereAre) {
    leaveOwn();
    const std::string stem = folder.path() + "/record/_Velmoratide_20260302_100000~100010";
    for (std::size_t pluses = 0; pluses <= 216; ++pluses)
        std::ofstream(stem + std::string(pluses, '+') + ".aif") << "of the same second";
    launch({});
    EXPECT_TRUE(std::filesystem::exists(stem + "+217.aif"));
    EXPECT_FALSE(std::filesystem::exists(temporary()));
    EXPECT_EQ(std::filesystem::file_size(stem + std::string(216, '+') + ".aif"), 18U);
}

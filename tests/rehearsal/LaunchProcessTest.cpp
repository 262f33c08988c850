// How a launch's process is watched, and what a report of it carries.
#include "rehearsal/LaunchProcess.h"

#include "rehearsal/LaunchReport.h"
#include "rehearsal/TimerValues.h"

#include <csignal>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

using Progress = LaunchProcess::Progress;

TEST(LaunchProcessTest, handsOnWhatTheLaunchReports) {
    const std::string large(1000000, 'x'); // more than a pipe holds
    const auto outcome = LaunchProcess::run([&large](const Progress&) { return large; });
    EXPECT_EQ(outcome.fault, "");
    EXPECT_EQ(outcome.report, large);
}

TEST(LaunchProcessTest, namesTheSignalOfWhichALaunchDied) {
    const auto outcome = LaunchProcess::run([](const Progress&) -> std::string {
        ::kill(::getpid(), SIGKILL);
        return "late";
    });
    EXPECT_EQ(outcome.fault, "died of a signal (Killed)");
    EXPECT_EQ(outcome.report, "");
}

TEST(LaunchProcessTest, tellsAnEndWithoutReport) {
    const auto outcome = LaunchProcess::run([](const Progress&) -> std::string { ::_exit(7); });
    EXPECT_EQ(outcome.fault, "ended unexpectedly with exit status 7");
}

TEST(LaunchProcessTest, endsALaunchWhoseThreadsWaitForEachOther) {
    const auto outcome = LaunchProcess::run(
        [](const Progress& progress) -> std::string {
            progress(2'500'000'000);
            for (;;)
                ::pause();
        },
        {.idle = 0.6, .busy = 60.0});
    EXPECT_EQ(outcome.fault,
              "made no progress any more 2.500 seconds after its launch (its threads wait for each other)");
}

TEST(LaunchProcessTest, endsALaunchInWhichTimeDoesNotPass) {
    const auto outcome = LaunchProcess::run(
        [](const Progress&) -> std::string {
            for (volatile unsigned work = 0;;)
                work = work + 1;
        },
        {.idle = 60.0, .busy = 0.6});
    EXPECT_EQ(outcome.fault,
              "made no progress any more 0.000 seconds after its launch (it works, but time does "
              "not pass)");
}

TEST(LaunchReportTest, isReadBackExactly) {
    LaunchReport report;
    report.simulatedSeconds = 0.1 + 0.2;
    report.counts = {3, 1LL << 60, 5};
    report.room = {1e11 / 3.0, 12345678901.0};
    report.misuse = "launches[0].events[1].row: none";
    report.fault = "two words";
    const auto read = LaunchReport::fromText(report.toText());
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->simulatedSeconds, report.simulatedSeconds);
    EXPECT_EQ(read->counts.filesMade, 3);
    EXPECT_EQ(read->counts.framesCaptured, 1LL << 60);
    EXPECT_EQ(read->counts.framesWritten, 5);
    EXPECT_EQ(read->room.freeBytes, report.room.freeBytes);
    EXPECT_EQ(read->room.usedBytes, report.room.usedBytes);
    EXPECT_EQ(read->misuse, report.misuse);
    EXPECT_EQ(read->fault, report.fault);
}

TEST(LaunchReportTest, isNothingWhenItWasCutOff) {
    const std::string whole = LaunchReport().toText();
    for (const std::size_t length : {std::size_t{0}, std::size_t{5}, whole.find("whole")})
        EXPECT_FALSE(LaunchReport::fromText(whole.substr(0, length)).has_value()) << length;
}

TEST(TimerValuesTest, readsTimesOfDay) {
    EXPECT_EQ(TimerValues::secondsOfDay("00:00"), 0);
    EXPECT_EQ(TimerValues::secondsOfDay("09:15"), 33300);
    EXPECT_EQ(TimerValues::secondsOfDay("09:15:30"), 33330);
    EXPECT_EQ(TimerValues::secondsOfDay("24:00"), 86400);
    for (const char* none : {"", "9:15", "09:60", "24:01", "09:15:60", "-1:00", "09:15x", "0915", "09:15:3"})
        EXPECT_EQ(TimerValues::secondsOfDay(none), -1) << none;
}

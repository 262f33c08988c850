// The built program while its sound server stands still, ends, or loses the source.
#include "system/CountedDuty.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>

namespace {
class ProgramInput : public testing::Test {
protected:
    void SetUp() override {
        if (const std::string why = PrivatePulseServer::whyNot(); !why.empty())
            GTEST_SKIP() << why;
    }
    /// Records, lets `fault` happen and records on. What the files hold and what is told to be missing must be
    /// all the time that has passed.
    void expectGapTold(const std::function<void(PrivatePulseServer&)>& fault, double least, double most) {
        PrivatePulseServer server;
        TemporaryFolder place;
        CountedDuty duty(server, place.path() + "/record", 50.0);
        ASSERT_TRUE(duty.launch());
        duty.pauseFor(6.0);
        fault(server);
        ASSERT_TRUE(duty.awaitLines("is back", 1, 15.0)) << duty.log();
        const double told = duty.secondsToldBy("is back");
        duty.pauseFor(6.0);
        const double seconds = duty.elapsed();
        EXPECT_EQ(duty.end(), 0) << duty.log();
        const FrameCensus census = duty.census();
        EXPECT_TRUE(census.faults().empty()) << testing::PrintToString(census.faults());
        EXPECT_EQ(census.pieces().size(), 2U) << duty.log();
        EXPECT_EQ(duty.linesWith("is gone").size(), 1U) << duty.log();
        EXPECT_GE(told, least - 0.1) << duty.log();
        EXPECT_LE(told, most + 0.1) << duty.log();
        const double kept = static_cast<double>(census.frames()) / CountedDuty::rate;
        EXPECT_NEAR(kept + told, seconds, 0.5) << duty.log();
        std::printf(
            "[ MEASURED ] %.2f s: %.2f s in files and %.1f s told to be missing, %.2f s unaccounted for\n",
            seconds, kept, told, seconds - kept - told);
    }
};
} // namespace

TEST_F(ProgramInput, goesOnAndTellsTheGap_whenTheServerIsKilledAndComesBack) {
    expectGapTold(
        [](PrivatePulseServer& server) {
            server.kill();
            CountedDuty::pauseFor(3.0);
            EXPECT_TRUE(server.restart());
        },
        3.0, 9.0);
}

TEST_F(ProgramInput, goesOnAndTellsTheGap_whenTheSourceIsPulledOutAndPutBack) {
    expectGapTold(
        [](PrivatePulseServer& server) {
            EXPECT_TRUE(server.unloadModule("module-null-sink"));
            CountedDuty::pauseFor(3.0);
            EXPECT_FALSE(server
                             .loadModule({"module-null-sink", "sink_name=duty", "format=float32le",
                                          "rate=44100", "channels=2", "norewinds=1"})
                             .empty());
        },
        3.0, 9.0);
}

TEST_F(ProgramInput, accountsForEverySecond_whenTheServerStandsStillForTenSeconds) {
    PrivatePulseServer server;
    TemporaryFolder place;
    CountedDuty duty(server, place.path() + "/record", 60.0);
    ASSERT_TRUE(duty.launch());
    duty.pauseFor(6.0);
    server.freeze();
    CountedDuty::pauseFor(10.0);
    server.thaw();
    duty.pauseFor(10.0);
    const double seconds = duty.elapsed();
    EXPECT_EQ(duty.end(), 0) << duty.log();
    const FrameCensus census = duty.census();
    EXPECT_EQ(census.complaint(), "") << duty.log();
    // The server may have rendered what it owed; what it did not is told, or silent and told.
    const double told = std::max(duty.secondsToldBy("is back"), 0.0);
    const double kept = static_cast<double>(census.frames()) / CountedDuty::rate;
    EXPECT_NEAR(kept + told, seconds, 0.6) << duty.log();
    std::printf("[ MEASURED ] %.2f s: %.2f s in files, of them %.2f s not of the signal, and %.1f s told to be "
                "missing\n",
                seconds, kept,
                kept - static_cast<double>(census.end() - census.first() - census.lost()) / CountedDuty::rate,
                told);
}

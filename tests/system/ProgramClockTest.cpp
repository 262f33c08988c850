// The built program while its wall clock is set.
#include "system/CountedDuty.h"
#include "system/SettableWallClock.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {
class ProgramClock : public testing::TestWithParam<int> {
protected:
    TemporaryFolder place;
    SettableWallClock clock{place.path() + "/clock"};
};

std::string nameOf(const testing::TestParamInfo<int>& by) {
    return std::to_string(std::abs(by.param)) + (by.param < 0 ? "_back" : "_forth");
}
} // namespace

TEST_P(ProgramClock, losesNoFrameAndSaysSo_whenTheWallClockIsSet) {
    if (const std::string why = PrivatePulseServer::whyNot(); !why.empty())
        GTEST_SKIP() << why;
    const int by = GetParam();
    PrivatePulseServer server;
    CountedDuty duty(server, place.path() + "/record", 45.0);
    ASSERT_TRUE(duty.launch({}, clock.environment()));
    duty.pauseFor(7.0);
    clock.setAhead(by);
    ASSERT_TRUE(duty.awaitLines("the clock was set by", 1, 4.0)) << duty.log();
    duty.pauseFor(7.0);
    clock.setAhead(0);
    ASSERT_TRUE(duty.awaitLines("the clock was set by", 2, 4.0)) << duty.log();
    duty.pauseFor(7.0);
    const double seconds = duty.elapsed();
    EXPECT_EQ(duty.end(), 0) << duty.log();
    duty.expectEveryFrameOnce(seconds);
    EXPECT_EQ(duty.census().pieces().size(), 3U) << duty.log();
    const auto told = duty.linesWith("the clock was set by");
    ASSERT_EQ(told.size(), 2U) << duty.log();
    const auto number = [](const std::string& line) { return std::atof(line.c_str() + line.find(" by ") + 4); };
    EXPECT_NEAR(number(told[0]), by, 0.15);
    EXPECT_NEAR(number(told[1]), -by, 0.15);
}

INSTANTIATE_TEST_SUITE_P(BySeconds, ProgramClock, testing::Values(3600, -3600, 86400, 3, -3), nameOf);

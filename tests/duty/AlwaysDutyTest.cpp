#include "duty/AlwaysDuty.h"

#include <gtest/gtest.h>

namespace {
constexpr double acrossOneHour = 100.0 + 60.0;
constexpr double acrossTwoFullHours = 100.0 + 2 * 3600.0 + 60.0;

class AlwaysDuty : public testing::TestWithParam<std::pair<int, int>> {};
} // namespace

TEST_P(AlwaysDuty, losesNoFrameAtTheHour) {
    runAlwaysDuty(GetParam().first, GetParam().second, acrossOneHour);
}

INSTANTIATE_TEST_SUITE_P(RateNumberAndChannels, AlwaysDuty,
                         testing::Values(std::pair{0, 1}, std::pair{0, 2}, std::pair{1, 1}, std::pair{1, 2},
                                         std::pair{2, 1}, std::pair{2, 2}));

TEST(AlwaysDutyOfHours, losesNoFrameFromFileToFile) {
    runAlwaysDuty(2, 2, acrossTwoFullHours);
}

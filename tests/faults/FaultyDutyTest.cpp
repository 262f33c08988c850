// Whatever fails on the disk, and whenever: nothing that was recorded is lost.
#include "faults/FaultyDuty.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {
using Kind = FaultyDuty::Kind;

class AnyOperation : public testing::TestWithParam<std::tuple<Kind, int>> {
protected:
    /// Lets each of the operations of its kind fail that a usual duty does, or some of them.
    void expectNothingLost(double seconds) {
        const auto [kind, operation] = GetParam();
        const FaultyDuty::Usual usual = FaultyDuty::usual(kind);
        const int count = usual.counts[static_cast<std::size_t>(operation)];
        if (count == 0)
            GTEST_SKIP() << "a duty of this kind does no such thing";
        const int most = std::getenv("VELMORATIDE_TEST_ALL") != nullptr ? count : 12;
        const int step = std::max(1, (count + most - 1) / most);
        int runs = 0;
        for (int number = 1; number <= count; number += step, ++runs)
            EXPECT_EQ(FaultyDuty(kind, {static_cast<NthFaultVolume::Operation>(operation), number, seconds})
                          .complaint(usual),
                      "")
                << NthFaultVolume::names[operation] << " " << number << " of " << count;
        std::printf("[ MEASURED ] %s: %d in a duty, %d of them made to fail\n",
                    NthFaultVolume::names[operation], count, runs);
    }
};

std::string nameOf(const testing::TestParamInfo<std::tuple<Kind, int>>& info) {
    static constexpr const char* kinds[] = {"always_", "slowDisk_", "relay_", "timetable_"};
    return std::string(kinds[static_cast<int>(std::get<0>(info.param))]) +
           NthFaultVolume::names[std::get<1>(info.param)];
}
} // namespace

TEST_P(AnyOperation, costsNothing_whenItFailsOnce) {
    expectNothingLost(0.0);
}

TEST_P(AnyOperation, costsNothing_whenItFailsForTwelveSeconds) {
    expectNothingLost(12.0);
}

TEST_P(AnyOperation, costsOnlyWhatComesAfterIt_whenItFailsForGood) {
    expectNothingLost(NthFaultVolume::forEver);
}

INSTANTIATE_TEST_SUITE_P(Disk, AnyOperation,
                         testing::Combine(testing::Values(Kind::always, Kind::slowDisk, Kind::relay,
                                                          Kind::timetable),
                                          testing::Range(0, static_cast<int>(NthFaultVolume::operations))),
                         nameOf);

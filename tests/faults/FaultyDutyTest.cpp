// Whatever fails on the disk, and whenever: nothing that was recorded is lost.
#include "faults/FaultyDuty.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string_view>

namespace {
using Kind = FaultyDuty::Kind;

/// What still costs something; nothing for the rest.
const char* knownLoss(FaultyDuty::Kind kind, std::string_view operation, double seconds) {
    const bool isWrite = operation == "write" || operation == "synchronize";
    if (kind == FaultyDuty::Kind::relay && (isWrite || operation == "create" || operation == "remove"))
        return "sound from before an input loss is dropped when the disk fails at the same time";
    if (isWrite && seconds > 1.0 && operation == "write")
        return "the last block of a duty is tried for a second only, and half a header stays torn";
    if (operation == "remove" && seconds > 100.0)
        return "a progress name that can never be removed stays";
    return nullptr;
}

class AnyOperation : public testing::TestWithParam<std::tuple<Kind, int>> {
protected:
    /// Lets each of the operations of its kind fail that a usual duty does, or some of them.
    void expectNothingLost(double seconds) {
        const auto [kind, operation] = GetParam();
        const FaultyDuty::Usual usual = FaultyDuty::usual(kind);
        const int count = usual.counts[static_cast<std::size_t>(operation)];
        if (count == 0)
            GTEST_SKIP() << "a duty of this kind does no such thing";
        if (const char* reason = knownLoss(kind, NthFaultVolume::names[operation], seconds); reason != nullptr)
            GTEST_SKIP() << "known: " << reason;
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

// Bursts of sound in auto mode that come at a bad moment.
#include "recorder/ClockedDesk.h"

namespace {
using Names = ClockedDesk::Names;

struct Burst {
    double begin; // seconds since the launch
    double end;
};

SimulatedDevice burstingInput(const std::vector<Burst>& bursts) {
    SimulatedDevice input = slowInput();
    input.signal = {{.at = 0.0, .kind = SimulatedSegment::Kind::silence}};
    for (const Burst& burst : bursts) {
        input.signal.push_back({.at = burst.begin, .kind = SimulatedSegment::Kind::constant, .level = 0.5});
        input.signal.push_back({.at = burst.end, .kind = SimulatedSegment::Kind::silence});
    }
    return input;
}

ClockedDesk::Settings autoMode(double stopDelay) {
    return {
        {"RecordMode", 1}, {"AutoStartLevel", 5}, {"AutoStopDelayTime", stopDelay}, {"PreBufferingSeconds", 3}};
}

/// Frames of a file before, in and after its one burst.
struct Parts {
    std::int64_t before = 0;
    std::int64_t loud = 0;
    std::int64_t after = 0;
};

Parts partsOf(const ClockedDesk& it, const std::string& name) {
    Parts parts;
    const auto all = it.samples(name);
    for (std::size_t i = 0; i < all.size(); i += 2) {
        if (all[i] != 0)
            ++parts.loud;
        else
            ++(parts.loud == 0 ? parts.before : parts.after);
    }
    return parts;
}

/// The second burst comes while the disk takes `perBlock` seconds to finish the file of the first.
void expectAllBursts(const std::vector<Burst>& bursts, double perBlock) {
    SCOPED_TRACE(perBlock);
    ClockedDesk it(autoMode(0.0), burstingInput(bursts));
    it.recordAt(5.0);
    it.slowDiskAt(18.0, perBlock);
    it.stopAt(60.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), bursts.size());
    std::vector<Parts> parts;
    for (std::size_t i = 0; i < names.size(); ++i) {
        parts.push_back(partsOf(it, names[i]));
        EXPECT_EQ(parts[i].loud, std::llround((bursts[i].end - bursts[i].begin) * 8000)) << names[i];
    }
    // What lies between the first two is in their files, without a hole, and no frame of it is in both.
    EXPECT_EQ(parts[0].after + parts[1].before, std::llround((bursts[1].begin - bursts[0].end) * 8000));
    EXPECT_NEAR(static_cast<double>(parts[2].before) / 8000, 3.0, 0.15);
    it.expectNamesToAgree();
}
} // namespace

TEST(VmRecorderBurst, isRecordedWithWhatLiesBeforeIt_whileTheStopBeforeWaitsForTheDisk) {
    expectAllBursts({{20.0, 30.0}, {32.0, 33.0}, {45.0, 46.0}}, 1.0);
}

TEST(VmRecorderBurst, isRecorded_whenItBeginsAndEndsWhileTheStopBeforeWaitsForTheDisk) {
    expectAllBursts({{20.0, 30.0}, {30.4, 30.9}, {45.0, 46.0}}, 0.3);
}

TEST(VmRecorderBurst, isNotSplit_byAnHourThatLiesInItsPreBuffer) {
    ClockedDesk it(autoMode(5.0), burstingInput({{101.0, 110.0}}));
    it.recordAt(5.0);
    it.stopAt(130.0);
    ASSERT_EQ(it.recordings(), (Names{"_Velmoratide_20260302_095958~100015.aif"}));
    const Parts parts = partsOf(it, it.recordings()[0]);
    EXPECT_EQ(parts.loud, 9 * 8000);
    EXPECT_GT(parts.before, 8000) << "the pre-buffer reaches back over the hour";
}

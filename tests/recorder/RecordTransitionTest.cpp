#include "recorder/RecordTransition.h"

#include <gtest/gtest.h>
#include <ostream>

namespace {
using C = RecordCondition;
using File = RecordTransition::File;

constexpr C conditions[] = {C::stopped, C::recording, C::standingBy, C::waitingForTimer};
constexpr int modes[] = {0, 1, 2, 3, -1};

/// Calls `check(present, inputs)` for all inputs that there are, with `fixed` already set in some.
template <typename Check>
void forAll(Check check) {
    for (const C present : conditions)
        for (const int mode : modes)
            for (unsigned bits = 0; bits < 64; ++bits)
                check(present, RecordInputs{.asleep = (bits & 1) != 0,
                                            .modeTimer = (bits & 2) != 0,
                                            .recordState = (bits & 4) != 0,
                                            .inputLost = (bits & 8) != 0,
                                            .recordMode = mode,
                                            .levelReached = (bits & 16) != 0,
                                            .delayRuns = (bits & 32) != 0});
}

struct Row {
    const char* when;
    int mode;
    bool levelReached;
    bool delayRuns;
    // What follows from stopped, recording, standing by, waiting for a timer.
    RecordTransition next[4];
};

constexpr RecordTransition stay(C condition) {
    return {File::unchanged, condition};
}
constexpr RecordTransition start{File::start, C::recording};
constexpr RecordTransition stopTo(C condition) {
    return {File::stop, condition};
}

constexpr RecordTransition sames[4] = {stay(C::stopped), stay(C::recording), stay(C::standingBy),
                                       stay(C::waitingForTimer)};

// The switch is on, the input is there, no timetable waits.
constexpr Row table[] = {
    {"always, below the level", 0, false, false, {start, stay(C::recording), start, start}},
    {"always, at the level", 0, true, false, {start, stay(C::recording), start, start}},
    {"auto, at the level", 1, true, false, {start, stay(C::recording), start, start}},
    {"auto, below, the delay runs", 1, false, true, {sames[0], sames[1], sames[2], sames[3]}},
    {"auto, below, the delay is over", 1, false, false, {sames[0], stopTo(C::standingBy), sames[2], sames[3]}},
    {"standby, below the level",
     2,
     false,
     false,
     {stay(C::standingBy), stopTo(C::standingBy), stay(C::standingBy), stay(C::standingBy)}},
    {"standby, at the level",
     2,
     true,
     false,
     {stay(C::standingBy), stopTo(C::standingBy), stay(C::standingBy), stay(C::standingBy)}},
    {"another mode, below the level", 3, false, false, {sames[0], sames[1], sames[2], sames[3]}},
    {"another mode, at the level", -1, true, false, {sames[0], sames[1], sames[2], sames[3]}},
};
} // namespace

std::ostream& operator<<(std::ostream& stream, const RecordTransition& transition) {
    return stream << "file " << static_cast<int>(transition.file) << ", condition "
                  << static_cast<int>(transition.next);
}

TEST(RecordTransition, followsTheModes_whileTheSwitchIsOn) {
    for (const Row& row : table)
        for (std::size_t from = 0; from < 4; ++from)
            EXPECT_EQ(recordTransition(conditions[from], {.recordState = true,
                                                          .recordMode = row.mode,
                                                          .levelReached = row.levelReached,
                                                          .delayRuns = row.delayRuns}),
                      row.next[from])
                << row.when << ", from " << from;
}

TEST(RecordTransition, waitsForTheTimer_whateverElseIsSet_andFinishesTheFileFirst) {
    forAll([](C present, const RecordInputs& inputs) {
        if (inputs.modeTimer) {
            EXPECT_EQ(
                recordTransition(present, inputs),
                (RecordTransition{present == C::recording ? File::stop : File::unchanged, C::waitingForTimer}));
        }
    });
}

TEST(RecordTransition, stops_whateverTheModeIs_whenTheSwitchIsOff) {
    forAll([](C present, const RecordInputs& inputs) {
        if (!inputs.modeTimer && !inputs.recordState) {
            EXPECT_EQ(recordTransition(present, inputs),
                      (RecordTransition{present == C::recording ? File::stop : File::unchanged, C::stopped}));
        }
    });
}

TEST(RecordTransition, standsBy_whileThereIsNoInputOrTheMachineSleeps) {
    forAll([](C present, const RecordInputs& inputs) {
        if (!inputs.modeTimer && inputs.recordState && (inputs.inputLost || inputs.asleep)) {
            EXPECT_EQ(
                recordTransition(present, inputs),
                (RecordTransition{present == C::recording ? File::stop : File::unchanged, C::standingBy}));
        }
    });
}

TEST(RecordTransition, neverLeavesAFileOpenBehindAConditionThatIsNotRecording) {
    forAll([](C present, const RecordInputs& inputs) {
        const RecordTransition transition = recordTransition(present, inputs);
        const bool open =
            transition.file == File::start || (present == C::recording && transition.file == File::unchanged);
        EXPECT_EQ(open, transition.next == C::recording);
        EXPECT_FALSE(transition.file == File::start && present == C::recording);
        EXPECT_FALSE(transition.file == File::stop && present != C::recording);
    });
}

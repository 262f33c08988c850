#include "rehearsal/VirtualClock.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {
constexpr HostTime second = 1'000'000'000;
constexpr Date start{1'193'211'000'000'000};

/// What happened, with the time at which it did. Who runs in virtual time runs alone, so it needs no lock.
struct VirtualClockTest : testing::Test {
    void note(const std::string& what) {
        happened.push_back(std::to_string(clock->hostTime() / second) + " " + what);
    }
    std::unique_ptr<Beat> beat(const std::string& name, HostTime first, HostTime interval) {
        return clock->startBeat(name, first, [this, name, interval] {
            note(name);
            return clock->hostTime() + interval;
        });
    }

    std::vector<std::string> happened;
    std::unique_ptr<VirtualClock> clock = std::make_unique<VirtualClock>(QTimeZone("Europe/Berlin"), start);
};
using Happened = std::vector<std::string>;
} // namespace

TEST_F(VirtualClockTest, startsAtItsDateWithHostTimeZero) {
    EXPECT_EQ(clock->now(), start);
    EXPECT_EQ(clock->hostTime(), 0);
    EXPECT_EQ(clock->timeZone().id(), QByteArray("Europe/Berlin"));
}

TEST_F(VirtualClockTest, movesBothTimes_whenItsDriverSleeps) {
    clock->sleep(86400.5);
    EXPECT_EQ(clock->hostTime(), 86400 * second + second / 2);
    EXPECT_EQ(clock->now(), start.addingSeconds(86400.5));
}

TEST_F(VirtualClockTest, neverGoesBack) {
    clock->sleepUntil(5 * second);
    clock->sleepUntil(2 * second);
    EXPECT_EQ(clock->hostTime(), 5 * second);
}

TEST_F(VirtualClockTest, jumpsToWhatIsDueNext) {
    const auto slow = beat("slow", 7 * second, 7 * second);
    const auto fast = beat("fast", 3 * second, 3 * second);
    clock->sleepUntil(13 * second);
    EXPECT_EQ(happened, (Happened{"3 fast", "6 fast", "7 slow", "9 fast", "12 fast"}));
    EXPECT_EQ(clock->hostTime(), 13 * second);
}

TEST_F(VirtualClockTest, doesWhatIsDueAtTheMomentAtWhichItStops) {
    const auto once = beat("once", 3 * second, 100 * second);
    clock->sleepUntil(3 * second);
    EXPECT_EQ(happened, Happened{"3 once"});
}

TEST_F(VirtualClockTest, makesUpForWhatIsOverdueAtOnce) {
    clock->sleepUntil(5 * second);
    const auto late = beat("late", second, 100 * second);
    EXPECT_TRUE(happened.empty());
    clock->sleepUntil(6 * second);
    EXPECT_EQ(happened, Happened{"5 late"});
}

TEST_F(VirtualClockTest, endsABeat_whenItIsDestroyed) {
    auto first = beat("first", second, second);
    const auto other = beat("other", second, second);
    clock->sleepUntil(second);
    first.reset();
    clock->sleepUntil(2 * second);
    EXPECT_EQ(happened, (Happened{"1 first", "1 other", "2 other"}));
}

TEST_F(VirtualClockTest, letsABeatEndAnotherThatIsDueAtTheSameMoment) {
    std::unique_ptr<Beat> victim;
    const auto first = clock->startBeat("first", second, [&] {
        victim.reset();
        return 100 * second;
    });
    victim = beat("victim", second, second);
    clock->sleepUntil(10 * second);
    EXPECT_TRUE(happened.empty());
}

TEST_F(VirtualClockTest, startsAThreadOnlyWhenTheDriverWaits) {
    clock->detachThread("thread", [this] { note("thread"); });
    EXPECT_TRUE(happened.empty());
    clock->sleep(1.0);
    EXPECT_EQ(happened, Happened{"0 thread"});
}

TEST_F(VirtualClockTest, runsThreadsOneAtATime_inTheOrderOfTheirWaiting) {
    for (const char* name : {"a", "b", "c"})
        clock->detachThread(name, [this, name] {
            note(name);
            clock->sleep(2.0);
            note(name);
            clock->sleep(*name == 'b' ? 1.0 : 3.0);
            note(name);
        });
    clock->sleep(10.0);
    EXPECT_EQ(happened, (Happened{"0 a", "0 b", "0 c", "2 a", "2 b", "2 c", "3 b", "5 a", "5 c"}));
}

TEST_F(VirtualClockTest, givesNoTimeToAThreadThatDoesNotSleep) {
    HostTime after = -1;
    clock->detachThread("busy", [this, &after] {
        for (int turn = 0; turn < 100; ++turn)
            clock->sleepUntil(clock->hostTime()); // lets others go, in no time
        after = clock->hostTime();
    });
    clock->sleep(1.0);
    EXPECT_EQ(after, 0);
}

TEST_F(VirtualClockTest, letsWhoBeganToWaitFirstGoFirst_beatOrSleeper) {
    // The beat waits for the third second from the start, the thread from the first on.
    const auto early = beat("beat", 3 * second, 100 * second);
    clock->detachThread("thread", [this] {
        clock->sleepUntil(second);
        clock->sleepUntil(3 * second);
        note("thread");
    });
    clock->sleepUntil(2 * second);
    const auto late = beat("late beat", 3 * second, 100 * second);
    clock->sleepUntil(3 * second);
    EXPECT_EQ(happened, (Happened{"3 beat", "3 thread", "3 late beat"}));
}

TEST_F(VirtualClockTest, letsAThreadStartAnother) {
    clock->detachThread("outer", [this] {
        clock->detachThread("inner", [this] { note("inner"); });
        note("outer");
        clock->sleep(1.0);
        note("outer");
    });
    clock->sleep(2.0);
    EXPECT_EQ(happened, (Happened{"0 outer", "0 inner", "1 outer"}));
}

TEST_F(VirtualClockTest, movesTheWallClockAlone_whenItJumps) {
    const auto beats = beat("beat", second, second);
    clock->sleep(1.0);
    clock->jump(3600.0);
    EXPECT_EQ(clock->hostTime(), second);
    EXPECT_EQ(clock->now(), start.addingSeconds(3601.0));
    clock->jump(-7200.29);
    EXPECT_EQ(clock->now(), start.addingSeconds(1.0 - 3600.29));
    clock->sleep(1.0);
    EXPECT_EQ(happened, (Happened{"1 beat", "2 beat"}));
}

TEST_F(VirtualClockTest, stopsAfterTheEventThatInterrupts) {
    const auto beats = beat("beat", second, second);
    clock->runUntil(10 * second, [this] { return happened.size() == 2; });
    EXPECT_EQ(clock->hostTime(), 2 * second);
    EXPECT_EQ(happened.size(), 2U);
}

TEST_F(VirtualClockTest, letsSleepersGo_whenItIsDestroyed) {
    std::atomic<int> ended = 0;
    for (int thread = 0; thread < 3; ++thread)
        clock->detachThread("sleeper", [&ended, time = clock.get()] {
            time->sleep(1e9);
            time->sleep(1e9); // returns at once as well
            ++ended;
        });
    clock->sleep(1.0);
    EXPECT_EQ(ended, 0);
    clock.reset();
    EXPECT_EQ(ended, 3);
}

TEST_F(VirtualClockTest, runsThreadsThatNeverHadTheirTurn_whenItIsDestroyed) {
    std::atomic<int> ended = 0;
    clock->detachThread("waiting", [&ended] { ++ended; });
    clock.reset();
    EXPECT_EQ(ended, 1);
}

TEST_F(VirtualClockTest, waitsForThreadsThatSleepersStart_whenItIsDestroyed) {
    std::atomic<int> ended = 0;
    for (int thread = 0; thread < 3; ++thread)
        clock->detachThread("sleeper", [&ended, time = clock.get()] {
            time->sleep(1e9);
            time->detachThread("late", [&ended, time] {
                time->sleep(1.0);
                ++ended;
            });
        });
    clock->sleep(1.0);
    clock.reset();
    EXPECT_EQ(ended, 3);
}

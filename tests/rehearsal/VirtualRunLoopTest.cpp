#include "rehearsal/VirtualRunLoop.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {
constexpr HostTime second = 1'000'000'000;
using Happened = std::vector<std::string>;

struct VirtualRunLoopTest : testing::Test {
    std::function<void()> noting(const std::string& what) {
        return [this, what] { happened.push_back(std::to_string(clock.hostTime() / second) + " " + what); };
    }

    VirtualClock clock{QTimeZone::utc(), {}};
    VirtualRunLoop loop{clock};
    Happened happened;
};
} // namespace

TEST_F(VirtualRunLoopTest, firesTimersInTheOrderOfTheirTimes) {
    const auto late = loop.schedule({.interval = 3.0}, noting("late"));
    const auto early = loop.schedule({.interval = 1.0}, noting("early"));
    const auto early2 = loop.schedule({.interval = 1.0}, noting("early too"));
    loop.runFor(5.0);
    EXPECT_EQ(happened, (Happened{"1 early", "1 early too", "3 late"}));
}

TEST_F(VirtualRunLoopTest, repeatsWithoutDrift) {
    std::vector<HostTime> times;
    const auto timer =
        loop.schedule({.interval = 0.05, .repeats = true}, [&] { times.push_back(clock.hostTime()); });
    loop.runFor(3600.0);
    ASSERT_EQ(times.size(), 72'000U);
    EXPECT_EQ(times.front(), second / 20);
    EXPECT_EQ(times.back(), 3600 * second);
}

TEST_F(VirtualRunLoopTest, keepsTheTimes_whenAHandlerTakesAWhile) {
    std::vector<HostTime> times;
    const auto timer = loop.schedule({.interval = 1.0, .repeats = true}, [&] {
        times.push_back(clock.hostTime());
        clock.sleep(0.25);
    });
    loop.runFor(3.5);
    EXPECT_EQ(times, (std::vector<HostTime>{second, 2 * second, 3 * second}));
}

TEST_F(VirtualRunLoopTest, makesUpForMissedTimesOnce) {
    const auto timer = loop.schedule({.interval = 1.0, .repeats = true}, noting("tick"));
    clock.sleep(10.0); // the main thread was busy
    loop.runFor(1.0);
    EXPECT_EQ(happened, (Happened{"10 tick", "10 tick", "11 tick"}));
}

TEST_F(VirtualRunLoopTest, stopsATimer_whenItIsDestroyed) {
    auto timer = loop.schedule({.interval = 1.0, .repeats = true}, noting("tick"));
    loop.runFor(2.0);
    timer.reset();
    loop.runFor(2.0);
    EXPECT_EQ(happened.size(), 2U);
}

TEST_F(VirtualRunLoopTest, letsAHandlerDestroyItsOwnTimer) {
    std::unique_ptr<Timer> repeating;
    std::unique_ptr<Timer> once;
    const std::string text(100, 'x'); // the handler's own, read after it ended its timer
    repeating = loop.schedule({.interval = 1.0, .repeats = true}, [&, text] {
        repeating.reset();
        noting(text)();
    });
    once = loop.schedule({.interval = 2.0}, [&, text] {
        once.reset();
        noting(text)();
    });
    loop.runFor(5.0);
    EXPECT_EQ(happened, (Happened{"1 " + text, "2 " + text}));
}

TEST_F(VirtualRunLoopTest, letsAHandlerDestroyAnotherTimerThatIsDue) {
    std::unique_ptr<Timer> victim;
    const auto first = loop.schedule({.interval = 1.0}, [&victim] { victim.reset(); });
    victim = loop.schedule({.interval = 1.0}, noting("victim"));
    loop.runFor(5.0);
    EXPECT_TRUE(happened.empty());
}

TEST_F(VirtualRunLoopTest, letsAHandlerReplaceItsOwnTimer) {
    std::unique_ptr<Timer> timer;
    std::function<void()> again = [&] {
        noting("tick")();
        timer = loop.schedule({.interval = 1.0}, again);
    };
    again();
    loop.runFor(3.0);
    EXPECT_EQ(happened, (Happened{"0 tick", "1 tick", "2 tick", "3 tick"}));
}

TEST_F(VirtualRunLoopTest, firesATimerNow_andGoesOnFromThere) {
    const auto repeating = loop.schedule({.interval = 10.0, .repeats = true}, noting("repeating"));
    const auto once = loop.schedule({.interval = 20.0}, noting("once"));
    loop.runFor(3.0);
    repeating->fireNow();
    once->fireNow();
    EXPECT_TRUE(happened.empty()); // as soon as the loop is idle, not earlier
    loop.runFor(20.0);
    EXPECT_EQ(happened, (Happened{"3 repeating", "3 once", "13 repeating", "23 repeating"}));
    once->fireNow(); // it is over
    loop.runFor(1.0);
    EXPECT_EQ(happened.size(), 4U);
}

TEST_F(VirtualRunLoopTest, makesPostedCallsInTheirOrder_beforeTimers) {
    const auto timer = loop.schedule({.interval = 0.0}, noting("timer"));
    loop.post(noting("first"));
    loop.post([this] {
        noting("second")();
        loop.post(noting("third"));
    });
    EXPECT_TRUE(happened.empty());
    loop.runFor(1.0);
    EXPECT_EQ(happened, (Happened{"0 first", "0 second", "0 third", "0 timer"}));
}

TEST_F(VirtualRunLoopTest, makesACallThatAThreadPosts_atItsTime) {
    const auto timer = loop.schedule({.interval = 2.0}, noting("timer"));
    clock.detachThread("thread", [this] {
        clock.sleep(1.0);
        loop.post(noting("posted"));
        clock.sleep(1.0);
        loop.post(noting("posted"));
    });
    loop.runFor(5.0);
    EXPECT_EQ(happened, (Happened{"1 posted", "2 posted", "2 timer"}));
}

TEST_F(VirtualRunLoopTest, leavesTheTimeExactlyAtTheEnd) {
    const auto timer = loop.schedule({.interval = 0.7, .repeats = true}, [] {});
    loop.runFor(1.0);
    EXPECT_EQ(clock.hostTime(), second);
    loop.runFor(0.1);
    EXPECT_EQ(clock.hostTime(), second + second / 10);
    loop.runFor(0.0);
    EXPECT_EQ(clock.hostTime(), second + second / 10);
}

TEST_F(VirtualRunLoopTest, doesAllThatIsDueAtTheEnd) {
    const auto timer = loop.schedule({.interval = 1.0}, noting("timer"));
    const auto poster = clock.startBeat("poster", second, [this] {
        loop.post(noting("posted"));
        return 100 * second;
    });
    const auto other = clock.startBeat("other", second, [this] {
        noting("beat")();
        return 100 * second;
    });
    loop.runFor(1.0);
    EXPECT_EQ(happened.size(), 3U);
    EXPECT_EQ(clock.hostTime(), second);
}

TEST_F(VirtualRunLoopTest, runsUntilQuit_andReturnsItsCode) {
    const auto timer = loop.schedule({.interval = 5.0}, [this] { loop.quit(7); });
    const auto never = loop.schedule({.interval = 6.0}, noting("never"));
    EXPECT_EQ(loop.run(), 7);
    EXPECT_EQ(clock.hostTime(), 5 * second);
    EXPECT_TRUE(loop.hasQuit());
    EXPECT_TRUE(happened.empty());
}

TEST_F(VirtualRunLoopTest, quitsARunForEarly_andGoesOnWithTheNext) {
    const auto timer = loop.schedule({.interval = 1.0}, [this] { loop.quit(0); });
    loop.post([] {});
    loop.runFor(5.0);
    EXPECT_EQ(clock.hostTime(), second);
    EXPECT_TRUE(loop.hasQuit());
    loop.runFor(5.0);
    EXPECT_EQ(clock.hostTime(), 6 * second);
    EXPECT_FALSE(loop.hasQuit());
}

TEST_F(VirtualRunLoopTest, returnsAtOnce_whenQuitCameBeforeRun) {
    loop.quit(3);
    loop.post(noting("never"));
    EXPECT_EQ(loop.run(), 3);
    EXPECT_TRUE(happened.empty());
    EXPECT_EQ(clock.hostTime(), 0);
    loop.runFor(1.0); // that was the end of one run only
    EXPECT_EQ(happened, Happened{"0 never"});
}

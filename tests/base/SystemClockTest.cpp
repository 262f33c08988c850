#include "base/SystemClock.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <latch>
#include <limits>
#include <memory>
#include <pthread.h>
#include <string>

namespace {
constexpr HostTime farAway = std::numeric_limits<HostTime>::max() / 2;
} // namespace

TEST(SystemClock, tellsTheTimeOfTheMachine) {
    const SystemClock clock;
    const auto before = std::chrono::system_clock::now().time_since_epoch();
    const Date now = clock.now();
    const auto after = std::chrono::system_clock::now().time_since_epoch();
    EXPECT_GE(now.microseconds, std::chrono::duration_cast<std::chrono::microseconds>(before).count());
    EXPECT_LE(now.microseconds, std::chrono::duration_cast<std::chrono::microseconds>(after).count());
}

TEST(SystemClock, hasAHostTimeThatNeverGoesBack) {
    const SystemClock clock;
    HostTime last = clock.hostTime();
    for (int reading = 0; reading < 1000; ++reading) {
        const HostTime next = clock.hostTime();
        ASSERT_GE(next, last);
        last = next;
    }
}

TEST(SystemClock, doesNotSleep_whenTheTimeIsReached) {
    SystemClock clock;
    const HostTime before = clock.hostTime();
    clock.sleepUntil(before);
    clock.sleepUntil(0);
    clock.sleep(-3600.0);
    EXPECT_GE(clock.hostTime(), before);
}

TEST(SystemClock, sleepsNoShorterThanAsked) {
    SystemClock clock;
    const HostTime wake = clock.hostTime() + 1'000'000; // a millisecond
    clock.sleepUntil(wake);
    EXPECT_GE(clock.hostTime(), wake);
}

TEST(SystemClock, waitsForItsThreads_whenItIsDestroyed) {
    std::atomic<int> ended = 0;
    {
        SystemClock clock;
        for (int thread = 0; thread < 8; ++thread)
            clock.detachThread("worker", [&ended] { ++ended; });
    }
    EXPECT_EQ(ended, 8);
}

TEST(SystemClock, waitsForThreadsThatItsThreadsStart) {
    std::atomic<int> ended = 0;
    {
        SystemClock clock;
        for (int thread = 0; thread < 4; ++thread)
            clock.detachThread("outer", [&clock, &ended] {
                for (int inner = 0; inner < 25; ++inner)
                    clock.detachThread("inner", [&ended] { ++ended; });
            });
    }
    EXPECT_EQ(ended, 100);
}

TEST(SystemClock, namesItsThreads_asFarAsANameMayGo) {
    std::string name(32, '\0');
    {
        SystemClock clock;
        std::latch named(1);
        std::atomic<pthread_t> self{};
        std::latch started(1);
        clock.detachThread("a name that is too long", [&] {
            self = pthread_self();
            started.count_down();
            named.wait();
        });
        started.wait();
        pthread_getname_np(self, name.data(), name.size());
        named.count_down();
    }
    EXPECT_STREQ(name.c_str(), "a name that is ");
}

TEST(SystemClock, beatsAtTheTimesThatTheCallAsksFor) {
    SystemClock clock;
    std::latch beats(3);
    std::atomic<int> calls = 0;
    const HostTime start = clock.hostTime();
    std::atomic<HostTime> last = 0;
    const auto beat = clock.startBeat("beat", start, [&]() -> HostTime {
        if (++calls > 3)
            return farAway;
        last = clock.hostTime();
        const HostTime next = calls < 3 ? start + calls * 1'000'000 : farAway;
        beats.count_down();
        return next;
    });
    beats.wait();
    EXPECT_GE(last, start + 2'000'000);
    EXPECT_EQ(calls, 3);
}

TEST(SystemClock, endsABeat_whenItIsDestroyed) {
    SystemClock clock;
    std::atomic<int> calls = 0;
    auto waiting = clock.startBeat("waiting", farAway, [&calls] {
        ++calls;
        return farAway;
    });
    waiting.reset();
    EXPECT_EQ(calls, 0);

    std::latch called(1);
    std::atomic<bool> first = true;
    auto busy = clock.startBeat("busy", 0, [&]() -> HostTime {
        ++calls;
        if (first.exchange(false))
            called.count_down();
        return 0; // at once again
    });
    called.wait();
    busy.reset();
    const int after = calls;
    EXPECT_GT(after, 0);
    EXPECT_EQ(calls, after);
}

TEST(SystemClock, endsABeatOnlyAfterTheCallInProgress) {
    SystemClock clock;
    std::latch inside(1);
    std::atomic<bool> returned = false;
    auto beat = clock.startBeat("beat", 0, [&] {
        inside.count_down();
        clock.sleep(0.002);
        returned = true;
        return farAway;
    });
    inside.wait();
    beat.reset();
    EXPECT_TRUE(returned);
}

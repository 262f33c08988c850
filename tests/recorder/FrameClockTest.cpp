#include "recorder/FrameClock.h"

#include <atomic>
#include <gtest/gtest.h>
#include <latch>
#include <thread>

namespace {
constexpr HostTime second = 1'000'000'000;
} // namespace

TEST(FrameClock, knowsNothing_beforeTheFirstNote) {
    FrameClock clock;
    EXPECT_FALSE(clock.frameAt(0));
    EXPECT_FALSE(clock.timeOf(0));
    clock.reset(48000.0);
    EXPECT_FALSE(clock.frameAt(second));
    EXPECT_FALSE(clock.timeOf(1));
}

TEST(FrameClock, mapsBothWays_beforeAtAndBehindTheNote) {
    FrameClock clock;
    clock.reset(44100.0);
    clock.note(1000, 5 * second);
    EXPECT_EQ(clock.frameAt(5 * second), 1000);
    EXPECT_EQ(clock.frameAt(6 * second), 45100);
    EXPECT_EQ(clock.frameAt(4 * second), -43100);
    EXPECT_EQ(clock.timeOf(1000), 5 * second);
    EXPECT_EQ(clock.timeOf(45100), 6 * second);
    EXPECT_EQ(clock.timeOf(-43100), 4 * second);
}

TEST(FrameClock, givesTheNearestFrameAndNanosecond) {
    FrameClock clock;
    clock.reset(44100.0);
    clock.note(0, 0);
    EXPECT_EQ(clock.timeOf(1), 22676); // 22675.7
    EXPECT_EQ(clock.frameAt(22676), 1);
    EXPECT_EQ(clock.frameAt(11337), 0); // just below half a frame
    EXPECT_EQ(clock.frameAt(11338), 1);
    EXPECT_EQ(clock.frameAt(-11337), 0);
    EXPECT_EQ(clock.frameAt(-11338), -1);
}

TEST(FrameClock, findsEveryFrameAgain_alsoAfterDays) {
    for (const double rate : {8000.0, 11025.0, 44100.0, 48000.0, 192000.0}) {
        FrameClock clock;
        clock.reset(rate);
        const auto days = static_cast<std::int64_t>(30 * 86400 * rate);
        clock.note(days, 30 * 86400 * second + 12345);
        for (std::int64_t frame = days - 100'000; frame < days + 100'000; frame += 37)
            ASSERT_EQ(clock.frameAt(*clock.timeOf(frame)), frame) << rate;
    }
}

TEST(FrameClock, goesByTheLatestNote) {
    FrameClock clock;
    clock.reset(1000.0);
    clock.note(0, 0);
    clock.note(512, second); // the device is late
    EXPECT_EQ(clock.frameAt(2 * second), 1512);
    EXPECT_EQ(clock.timeOf(0), second - 512'000'000);
}

TEST(FrameClock, forgetsAndTakesTheNewRate_whenReset) {
    FrameClock clock;
    clock.reset(44100.0);
    clock.note(1000, second);
    clock.reset(48000.0);
    EXPECT_FALSE(clock.frameAt(second));
    clock.note(0, second);
    EXPECT_EQ(clock.frameAt(2 * second), 48000);
}

TEST(FrameClock, showsNoReaderHalfANote) {
    constexpr std::int64_t notes = 1'000'000;
    FrameClock clock;
    clock.reset(1000.0); // a frame is a million nanoseconds, so every whole note says: frame 0 was at 0
    clock.note(0, 0);
    std::latch reading(1);
    std::atomic<bool> ended = false;
    std::int64_t torn = 0;
    std::thread reader([&] {
        reading.count_down();
        while (!ended) {
            torn += clock.timeOf(0) != 0 ? 1 : 0;
            torn += clock.frameAt(0) != 0 ? 1 : 0;
        }
    });
    reading.wait();
    for (std::int64_t frame = 1; frame <= notes; ++frame)
        clock.note(frame, frame * 1'000'000);
    ended = true;
    reader.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(clock.frameAt(notes * 1'000'000), notes);
}

namespace {
/// Notes a cycle of a tenth of a second, `late` nanoseconds late, for each tenth from `first` up to `end`.
void noteTenths(FrameClock& clock, int first, int end, HostTime late) {
    for (int tenth = first; tenth < end; ++tenth)
        clock.note(tenth * 4800, tenth * (second / 10) + late);
}
} // namespace

TEST(FrameClock, tellsOfALeap_onceASecondOfSoundLiesBehindIt) {
    FrameClock clock;
    clock.reset(48000.0);
    noteTenths(clock, 0, 50, 0);
    noteTenths(clock, 50, 60, 3 * second);
    EXPECT_FALSE(clock.takeLeap());
    noteTenths(clock, 60, 61, 3 * second);
    const auto leap = clock.takeLeap();
    ASSERT_TRUE(leap);
    EXPECT_EQ(leap->frame, 50 * 4800);
    EXPECT_EQ(leap->from, 5 * second);
    EXPECT_EQ(leap->missing, 3 * second);
    EXPECT_FALSE(clock.takeLeap());
}

TEST(FrameClock, takesNoNoteForALeap_thatIsWithinTheJitterOrTakenBack) {
    FrameClock clock;
    clock.reset(48000.0);
    noteTenths(clock, 0, 50, 0);
    noteTenths(clock, 50, 52, second * 4 / 10);
    noteTenths(clock, 52, 100, 0);
    noteTenths(clock, 100, 102, 2 * second);
    noteTenths(clock, 102, 200, 0);
    EXPECT_FALSE(clock.takeLeap());
}

TEST(FrameClock, takesNoDriftForALeap) {
    FrameClock clock;
    clock.reset(48000.0);
    for (std::int64_t tenth = 0; tenth < 864000; ++tenth) // a day, with a device that is half a percent slow
        clock.note(tenth * 4800, tenth * (second / 10) / 1000 * 1005);
    EXPECT_FALSE(clock.takeLeap());
}

TEST(FrameClock, losesNoLength_whenNobodyLooksForLong) {
    FrameClock clock;
    clock.reset(48000.0);
    HostTime late = 0;
    for (int tenth = 0; tenth < 1000; ++tenth) {
        if (tenth > 0 && tenth % 20 == 0)
            late += second;
        noteTenths(clock, tenth, tenth + 1, late);
    }
    HostTime told = 0;
    int leaps = 0;
    for (; const auto leap = clock.takeLeap(); ++leaps)
        told += leap->missing;
    EXPECT_EQ(leaps, 32);
    EXPECT_EQ(told, 32 * second);
    for (int tenth = 1000; tenth < 1100; ++tenth) {
        if (tenth == 1020)
            late += second;
        noteTenths(clock, tenth, tenth + 1, late);
    }
    const auto leap = clock.takeLeap();
    ASSERT_TRUE(leap);
    EXPECT_EQ(told + leap->missing, late);
}

TEST(FrameClock, forgetsALeap_whenItIsReset) {
    FrameClock clock;
    clock.reset(48000.0);
    noteTenths(clock, 0, 10, 0);
    noteTenths(clock, 10, 30, 3 * second);
    clock.reset(48000.0);
    noteTenths(clock, 0, 30, 0);
    EXPECT_FALSE(clock.takeLeap());
}

TEST(FrameClock, tellsNoLeap_whenADeviceThatRanAheadComesBackToItsTime) {
    FrameClock clock;
    clock.reset(1000.0);
    std::int64_t frame = 0;
    for (int cycle = 0; cycle < 42; ++cycle) { // 4.2 s of sound in 2 s
        clock.note(frame, cycle * second / 21);
        frame += 100;
    }
    for (int cycle = 0; cycle < 40; ++cycle) { // 0.9 s later than the frames say
        clock.note(frame, 2 * second + 9 * second / 10 + cycle * second / 10);
        frame += 100;
    }
    EXPECT_FALSE(clock.takeLeap());
}

TEST(FrameClock, tellsOfALeap_whenTheDeviceRanAheadLongBefore) {
    FrameClock clock;
    clock.reset(1000.0);
    clock.note(0, 0);
    clock.note(2000, second); // a second ahead
    std::int64_t frame = 2000;
    HostTime captured = second;
    for (int cycle = 0; cycle < 1200; ++cycle) { // two minutes on time
        frame += 100;
        captured += second / 10;
        clock.note(frame, captured);
    }
    for (int cycle = 0; cycle < 20; ++cycle) {
        frame += 100;
        captured += second / 10 + (cycle == 0 ? 2 * second : 0);
        clock.note(frame, captured);
    }
    const auto leap = clock.takeLeap();
    ASSERT_TRUE(leap);
    EXPECT_NEAR(static_cast<double>(leap->missing) * 1e-9, 2.0, 0.01);
}

TEST(FrameClock, tellsALeapWhole_onADeviceThatIsAlwaysFast) {
    FrameClock clock;
    clock.reset(1000.0);
    std::int64_t frame = 0;
    HostTime captured = 0;
    for (int cycle = 0; cycle < 36000; ++cycle) { // an hour at 100.5 %
        clock.note(frame, captured);
        frame += 100;
        captured += second * 995 / 10000;
    }
    captured += 8 * second;
    for (int cycle = 0; cycle < 20; ++cycle) {
        clock.note(frame, captured);
        frame += 100;
        captured += second * 995 / 10000;
    }
    const auto leap = clock.takeLeap();
    ASSERT_TRUE(leap);
    EXPECT_NEAR(static_cast<double>(leap->missing) * 1e-9, 8.0, 0.1);
}

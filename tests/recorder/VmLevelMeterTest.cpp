#include "recorder/VmLevelMeter.h"

#include "support/DeskOfATest.h"

#include <gtest/gtest.h>

namespace {
using Kind = SimulatedSegment::Kind;

SimulatedDevice hearing(std::vector<SimulatedSegment> signal) {
    SimulatedDevice device = countingInput();
    device.signal = std::move(signal);
    return device;
}

int levelOf(double sample) {
    Desk it(fullRateStereo, {hearing({{.at = 0.0, .kind = Kind::constant, .level = sample}}), deskOutput()});
    it.desk.launch();
    it.desk.runFor(1.0);
    return it.desk.controler->meter().level();
}

/// Lamps that are lit without a break from the lowest on.
int bar(const LampColumn& lamps) {
    int lit = 0;
    while (lit < LampColumn::count && lamps.isLit(lit))
        ++lit;
    return lit;
}

int highestLit(const LampColumn& lamps) {
    int highest = LampColumn::count;
    while (highest > 0 && !lamps.isLit(highest - 1))
        --highest;
    return highest;
}
} // namespace

TEST(VmLevelMeter, readsTheLargestPositiveSample) {
    EXPECT_EQ(levelOf(0.0), 0);
    EXPECT_EQ(levelOf(0.1), 10);
    EXPECT_EQ(levelOf(1.0), 20);
    EXPECT_EQ(levelOf(-1.0), 0); // negative samples are not rectified
}

TEST(VmLevelMeter, reachesTwentyInTwentyTicksAndStays) {
    Desk it;
    it.desk.launch();
    VmLevelMeter& meter = it.desk.controler->meter();
    meter.initLEDDisplay();
    for (int tick = 1; tick <= 20; ++tick) {
        meter.dispLevel(20);
        EXPECT_EQ(bar(meter.lamps()), tick);
    }
    for (int tick = 0; tick < 50; ++tick)
        meter.dispLevel(35); // no more than the lamps can show
    EXPECT_EQ(bar(meter.lamps()), 20);
}

TEST(VmLevelMeter, fallsByOneLampATick) {
    Desk it;
    it.desk.launch();
    VmLevelMeter& meter = it.desk.controler->meter();
    meter.initLEDDisplay();
    for (int tick = 0; tick < 10; ++tick)
        meter.dispLevel(10);
    meter.dispLevel(0);
    EXPECT_EQ(bar(meter.lamps()), 10); // the held peak still touches the bar
    for (int tick = 2; tick <= 10; ++tick) {
        meter.dispLevel(0);
        EXPECT_EQ(bar(meter.lamps()), 10 - tick);
    }
}

TEST(VmLevelMeter, holdsThePeakForItsTimeAndThenDropsToTheBar) {
    Desk it;
    it.desk.launch();
    VmLevelMeter& meter = it.desk.controler->meter();
    EXPECT_EQ(meter.peekHoldTime(), 1.0);
    meter.initLEDDisplay();
    for (int tick = 0; tick < 15; ++tick)
        meter.dispLevel(15);
    for (int tick = 1; tick <= 19; ++tick) {
        meter.dispLevel(5);
        EXPECT_EQ(highestLit(meter.lamps()), 15) << tick;
    }
    meter.dispLevel(5);
    EXPECT_EQ(highestLit(meter.lamps()), 5);
}

TEST(VmLevelMeter, goesDarkWhenTheInputChanges) {
    Desk it(fullRateStereo, {hearing({{.at = 0.0, .kind = Kind::constant, .level = 1.0}}), deskOutput()});
    it.desk.launch();
    it.desk.runFor(2.0);
    EXPECT_EQ(bar(it.desk.controler->meter().lamps()), 20);
    it.desk.controler->meter().initLEDDisplay();
    EXPECT_EQ(highestLit(it.desk.controler->meter().lamps()), 0);
    EXPECT_EQ(it.desk.controler->meter().level(), 0);
}

TEST(VmLevelMeter, keepsTheHoldTimeInTheSettings) {
    Desk it({{"PeekLevelHoldTime", 2.5}});
    it.desk.launch();
    EXPECT_EQ(it.desk.controler->meter().peekHoldTime(), 2.5);
    it.desk.controler->meter().setPeekHoldTime(0.5);
    it.desk.controler->meter().saveUserDefaults();
    EXPECT_EQ(it.desk.defaults.doubleForKey("PeekLevelHoldTime"), 0.5);
}

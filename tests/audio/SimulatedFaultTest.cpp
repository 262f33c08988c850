#include "audio/SimulatedFixture.h"

using namespace simulated;

using SimulatedFaultTest = SimulatedHardwareTest;

TEST_F(SimulatedFaultTest, handsSilenceOnInPlaceOfWhatAStallLost) {
    make(desk());
    start();
    clock.advance(1.0);
    hardware->stall("desk", 3.0);
    const unsigned before = ear.cycles;
    clock.advance(2.999);
    EXPECT_EQ(ear.cycles, before);
    EXPECT_EQ(hardware->holeFrames(1), 0U);
    clock.advance(3.001);
    EXPECT_EQ(ear.frames, 7U * 44100 / 512 * 512);
    EXPECT_EQ(ear.silentFrames, 3U * 44100);
    EXPECT_EQ(ear.firstSilent, 44100);
    EXPECT_EQ(ear.wrongFrames + ear.jumps, 0U);
    EXPECT_EQ(hardware->holeFrames(1), 3U * 44100);
    ASSERT_EQ(kinds(), std::vector{EventKind::hole});
    EXPECT_EQ(events[0].frames, 3U * 44100);
    EXPECT_EQ(events[0].device, 1U);
}

TEST_F(SimulatedFaultTest, catchesUpNoFasterThanEightTimesThePace) {
    make(desk());
    start();
    clock.advance(1.0);
    hardware->stall("desk", 70.0);
    clock.advance(70.0);
    const std::uint64_t before = ear.frames;
    clock.advance(5.0);
    EXPECT_LE(ear.frames - before, 8U * 5 * 44100 + 2 * 512);
    EXPECT_GE(ear.frames - before, 7U * 5 * 44100);
    clock.advance(5.2);
    EXPECT_LT(81.2 * 44100.0 - static_cast<double>(ear.frames), 512.0 + 1.0);
    EXPECT_EQ(ear.silentFrames, 70U * 44100);
}

TEST_F(SimulatedFaultTest, addsUpStallsThatFollowEachOther) {
    make(desk());
    start();
    clock.advance(1.0);
    hardware->stall("desk", 2.0);
    clock.advance(1.0);
    hardware->stall("desk", 2.0); // to the fourth second
    hardware->stall("desk", 0.5); // within it
    clock.advance(2.1);
    hardware->stall("desk", 1.0); // while catching up
    clock.advance(5.0);
    EXPECT_EQ(ear.silentFrames, 4U * 44100);
    EXPECT_EQ(hardware->holeFrames(1), 4U * 44100);
    EXPECT_EQ(ear.wrongFrames + ear.jumps, 0U);
    std::uint64_t told = 0;
    for (const AudioHardwareEvent& event : events)
        told += event.frames;
    EXPECT_EQ(told, 4U * 44100);
}

TEST_F(SimulatedFaultTest, losesWhatAStallHolds_alsoWhenStartedInIt) {
    make(desk());
    hardware->stall("desk", 2.0);
    clock.advance(1.0);
    start();
    clock.advance(0.99);
    EXPECT_EQ(ear.cycles, 0U);
    clock.advance(3.0);
    EXPECT_EQ(ear.silentFrames, 44100U);
    EXPECT_EQ(ear.firstSilent, 44100);
    EXPECT_EQ(ear.wrongFrames + ear.jumps, 0U);
}

TEST_F(SimulatedFaultTest, playsNothingLate_whenAnOutputWasStalled) {
    make(desk(Direction::output));
    start();
    clock.advance(1.0);
    hardware->stall("desk", 3.0);
    clock.advance(3.0);
    EXPECT_EQ(ear.cycles, 86U);
    clock.advance(1.0);
    EXPECT_EQ(ear.cycles, 86U + 86U);
    EXPECT_EQ(hardware->holeFrames(1), 0U);
    EXPECT_TRUE(events.empty());
}

TEST_F(SimulatedFaultTest, isGoneWhileUnplugged_andDeliversAgainAfterwards) {
    make(desk());
    start();
    clock.advance(1.0);
    hardware->unplug("desk");
    EXPECT_TRUE(hardware->devices().empty());
    EXPECT_EQ(hardware->deviceUID(1), "");
    EXPECT_EQ(hardware->streamFormat(3, 0), AudioStreamBasicDescription{});
    EXPECT_EQ(hardware->startIOProc(1, &Ear::listen), audioHardwareBadDeviceError);
    const unsigned before = ear.cycles;
    clock.advance(2.0);
    EXPECT_EQ(ear.cycles, before);
    hardware->replug("desk");
    EXPECT_EQ(hardware->devices(), std::vector<AudioDeviceID>{1});
    ear.nextFrame = -1;
    clock.advance(1.0);
    EXPECT_EQ(ear.cycles, before + 86U);
    EXPECT_EQ(ear.nextFrame, 3 * 44100 + 86 * 512);
    EXPECT_EQ(ear.wrongFrames + ear.silentFrames + ear.jumps, 0U);
    EXPECT_EQ(kinds(), (std::vector{EventKind::deviceDied, EventKind::deviceListChanged,
                                    EventKind::defaultInputChanged, EventKind::deviceListChanged,
                                    EventKind::defaultInputChanged, EventKind::deviceReturned}));
}

TEST_F(SimulatedFaultTest, tellsOnlyOfTheList_whenAnIdleDeviceIsUnplugged) {
    make(desk());
    hardware->unplug("desk");
    hardware->unplug("desk");
    hardware->unplug("no one");
    hardware->replug("desk");
    hardware->replug("desk");
    EXPECT_EQ(kinds(), (std::vector{EventKind::deviceListChanged, EventKind::defaultInputChanged,
                                    EventKind::deviceListChanged, EventKind::defaultInputChanged}));
    EXPECT_EQ(events[1].device, 0U);
    EXPECT_EQ(events[3].device, 1U);
    EXPECT_EQ(hardware->defaultDevice(AudioDirection::input), 1U);
    EXPECT_EQ(hardware->defaultDevice(AudioDirection::output), 0U);
}

TEST_F(SimulatedFaultTest, canBeStoppedWhileUnplugged) {
    make(desk());
    start();
    hardware->unplug("desk");
    EXPECT_EQ(hardware->stopIOProc(1, &Ear::listen), 0);
    EXPECT_EQ(hardware->removeIOProc(1, &Ear::listen), 0);
    EXPECT_EQ(clock.beats(), 0U);
}

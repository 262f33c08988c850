#include "audio/KaCoreAudioDevice.h"
#include "audio/KaCoreAudioSystem.h"
#include "audio/SimulatedFixture.h"
#include "base/SystemClock.h"
#include "support/Sanitizer.h"

#include <condition_variable>

using namespace simulated;

TEST_F(SimulatedHardwareTest, tellsItsProperties) {
    make(desk());
    EXPECT_EQ(hardware->devices(), std::vector<AudioDeviceID>{1});
    EXPECT_EQ(hardware->deviceName(1), "Desk");
    EXPECT_EQ(hardware->deviceUID(1), "desk");
    EXPECT_EQ(hardware->streamConfiguration(1, AudioDirection::input), std::vector<std::uint32_t>{2});
    EXPECT_TRUE(hardware->streamConfiguration(1, AudioDirection::output).empty());
    EXPECT_EQ(hardware->streams(1, AudioDirection::input).size(), 1U);
    EXPECT_TRUE(hardware->streams(1, AudioDirection::output).empty());
    EXPECT_EQ(hardware->bufferFrameSizeRange(1, AudioDirection::output), (AudioValueRange{14, 4096}));
    EXPECT_EQ(hardware->availableNominalSampleRates(1),
              (std::vector<AudioValueRange>{{44100, 44100}, {8000, 8000}}));
    EXPECT_EQ(hardware->deviceName(2), "");
    EXPECT_EQ(hardware->nominalSampleRate(0), 0.0);
    EXPECT_EQ(hardware->addIOProc(2, &Ear::listen, &ear), audioHardwareBadDeviceError);
}

TEST_F(SimulatedHardwareTest, takesOnlyOfferedSettings) {
    make(desk());
    EXPECT_EQ(hardware->nominalSampleRate(1), 44100.0);
    EXPECT_FALSE(hardware->setNominalSampleRate(1, 48000.0));
    EXPECT_TRUE(hardware->setNominalSampleRate(1, 8000.0));
    EXPECT_EQ(hardware->nominalSampleRate(1), 8000.0);
    EXPECT_EQ(hardware->bufferFrameSize(1), 512U);
    EXPECT_FALSE(hardware->setBufferFrameSize(1, 13));
    EXPECT_FALSE(hardware->setBufferFrameSize(1, 4097));
    EXPECT_TRUE(hardware->setBufferFrameSize(1, 14));
    EXPECT_EQ(hardware->maxVariableBufferFrameSize(1), 14U);
    EXPECT_EQ(hardware->dataSource(1, AudioDirection::input), 1U);
    EXPECT_FALSE(hardware->setDataSource(1, AudioDirection::input, 3));
    EXPECT_FALSE(hardware->setDataSource(1, AudioDirection::output, 2));
    EXPECT_TRUE(hardware->setDataSource(1, AudioDirection::input, 2));
    EXPECT_EQ(hardware->dataSource(1, AudioDirection::input), 2U);
}

TEST_F(SimulatedHardwareTest, hasCanonicalStreams) {
    make(desk(Direction::duplex));
    KaCoreAudioSystem system(*hardware);
    KaCoreAudioDevice device(system, 1);
    for (const AudioDirection direction : {AudioDirection::input, AudioDirection::output}) {
        const auto description = device.streamsForDirection(direction).at(0).streamDescriptionForSide(0);
        EXPECT_TRUE(description.isCanonicalFormat());
        EXPECT_EQ(description.description(), "2ch-44100.00hz-32bit-'lpcm'");
    }
}

TEST_F(SimulatedHardwareTest, handsOnEveryFrameOnce) {
    make(desk());
    start();
    clock.advance(3600.0);
    EXPECT_EQ(ear.cycles, 3600U * 44100 / 512);
    EXPECT_EQ(ear.wrongFrames + ear.silentFrames + ear.jumps, 0U);
}

TEST_F(SimulatedHardwareTest, endsACycleWhenItsLastFrameIsOver) {
    make(desk(Direction::input, {8000.0}));
    ASSERT_TRUE(hardware->setBufferFrameSize(1, 80));
    clock.advance(1.0);
    start();
    clock.advance(0.0099);
    EXPECT_EQ(ear.cycles, 0U);
    clock.advance(0.0001);
    EXPECT_EQ(ear.cycles, 1U);
    EXPECT_EQ(ear.inputStamp.mSampleTime, 8000.0);
    EXPECT_EQ(ear.inputStamp.mHostTime, 1'000'000'000);
    EXPECT_EQ(ear.nowStamp.mHostTime, 1'010'000'000);
    EXPECT_EQ(ear.inputStamp.mFlags, 7U);
    EXPECT_EQ(ear.inputStamp.mRateScalar, 1.0);
}

TEST_F(SimulatedHardwareTest, doesNotDrift_overAMonth) {
    make(desk());
    ASSERT_TRUE(hardware->setBufferFrameSize(1, 4096));
    clock.advance(30.0 * 86400.0);
    start();
    clock.advance(10.0);
    const double seconds = ear.inputStamp.mSampleTime / 44100.0;
    EXPECT_NEAR(static_cast<double>(ear.inputStamp.mHostTime) / 1e9, seconds, 2e-6);
    EXPECT_EQ(ear.wrongFrames + ear.jumps, 0U);
    EXPECT_EQ(ear.frames, 441000U / 4096 * 4096);
}

TEST_F(SimulatedHardwareTest, runsOn_whileNoOneListens) {
    make(desk());
    start();
    clock.advance(1.0);
    EXPECT_EQ(hardware->stopIOProc(1, &Ear::listen), 0);
    EXPECT_EQ(clock.beats(), 0U);
    const unsigned before = ear.cycles;
    clock.advance(5.0);
    EXPECT_EQ(ear.cycles, before);
    EXPECT_EQ(hardware->startIOProc(1, &Ear::listen), 0);
    ear.nextFrame = -1;
    clock.advance(0.012);
    EXPECT_EQ(ear.cycles, before + 1);
    EXPECT_EQ(ear.inputStamp.mSampleTime, 6.0 * 44100.0);
    EXPECT_EQ(ear.wrongFrames, 0U);
}

TEST_F(SimulatedHardwareTest, changesTheBufferSizeWithoutAGap) {
    make(desk());
    start();
    clock.advance(0.5);
    ASSERT_TRUE(hardware->setBufferFrameSize(1, 100));
    clock.advance(0.5);
    EXPECT_EQ(ear.lastFrames, 100U);
    ASSERT_TRUE(hardware->setBufferFrameSize(1, 4096));
    clock.advance(0.5);
    EXPECT_EQ(ear.lastFrames, 4096U);
    EXPECT_EQ(ear.wrongFrames + ear.silentFrames + ear.jumps, 0U);
}

TEST_F(SimulatedHardwareTest, countsAtTheNewRate_whenItChanges) {
    make(desk());
    start();
    clock.advance(1.0);
    ASSERT_TRUE(hardware->setNominalSampleRate(1, 8000.0));
    ear.nextFrame = -1;
    ear.frames = 0;
    clock.advance(1.0);
    EXPECT_EQ(ear.frames, 8000U / 512 * 512);
    EXPECT_EQ(static_cast<double>(ear.nextFrame), 8000.0 + static_cast<double>(ear.frames));
    EXPECT_EQ(ear.wrongFrames + ear.silentFrames + ear.jumps, 0U);
}

TEST_F(SimulatedHardwareTest, callsSeveralProcedures_andMixesWhatTheyPlay) {
    make(desk(Direction::duplex));
    std::uint64_t played = 0;
    std::uint64_t wrong = 0;
    hardware->setOutputSink(
        [&](const std::string& uid, const AudioTimeStamp& time, const AudioBufferList& list) {
            EXPECT_EQ(uid, "desk");
            EXPECT_EQ(time.mSampleTime, ear.inputStamp.mSampleTime + 512.0);
            const auto* const samples = static_cast<const float*>(list.mBuffers[0].mData);
            for (std::uint32_t i = 0; i < list.mBuffers[0].mDataByteSize / 4; ++i)
                wrong += samples[i] == 0.75F ? 0 : 1;
            played += list.mBuffers[0].mDataByteSize / 8;
        });
    Ear other;
    ear.plays = 0.25F;
    other.plays = 0.5F;
    start();
    ASSERT_EQ(hardware->addIOProc(1, &Ear::listenToo, &other), 0);
    ASSERT_EQ(hardware->startIOProc(1, &Ear::listenToo), 0);
    clock.advance(1.0);
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(played, 44100U / 512 * 512);
    EXPECT_EQ(ear.frames, other.frames);
    EXPECT_EQ(hardware->removeIOProc(1, &Ear::listenToo), 0);
    EXPECT_EQ(clock.beats(), 1U);
    EXPECT_EQ(hardware->removeIOProc(1, &Ear::listen), 0);
    EXPECT_EQ(clock.beats(), 0U);
}

TEST_F(SimulatedHardwareTest, givesNoInputListToAnOutput) {
    make(desk(Direction::output));
    start();
    clock.advance(1.0);
    EXPECT_EQ(ear.cycles, 86U);
    EXPECT_EQ(ear.frames, 0U);
}

TEST_F(SimulatedHardwareTest, refusesWhatItDoesNotKnow) {
    make(desk());
    EXPECT_EQ(hardware->startIOProc(1, &Ear::listen), audioHardwareUnspecifiedError);
    EXPECT_EQ(hardware->addIOProc(1, &Ear::listen, &ear), 0);
    EXPECT_EQ(hardware->addIOProc(1, &Ear::listen, &ear), audioHardwareUnspecifiedError);
    EXPECT_EQ(hardware->stopIOProc(1, &Ear::listen), audioHardwareNotRunningError);
    EXPECT_EQ(hardware->removeIOProc(1, &Ear::listen), 0);
    EXPECT_EQ(hardware->removeIOProc(1, &Ear::listen), audioHardwareUnspecifiedError);
    make(desk(Direction::input, {}));
    EXPECT_EQ(hardware->addIOProc(1, &Ear::listen, &ear), 0);
    EXPECT_EQ(hardware->startIOProc(1, &Ear::listen), audioHardwareUnspecifiedError);
}

TEST_F(SimulatedHardwareTest, failsToStart_whenTheScriptSaysSo) {
    make(desk());
    hardware->setStartFailure(audioHardwareUnspecifiedError);
    KaCoreAudioSystem system(*hardware);
    KaCoreAudioDevice device(system, 1);
    device.setIOProc(&Ear::listen, &ear);
    EXPECT_FALSE(device.deviceStart());
    hardware->setStartFailure(0);
    EXPECT_TRUE(device.deviceStart());
    clock.advance(1.0);
    EXPECT_EQ(ear.cycles, 86U);
}

TEST(SimulatedHardwareThreadTest, endsTheCycleInProgress_beforeAStopReturns) {
    struct Slow {
        static OSStatus run(AudioDeviceID, const AudioTimeStamp*, const AudioBufferList*, const AudioTimeStamp*,
                            AudioBufferList*, const AudioTimeStamp*, void* clientData) {
            auto& slow = *static_cast<Slow*>(clientData);
            ++slow.cycles; // a plain field: only the stop orders it before the reader
            {
                const std::lock_guard guard(slow.mutex);
                slow.entered = true;
            }
            slow.wake.notify_all();
            return 0;
        }
        unsigned cycles = 0;
        std::mutex mutex;
        std::condition_variable wake;
        bool entered = false;
    } slow;
    SystemClock clock;
    SimulatedDevice device = desk();
    SimulatedHardware hardware(clock, {device});
    ASSERT_TRUE(hardware.setBufferFrameSize(1, 14));
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(hardware.addIOProc(1, &Slow::run, &slow), 0);
        ASSERT_EQ(hardware.startIOProc(1, &Slow::run), 0);
        {
            std::unique_lock lock(slow.mutex);
            slow.wake.wait(lock, [&] { return slow.entered; });
            slow.entered = false;
        }
        ASSERT_EQ(hardware.stopIOProc(1, &Slow::run), 0);
        const unsigned after = slow.cycles;
        slow.entered = false;
        EXPECT_GT(after, 0U);
        EXPECT_EQ(hardware.removeIOProc(1, &Slow::run), 0);
        EXPECT_EQ(slow.cycles, after);
    }
}

TEST_F(SimulatedHardwareTest, runsAnHourOfEachSignalWithinSeconds) {
    if (watchedBySanitizer)
        GTEST_SKIP() << "speed says nothing under a sanitizer";
    for (const Kind kind : {Kind::silence, Kind::sine, Kind::noise, Kind::counter, Kind::speech}) {
        SimulatedDevice device = desk();
        device.signal = {{.kind = kind, .level = 0.5, .frequency = 440.0}};
        make(device);
        start();
        const SystemClock real;
        const HostTime begin = real.hostTime();
        clock.advance(3600.0);
        const double seconds = static_cast<double>(real.hostTime() - begin) / 1e9;
        EXPECT_EQ(ear.cycles, 3600U * 44100 / 512);
        EXPECT_LT(seconds, 7.2) << static_cast<int>(kind); // 500 times real time
        RecordProperty("timesRealTime" + std::to_string(static_cast<int>(kind)),
                       std::to_string(3600.0 / seconds));
        ear = Ear();
        hardware->removeIOProc(1, &Ear::listen);
    }
}

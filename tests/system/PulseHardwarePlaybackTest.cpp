#include "system/PulseHardwareFixture.h"

#include <algorithm>

namespace {
constexpr std::size_t rate = 44100;

/// Plays the counting signal once, then silence. The I/O thread checks what it is handed.
struct CounterPlayer {
    std::atomic<std::uint64_t> frames{0};
    std::atomic<std::uint64_t> faults{0}; ///< cycles of wrong size, not zeroed, or with input
    std::uint64_t length = 0;
    std::uint32_t cycleFrames = 512;

    static OSStatus proc(AudioDeviceID, const AudioTimeStamp*, const AudioBufferList* inputData,
                         const AudioTimeStamp*, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
                         void* player) {
        auto& self = *static_cast<CounterPlayer*>(player);
        const AudioBuffer& buffer = outputData->mBuffers[0];
        auto* const samples = static_cast<float*>(buffer.mData);
        const std::size_t count = buffer.mDataByteSize / sizeof(float);
        const bool isZeroed =
            std::all_of(samples, samples + count, [](float sample) { return sample == 0.0F; });
        if (inputData != nullptr || !isZeroed || count != 2 * self.cycleFrames ||
            outputTime->mSampleTime != static_cast<double>(self.frames))
            self.faults = self.faults + 1;
        for (std::size_t frame = 0; frame < count / 2; ++frame) {
            const std::uint64_t number = self.frames + frame;
            if (number >= self.length)
                break;
            samples[2 * frame] = counterValue(number % counterBase);
            samples[2 * frame + 1] = counterValue(number / counterBase % counterBase);
        }
        self.frames = self.frames + count / 2;
        return audioHardwareNoError;
    }
};

OSStatus playConstant(AudioDeviceID, const AudioTimeStamp*, const AudioBufferList*, const AudioTimeStamp*,
                      AudioBufferList* outputData, const AudioTimeStamp*, void*) {
    const AudioBuffer& buffer = outputData->mBuffers[0];
    std::fill_n(static_cast<float*>(buffer.mData), buffer.mDataByteSize / sizeof(float), 0.25F);
    return audioHardwareNoError;
}
OSStatus playAnotherConstant(AudioDeviceID, const AudioTimeStamp*, const AudioBufferList*,
                             const AudioTimeStamp*, AudioBufferList* outputData, const AudioTimeStamp*, void*) {
    const AudioBuffer& buffer = outputData->mBuffers[0];
    std::fill_n(static_cast<float*>(buffer.mData), buffer.mDataByteSize / sizeof(float), 0.5F);
    return audioHardwareNoError;
}

class PulseHardwarePlaybackTest : public PulseHardwareFixture {};
} // namespace

TEST_F(PulseHardwarePlaybackTest, playsEveryFrameOnceAndBitExact) {
    const AudioDeviceID source = deviceWithUID("duty.monitor");
    const AudioDeviceID sink = deviceWithUID("duty");
    CycleRecorder recorder(2, 20 * rate);
    CounterPlayer player;
    player.length = 3 * rate;
    ASSERT_EQ(record(source, recorder), audioHardwareNoError);
    // A busy machine may hold this process up; an underrun would put silence into the signal.
    m_hardware->setLatencyNeed(sink, AudioLatencyNeed::relaxed);
    ASSERT_EQ(m_hardware->addIOProc(sink, CounterPlayer::proc, &player), audioHardwareNoError);
    ASSERT_EQ(m_hardware->startIOProc(sink, CounterPlayer::proc), audioHardwareNoError);
    EXPECT_TRUE(await(10.0, [&] {
        const CounterRun run = findCounter(recorder);
        return run.found && recorder.frames() > run.begin + player.length + rate / 10;
    }));
    EXPECT_EQ(m_hardware->removeIOProc(sink, CounterPlayer::proc), audioHardwareNoError);
    stopRecording(source);
    const CounterRun run = findCounter(recorder);
    EXPECT_EQ(run.firstCount, 0U);
    EXPECT_EQ(run.frames, player.length);
    EXPECT_EQ(player.faults, 0U);
}

TEST_F(PulseHardwarePlaybackTest, mixesTheProceduresOfOneSink) {
    const AudioDeviceID source = deviceWithUID("duty.monitor");
    const AudioDeviceID sink = deviceWithUID("duty");
    CycleRecorder recorder(2, 20 * rate);
    ASSERT_EQ(record(source, recorder), audioHardwareNoError);
    for (const AudioDeviceIOProc proc : {playConstant, playAnotherConstant}) {
        ASSERT_EQ(m_hardware->addIOProc(sink, proc, nullptr), audioHardwareNoError);
        ASSERT_EQ(m_hardware->startIOProc(sink, proc), audioHardwareNoError);
    }
    EXPECT_TRUE(await(
        5.0, [&] { return recorder.frames() > 0 && recorder.sample(recorder.frames() - 1, 0) == 0.75F; }));
    EXPECT_EQ(m_hardware->stopIOProc(sink, playAnotherConstant), audioHardwareNoError);
    EXPECT_TRUE(await(5.0, [&] { return recorder.sample(recorder.frames() - 1, 1) == 0.25F; }));
    stopRecording(source);
}

TEST_F(PulseHardwarePlaybackTest, refusesAProcedureTwice_andOneThatWasNotAdded) {
    const AudioDeviceID sink = deviceWithUID("duty");
    EXPECT_EQ(m_hardware->addIOProc(sink, playConstant, nullptr), audioHardwareNoError);
    EXPECT_NE(m_hardware->addIOProc(sink, playConstant, nullptr), audioHardwareNoError);
    EXPECT_NE(m_hardware->startIOProc(sink, playAnotherConstant), audioHardwareNoError);
    EXPECT_NE(m_hardware->stopIOProc(sink, playAnotherConstant), audioHardwareNoError);
}

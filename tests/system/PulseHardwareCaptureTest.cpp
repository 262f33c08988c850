#include "system/PulseHardwareFixture.h"

#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {
constexpr std::size_t rate = 44100;
class PulseHardwareCaptureTest : public PulseHardwareFixture {};

/// Writes all of `samples` into a pipe that a source reads.
bool writePipe(const std::string& path, const std::vector<std::int16_t>& samples) {
    const int pipe = open(path.c_str(), O_WRONLY);
    if (pipe < 0)
        return false;
    const char* data = reinterpret_cast<const char*>(samples.data());
    std::size_t left = samples.size() * sizeof(std::int16_t);
    while (left > 0) {
        const ssize_t written = write(pipe, data, left);
        if (written <= 0)
            break;
        data += written;
        left -= static_cast<std::size_t>(written);
    }
    close(pipe);
    return left == 0;
}
} // namespace

TEST_F(PulseHardwareCaptureTest, cyclesHaveExactlyTheSetSize) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    for (const std::uint32_t size : {441U, 512U, 4096U}) {
        ASSERT_TRUE(m_hardware->setBufferFrameSize(device, size));
        CycleRecorder recorder(2, 10 * rate);
        ASSERT_EQ(record(device, recorder), audioHardwareNoError);
        EXPECT_TRUE(await(5.0, [&] { return recorder.frames() >= rate; })) << size;
        stopRecording(device);
        double sampleTime = 0.0;
        for (std::size_t index = 0; index < recorder.cycleCount(); ++index) {
            ASSERT_EQ(recorder.cycle(index).frames, size);
            ASSERT_EQ(recorder.cycle(index).stamp.mSampleTime, sampleTime);
            sampleTime += size;
        }
        EXPECT_FALSE(recorder.hadOutput());
        EXPECT_FALSE(recorder.overflowed());
    }
}

TEST_F(PulseHardwareCaptureTest, changesTheSizeOfCyclesOnARunningStream) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    CycleRecorder recorder(2, 20 * rate);
    ASSERT_TRUE(m_hardware->setBufferFrameSize(device, 4096));
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    const std::string counter = writeCounter(m_server->folder(), 20 * rate);
    const auto player = play(counter);
    ASSERT_TRUE(await(5.0, [&] { return recorder.frames() >= rate; }));
    ASSERT_TRUE(m_hardware->setBufferFrameSize(device, 14));
    const std::size_t changedAt = recorder.cycleCount();
    ASSERT_TRUE(await(8.0, [&] { return recorder.frames() >= 4 * rate; }));
    stopRecording(device);
    EXPECT_EQ(recorder.cycle(changedAt).frames, 14U);
    const CounterRun run = findCounter(recorder);
    EXPECT_EQ(run.begin + run.frames, recorder.frames());
    EXPECT_GT(run.frames, rate / 2);
}

TEST_F(PulseHardwareCaptureTest, recordsEveryFrameOnceAndBitExact_fromAPlayedFile) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    CycleRecorder recorder(2, 20 * rate);
    const std::string counter = writeCounter(m_server->folder(), 10 * rate);
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    const auto player = play(counter);
    const auto playedOut = [&] {
        return recorder.frames() > 10 * rate && recorder.sample(recorder.frames() - 1, 0) == 0.0F;
    };
    EXPECT_TRUE(await(16.0, playedOut));
    stopRecording(device);
    const CounterRun run = findCounter(recorder);
    ASSERT_TRUE(run.found);
    EXPECT_EQ(run.firstCount, 0U);
    EXPECT_EQ(run.frames, 10 * rate);
    EXPECT_EQ(m_hardware->holeFrames(device), 0U);
}

TEST_F(PulseHardwareCaptureTest, recordsBitExact_fromASourceThatIsFasterThanTime) {
    const std::string path = m_server->folder() / "pipe";
    ASSERT_FALSE(m_server
                     ->loadModule({"module-pipe-source", "source_name=pipe", "file=" + path, "format=s16le",
                                   "rate=48000", "channels=2"})
                     .empty());
    const AudioDeviceID device = awaitDevice("pipe");
    ASSERT_NE(device, 0U);
    std::vector<std::int16_t> samples(2 * 200'000);
    for (std::size_t index = 0; index < samples.size(); ++index)
        samples[index] = static_cast<std::int16_t>(index * 40503U >> 3U);
    CycleRecorder recorder(2, samples.size());
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    ASSERT_TRUE(writePipe(path, samples));
    // The last fragment and the last cycle wait to be full.
    const std::size_t expected = samples.size() / 2 - 2400 - 512;
    EXPECT_TRUE(await(10.0, [&] { return recorder.frames() >= expected; })) << recorder.frames();
    stopRecording(device);
    ASSERT_FALSE(recorder.overflowed());
    for (std::size_t frame = 0; frame < recorder.frames(); ++frame)
        for (std::uint32_t channel = 0; channel < 2; ++channel)
            ASSERT_EQ(recorder.sample(frame, channel) * 32768.0F,
                      static_cast<float>(samples[frame * 2 + channel]))
                << frame;
}

TEST_F(PulseHardwareCaptureTest, stampsCyclesSmoothly_closeToWhenTheyWereCaptured) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    CycleRecorder recorder(2, 20 * rate);
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    ASSERT_TRUE(await(12.0, [&] { return recorder.frames() >= 8 * rate; }));
    stopRecording(device);
    HostTime last = 0;
    double largestError = 0.0;
    for (std::size_t index = 0; index < recorder.cycleCount(); ++index) {
        const CycleRecorder::Cycle& cycle = recorder.cycle(index);
        ASSERT_TRUE(cycle.stamp.mFlags & AudioTimeStamp::hostTimeValid);
        ASSERT_GE(cycle.stamp.mHostTime, last);
        if (cycle.stamp.mSampleTime > 2.0 * rate) {
            const double step = static_cast<double>(cycle.stamp.mHostTime - last);
            largestError = std::max(largestError, std::abs(step - 512e9 / rate));
        }
        last = cycle.stamp.mHostTime;
    }
    RecordProperty("largestStepErrorMicroseconds", static_cast<int>(largestError / 1000.0));
    EXPECT_LT(largestError, 2e6);
    const CycleRecorder::Cycle& end = recorder.cycle(recorder.cycleCount() - 1);
    EXPECT_NEAR(static_cast<double>(end.arrival - end.stamp.mHostTime), 0.0, 0.3e9);
}

TEST_F(PulseHardwareCaptureTest, wakesUpAsOftenAsTheNeedAsks) {
    // The sink "duty" never renders more than 50 ms at a time; this one goes up to 2 s.
    ASSERT_FALSE(
        m_server->loadModule({"module-null-sink", "sink_name=calm", "format=float32le", "rate=44100"}).empty());
    const AudioDeviceID device = awaitDevice("calm.monitor");
    ASSERT_NE(device, 0U);
    CycleRecorder recorder(2, 40 * rate);
    const auto burstsIn3Seconds = [&](AudioLatencyNeed need) {
        m_hardware->setLatencyNeed(device, need);
        pause(1.5); // the change takes effect with the next fragments
        const std::size_t first = recorder.cycleCount();
        pause(3.0);
        return recorder.bursts(first);
    };
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    const std::size_t relaxed = burstsIn3Seconds(AudioLatencyNeed::relaxed);
    const std::size_t metering = burstsIn3Seconds(AudioLatencyNeed::metering);
    const std::size_t monitoring = burstsIn3Seconds(AudioLatencyNeed::monitoring);
    stopRecording(device);
    RecordProperty("burstsRelaxed", static_cast<int>(relaxed));
    RecordProperty("burstsMetering", static_cast<int>(metering));
    RecordProperty("burstsMonitoring", static_cast<int>(monitoring));
    EXPECT_GE(relaxed, 2U);
    EXPECT_LE(relaxed, 8U);
    EXPECT_GE(metering, 30U);
    EXPECT_LE(metering, 120U);
    EXPECT_GT(monitoring, metering);
}

TEST_F(PulseHardwareCaptureTest, losesNothing_whenTheNeedChanges) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    CycleRecorder recorder(2, 30 * rate);
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    const std::string counter = writeCounter(m_server->folder(), 30 * rate);
    const auto player = play(counter);
    ASSERT_TRUE(await(5.0, [&] { return findCounter(recorder).found; }));
    for (const AudioLatencyNeed need : {AudioLatencyNeed::relaxed, AudioLatencyNeed::monitoring,
                                        AudioLatencyNeed::relaxed, AudioLatencyNeed::metering}) {
        m_hardware->setLatencyNeed(device, need);
        pause(1.5);
    }
    stopRecording(device);
    const CounterRun run = findCounter(recorder);
    EXPECT_EQ(run.begin + run.frames, recorder.frames());
    EXPECT_GT(run.frames, 4 * rate);
}

#include "system/PrivatePipeWireServer.h"
#include "system/PulseHardwareFixture.h"

using Kind = AudioHardwareEvent::Kind;

namespace {
constexpr std::size_t rate = 48000;

class PulseHardwarePipeWireTest : public PulseHardwareFixture {
protected:
    void SetUp() override {
        if (const std::string reason = PrivatePipeWireServer::whyNot(); !reason.empty())
            GTEST_SKIP() << reason;
        ASSERT_TRUE(m_pipeWire.start());
        m_hardware =
            std::make_unique<PulseHardware>(m_clock, PulseOptions{"Velmoratide tests", m_pipeWire.address()});
        m_hardware->setListener([this](const AudioHardwareEvent& event) { m_events.add(event); });
    }
    int pactl(const std::vector<std::string>& arguments) const {
        std::vector<std::string> command{"pactl"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return ChildProcess(command, m_pipeWire.environment()).wait();
    }
    PrivatePipeWireServer m_pipeWire; // ends after the hardware, see TearDown
};
} // namespace

TEST_F(PulseHardwarePipeWireTest, recordsEveryFrameOnceAndBitExact_fromAPlayedFile) {
    const AudioDeviceID device = awaitDevice("duty.monitor");
    ASSERT_NE(device, 0U);
    EXPECT_EQ(m_hardware->nominalSampleRate(device), 48000.0);
    CycleRecorder recorder(2, 20 * rate);
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    ASSERT_TRUE(await(5.0, [&] { return recorder.frames() > rate / 4; }));
    const std::string counter = writeCounter(m_pipeWire.folder(), 3 * rate);
    ChildProcess player({"paplay", "--raw", "--format=float32le", "--rate=48000", "--channels=2",
                         "--device=duty", "--latency-msec=2000", counter},
                        m_pipeWire.environment());
    EXPECT_TRUE(await(8.0, [&] {
        const CounterRun run = findCounter(recorder);
        return run.found && recorder.frames() > run.begin + 3 * rate + rate / 4;
    }));
    stopRecording(device);
    const CounterRun run = findCounter(recorder);
    EXPECT_EQ(run.firstCount, 0U);
    EXPECT_EQ(run.frames, 3 * rate);
    for (std::size_t index = 0; index < recorder.cycleCount(); ++index)
        ASSERT_EQ(recorder.cycle(index).frames, 512U);
}

TEST_F(PulseHardwarePipeWireTest, deliversAgain_afterUnplugAndReplug) {
    const AudioDeviceID device = awaitDevice("duty.monitor");
    ASSERT_NE(device, 0U);
    CycleRecorder recorder(2, 30 * rate);
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    ASSERT_TRUE(await(5.0, [&] { return recorder.frames() > rate / 4; }));
    ASSERT_EQ(pactl({"unload-module", "module-null-sink"}), 0);
    ASSERT_TRUE(await(5.0, [&] { return m_events.count(Kind::deviceDied) == 1; }));
    ASSERT_EQ(pactl({"load-module", "module-null-sink", "sink_name=duty", "rate=48000", "channels=2"}), 0);
    ASSERT_TRUE(await(5.0, [&] { return m_events.count(Kind::deviceReturned) == 1; }));
    const std::size_t frames = recorder.frames();
    EXPECT_TRUE(await(5.0, [&] { return recorder.frames() > frames + rate / 4; }));
    EXPECT_EQ(deviceWithUID("duty.monitor"), device);
    stopRecording(device);
}

TEST_F(PulseHardwarePipeWireTest, followsTheNeed) {
    const AudioDeviceID device = awaitDevice("duty.monitor");
    ASSERT_NE(device, 0U);
    CycleRecorder recorder(2, 20 * rate);
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    const auto burstsIn2Seconds = [&](AudioLatencyNeed need) {
        m_hardware->setLatencyNeed(device, need);
        pause(1.5);
        const std::size_t first = recorder.cycleCount();
        pause(2.0);
        return recorder.bursts(first);
    };
    const std::size_t metering = burstsIn2Seconds(AudioLatencyNeed::metering);
    const std::size_t relaxed = burstsIn2Seconds(AudioLatencyNeed::relaxed);
    stopRecording(device);
    RecordProperty("burstsMetering", static_cast<int>(metering));
    RecordProperty("burstsRelaxed", static_cast<int>(relaxed));
    EXPECT_GE(relaxed, 1U);
    EXPECT_GT(metering, relaxed);
}

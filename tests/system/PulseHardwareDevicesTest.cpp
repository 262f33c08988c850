#include "system/PulseHardwareFixture.h"

#include <algorithm>

using Kind = AudioHardwareEvent::Kind;

namespace {
class PulseHardwareDevicesTest : public PulseHardwareFixture {};
} // namespace

TEST_F(PulseHardwareDevicesTest, listsTheMonitorOfASink_withItsNameRateAndChannels) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    ASSERT_NE(device, 0U);
    EXPECT_EQ(m_hardware->deviceName(device), "Monitor of Null Output");
    EXPECT_EQ(m_hardware->nominalSampleRate(device), 44100.0);
    EXPECT_EQ(m_hardware->availableNominalSampleRates(device),
              (std::vector<AudioValueRange>{{44100.0, 44100.0}}));
    EXPECT_EQ(m_hardware->streamConfiguration(device, AudioDirection::input), std::vector<std::uint32_t>{2});
    EXPECT_TRUE(m_hardware->streams(device, AudioDirection::output).empty());
    EXPECT_TRUE(m_hardware->dataSources(device, AudioDirection::input).empty());
}

TEST_F(PulseHardwareDevicesTest, listsTheSink_withOutputOnly) {
    const AudioDeviceID device = deviceWithUID("duty");
    ASSERT_NE(device, 0U);
    EXPECT_EQ(m_hardware->streamConfiguration(device, AudioDirection::output), std::vector<std::uint32_t>{2});
    EXPECT_TRUE(m_hardware->streamConfiguration(device, AudioDirection::input).empty());
}

TEST_F(PulseHardwareDevicesTest, offersNoRateThatTheDeviceDoesNotRun) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    EXPECT_TRUE(m_hardware->setNominalSampleRate(device, 44100.0));
    EXPECT_FALSE(m_hardware->setNominalSampleRate(device, 48000.0));
    EXPECT_EQ(m_hardware->nominalSampleRate(device), 44100.0);
}

TEST_F(PulseHardwareDevicesTest, takesBufferSizesFrom14To4096) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    EXPECT_EQ(m_hardware->bufferFrameSize(device), 512U);
    EXPECT_EQ(m_hardware->bufferFrameSizeRange(device, AudioDirection::output),
              (AudioValueRange{14.0, 4096.0}));
    EXPECT_FALSE(m_hardware->setBufferFrameSize(device, 13));
    EXPECT_FALSE(m_hardware->setBufferFrameSize(device, 4097));
    EXPECT_TRUE(m_hardware->setBufferFrameSize(device, 14));
    EXPECT_TRUE(m_hardware->setBufferFrameSize(device, 4096));
    EXPECT_EQ(m_hardware->bufferFrameSize(device), 4096U);
    EXPECT_EQ(m_hardware->maxVariableBufferFrameSize(device), 4096U);
}

TEST_F(PulseHardwareDevicesTest, tellsThePhysicalFormatTruthfully) {
    ASSERT_FALSE(
        m_server->loadModule({"module-null-sink", "sink_name=six", "format=s24le", "rate=96000", "channels=6"})
            .empty());
    const AudioDeviceID device = awaitDevice("six.monitor");
    ASSERT_NE(device, 0U);
    const std::vector<AudioStreamID> streams = m_hardware->streams(device, AudioDirection::input);
    ASSERT_EQ(streams.size(), 1U);
    const AudioStreamBasicDescription physical = m_hardware->streamFormat(streams[0], 1);
    EXPECT_EQ(physical.mBitsPerChannel, 24U);
    EXPECT_EQ(physical.mFormatFlags,
              AudioStreamBasicDescription::flagIsSignedInteger | AudioStreamBasicDescription::flagIsPacked);
    EXPECT_EQ(physical.mBytesPerFrame, 18U);
    const AudioStreamBasicDescription carried = m_hardware->streamFormat(streams[0], 0);
    EXPECT_EQ(carried.mFormatID, AudioStreamBasicDescription::formatLinearPCM);
    EXPECT_EQ(carried.mFormatFlags, 9U);
    EXPECT_EQ(carried.mBitsPerChannel, 32U);
    EXPECT_EQ(carried.mFramesPerPacket, 1U);
    EXPECT_EQ(carried.mChannelsPerFrame, 6U);
    EXPECT_EQ(carried.mSampleRate, 96000.0);
}

TEST_F(PulseHardwareDevicesTest, keepsADevicesId_whenItGoesAndComesBack) {
    const std::vector<std::string> module{"module-null-sink", "sink_name=desk"};
    const std::string number = m_server->loadModule(module);
    const AudioDeviceID device = awaitDevice("desk.monitor");
    ASSERT_NE(device, 0U);
    const std::size_t changes = m_events.count(Kind::deviceListChanged);
    ASSERT_TRUE(m_server->unloadModule(number));
    ASSERT_TRUE(await(5.0, [&] { return deviceWithUID("desk.monitor") == 0; }));
    EXPECT_GT(m_events.count(Kind::deviceListChanged), changes);
    EXPECT_EQ(m_hardware->deviceUID(device), "desk.monitor");
    EXPECT_EQ(m_hardware->nominalSampleRate(device), 0.0);
    ASSERT_FALSE(m_server->loadModule(module).empty());
    EXPECT_EQ(awaitDevice("desk.monitor"), device);
}

TEST_F(PulseHardwareDevicesTest, tellsWhichDevicesAreUsedWhereNoneIsNamed) {
    EXPECT_EQ(m_hardware->defaultDevice(AudioDirection::output), deviceWithUID("duty"));
    EXPECT_EQ(m_hardware->defaultDevice(AudioDirection::input), deviceWithUID("duty.monitor"));
    ASSERT_FALSE(m_server->loadModule({"module-null-sink", "sink_name=desk"}).empty());
    const AudioDeviceID monitor = awaitDevice("desk.monitor");
    ASSERT_NE(monitor, 0U);
    const std::size_t changes = m_events.count(Kind::defaultOutputChanged);
    const auto make = [&](const char* what, const char* name) {
        return ChildProcess({"pactl", what, name}, m_server->environment()).wait();
    };
    ASSERT_EQ(make("set-default-sink", "desk"), 0);
    ASSERT_EQ(make("set-default-source", "desk.monitor"), 0);
    EXPECT_TRUE(await(5.0, [&] {
        return m_hardware->defaultDevice(AudioDirection::input) == monitor &&
               m_hardware->defaultDevice(AudioDirection::output) == deviceWithUID("desk");
    }));
    EXPECT_GT(m_events.count(Kind::defaultOutputChanged), changes);
}

TEST_F(PulseHardwareDevicesTest, answersAboutUnknownDevicesWithNothing) {
    constexpr AudioDeviceID unknown = 4711;
    EXPECT_TRUE(m_hardware->deviceName(unknown).empty());
    EXPECT_TRUE(m_hardware->deviceUID(unknown).empty());
    EXPECT_TRUE(m_hardware->availableNominalSampleRates(unknown).empty());
    EXPECT_EQ(m_hardware->bufferFrameSize(unknown), 0U);
    EXPECT_FALSE(m_hardware->setBufferFrameSize(unknown, 512));
    EXPECT_FALSE(m_hardware->setDataSource(unknown, AudioDirection::input, 1));
    EXPECT_EQ(m_hardware->streamFormat(unknown, 0), AudioStreamBasicDescription{});
    EXPECT_NE(m_hardware->addIOProc(unknown, CycleRecorder::proc, nullptr), audioHardwareNoError);
    EXPECT_EQ(m_hardware->holeFrames(unknown), 0U);
}

TEST_F(PulseHardwareDevicesTest, hasNoDevicesAtOnce_whereNoServerListens) {
    const HostTime before = m_clock.hostTime();
    PulseHardware lonely(m_clock, {"Velmoratide tests", "unix:" + (m_server->folder() / "nobody").string()});
    EXPECT_LT(m_clock.hostTime() - before, hostTimeFromSeconds(1.0));
    EXPECT_TRUE(lonely.devices().empty());
}

TEST_F(PulseHardwareDevicesTest, findsAServerThatComesLater) {
    m_hardware.reset();
    m_server->kill();
    makeHardware();
    EXPECT_TRUE(m_hardware->devices().empty());
    ASSERT_TRUE(m_server->restart());
    EXPECT_NE(awaitDevice("duty.monitor"), 0U);
    EXPECT_TRUE(await(1.0, [&] { return m_events.count(Kind::serverReturned) == 1; }));
    EXPECT_EQ(m_events.count(Kind::serverLost), 0U);
}

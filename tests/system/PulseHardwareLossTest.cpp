#include "system/PulseHardwareFixture.h"

#include <cmath>

using Kind = AudioHardwareEvent::Kind;

namespace {
constexpr std::size_t rate = 44100;

/// Takes a lock in each cycle, as a multiplexer of several clients does.
struct LockingClient {
    std::mutex lock;
    std::atomic<std::uint64_t> cycles{0};
    bool isRegistered = false; ///< under `lock`
    std::atomic<std::uint64_t> strayCycles{0};

    static OSStatus proc(AudioDeviceID, const AudioTimeStamp*, const AudioBufferList*, const AudioTimeStamp*,
                         AudioBufferList*, const AudioTimeStamp*, void* client) {
        auto& self = *static_cast<LockingClient*>(client);
        const std::lock_guard guard(self.lock);
        self.cycles = self.cycles + 1;
        if (!self.isRegistered)
            self.strayCycles = self.strayCycles + 1;
        return audioHardwareNoError;
    }
};

class PulseHardwareLossTest : public PulseHardwareFixture {
protected:
    static bool advances(const CycleRecorder& recorder) {
        const std::size_t before = recorder.frames();
        return await(6.0, [&] { return recorder.frames() > before + rate / 2; });
    }
    /// Frames that the stamps say went by, against the time that the stamps say went by.
    static double stampErrorInSeconds(const CycleRecorder& recorder) {
        const AudioTimeStamp& first = recorder.cycle(0).stamp;
        const AudioTimeStamp& last = recorder.cycle(recorder.cycleCount() - 1).stamp;
        return (last.mSampleTime - first.mSampleTime) / rate -
               static_cast<double>(last.mHostTime - first.mHostTime) / 1e9;
    }
};
} // namespace

TEST_F(PulseHardwareLossTest, deliversAgainUnderTheSameId_afterUnplugAndReplug) {
    const std::vector<std::string> module{"module-null-sink", "sink_name=desk", "format=float32le",
                                          "rate=44100",       "channels=2",     "norewinds=1"};
    const std::string number = m_server->loadModule(module);
    const AudioDeviceID device = awaitDevice("desk.monitor");
    ASSERT_NE(device, 0U);
    CycleRecorder recorder(2, 60 * rate);
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    ASSERT_TRUE(advances(recorder));

    ASSERT_TRUE(m_server->unloadModule(number));
    ASSERT_TRUE(await(5.0, [&] { return m_events.count(Kind::deviceDied) == 1; }));
    const std::size_t cycles = recorder.cycleCount();
    pause(2.0);
    EXPECT_EQ(recorder.cycleCount(), cycles);

    ASSERT_FALSE(m_server->loadModule(module).empty());
    ASSERT_TRUE(await(5.0, [&] { return m_events.count(Kind::deviceReturned) == 1; }));
    EXPECT_EQ(deviceWithUID("desk.monitor"), device);
    EXPECT_TRUE(advances(recorder));
    stopRecording(device);

    EXPECT_EQ(m_events.count(Kind::deviceDied), 1U);
    EXPECT_EQ(m_events.count(Kind::serverLost), 0U);
    const double gap = recorder.cycle(cycles).stamp.mSampleTime - recorder.cycle(cycles - 1).stamp.mSampleTime;
    EXPECT_GT(gap, 1.8 * rate);
    EXPECT_LT(gap, 7.0 * rate);
    EXPECT_NEAR(stampErrorInSeconds(recorder), 0.0, 0.3);
    EXPECT_LT(m_hardware->holeFrames(device), 512U); // only the last cycle before the gap is filled up
    EXPECT_EQ(m_events.framesOfHoles(), 0U);         // and not told: the loss itself is the news
}

TEST_F(PulseHardwareLossTest, deliversAgain_afterTheServerWasKilledAndCameBack) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    CycleRecorder recorder(2, 60 * rate);
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    ASSERT_TRUE(advances(recorder));

    m_server->kill();
    ASSERT_TRUE(await(3.0, [&] { return m_events.count(Kind::serverLost) == 1; }));
    EXPECT_TRUE(await(1.0, [&] { return m_hardware->devices().empty(); }));
    pause(2.5); // attempts that fail are not told
    ASSERT_TRUE(m_server->restart());
    ASSERT_TRUE(await(5.0, [&] { return m_events.count(Kind::deviceReturned) == 1; }));
    EXPECT_TRUE(advances(recorder));
    EXPECT_EQ(deviceWithUID("duty.monitor"), device);
    stopRecording(device);

    EXPECT_EQ(m_events.count(Kind::serverLost), 1U);
    EXPECT_EQ(m_events.count(Kind::serverReturned), 1U);
    EXPECT_EQ(m_events.count(Kind::deviceDied), 0U);
    EXPECT_NEAR(stampErrorInSeconds(recorder), 0.0, 0.3);
}

TEST_F(PulseHardwareLossTest, staysStopped_whenStoppedWhileTheServerWasAway) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    CycleRecorder recorder(2, 20 * rate);
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    m_server->kill();
    ASSERT_TRUE(await(3.0, [&] { return m_events.count(Kind::serverLost) == 1; }));
    stopRecording(device);
    const std::size_t frames = recorder.frames();
    ASSERT_TRUE(m_server->restart());
    ASSERT_NE(awaitDevice("duty.monitor"), 0U);
    pause(0.5);
    EXPECT_EQ(recorder.frames(), frames);
    EXPECT_EQ(m_events.count(Kind::deviceReturned), 0U);
}

TEST_F(PulseHardwareLossTest, goesOnWithAnHonestCount_afterTheServerWasFrozen) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    CycleRecorder recorder(2, 60 * rate);
    ASSERT_EQ(record(device, recorder), audioHardwareNoError);
    ASSERT_TRUE(advances(recorder));
    m_server->freeze();
    pause(3.0);
    m_server->thaw();
    EXPECT_TRUE(await(15.0, [&] { return recorder.frames() >= 6 * rate; })) << recorder.frames();
    pause(5.0); // the stamps follow the server's clock slowly
    const double holes = static_cast<double>(m_hardware->holeFrames(device));
    stopRecording(device);
    const AudioTimeStamp& last = recorder.cycle(recorder.cycleCount() - 1).stamp;
    EXPECT_EQ(last.mSampleTime + 512.0, static_cast<double>(recorder.frames()));
    EXPECT_NEAR(stampErrorInSeconds(recorder), 0.0, 0.5);
    EXPECT_EQ(holes, static_cast<double>(m_events.framesOfHoles()));
    EXPECT_EQ(m_events.count(Kind::serverLost), 0U);
}

TEST_F(PulseHardwareLossTest, failsToStartWithinSeconds_whileTheServerIsFrozen) {
    const AudioDeviceID device = deviceWithUID("duty.monitor");
    CycleRecorder recorder(2, 20 * rate);
    m_server->freeze();
    const HostTime before = m_clock.hostTime();
    EXPECT_NE(record(device, recorder), audioHardwareNoError);
    EXPECT_LT(m_clock.hostTime() - before, hostTimeFromSeconds(4.0));
    m_server->thaw();
    // What was given up does not come to life afterwards, and the next start works.
    pause(0.5);
    EXPECT_EQ(recorder.frames(), 0U);
    EXPECT_EQ(m_hardware->startIOProc(device, CycleRecorder::proc), audioHardwareNoError);
    EXPECT_TRUE(advances(recorder));
    stopRecording(device);
}

TEST_F(PulseHardwareLossTest, failsToStartWithAStatus_onAVanishedDevice) {
    const std::string number = m_server->loadModule({"module-null-sink", "sink_name=desk"});
    const AudioDeviceID device = awaitDevice("desk.monitor");
    ASSERT_NE(device, 0U);
    CycleRecorder recorder(2, rate);
    ASSERT_EQ(m_hardware->addIOProc(device, CycleRecorder::proc, &recorder), audioHardwareNoError);
    ASSERT_TRUE(m_server->unloadModule(number));
    EXPECT_EQ(m_hardware->startIOProc(device, CycleRecorder::proc), audioHardwareBadDeviceError);
    ASSERT_TRUE(await(5.0, [&] { return deviceWithUID("desk.monitor") == 0; }));
    EXPECT_EQ(m_hardware->startIOProc(device, CycleRecorder::proc), audioHardwareBadDeviceError);
    m_server->kill();
    ASSERT_TRUE(await(3.0, [&] { return m_events.count(Kind::serverLost) == 1; }));
    EXPECT_EQ(m_hardware->startIOProc(device, CycleRecorder::proc), audioHardwareNotRunningError);
    EXPECT_EQ(m_events.count(Kind::deviceDied), 0U);
}

TEST_F(PulseHardwareLossTest, startsAndStopsAgainAndAgain_whileCyclesTakeALock) {
    const AudioDeviceID source = deviceWithUID("duty.monitor");
    const AudioDeviceID sink = deviceWithUID("duty");
    CycleRecorder recorder(2, 60 * rate);
    ASSERT_EQ(record(source, recorder), audioHardwareNoError); // keeps the thread busy meanwhile
    LockingClient client;
    const auto setRegistered = [&](bool registered) {
        const std::lock_guard guard(client.lock);
        client.isRegistered = registered;
    };
    for (int round = 0; round < 40; ++round) {
        const AudioDeviceID device = round % 2 == 0 ? sink : source;
        setRegistered(true);
        ASSERT_EQ(m_hardware->addIOProc(device, LockingClient::proc, &client), audioHardwareNoError);
        ASSERT_EQ(m_hardware->startIOProc(device, LockingClient::proc), audioHardwareNoError);
        const std::uint64_t before = client.cycles;
        ASSERT_TRUE(await(3.0, [&] { return client.cycles > before; }));
        ASSERT_EQ(m_hardware->stopIOProc(device, LockingClient::proc), audioHardwareNoError);
        setRegistered(false);
        ASSERT_EQ(m_hardware->removeIOProc(device, LockingClient::proc), audioHardwareNoError);
    }
    EXPECT_EQ(client.strayCycles, 0U);
    stopRecording(source);
}

TEST_F(PulseHardwareLossTest, playsAgain_afterTheServerWasKilledAndCameBack) {
    const AudioDeviceID sink = deviceWithUID("duty");
    LockingClient client;
    client.isRegistered = true;
    ASSERT_EQ(m_hardware->addIOProc(sink, LockingClient::proc, &client), audioHardwareNoError);
    ASSERT_EQ(m_hardware->startIOProc(sink, LockingClient::proc), audioHardwareNoError);
    ASSERT_TRUE(await(3.0, [&] { return client.cycles > 20; }));
    ASSERT_TRUE(m_server->restart());
    ASSERT_TRUE(await(5.0, [&] { return m_events.count(Kind::deviceReturned) == 1; }));
    const std::uint64_t before = client.cycles;
    EXPECT_TRUE(await(3.0, [&] { return client.cycles > before + 20; }));
    EXPECT_EQ(m_events.count(Kind::serverLost), 1U);
    EXPECT_EQ(m_hardware->removeIOProc(sink, LockingClient::proc), audioHardwareNoError);
}

// system/PulseHardwareFixture.h — what the tests of the adapter share.
#pragma once
#include "audio/hardware/pulse/PulseHardware.h"
#include "base/SystemClock.h"
#include "system/PrivatePulseServer.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <vector>

/// An I/O procedure that keeps everything it is given. Its memory is allocated beforehand.
class CycleRecorder {
public:
    struct Cycle {
        std::uint32_t frames;
        HostTime arrival;
        AudioTimeStamp stamp;
    };
    CycleRecorder(std::uint32_t channels, std::size_t capacityFrames);
    static OSStatus proc(AudioDeviceID device, const AudioTimeStamp* now, const AudioBufferList* inputData,
                         const AudioTimeStamp* inputTime, AudioBufferList* outputData,
                         const AudioTimeStamp* outputTime, void* recorder);

    // Test's thread
    std::size_t frames() const { return m_frames; }
    std::size_t cycleCount() const { return m_cycleCount; }
    const Cycle& cycle(std::size_t index) const { return m_cycles[index]; }
    float sample(std::size_t frame, std::uint32_t channel) const {
        return m_samples[frame * m_channels + channel];
    }
    bool hadOutput() const { return m_hadOutput; }
    bool overflowed() const { return m_overflowed; }
    /// Groups of cycles that came closer together than 4 ms, from cycle `first` on: wake-ups of the adapter.
    std::size_t bursts(std::size_t first) const;

private:
    const std::uint32_t m_channels;
    std::vector<float> m_samples;
    std::vector<Cycle> m_cycles;
    std::atomic<std::size_t> m_frames{0};
    std::atomic<std::size_t> m_cycleCount{0};
    std::atomic<bool> m_hadOutput{false};
    std::atomic<bool> m_overflowed{false};
};

/// The listener's events, in their order.
class EventLog {
public:
    void add(const AudioHardwareEvent& event);
    std::size_t count(AudioHardwareEvent::Kind kind) const;
    std::uint64_t framesOfHoles() const;

private:
    mutable std::mutex m_mutex;
    std::vector<AudioHardwareEvent> m_events;
};

/// A server of its own for each test.
class PulseHardwareFixture : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    void makeHardware();
    AudioDeviceID deviceWithUID(const std::string& uid);
    /// Waits until a device of that unique ID is listed; 0 when it does not come.
    AudioDeviceID awaitDevice(const std::string& uid);
    /// Adds and starts `recorder` on `device`.
    OSStatus record(AudioDeviceID device, CycleRecorder& recorder);
    void stopRecording(AudioDeviceID device);
    /// Looks every 10 ms, for `seconds` at most.
    static bool await(double seconds, const std::function<bool()>& done);
    static void pause(double seconds);
    /// Writes the counting signal (frame k holds k, see `counterFrame`) as raw floats.
    static std::string writeCounter(const std::filesystem::path& folder, std::size_t frames);
    std::unique_ptr<ChildProcess> play(const std::string& rawFile) const;

    SystemClock m_clock;
    std::unique_ptr<PrivatePulseServer> m_server;
    EventLog m_events; ///< outlives the hardware that tells it
    std::unique_ptr<PulseHardware> m_hardware;
};

constexpr std::uint32_t counterBase = 32767;
constexpr float counterValue(std::uint64_t digit) {
    return static_cast<float>((static_cast<double>(digit) + 0.5) / counterBase);
}
/// Frames of the counting signal in `recorder`, from its first one on, that follow each other without a fault.
struct CounterRun {
    bool found = false;
    std::size_t begin = 0;        ///< where the signal begins in the recording
    std::uint64_t firstCount = 0; ///< what the first frame counts
    std::size_t frames = 0;
};
CounterRun findCounter(const CycleRecorder& recorder);

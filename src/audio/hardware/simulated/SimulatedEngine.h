// audio/hardware/simulated/SimulatedEngine.h — the cycles of one simulated device.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/hardware/simulated/SimulatedDevice.h"
#include "audio/hardware/simulated/SimulatedSignal.h"
#include "base/Clock.h"
#include "base/Realtime.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

/// Receives what clients of an output played, once a cycle.
using SimulatedOutputSink = std::function<void(const std::string& uid, const AudioTimeStamp& outputTime,
                                               const AudioBufferList& outputData)>;

/// Frame k of a device is at `launch + k / rate`, whether anyone listens or not. A cycle is due when its last
/// frame is over, so no drift can add up. While a device is stalled nothing is due; what its input missed is a
/// hole, which is handed on as silence of the same length, at eight times the pace, until the cycles are on
/// time again. In a stall that is not told, nothing is handed on for that time, and nobody hears of it.
class SimulatedEngine {
public:
    using Tell = std::function<void(const AudioHardwareEvent&)>;

    SimulatedEngine(Clock& clock, HostTime launch, SimulatedDevice device, AudioDeviceID deviceID, Tell tell);
    ~SimulatedEngine();

    // Any thread
    const SimulatedDevice& device() const { return m_device; }
    bool plugged() const { return m_plugged; }
    double rate() const { return m_rate; }
    std::uint32_t bufferFrames() const { return m_bufferFrames; }
    std::uint64_t holeFrames() const { return m_holeFrames; }

    // Any thread but the I/O thread
    void setRate(double rate);
    void setBufferFrames(std::uint32_t frames) { m_bufferFrames = frames; }
    OSStatus addProc(AudioDeviceIOProc proc, void* clientData);
    OSStatus startProc(AudioDeviceIOProc proc);
    /// Returns after a cycle in progress has ended.
    OSStatus stopProc(AudioDeviceIOProc proc);
    OSStatus removeProc(AudioDeviceIOProc proc);
    /// Whether a proc is started.
    bool running() const;
    void setSink(SimulatedOutputSink sink);
    void setPlugged(bool plugged);
    void stall(double seconds);
    /// Only the capture times of the cycles after it show that it was.
    void stallUntold(double seconds);

private:
    struct Proc {
        AudioDeviceIOProc proc = nullptr;
        void* clientData = nullptr;
        bool started = false;
    };
    /// Frames from `begin` up to `end` are lost.
    struct Hole {
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
    };

    HostTime timeOfFrame(std::uint64_t frame) const;
    std::uint64_t frameAtTime(HostTime time) const;
    HostTime dueTime() const { return timeOfFrame(m_nextFrame + m_cycleFrames); }
    void planFromNow();
    std::size_t startedProcs() const;
    Proc* find(AudioDeviceIOProc proc);

    HostTime beat();
    HostTime runBeat(std::uint64_t& holeHandedOn);
    std::uint64_t fillInput();
    void runCycle() KA_REALTIME;
    void callProc(const Proc& proc, float* output) KA_REALTIME;

    Clock& m_clock;
    const HostTime m_launch;
    const SimulatedDevice m_device;
    const AudioDeviceID m_deviceID;
    const Tell m_tell;
    std::atomic<double> m_rate;
    std::atomic<std::uint32_t> m_bufferFrames;
    std::atomic<std::uint64_t> m_holeFrames{0};
    std::atomic<bool> m_plugged{true};

    std::mutex m_controlMutex; // taken before the next one
    std::unique_ptr<Beat> m_beat;

    mutable std::mutex m_cycleMutex; // held for a whole cycle; guards all that follows
    SimulatedSignal m_signal;
    std::vector<Proc> m_procs;
    SimulatedOutputSink m_sink;
    std::vector<Hole> m_holes;
    HostTime m_stallEnd = 0;
    bool m_stalled = false;
    bool m_isUntold = false; // the stall
    bool m_late = false;     // catching up after a stall
    bool m_planChanged = false;
    std::uint64_t m_nextFrame = 0;
    std::uint32_t m_cycleFrames = 0;
    std::vector<float> m_input;
    std::vector<float> m_output;
    std::vector<float> m_eachOutput;
    AudioTimeStamp m_nowStamp;
    AudioTimeStamp m_inputStamp;
    AudioTimeStamp m_outputStamp;
};

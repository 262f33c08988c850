// audio/hardware/simulated/SimulatedHardware.h — scripted devices for rehearsals, demonstrations and tests.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/hardware/simulated/SimulatedEngine.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

/// The launch is the moment of construction. Devices are reported in the order given; each has one stream in
/// each of its directions. A device that is unplugged keeps its ID, its started procedures and its settings.
class SimulatedHardware final : public AudioHardware {
public:
    SimulatedHardware(Clock& clock, std::vector<SimulatedDevice> devices);

    // Main thread: the script. A device that no one has is not an error.
    void unplug(const std::string& uid);
    void replug(const std::string& uid);
    /// The device delivers nothing for `seconds`; see SimulatedEngine.
    void stall(const std::string& uid, double seconds);
    /// The same without a word: no hole is handed on or told.
    void stallUntold(const std::string& uid, double seconds);
    /// What every start of a procedure fails with from now on; 0 lets them succeed again.
    void setStartFailure(OSStatus status) { m_startFailure = status; }
    /// Called after each cycle of an output on the thread that ran it; an empty function ends it.
    void setOutputSink(const SimulatedOutputSink& sink);

    std::vector<AudioDeviceID> devices() override;
    /// The first one that is plugged in.
    AudioDeviceID defaultDevice(AudioDirection direction) override;
    std::string deviceName(AudioDeviceID device) override;
    std::string deviceUID(AudioDeviceID device) override;
    std::vector<AudioStreamID> streams(AudioDeviceID device, AudioDirection direction) override;
    std::vector<std::uint32_t> streamConfiguration(AudioDeviceID device, AudioDirection direction) override;
    AudioStreamBasicDescription streamFormat(AudioStreamID stream, unsigned side) override;
    std::vector<AudioDataSource> dataSources(AudioDeviceID device, AudioDirection direction) override;
    std::uint32_t dataSource(AudioDeviceID device, AudioDirection direction) override;
    bool setDataSource(AudioDeviceID device, AudioDirection direction, std::uint32_t source) override;
    double nominalSampleRate(AudioDeviceID device) override;
    bool setNominalSampleRate(AudioDeviceID device, double rate) override;
    std::vector<AudioValueRange> availableNominalSampleRates(AudioDeviceID device) override;
    AudioValueRange bufferFrameSizeRange(AudioDeviceID device, AudioDirection direction) override;
    std::uint32_t bufferFrameSize(AudioDeviceID device) override;
    bool setBufferFrameSize(AudioDeviceID device, std::uint32_t frames) override;
    /// Cycles never differ from the set size.
    std::uint32_t maxVariableBufferFrameSize(AudioDeviceID device) override;
    OSStatus addIOProc(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) override;
    OSStatus startIOProc(AudioDeviceID device, AudioDeviceIOProc proc) override;
    OSStatus stopIOProc(AudioDeviceID device, AudioDeviceIOProc proc) override;
    OSStatus removeIOProc(AudioDeviceID device, AudioDeviceIOProc proc) override;
    /// Nothing to trade: every cycle is handed on the moment it is over. It only remembers what was asked.
    void setLatencyNeed(AudioDeviceID, AudioLatencyNeed need) override { m_latencyNeed = need; }
    AudioLatencyNeed latencyNeed() const { return m_latencyNeed; } ///< the last one asked for
    void setListener(std::function<void(const AudioHardwareEvent&)> listener) override;
    std::uint64_t holeFrames(AudioDeviceID device) override;

private:
    struct Unit {
        std::unique_ptr<SimulatedEngine> engine;
        std::atomic<std::uint32_t> dataSource{0};
    };

    Unit* known(AudioDeviceID device) const;
    Unit* present(AudioDeviceID device) const;
    Unit* present(AudioDeviceID device, AudioDirection direction) const;
    AudioDeviceID deviceWithUID(const std::string& uid) const;
    void setPlugged(Unit& unit, bool plugged);
    void tell(const AudioHardwareEvent& event);

    std::recursive_mutex
        m_listenerMutex; // held while the listener is called, so that none is called after its end
    std::shared_ptr<const std::function<void(const AudioHardwareEvent&)>> m_listener;
    AudioLatencyNeed m_latencyNeed = AudioLatencyNeed::metering;
    std::atomic<OSStatus> m_startFailure{audioHardwareNoError};
    std::vector<std::unique_ptr<Unit>>
        m_units; // device ID - 1 is the index; last, so that no cycle outlives the rest
};

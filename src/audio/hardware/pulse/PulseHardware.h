// audio/hardware/pulse/PulseHardware.h — sound through a server that speaks the PulseAudio protocol.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/hardware/pulse/PulseConnection.h"
#include "audio/hardware/pulse/PulseDeviceIO.h"
#include "audio/hardware/pulse/PulseDeviceLister.h"
#include "audio/hardware/pulse/PulseDeviceTable.h"
#include "audio/hardware/pulse/PulseOptions.h"

#include <map>
#include <memory>
#include <mutex>

/// Sources (monitors of sinks too) are devices with input streams, sinks are devices with output streams.
///
/// All I/O procedures and the listener run on one thread, which also talks to the server; it holds a lock while
/// it works, and what starts or stops a procedure waits for that lock, so a cycle always ends first. No cycle
/// waits for the server. Queries are answered from what the server told last and wait for nobody. The listener
/// must not wait for the main thread.
///
/// While the server is away there are no devices, and procedures stay started: their streams come back on their
/// own.
class PulseHardware final : public AudioHardware, private PulseConnection::Owner {
public:
    /// Waits for the server's device list, 5 s at most; not at all where no server listens.
    PulseHardware(Clock& clock, PulseOptions options);
    ~PulseHardware() override;

    // Main thread
    std::vector<AudioDeviceID> devices() override;
    AudioDeviceID defaultDevice(AudioDirection direction) override { return m_table.defaultDevice(direction); }
    /// Also of a device that is away.
    std::string deviceName(AudioDeviceID device) override;
    /// Also of a device that is away.
    std::string deviceUID(AudioDeviceID device) override;
    std::vector<AudioStreamID> streams(AudioDeviceID device, AudioDirection direction) override;
    std::vector<std::uint32_t> streamConfiguration(AudioDeviceID device, AudioDirection direction) override;
    AudioStreamBasicDescription streamFormat(AudioStreamID stream, unsigned side) override;
    std::vector<AudioDataSource> dataSources(AudioDeviceID device, AudioDirection direction) override;
    std::uint32_t dataSource(AudioDeviceID device, AudioDirection direction) override;
    /// Waits for the server's answer, 2 s at most.
    bool setDataSource(AudioDeviceID device, AudioDirection direction, std::uint32_t source) override;
    double nominalSampleRate(AudioDeviceID device) override;
    /// Only the rate that the device runs at: any other would be the server's resampling.
    bool setNominalSampleRate(AudioDeviceID device, double rate) override;
    std::vector<AudioValueRange> availableNominalSampleRates(AudioDeviceID device) override;
    AudioValueRange bufferFrameSizeRange(AudioDeviceID device, AudioDirection direction) override;
    std::uint32_t bufferFrameSize(AudioDeviceID device) override;
    bool setBufferFrameSize(AudioDeviceID device, std::uint32_t frames) override;
    std::uint32_t maxVariableBufferFrameSize(AudioDeviceID device) override;
    OSStatus addIOProc(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) override;
    /// Waits for the stream, 3 s at most.
    OSStatus startIOProc(AudioDeviceID device, AudioDeviceIOProc proc) override;
    OSStatus stopIOProc(AudioDeviceID device, AudioDeviceIOProc proc) override;
    OSStatus removeIOProc(AudioDeviceID device, AudioDeviceIOProc proc) override;
    void setLatencyNeed(AudioDeviceID device, AudioLatencyNeed need) override;
    /// No call of the former listener is in progress when this returns.
    void setListener(std::function<void(const AudioHardwareEvent&)> listener) override;

    // Any thread
    std::uint64_t holeFrames(AudioDeviceID device) override;

private:
    // Sound system's thread
    void connectionReady() override;
    void connectionFailed(bool wasReady) override;
    void devicesListed(const std::vector<PulseDevice>& listed);
    void tellDefaults();
    void tell(const AudioHardwareEvent& event);

    // Main thread
    std::optional<PulseDevice> present(AudioDeviceID device, AudioDirection direction) const;
    bool setServerPort(const PulseDevice& device, const std::string& port);
    /// The device's procedures; null for an ID that was never given out.
    PulseDeviceIO* io(AudioDeviceID device);
    PulseDeviceIO* existingIO(AudioDeviceID device);
    OSStatus onExistingIO(AudioDeviceID device, AudioDeviceIOProc proc,
                          OSStatus (PulseDeviceIO::*call)(AudioDeviceIOProc));

    Clock& m_clock;
    PulseDeviceTable m_table;
    PulseDeviceLister m_lister;
    PulseConnection m_connection;
    std::mutex m_iosMutex; ///< never held while anything else is waited for
    std::map<AudioDeviceID, std::unique_ptr<PulseDeviceIO>> m_ios; ///< grows only
    std::function<void(const AudioHardwareEvent&)> m_listener;
    AudioDeviceID m_defaultInput = 0; ///< as it was told last
    AudioDeviceID m_defaultOutput = 0;
    bool m_hasList = false; ///< of the present connection
    bool m_failedOnce = false;
};

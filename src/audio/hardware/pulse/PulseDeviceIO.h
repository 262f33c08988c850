// audio/hardware/pulse/PulseDeviceIO.h — runs one device's I/O procedures, through losses and returns.
#pragma once
#include "audio/hardware/pulse/PulseConnection.h"
#include "audio/hardware/pulse/PulseDeviceTable.h"
#include "audio/hardware/pulse/PulseStream.h"

#include <atomic>

/// Keeps a stream open while a procedure is started. When the device or the server goes away, the stream is
/// opened again, with the format it had, as soon as a device of the same ID is there.
class PulseDeviceIO final : private PulseStream::Owner {
public:
    using Tell = std::function<void(const AudioHardwareEvent&)>;
    struct Surroundings {
        const Clock& clock;
        PulseConnection& connection;
        const PulseDeviceTable& table;
        Tell tell;                                  ///< sound system's thread, never inside a cycle
        std::function<void(double)> refreshDevices; ///< has `devicesListed` called, after some seconds
    };
    PulseDeviceIO(AudioDeviceID device, const Surroundings& surroundings);

    // Main thread, under a PulseConnection::Lock (which is why a cycle is never cut)
    OSStatus add(AudioDeviceIOProc proc, void* clientData);
    /// Waits for the stream, 3 s at most.
    OSStatus start(AudioDeviceIOProc proc);
    OSStatus stop(AudioDeviceIOProc proc);
    OSStatus remove(AudioDeviceIOProc proc);
    void setLatencyNeed(AudioLatencyNeed need);
    void setCycleFrames(std::uint32_t frames);
    std::uint32_t cycleFrames() const { return m_cycles.cycleFrames(); }

    // Sound system's thread
    /// The table is up to date.
    void devicesListed();
    void connectionLost();

    // Any thread
    std::uint64_t holeFrames() const { return m_holeFrames.load(std::memory_order_relaxed); }

private:
    /// What the started procedures get at present.
    enum class Condition {
        idle,      ///< nothing is started
        starting,  ///< the first stream is being opened; `start` waits for it
        running,   ///< cycles come
        waiting,   ///< it ran; the device or the server is away
        returning, ///< it ran; a new stream is being opened
    };
    void streamReady() override;
    void streamEnded(const std::string& reason) override;
    void streamHadHole(std::uint64_t frames) override;
    void streamDelivered() override;
    bool openStream(const PulseDevice& device);
    OSStatus startStream();
    void interrupt();

    const AudioDeviceID m_device;
    const Surroundings m_surroundings;
    CycleDispatcher m_cycles;
    std::unique_ptr<PulseStream> m_stream;
    PulseFormat m_format;
    AudioLatencyNeed m_need = AudioLatencyNeed::metering;
    Condition m_condition = Condition::idle;
    HostTime m_notBefore = 0; ///< a device that refuses is not asked again at once
    std::atomic<std::uint64_t> m_holeFrames{0};
};

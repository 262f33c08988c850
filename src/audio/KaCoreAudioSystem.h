// audio/KaCoreAudioSystem.h — the sound system and who shares its devices.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/KaCoreAudioIOProcMux.h"

#include <map>
#include <memory>
#include <mutex>

/// Holds one multiplexer for each hardware device that was ever started. Outlives every device object.
class KaCoreAudioSystem {
public:
    explicit KaCoreAudioSystem(AudioHardware& hardware);
    KaCoreAudioSystem(const KaCoreAudioSystem&) = delete;
    KaCoreAudioSystem& operator=(const KaCoreAudioSystem&) = delete;

    AudioHardware& hardware() const { return m_hardware; }

    // Any thread but the I/O thread
    /// The multiplexer of the device's ID, made on first use; it lives as long as this object.
    KaCoreAudioIOProcMux& muxForDevice(const KaCoreAudioDevice& device);
    bool registerDevice(KaCoreAudioDevice& device);
    void unRegisterDevice(KaCoreAudioDevice& device);
    void setPause(bool pause, KaCoreAudioDevice& forDevice);

private:
    AudioHardware& m_hardware;
    std::mutex m_tableLock;
    std::map<AudioDeviceID, std::unique_ptr<KaCoreAudioIOProcMux>> m_deviceMultiplexers;
};

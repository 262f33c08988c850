#include "audio/KaCoreAudioSystem.h"

#include "audio/KaCoreAudioDevice.h"

KaCoreAudioSystem::KaCoreAudioSystem(AudioHardware& hardware) : m_hardware(hardware) {}

KaCoreAudioIOProcMux& KaCoreAudioSystem::muxForDevice(const KaCoreAudioDevice& device) {
    const std::lock_guard guard(m_tableLock);
    std::unique_ptr<KaCoreAudioIOProcMux>& mux = m_deviceMultiplexers[device.deviceID()];
    if (!mux)
        mux = std::make_unique<KaCoreAudioIOProcMux>(m_hardware, device.deviceID());
    return *mux;
}

bool KaCoreAudioSystem::registerDevice(KaCoreAudioDevice& device) {
    return muxForDevice(device).registerDevice(device);
}

void KaCoreAudioSystem::unRegisterDevice(KaCoreAudioDevice& device) {
    muxForDevice(device).unRegisterDevice(device);
}

void KaCoreAudioSystem::setPause(bool pause, KaCoreAudioDevice& forDevice) {
    muxForDevice(forDevice).setPause(pause, forDevice);
}

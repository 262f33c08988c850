#include "audio/KaCoreAudioSystem.h"

#include "audio/KaCoreAudioDevice.h"

#include <utility>

KaCoreAudioSystem::KaCoreAudioSystem(AudioHardware& hardware) : m_hardware(hardware) {
    m_hardware.setListener([this](const AudioHardwareEvent& event) { hardwareDidTell(event); });
}

KaCoreAudioSystem::~KaCoreAudioSystem() {
    m_hardware.setListener({});
}

void KaCoreAudioSystem::setEventHandler(std::function<void(const AudioHardwareEvent&)> handler) {
    const std::lock_guard guard(m_eventLock);
    m_eventHandler =
        handler ? std::make_shared<const std::function<void(const AudioHardwareEvent&)>>(std::move(handler))
                : nullptr;
}

void KaCoreAudioSystem::hardwareDidTell(const AudioHardwareEvent& event) {
    const std::lock_guard guard(m_eventLock);
    if (const auto handler = m_eventHandler)
        (*handler)(event);
}

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

#include "audio/KaCoreAudioSystem.h"

#include "audio/KaCoreAudioDevice.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"

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
    switch (event.kind) {
    case AudioHardwareEvent::Kind::deviceListChanged:
        post({std::string(KaCoreAudioHardwareDeviceListDidChangeNotification), {}, {}});
        break;
    case AudioHardwareEvent::Kind::defaultInputChanged:
        post({std::string(KaCoreAudioHardwareDefaultInputDeviceDidChangeNotification), {}, {}});
        break;
    case AudioHardwareEvent::Kind::defaultOutputChanged: // alerts sound where everything else does
        post({std::string(KaCoreAudioHardwareDefaultOutputDeviceDidChangeNotification), {}, {}});
        post({std::string(KaCoreAudioHardwareDefaultSystemOutputDeviceDidChangeNotification), {}, {}});
        break;
    case AudioHardwareEvent::Kind::deviceDied:
    case AudioHardwareEvent::Kind::deviceReturned:
        deviceDidChange(event.device, AudioDirection::output, audioDevicePropertyDeviceIsAlive);
        break;
    case AudioHardwareEvent::Kind::hole:
        deviceDidChange(event.device, AudioDirection::input, audioDevicePropertyOverload);
        break;
    case AudioHardwareEvent::Kind::delivered:
        break;
    case AudioHardwareEvent::Kind::serverLost:
    case AudioHardwareEvent::Kind::serverReturned:
        break; // heard as a change of the list
    }
}

void KaCoreAudioSystem::attachNotificationsToThisThread(RunLoop& runLoop, NotificationCenter& notifications,
                                                        SystemLog& log) {
    const std::lock_guard guard(m_eventLock);
    m_attachment = std::make_shared<const Attachment>(Attachment{runLoop, notifications, log});
}

NotificationCenter* KaCoreAudioSystem::notifications() const {
    return m_attachment ? &m_attachment->notifications : nullptr;
}

SystemLog* KaCoreAudioSystem::log() const {
    return m_attachment ? &m_attachment->log : nullptr;
}

void KaCoreAudioSystem::deviceDidChange(AudioDeviceID device, AudioDirection direction,
                                        AudioPropertyID property) {
    const std::lock_guard guard(m_eventLock);
    post({std::string(KaCoreAudioDeviceNotification),
          {},
          {{"DeviceID", std::to_string(device)},
           {"Channel", "0"},
           {"Direction", direction == AudioDirection::input ? "1" : "0"},
           {"PropertyID", textOfPropertyID(property)}}});
}

void KaCoreAudioSystem::streamDidChange(AudioStreamID stream, AudioPropertyID property) {
    const std::lock_guard guard(m_eventLock);
    post(
        {std::string(KaCoreAudioStreamNotification),
         {},
         {{"StreamID", std::to_string(stream)}, {"Channel", "0"}, {"PropertyID", textOfPropertyID(property)}}});
}

void KaCoreAudioSystem::post(Notification notification) {
    if (!m_attachment)
        return;
    m_attachment->runLoop.post(
        [attachment = std::weak_ptr<const Attachment>(m_attachment), notification = std::move(notification)] {
            if (const auto still = attachment.lock())
                still->notifications.post(notification);
        });
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

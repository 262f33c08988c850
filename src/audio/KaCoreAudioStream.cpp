#include "audio/KaCoreAudioStream.h"

#include "audio/KaCoreAudioDevice.h"
#include "audio/KaCoreAudioStreamDelegate.h"
#include "audio/KaCoreAudioSystem.h"

#include <cstdio>

KaCoreAudioStream::KaCoreAudioStream(KaCoreAudioSystem& system, AudioStreamID stream, AudioDirection direction,
                                     KaCoreAudioDevice& parentAudioDevice)
    : m_system(&system), m_myStream(stream), m_direction(direction), m_parentAudioDevice(&parentAudioDevice) {}

KaCoreAudioStreamDescription KaCoreAudioStream::streamDescriptionForSide(unsigned side) const {
    return KaCoreAudioStreamDescription(m_system->hardware().streamFormat(m_myStream, side));
}

void KaCoreAudioStream::setDelegate(KaCoreAudioStreamDelegate* delegate) {
    m_myDelegate.end();
    NotificationCenter* const notifications = m_system->notifications();
    if (delegate == nullptr || notifications == nullptr)
        return;
    m_myDelegate = notifications->observe(
        KaCoreAudioStreamNotification, [delegate, stream = m_myStream](const Notification& change) {
            const auto concerned = change.userInfo.find("StreamID");
            const auto property = change.userInfo.find("PropertyID");
            if (concerned != change.userInfo.end() && concerned->second == std::to_string(stream) &&
                property != change.userInfo.end() &&
                property->second == textOfPropertyID(audioDevicePropertyStreamFormat))
                delegate->audioStreamStreamDescriptionDidChange(stream);
        });
}

std::string KaCoreAudioStream::description() const {
    char head[96];
    std::snprintf(head, sizeof head, "<KaCoreAudioStream: %p %s id %u> ", static_cast<const void*>(this),
                  m_direction == AudioDirection::input ? "Record" : "Playback", m_myStream);
    return head + m_parentAudioDevice->deviceName();
}

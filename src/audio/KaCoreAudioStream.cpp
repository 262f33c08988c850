#include "audio/KaCoreAudioStream.h"

#include "audio/KaCoreAudioDevice.h"

#include <cstdio>

KaCoreAudioStream::KaCoreAudioStream(AudioHardware& hardware, AudioStreamID stream, AudioDirection direction,
                                     KaCoreAudioDevice& parentAudioDevice)
    : m_hardware(&hardware),
      m_myStream(stream),
      m_direction(direction),
      m_parentAudioDevice(&parentAudioDevice) {}

KaCoreAudioStreamDescription KaCoreAudioStream::streamDescriptionForSide(unsigned side) const {
    return KaCoreAudioStreamDescription(m_hardware->streamFormat(m_myStream, side));
}

std::string KaCoreAudioStream::description() const {
    char head[96];
    std::snprintf(head, sizeof head, "<KaCoreAudioStream: %p %s id %u> ", static_cast<const void*>(this),
                  m_direction == AudioDirection::input ? "Record" : "Playback", m_myStream);
    return head + m_parentAudioDevice->deviceName();
}

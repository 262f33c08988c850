// audio/KaCoreAudioStream.h — one stream of a device.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/KaCoreAudioStreamDescription.h"

#include <string>

class KaCoreAudioDevice;

/// A thin query object; the device that handed it out outlives it. Main thread.
class KaCoreAudioStream {
public:
    KaCoreAudioStream(AudioHardware& hardware, AudioStreamID stream, AudioDirection direction,
                      KaCoreAudioDevice& parentAudioDevice);

    AudioStreamID streamID() const { return m_myStream; }
    AudioDirection direction() const { return m_direction; }
    KaCoreAudioDevice& parentAudioDevice() const { return *m_parentAudioDevice; }

    /// Side 1: the physical format; any other: the format that the device's cycles carry. All zeros on failure.
    KaCoreAudioStreamDescription streamDescriptionForSide(unsigned side) const;

    /// Class, address, "Record" or "Playback", ID and the device's name.
    std::string description() const;

private:
    AudioHardware* m_hardware;
    AudioStreamID m_myStream;
    AudioDirection m_direction;
    KaCoreAudioDevice* m_parentAudioDevice;
};

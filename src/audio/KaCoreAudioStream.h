// audio/KaCoreAudioStream.h — one stream of a device.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/KaCoreAudioStreamDescription.h"
#include "base/NotificationCenter.h"

#include <string>

class KaCoreAudioDevice;
class KaCoreAudioStreamDelegate;
class KaCoreAudioSystem;

/// A thin query object; the device that handed it out outlives it. Main thread.
class KaCoreAudioStream {
public:
    KaCoreAudioStream(KaCoreAudioSystem& system, AudioStreamID stream, AudioDirection direction,
                      KaCoreAudioDevice& parentAudioDevice);

    AudioStreamID streamID() const { return m_myStream; }
    AudioDirection direction() const { return m_direction; }
    KaCoreAudioDevice& parentAudioDevice() const { return *m_parentAudioDevice; }

    /// Side 1: the physical format; any other: the format that the device's cycles carry. All zeros on failure.
    KaCoreAudioStreamDescription streamDescriptionForSide(unsigned side) const;

    /// Null ends it. The delegate outlives this object.
    void setDelegate(KaCoreAudioStreamDelegate* delegate);

    /// Class, address, "Record" or "Playback", ID and the device's name.
    std::string description() const;

private:
    KaCoreAudioSystem* m_system;
    AudioStreamID m_myStream;
    AudioDirection m_direction;
    KaCoreAudioDevice* m_parentAudioDevice;
    NotificationCenter::Observation m_myDelegate; // what it hears; this object may move
};

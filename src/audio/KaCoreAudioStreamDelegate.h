// audio/KaCoreAudioStreamDelegate.h — hears what a stream object has to tell.
#pragma once
#include "audio/hardware/AudioHardware.h"

class KaCoreAudioStreamDelegate {
public:
    virtual ~KaCoreAudioStreamDelegate() = default;

    /// The stream carries samples of another form. Main thread, from its loop, once the system's notifications
    /// are attached to it.
    virtual void audioStreamStreamDescriptionDidChange(AudioStreamID stream) = 0;
};

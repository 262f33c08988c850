// audio/KaCoreAudioDeviceDelegate.h — hears what a device object has to tell.
#pragma once
#include "audio/hardware/AudioHardware.h"

class KaCoreAudioDevice;

class KaCoreAudioDeviceDelegate {
public:
    virtual ~KaCoreAudioDeviceDelegate() = default;

    /// Called on the thread that asked for the start, with no lock held.
    virtual void audioDeviceStartDidFail(KaCoreAudioDevice& device, OSStatus forReason) = 0;
};

// audio/KaCoreAudioDeviceDelegate.h — hears what a device object has to tell.
#pragma once
#include "audio/hardware/AudioHardware.h"

class KaCoreAudioDevice;

class KaCoreAudioDeviceDelegate {
public:
    virtual ~KaCoreAudioDeviceDelegate() = default;

    /// Called on the thread that asked for the start, with no lock held.
    virtual void audioDeviceStartDidFail(KaCoreAudioDevice& device, OSStatus forReason) = 0;

    // Main thread, from its loop, once the system's notifications are attached to it. No device object may be
    // destroyed from here.
    /// The device died, or is back.
    virtual void audioDeviceIsAliveDidChange(KaCoreAudioDevice&) {}
    /// Sound was lost before it reached the cycles.
    virtual void audioDeviceDidOverload(KaCoreAudioDevice&) {}
    /// This one, and the two last, when any object of the same device has set it.
    virtual void audioDeviceSourceDidChange(KaCoreAudioDevice&, AudioDirection /*forDirection*/) {}
    /// Deprecated. Who implements it returns true, and the system log says what to use.
    virtual bool audioDeviceSourceDidChange(KaCoreAudioDevice&, unsigned /*forChannel*/,
                                            AudioDirection /*forDirection*/) {
        return false;
    }
    virtual void audioDeviceNominalSampleRateDidChange(KaCoreAudioDevice&) {}
    virtual void audioDeviceBufferSizeInFramesDidChange(KaCoreAudioDevice&) {}
};

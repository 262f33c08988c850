// audio/SourceList.h — the devices of one direction as one flat list of sources.
#pragma once
#include "audio/hardware/AudioHardware.h"

#include <string>
#include <vector>

class KaCoreAudioSystem;

/// One entry of the list: a device without data sources, or one (merged) data source of a device.
struct AudioSource {
    int deviceNumber = 0; ///< position in the list of all devices
    AudioDeviceID device = 0;
    std::string deviceName;
    std::string name; ///< of the data source, or the device's
};

/// Every source of `direction`, in the order of the device list. Main thread.
std::vector<AudioSource> audioSources(KaCoreAudioSystem& system, AudioDirection direction);

/// The external inputs merged into one "Line In", where the first of them stood.
std::vector<std::string> representRecordNames(const std::vector<std::string>& names);
/// "Headphones" and "Internal speakers" merged into one "Internal speakers".
std::vector<std::string> representPlayNames(const std::vector<std::string>& names);

/// Index of the source that a person means by `wish`: an index, a name, a device's name, or a part of exactly
/// one of the names, whatever its case. -1 when there is none or when it is not clear which.
int indexOfAudioSource(const std::vector<AudioSource>& sources, const std::string& wish);

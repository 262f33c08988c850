// audio/hardware/pulse/PulsePortNames.h — the names that ports go by in the source list.
#pragma once
#include "audio/AudioBufferList.h"
#include "audio/hardware/AudioHardware.h"

#include <string>

/// What the server says of one port.
struct PulsePortDescription {
    std::string name;        ///< the server's own, such as "analog-input-linein"
    std::string description; ///< for people, in the server's language
    unsigned type = 0;       ///< a pa_device_port_type_t; 0 from servers that do not say
};

/// "Internal microphone", "Line In", "Digital In", "Internal speakers" or "Headphones" for a port known by its
/// name or type, else the port's description (its name if it has none).
std::string pulsePortName(const PulsePortDescription& port, AudioDirection direction);

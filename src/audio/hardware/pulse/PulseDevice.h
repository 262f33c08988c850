// audio/hardware/pulse/PulseDevice.h — what the server says of one source or sink.
#pragma once
#include "audio/hardware/AudioHardware.h"

#include <pulse/channelmap.h>
#include <pulse/sample.h>
#include <string>
#include <vector>

/// A source's or sink's sample layout.
struct PulseFormat {
    pa_sample_spec spec{};
    pa_channel_map map{};
};

struct PulsePort {
    std::string name;  ///< as the server calls it
    std::string title; ///< as the source list calls it
};

struct PulseDevice {
    AudioDirection direction = AudioDirection::input;
    std::string name;
    std::string description;
    PulseFormat format;
    std::vector<PulsePort> ports; ///< in the server's order
    std::string activePort;
    bool isDefault = false; ///< what the server uses where none is named
};

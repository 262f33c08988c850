// audio/hardware/pulse/PulseOptions.h — how the adapter introduces itself, and to whom.
#pragma once
#include <string>

struct PulseOptions {
    std::string applicationName = "Velmoratide"; ///< shown by the server's mixers
    std::string server = {};                     ///< server address; empty means the environment's default
};

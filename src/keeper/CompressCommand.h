// keeper/CompressCommand.h — how the compressor is called.
#pragma once
#include <string>
#include <vector>

/// Any thread.
struct CompressCommand {
    std::string path;     ///< of the program
    std::string argument; ///< the template of its arguments

    /// The template with the first four "%@" replaced by `target` and "%%" by "%", split at every single space:
    /// two in a row yield an empty argument, and a target with a space becomes several.
    std::vector<std::string> argumentsFor(const std::string& target) const;
};

// rehearsal/SignalFile.h — a sound file that an input hears.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

/// The samples of a 16-bit AIFF file, brought to the rate of a device. A recording made of them at that rate
/// has the file's own 16-bit samples again.
struct SignalFile {
    std::vector<float> samples; ///< interleaved
    std::uint32_t channels = 1;
    std::string fault; ///< why it cannot be used; empty when it can

    /// Any thread. `path` may be absolute or lies beside a scenario as `written`; `rate` in Hz.
    static SignalFile read(const std::string& beside, const std::string& written, double rate);
};

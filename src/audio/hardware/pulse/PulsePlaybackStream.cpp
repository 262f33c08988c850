#include "audio/hardware/pulse/PulsePlaybackStream.h"

#include <algorithm>

int PulsePlaybackStream::connect(const std::string& deviceName, const pa_buffer_attr& attributes) {
    constexpr auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
    return pa_stream_connect_playback(stream(), deviceName.c_str(), &attributes, flags, nullptr, nullptr);
}

pa_buffer_attr PulsePlaybackStream::attributes(AudioLatencyNeed need) const {
    constexpr auto serversChoice = static_cast<std::uint32_t>(-1);
    pa_buffer_attr wished{};
    // With the server's choice of `prebuf` it waits for sound that comes late; with none it would go on
    // without, and then skip as much when the sound comes.
    wished.maxlength = wished.prebuf = wished.minreq = wished.fragsize = serversChoice;
    // Two cycles at least: the server asks for the next while the last is played.
    wished.tlength = std::max(bytesOf(secondsOf(need)), 2 * cycles().cycleFrames() * frameBytes());
    return wished;
}

void PulsePlaybackStream::transfer(std::size_t bytes) {
    for (std::size_t written = 0; written < bytes;) {
        const std::span<const float> cycle = cycles().render();
        if (pa_stream_write(stream(), cycle.data(), cycle.size_bytes(), nullptr, 0, PA_SEEK_RELATIVE) < 0) {
            pa_stream_disconnect(stream());
            return;
        }
        written += cycle.size_bytes();
    }
    keepTime();
}

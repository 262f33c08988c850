#include "audio/hardware/pulse/PulseRecordStream.h"

#include <algorithm>
#include <array>

int PulseRecordStream::connect(const std::string& deviceName, const pa_buffer_attr& attributes) {
    constexpr auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
    return pa_stream_connect_record(stream(), deviceName.c_str(), &attributes, flags);
}

pa_buffer_attr PulseRecordStream::attributes(AudioLatencyNeed need) const {
    constexpr auto serversChoice = static_cast<std::uint32_t>(-1);
    pa_buffer_attr wished{};
    wished.maxlength = serversChoice; // as much as the server can keep while this process is held up
    wished.tlength = wished.prebuf = wished.minreq = serversChoice;
    wished.fragsize = bytesOf(secondsOf(need));
    return wished;
}

void PulseRecordStream::transfer(std::size_t bytes) {
    // Until the server has told better, the newest frame is taken to be captured just now.
    cycles().guess(now() - static_cast<HostTime>(static_cast<double>(bytes / frameBytes()) / rate() * 1e9));
    std::array<std::uint64_t, 8> holes{};
    std::size_t holeCount = 0;
    for (;;) {
        const void* data = nullptr;
        std::size_t size = 0;
        if (pa_stream_peek(stream(), &data, &size) < 0) {
            pa_stream_disconnect(stream()); // the state callback reports the end
            break;
        }
        if (size == 0)
            break;
        const std::uint64_t frames = size / frameBytes();
        cycles().capture(static_cast<const float*>(data), frames);
        if (data == nullptr) {
            // Told after the last cycle; holes beyond the list's end join its last entry.
            holes[std::min(holeCount, holes.size() - 1)] += frames;
            ++holeCount;
        }
        pa_stream_drop(stream());
    }
    for (const std::uint64_t frames : holes)
        if (frames > 0)
            owner().streamHadHole(frames);
    owner().streamDelivered();
    keepTime();
}

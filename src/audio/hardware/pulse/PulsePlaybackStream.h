// audio/hardware/pulse/PulsePlaybackStream.h — sound to a sink.
#pragma once
#include "audio/hardware/pulse/PulseStream.h"

/// To a sink: cycles are pulled as the server asks for sound.
class PulsePlaybackStream final : public PulseStream {
public:
    using PulseStream::PulseStream;

private:
    int connect(const std::string& deviceName, const pa_buffer_attr& attributes) override;
    pa_buffer_attr attributes(AudioLatencyNeed need) const override;
    void transfer(std::size_t bytes) override;
    HostTime deviceTime(HostTime now, HostTime latency) const override { return now + latency; }
};

// audio/hardware/pulse/PulseRecordStream.h — sound from a source.
#pragma once
#include "audio/hardware/pulse/PulseStream.h"

/// From a source: fragments in, cycles out.
class PulseRecordStream final : public PulseStream {
public:
    using PulseStream::PulseStream;

private:
    int connect(const std::string& deviceName, const pa_buffer_attr& attributes) override;
    pa_buffer_attr attributes(AudioLatencyNeed need) const override;
    void transfer(std::size_t bytes) override;
    HostTime deviceTime(HostTime now, HostTime latency) const override { return now - latency; }
};

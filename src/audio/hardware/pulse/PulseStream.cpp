#include "audio/hardware/pulse/PulseStream.h"

#include <pulse/error.h>

namespace {
// Each answer costs a wake-up, and the loop that follows them is slow; only the start needs them close
// together.
constexpr HostTime timingInterval = 2'000'000'000;
constexpr unsigned answersUntilSettled = 4;

void ignoreSuccess(pa_stream*, int, void*) {}

void release(pa_operation*& operation) {
    if (operation == nullptr)
        return;
    pa_operation_cancel(operation);
    pa_operation_unref(operation);
    operation = nullptr;
}
} // namespace

PulseStream::PulseStream(const Clock& clock, CycleDispatcher& cycles, Owner& owner)
    : m_clock(clock), m_cycles(cycles), m_owner(owner) {}

PulseStream::~PulseStream() {
    release(m_timing);
    if (m_stream == nullptr)
        return;
    pa_stream_set_state_callback(m_stream, nullptr, nullptr);
    pa_stream_set_read_callback(m_stream, nullptr, nullptr);
    pa_stream_set_write_callback(m_stream, nullptr, nullptr);
    pa_stream_disconnect(m_stream); // refused, without harm, when the stream has ended on its own
    pa_stream_unref(m_stream);
}

bool PulseStream::open(pa_context* context, const PulseDevice& device, const PulseFormat& format,
                       AudioLatencyNeed need) {
    pa_sample_spec spec = format.spec;
    spec.format = PA_SAMPLE_FLOAT32NE;
    m_frameBytes = static_cast<std::uint32_t>(pa_frame_size(&spec));
    m_rate = spec.rate;
    m_stream = pa_stream_new(context, device.direction == AudioDirection::input ? "Recording" : "Playback",
                             &spec, &format.map);
    if (m_stream == nullptr)
        return false;
    pa_stream_set_state_callback(
        m_stream, [](pa_stream*, void* self) { static_cast<PulseStream*>(self)->stateChanged(); }, this);
    const auto transferable = [](pa_stream*, std::size_t bytes, void* self) {
        static_cast<PulseStream*>(self)->transfer(bytes);
    };
    pa_stream_set_read_callback(m_stream, transferable, this);
    pa_stream_set_write_callback(m_stream, transferable, this);
    return connect(device.name, attributes(need)) >= 0;
}

bool PulseStream::isReady() const {
    return m_stream != nullptr && pa_stream_get_state(m_stream) == PA_STREAM_READY;
}

void PulseStream::setLatencyNeed(AudioLatencyNeed need) {
    if (!isReady())
        return;
    const pa_buffer_attr wished = attributes(need);
    if (pa_operation* const operation = pa_stream_set_buffer_attr(m_stream, &wished, ignoreSuccess, nullptr))
        pa_operation_unref(operation);
}

void PulseStream::stateChanged() {
    const pa_stream_state_t state = pa_stream_get_state(m_stream);
    if (state == PA_STREAM_READY) {
        keepTime();
        m_owner.streamReady();
    } else if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) {
        m_owner.streamEnded(pa_strerror(pa_context_errno(pa_stream_get_context(m_stream))));
    }
}

void PulseStream::keepTime() {
    const HostTime time = now();
    if (m_timing != nullptr ||
        (m_timingAnswers >= answersUntilSettled && time - m_timingAsked < timingInterval))
        return;
    m_timingAsked = time;
    m_timing = pa_stream_update_timing_info(
        m_stream,
        [](pa_stream*, int success, void* self) {
            static_cast<PulseStream*>(self)->timingAnswered(success != 0);
        },
        this);
}

void PulseStream::timingAnswered(bool success) {
    pa_operation_unref(m_timing);
    m_timing = nullptr;
    ++m_timingAnswers;
    pa_usec_t latency = 0;
    int isNegative = 0;
    if (!success || pa_stream_get_latency(m_stream, &latency, &isNegative) < 0)
        return;
    const HostTime nanoseconds = static_cast<HostTime>(latency) * 1000;
    m_cycles.observe(deviceTime(now(), isNegative != 0 ? -nanoseconds : nanoseconds));
}

std::uint32_t PulseStream::bytesOf(double seconds) const {
    return static_cast<std::uint32_t>(seconds * m_rate) * m_frameBytes;
}

double PulseStream::secondsOf(AudioLatencyNeed need) {
    switch (need) {
    case AudioLatencyNeed::monitoring:
        return 0.02;
    case AudioLatencyNeed::metering:
        return 0.05;
    case AudioLatencyNeed::relaxed:
        return 1.0;
    }
    return 0.05;
}

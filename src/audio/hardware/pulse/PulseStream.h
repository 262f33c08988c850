// audio/hardware/pulse/PulseStream.h — one stream between the server and a device's cycles.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/hardware/pulse/CycleDispatcher.h"
#include "audio/hardware/pulse/PulseDevice.h"

#include <memory>
#include <pulse/context.h>
#include <pulse/operation.h>
#include <pulse/stream.h>
#include <string>

/// Everything happens on the sound system's thread, or under its lock. Samples are 32-bit floats in the
/// device's rate, channels and channel order. The server never moves the stream to another device: it ends
/// instead.
class PulseStream {
public:
    /// Told on the sound system's thread, never from inside a cycle.
    class Owner {
    public:
        virtual ~Owner() = default;
        virtual void streamReady() = 0;
        /// May destroy the stream.
        virtual void streamEnded(const std::string& reason) = 0;
        virtual void streamHadHole(std::uint64_t frames) = 0;
        /// One piece of input has been handed on.
        virtual void streamDelivered() = 0;
    };

    PulseStream(const Clock& clock, CycleDispatcher& cycles, Owner& owner);
    /// No cycle and no call to the owner comes afterwards.
    virtual ~PulseStream();
    PulseStream(const PulseStream&) = delete;
    PulseStream& operator=(const PulseStream&) = delete;

    /// Begins to connect; the owner learns how that ends. False when the server refuses at once.
    bool open(pa_context* context, const PulseDevice& device, const PulseFormat& format, AudioLatencyNeed need);
    bool isReady() const;
    /// Takes effect on the running stream.
    void setLatencyNeed(AudioLatencyNeed need);

protected:
    virtual int connect(const std::string& deviceName, const pa_buffer_attr& attributes) = 0;
    virtual pa_buffer_attr attributes(AudioLatencyNeed need) const = 0;
    /// Moves what can be moved; `bytes` is what the server said of it.
    virtual void transfer(std::size_t bytes) = 0;
    /// Host time at which frame `framesTaken()` is at the device, `latency` nanoseconds off the server's
    /// answer.
    virtual HostTime deviceTime(HostTime now, HostTime latency) const = 0;

    pa_stream* stream() const { return m_stream; }
    CycleDispatcher& cycles() const { return m_cycles; }
    Owner& owner() const { return m_owner; }
    HostTime now() const { return m_clock.hostTime(); }
    std::uint32_t frameBytes() const { return m_frameBytes; }
    double rate() const { return m_rate; }
    /// `seconds` of sound, in bytes of whole frames.
    std::uint32_t bytesOf(double seconds) const;
    static double secondsOf(AudioLatencyNeed need);
    /// Asks the server for the stream's timing, unless it was asked a moment ago.
    void keepTime();

private:
    void stateChanged();
    void timingAnswered(bool success);

    const Clock& m_clock;
    CycleDispatcher& m_cycles;
    Owner& m_owner;
    pa_stream* m_stream = nullptr;
    pa_operation* m_timing = nullptr;
    HostTime m_timingAsked = 0;
    unsigned m_timingAnswers = 0;
    std::uint32_t m_frameBytes = 0;
    double m_rate = 0.0;
};

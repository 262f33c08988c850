// audio/hardware/pulse/StreamClock.h — tells smoothly when each frame of a stream was at the device.
#pragma once
#include "base/Clock.h"

#include <cstdint>

/// A second-order delay-locked loop over irregular observations.
///
/// The state is one moment (frame F was at the device at time T), the time p that a frame takes, and a
/// correction c to be made over m frames: frame F + k was there at T + k p + c min(1, k / m). An observation
/// "frame F + n was there at time t" has the error e = t - (that formula for k = n), and with the loop's
/// bandwidth B in Hz and w = 2 pi B n / rate:
///     T := the formula for k = n,  F := F + n,  c := sqrt(2) w e,  m := n,  p := p + w^2 e / n.
/// That is the critically damped loop of F. Adriaensen, "Using a DLL to filter time" (2005), with its period
/// left free and its correction of the time spread over as long as the error took to show: times never leap,
/// also where the system's own answers are tens of milliseconds off. B is wide at first and narrow afterwards.
/// An error that stays beyond a quarter of a second is no jitter but sound that is missing: then the moment is
/// set anew.
///
/// One thread at a time. Nothing allocates.
class StreamClock {
public:
    /// `rate` in Hz.
    explicit StreamClock(double rate);

    /// Forgets the moment, keeps the pace: the stream goes on after a gap.
    void loseMoment();
    bool hasMoment() const { return m_hasMoment; }
    /// Sets the moment to a guess, which the first observation replaces.
    void guess(std::uint64_t frame, HostTime time);
    void observe(std::uint64_t frame, HostTime time);

    HostTime timeOf(std::uint64_t frame) const;
    /// The frame that is at the device at `time`; the last known frame for times before its own.
    std::uint64_t frameAt(HostTime time) const;
    /// Actual over nominal host ticks a frame; 1 until `rateKnown`.
    double rateScalar() const;
    bool rateKnown() const;

private:
    /// Nanoseconds from T to frame F + `frames`.
    double advance(double frames) const;
    void setMoment(std::uint64_t frame, HostTime time, bool exact);

    double m_rate;
    double m_nominalTicks;           ///< nanoseconds a frame
    double m_ticks;                  ///< p, in nanoseconds a frame
    std::uint64_t m_frame = 0;       ///< F
    HostTime m_time = 0;             ///< T
    double m_timeFraction = 0.0;     ///< what T lacks, in nanoseconds
    double m_correction = 0.0;       ///< c, in nanoseconds
    double m_correctionFrames = 1.0; ///< m
    double m_lockedSeconds = 0.0;
    int m_outliers = 0;
    bool m_hasMoment = false;
    bool m_isExact = false;
};

#include "audio/hardware/pulse/StreamClock.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {
constexpr double wideBandwidth = 0.1;    // Hz
constexpr double narrowBandwidth = 0.02; // Hz
constexpr double wideSeconds = 10.0;
constexpr double secondsUntilRateKnown = 20.0;
constexpr double largestJitter = 0.25e9; // nanoseconds
constexpr int outliersUntilNewMoment = 2;
constexpr double largestDetune = 0.005; // no sound card is further off its rate
constexpr double largestStep = 0.5;     // of w: the loop stays stable after a long time without observation
} // namespace

StreamClock::StreamClock(double rate) : m_rate(rate), m_nominalTicks(1e9 / rate), m_ticks(m_nominalTicks) {}

void StreamClock::loseMoment() {
    m_isExact = false;
    m_hasMoment = false;
    m_outliers = 0;
}

void StreamClock::setMoment(std::uint64_t frame, HostTime time, bool exact) {
    m_frame = frame;
    m_time = time;
    m_timeFraction = 0.0;
    m_correction = 0.0;
    m_outliers = 0;
    m_hasMoment = true;
    m_isExact = exact;
}

void StreamClock::guess(std::uint64_t frame, HostTime time) {
    setMoment(frame, time, false);
}

void StreamClock::observe(std::uint64_t frame, HostTime time) {
    if (!m_isExact) {
        setMoment(frame, time, true);
        return;
    }
    if (frame <= m_frame)
        return;
    const double frames = static_cast<double>(frame - m_frame);
    const double predicted = advance(frames);
    const double error = static_cast<double>(time - m_time) - predicted;
    if (std::abs(error) > largestJitter) {
        if (++m_outliers >= outliersUntilNewMoment)
            setMoment(frame, time, true);
        return;
    }
    m_outliers = 0;
    const double bandwidth = m_lockedSeconds < wideSeconds ? wideBandwidth : narrowBandwidth;
    const double w = std::min(largestStep, 2.0 * std::numbers::pi * bandwidth * frames / m_rate);
    const double whole = std::floor(predicted);
    m_frame = frame;
    m_time += static_cast<HostTime>(whole);
    m_timeFraction = predicted - whole;
    m_correction = std::numbers::sqrt2 * w * error;
    m_correctionFrames = frames;
    m_ticks = std::clamp(m_ticks + w * w * error / frames, m_nominalTicks * (1.0 - largestDetune),
                         m_nominalTicks * (1.0 + largestDetune));
    m_lockedSeconds += frames / m_rate;
}

double StreamClock::advance(double frames) const {
    const double corrected = m_correction * std::clamp(frames / m_correctionFrames, 0.0, 1.0);
    return m_timeFraction + frames * m_ticks + corrected;
}

HostTime StreamClock::timeOf(std::uint64_t frame) const {
    const double frames =
        frame >= m_frame ? static_cast<double>(frame - m_frame) : -static_cast<double>(m_frame - frame);
    return m_time + static_cast<HostTime>(std::llround(advance(frames)));
}

std::uint64_t StreamClock::frameAt(HostTime time) const {
    if (time <= m_time)
        return m_frame;
    const double since = static_cast<double>(time - m_time) - m_timeFraction;
    const double correctedTicks = m_ticks + m_correction / m_correctionFrames;
    const double frames =
        since < m_correctionFrames * correctedTicks ? since / correctedTicks : (since - m_correction) / m_ticks;
    return m_frame + static_cast<std::uint64_t>(std::max(0LL, std::llround(frames)));
}

double StreamClock::rateScalar() const {
    return rateKnown() ? m_ticks / m_nominalTicks : 1.0;
}

bool StreamClock::rateKnown() const {
    return m_lockedSeconds >= secondsUntilRateKnown;
}

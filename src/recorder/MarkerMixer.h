// recorder/MarkerMixer.h — adds an armed marker sound to the captured samples.
#pragma once
#include "base/Realtime.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

/// The marker that is due, and how much of it is still to be mixed in.
///
/// How much is left belongs to the sound, not to the mixer: a sound that is replaced while it is mixed takes
/// its rest with it. The I/O thread shows which sound it reads, and that one stays until the next replacement.
class MarkerMixer {
public:
    // Main thread
    /// The marker as interleaved 16-bit samples; none is armed then. Two sounds at most are in memory.
    void setSound(std::vector<std::int16_t> samples);
    /// Starts the marker from its beginning, in the frame `notBefore` or, when that was captured already, in
    /// the next one that is.
    void arm(std::int64_t notBefore = 0);
    /// What is left of the marker is not mixed in any more.
    void disarm();

    // I/O thread
    /// Adds the next samples of an armed marker to the `count` interleaved stereo samples of `data`, one marker
    /// sample to each, unclipped. `firstFrame`: the number of the first of them.
    void mixInto(float* data, unsigned count, std::int64_t firstFrame) noexcept KA_REALTIME;

    // Main or I/O thread
    /// Samples still to be mixed in; 0 when idle.
    std::int32_t writeMarker() const noexcept {
        const Sound* sound = m_sound.load(std::memory_order_acquire);
        return sound == nullptr ? 0 : sound->writeMarker.load(std::memory_order_relaxed);
    }
    /// Samples of the whole marker.
    std::int32_t markerSize() const noexcept {
        const Sound* sound = m_sound.load(std::memory_order_acquire);
        return sound == nullptr ? 0 : static_cast<std::int32_t>(sound->samples.size());
    }

private:
    struct Sound {
        std::vector<std::int16_t> samples;
        std::atomic<std::int64_t> notBefore{0};
        std::atomic<std::int32_t> writeMarker{0};
    };

    std::vector<std::unique_ptr<Sound>> m_sounds; // the last one is in use
    std::atomic<Sound*> m_sound{nullptr};
    std::atomic<const Sound*> m_read{nullptr}; // by the I/O thread, now
};

// recorder/MarkerMixer.h — adds an armed marker sound to the captured samples.
#pragma once
#include "base/Realtime.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

/// The marker that is due, how often it is to be repeated, and how much of it is still to be mixed in.
///
/// How much is left belongs to the sound, not to the mixer: a sound that is replaced while it is mixed takes
/// its rest with it. The I/O thread shows which sound it reads, and that one stays until the next replacement.
class MarkerMixer {
public:
    // Main thread
    /// The marker as interleaved 16-bit samples; none is armed then. Two sounds at most are in memory.
    void setSound(std::vector<std::int16_t> samples);
    /// Starts the marker from its beginning, in the frame `notBefore` or, when that was captured already, in
    /// the next one that is. `repeats`: how often it follows itself, each time whole.
    void arm(std::int64_t notBefore = 0, unsigned repeats = 0);
    /// What is left of the marker, and its repeats, are not mixed in any more.
    void disarm();
    /// Samples still to be mixed in, without those of repeats to come; 0 when idle.
    std::int32_t writeMarker() const;
    /// Samples of the whole marker.
    std::int32_t markerSize() const;
    /// Whether the marker, or one of its repeats, is being mixed in; false while it waits for its frame.
    bool hasBegun() const;

    // I/O thread
    /// Adds the next samples of an armed marker to the `count` interleaved stereo samples of `data`, one marker
    /// sample to each, unclipped. `firstFrame`: the number of the first of them. Says whether it added any.
    bool mixInto(float* data, unsigned count, std::int64_t firstFrame) noexcept KA_REALTIME;

private:
    struct Rest {
        std::uint32_t samples = 0; ///< of the present one
        std::uint8_t repeats = 0;  ///< still to come
        std::uint8_t isBegun = 0;  ///< 1 once its first sample was mixed in
        std::uint16_t arming = 0;  ///< which one; tells it from one before that got as far
    };
    struct Sound {
        std::vector<std::int16_t> samples;
        std::atomic<std::int64_t> notBefore{0};
        std::atomic<Rest> rest{};
    };
    static_assert(std::atomic<Rest>::is_always_lock_free);

    static bool mix(Sound& sound, float* data, unsigned count, std::int64_t firstFrame) noexcept KA_REALTIME;

    std::vector<std::unique_ptr<Sound>> m_sounds; // the last one is in use; the main thread's
    std::uint16_t m_arming = 0;
    std::atomic<Sound*> m_sound{nullptr};
    std::atomic<const Sound*> m_read{nullptr}; // by the I/O thread, now
};

// recorder/MarkerMixer.h — adds an armed marker sound to the captured samples.
#pragma once
#include "base/Realtime.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

/// The marker that is due, and how much of it is still to be mixed in.
class MarkerMixer {
public:
    // Main thread
    /// The marker as interleaved 16-bit samples. Earlier sounds stay in memory: a cycle may still be reading
    /// one.
    void setSound(std::vector<std::int16_t> samples) {
        m_sounds.push_back(std::make_unique<const std::vector<std::int16_t>>(std::move(samples)));
        m_writeMarker.store(0, std::memory_order_relaxed);
        m_sound.store(m_sounds.back().get(), std::memory_order_release);
    }
    /// Starts the marker from its beginning.
    void arm() {
        const auto* sound = m_sound.load(std::memory_order_relaxed);
        m_writeMarker.store(sound == nullptr ? 0 : static_cast<std::int32_t>(sound->size()),
                            std::memory_order_release);
    }

    // I/O thread
    /// Adds the next samples of an armed marker to `count` samples of `data`, one marker sample to each sample
    /// of the interleaved stream, unclipped.
    void mixInto(float* data, unsigned count) noexcept KA_REALTIME {
        std::int32_t left = m_writeMarker.load(std::memory_order_acquire);
        if (left == 0)
            return;
        const std::vector<std::int16_t>& sound = *m_sound.load(std::memory_order_acquire);
        const auto size = static_cast<std::int32_t>(sound.size());
        if (left > size)
            return; // armed for a sound that was replaced meanwhile
        const std::int32_t before = left;
        for (unsigned i = 0; i < count && left != 0; ++i, --left)
            data[i] += static_cast<float>(sound[static_cast<std::size_t>(size - left)] / 32767.0);
        // A new arming since the load above wins.
        std::int32_t expected = before;
        m_writeMarker.compare_exchange_strong(expected, left, std::memory_order_relaxed);
    }

    // Any thread
    /// Samples still to be mixed in; 0 when idle.
    std::int32_t writeMarker() const noexcept { return m_writeMarker.load(std::memory_order_relaxed); }

private:
    std::vector<std::unique_ptr<const std::vector<std::int16_t>>> m_sounds;
    std::atomic<const std::vector<std::int16_t>*> m_sound{nullptr};
    std::atomic<std::int32_t> m_writeMarker{0};
};

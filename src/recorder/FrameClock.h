// recorder/FrameClock.h — which frame of the input stream was captured when.
#pragma once
#include "base/Clock.h"
#include "base/Realtime.h"

#include <atomic>
#include <cmath>
#include <optional>

/// Maps host time to frame numbers of the input stream.
///
/// The I/O thread notes the capture time of each cycle's first frame; between and beyond the notes the device's
/// nominal rate carries on. Readers never hold the writer up: they read again when a note came in between.
class FrameClock {
public:
    // Main thread, while no cycle runs
    /// Forgets everything noted. `rate` is frames a second.
    void reset(double rate) {
        m_rate.store(rate, std::memory_order_relaxed);
        m_sequence.store(0, std::memory_order_release);
    }

    // I/O thread
    void note(std::int64_t frame, HostTime captured) noexcept KA_REALTIME {
        const unsigned sequence = m_sequence.load(std::memory_order_relaxed);
        m_sequence.store(sequence + 1, std::memory_order_relaxed);
        // Whoever reads one of these has to see the odd sequence, or a later one, afterwards.
        m_frame.store(frame, std::memory_order_release);
        m_captured.store(captured, std::memory_order_release);
        // Never zero again, however long it runs: zero means that nothing was noted yet.
        m_sequence.store(sequence + 2 == 0 ? 2 : sequence + 2, std::memory_order_release);
    }

    // Any thread; nothing before the first cycle
    /// The frame that is, was or will be captured at `time`.
    std::optional<std::int64_t> frameAt(HostTime time) const noexcept {
        const auto note = latest();
        if (!note)
            return std::nullopt;
        return note->frame + std::llround(static_cast<double>(time - note->captured) * 1e-9 * m_rate);
    }
    /// When `frame` is, was or will be captured.
    std::optional<HostTime> timeOf(std::int64_t frame) const noexcept {
        const auto note = latest();
        if (!note)
            return std::nullopt;
        return note->captured + std::llround(static_cast<double>(frame - note->frame) / m_rate * 1e9);
    }

private:
    struct Note {
        std::int64_t frame;
        HostTime captured;
    };

    std::optional<Note> latest() const noexcept {
        for (;;) {
            const unsigned before = m_sequence.load(std::memory_order_acquire);
            if (before == 0)
                return std::nullopt;
            const Note note{m_frame.load(std::memory_order_acquire),
                            m_captured.load(std::memory_order_acquire)};
            if (before % 2 == 0 && m_sequence.load(std::memory_order_relaxed) == before)
                return note;
        }
    }

    std::atomic<double> m_rate{44100.0};
    std::atomic<unsigned> m_sequence{0}; // odd while a note is being written
    std::atomic<std::int64_t> m_frame{0};
    std::atomic<HostTime> m_captured{0};
};

// recorder/FrameClock.h — which frame of the input stream was captured when.
#pragma once
#include "base/Clock.h"
#include "base/Realtime.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <optional>

/// Maps host time to frame numbers of the input stream.
///
/// The I/O thread notes the capture time of each cycle's first frame; between and beyond the notes the device's
/// nominal rate carries on. Readers never hold the writer up: they read again when a note came in between.
/// Where the times leap ahead of the frames, sound is missing, whether the device tells of it or not.
class FrameClock {
public:
    /// Capture times that leap: between `frame` - 1 and `frame` sound is missing.
    struct Leap {
        std::int64_t frame = 0;
        HostTime from = 0;    ///< when the frame should have been captured
        HostTime missing = 0; ///< how much later it was
    };
    /// Seconds. Less than that is the jitter of a loaded machine.
    static constexpr double leapTolerance = 0.5;
    /// Seconds after which most of what was ahead is forgotten.
    static constexpr double aheadSeconds = 10.0;

    // Main thread, while no cycle runs
    /// Forgets everything noted. `rate` is frames a second.
    void reset(double rate) {
        m_rate.store(rate, std::memory_order_relaxed);
        m_sequence.store(0, std::memory_order_release);
        m_leapsTaken.store(m_leapsNoted.load());
        m_untold = 0;
        m_ahead = 0;
    }

    // I/O thread
    void note(std::int64_t frame, HostTime captured) noexcept KA_REALTIME {
        const unsigned sequence = m_sequence.load(std::memory_order_relaxed);
        if (sequence != 0)
            noteLeap(frame, captured);
        m_sequence.store(sequence + 1, std::memory_order_relaxed);
        // Whoever reads one of these has to see the odd sequence, or a later one, afterwards.
        m_frame.store(frame, std::memory_order_release);
        m_captured.store(captured, std::memory_order_release);
        // Never zero again, however long it runs: zero means that nothing was noted yet.
        m_sequence.store(sequence + 2 == 0 ? 2 : sequence + 2, std::memory_order_release);
    }

    // Main thread
    /// The next leap, once a second of sound behind it says that it stays. One that was taken back by then was
    /// a mistake of the device, and is none.
    std::optional<Leap> takeLeap() noexcept {
        const double rate = m_rate;
        for (std::uint32_t taken = m_leapsTaken; taken != m_leapsNoted.load(std::memory_order_acquire);) {
            const NotedLeap noted = m_leaps[taken % m_leaps.size()];
            Leap leap = noted.leap;
            const auto note = latest();
            if (!note || static_cast<double>(note->frame - leap.frame) < rate)
                return std::nullopt;
            m_leapsTaken.store(++taken, std::memory_order_release);
            const HostTime late = note->captured - leap.from - length(note->frame - leap.frame, rate);
            leap.missing += std::min(noted.own, late) - noted.own;
            if (leap.missing >= hostTimeFromSeconds(leapTolerance))
                return leap;
        }
        return std::nullopt;
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

    struct NotedLeap {
        Leap leap;
        HostTime own = 0; // what is missing at its frame, without leaps before it that found no room
    };

    static HostTime length(std::int64_t frames, double rate) noexcept {
        return std::llround(static_cast<double>(frames) / rate * 1e9);
    }

    /// I/O thread, from its second note on.
    void noteLeap(std::int64_t frame, HostTime captured) noexcept KA_REALTIME {
        const HostTime last = m_captured.load(std::memory_order_relaxed);
        const HostTime expected = last + length(frame - m_frame.load(std::memory_order_relaxed), m_rate);
        const HostTime late = beyondAhead(captured - last, captured - expected);
        if (late < hostTimeFromSeconds(leapTolerance))
            return;
        m_untold += late;
        const std::uint32_t noted = m_leapsNoted.load(std::memory_order_relaxed);
        if (noted - m_leapsTaken.load(std::memory_order_acquire) >= m_leaps.size())
            return; // nobody has looked for long: the next one that is told says how much it was altogether
        m_leaps[noted % m_leaps.size()] = {{frame, captured - late, m_untold}, late};
        m_untold = 0;
        m_leapsNoted.store(noted + 1, std::memory_order_release);
    }

    /// I/O thread. How late a cycle is, `elapsed` after the one before, when it is `late` by its own. A device
    /// that has just handed out more than it captured, as some do while they start, only comes back to its
    /// time: that is no sound missing. What is ahead for longer is the device's rate, and forgotten.
    HostTime beyondAhead(HostTime elapsed, HostTime late) noexcept KA_REALTIME {
        const double share = static_cast<double>(elapsed) * 1e-9 / aheadSeconds;
        m_ahead -= std::llround(static_cast<double>(m_ahead) * std::clamp(share, 0.0, 1.0));
        if (late <= 0) {
            m_ahead -= late;
            return 0;
        }
        const HostTime made = std::min(late, m_ahead);
        m_ahead -= made;
        return late - made;
    }

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

    std::array<NotedLeap, 32> m_leaps{}; // a ring; the I/O thread writes behind m_leapsNoted
    std::atomic<std::uint32_t> m_leapsNoted{0};
    std::atomic<std::uint32_t> m_leapsTaken{0};
    HostTime m_untold = 0; // of the I/O thread, as m_leapsNoted
    HostTime m_ahead = 0;  // of the I/O thread: by how much more was handed out than captured lately
};

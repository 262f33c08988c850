// audio/hardware/pulse/CycleAssembler.h — cuts fragments of any length into cycles of one size.
#pragma once
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

/// Memory is allocated in the constructor only. One thread at a time.
class CycleAssembler {
public:
    CycleAssembler(std::uint32_t channels, std::uint32_t maxCycleFrames)
        : m_channels(channels), m_samples(static_cast<std::size_t>(channels) * maxCycleFrames) {}

    /// From 1 to the constructor's `maxCycleFrames`. Frames that wait are kept.
    void setCycleFrames(std::uint32_t frames) { m_cycleFrames = frames; }
    std::uint32_t cycleFrames() const { return m_cycleFrames; }
    /// Frames that wait for a cycle to be full.
    std::uint32_t pending() const { return m_pending; }
    void clear() { m_pending = 0; }

    /// Takes `frames` interleaved frames, silence when `interleaved` is null. Calls `deliver(float* cycle)` for
    /// each full cycle; the cycle's memory is valid, and may be written to, until `deliver` returns.
    template <typename Deliver>
    void push(const float* interleaved, std::uint64_t frames, Deliver&& deliver) {
        deliverFull(deliver); // cycles may have become smaller than what waits
        while (frames > 0) {
            const auto part =
                static_cast<std::uint32_t>(std::min<std::uint64_t>(frames, m_cycleFrames - m_pending));
            float* const into = m_samples.data() + sampleCount(m_pending);
            if (interleaved == nullptr) {
                std::fill_n(into, sampleCount(part), 0.0F);
            } else {
                std::memcpy(into, interleaved, sampleCount(part) * sizeof(float));
                interleaved += sampleCount(part);
            }
            m_pending += part;
            frames -= part;
            deliverFull(deliver);
        }
    }

    /// Fills the waiting frames up with silence and delivers them; returns how many frames of silence that
    /// took.
    template <typename Deliver>
    std::uint32_t flush(Deliver&& deliver) {
        deliverFull(deliver);
        if (m_pending == 0)
            return 0;
        const std::uint32_t missing = m_cycleFrames - m_pending;
        push(nullptr, missing, deliver);
        return missing;
    }

private:
    std::size_t sampleCount(std::uint32_t frames) const {
        return static_cast<std::size_t>(frames) * m_channels;
    }
    template <typename Deliver>
    void deliverFull(Deliver& deliver) {
        while (m_pending >= m_cycleFrames) {
            deliver(m_samples.data());
            m_pending -= m_cycleFrames;
            std::memmove(m_samples.data(), m_samples.data() + sampleCount(m_cycleFrames),
                         sampleCount(m_pending) * sizeof(float));
        }
    }

    std::uint32_t m_channels;
    std::vector<float> m_samples;
    std::uint32_t m_cycleFrames = 512;
    std::uint32_t m_pending = 0;
};

// audio/KaAudioBuffer.h — a ring of audio frames.
#pragma once
#include "audio/KaAudioBufferList.h"
#include "audio/KaBuffer.h"

/// Frames of 32-bit samples together with the mean rate scalar of what is held. Lists of any layout go in and
/// out; channels are mapped by `KaAudioBufferListCopy`.
class KaAudioBuffer final : public KaBuffer {
public:
    /// 44100 frames of two channels.
    static std::unique_ptr<KaAudioBuffer> init();
    /// Two channels.
    static std::unique_ptr<KaAudioBuffer> initWithCapacity(unsigned frames);
    /// Nothing if `frames` or `channels` is 0, or without memory.
    static std::unique_ptr<KaAudioBuffer> initWithCapacityFrames(unsigned frames, unsigned channels,
                                                                 bool interleaved = false);

    // Writing thread
    /// Writes the list's frames, but at most `maxFrames`; returns how many fitted. `rateScalar`: actual over
    /// nominal rate while they were captured.
    unsigned writeFromAudioBufferList(const AudioBufferList& list, unsigned maxFrames, double rateScalar,
                                      bool waitForRoom);

    // Reading thread
    /// Fills the list, but at most `maxFrames`; returns how many there were. The list's other frames stay as
    /// they were.
    unsigned readToAudioBufferList(AudioBufferList& list, unsigned maxFrames, bool waitForData);

    // Any thread. Never wait; may be late by one transfer.
    /// Mean rate scalar of the frames held; 1.0 when empty.
    double rateScalar() const { return m_effectiveRateScalar.load(std::memory_order_relaxed); }
    /// Sum of the rate scalars of the frames held.
    double scaledCount() const { return m_scaledFramesInBuffer.load(std::memory_order_relaxed); }
    unsigned channels() const { return KaAudioBufferListChannelCount(*m_myBuffer); }

private:
    KaAudioBuffer(unsigned frames, KaAudioBufferListPtr storage);

    void performWriteFromContext(void* context, unsigned offset, unsigned count) override;
    void performReadToContext(void* context, unsigned offset, unsigned count) override;
    void bufferDidEmpty() override;

    const KaAudioBufferListPtr m_myBuffer;
    std::atomic<double> m_scaledFramesInBuffer{0.0};
    std::atomic<double> m_effectiveRateScalar{1.0};
};

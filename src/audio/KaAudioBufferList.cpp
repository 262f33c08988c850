#include "audio/KaAudioBufferList.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace {
constexpr std::uint32_t sampleSize = 4;

/// One channel of a list: its first sample and the distance between its samples, in samples.
struct Lane {
    std::uint32_t* samples = nullptr;
    std::uint32_t stride = 0;
};

/// Walks the channels of a list in order. Samples are moved as words, never as numbers.
class Lanes {
public:
    explicit Lanes(const AudioBufferList& list) : m_list(list) { skipEmptyBuffers(); }

    bool atEnd() const { return m_buffer == m_list.mNumberBuffers; }
    Lane lane() const {
        const AudioBuffer& buffer = m_list.mBuffers[m_buffer];
        return {static_cast<std::uint32_t*>(buffer.mData) + m_channel, buffer.mNumberChannels};
    }
    void next() {
        ++m_channel;
        skipEmptyBuffers();
    }

private:
    void skipEmptyBuffers() {
        while (!atEnd() && m_channel >= m_list.mBuffers[m_buffer].mNumberChannels) {
            ++m_buffer;
            m_channel = 0;
        }
    }

    const AudioBufferList& m_list;
    std::uint32_t m_buffer = 0;
    std::uint32_t m_channel = 0;
};

std::byte* frameOf(const AudioBuffer& buffer, unsigned frame) {
    return static_cast<std::byte*>(buffer.mData) + std::size_t{frame} * buffer.mNumberChannels * sampleSize;
}

std::size_t bytesOf(const AudioBuffer& buffer, unsigned frames) {
    return std::size_t{frames} * buffer.mNumberChannels * sampleSize;
}

bool haveEqualLayout(const AudioBufferList& src, const AudioBufferList& dst) {
    const std::uint32_t common = std::min(src.mNumberBuffers, dst.mNumberBuffers);
    return std::equal(src.mBuffers, src.mBuffers + common, dst.mBuffers,
                      [](const AudioBuffer& left, const AudioBuffer& right) {
                          return left.mNumberChannels == right.mNumberChannels;
                      });
}

void copyBuffers(const AudioBufferList& src, unsigned srcOffset, AudioBufferList& dst, unsigned dstOffset,
                 unsigned count) {
    for (std::uint32_t i = 0; i < dst.mNumberBuffers; ++i) {
        const AudioBuffer& into = dst.mBuffers[i];
        if (i < src.mNumberBuffers)
            std::memcpy(frameOf(into, dstOffset), frameOf(src.mBuffers[i], srcOffset), bytesOf(into, count));
        else
            std::memset(frameOf(into, dstOffset), 0, bytesOf(into, count));
    }
}

void copyChannels(const AudioBufferList& src, unsigned srcOffset, AudioBufferList& dst, unsigned dstOffset,
                  unsigned count) {
    Lanes from(src);
    for (Lanes into(dst); !into.atEnd(); into.next()) {
        const Lane to = into.lane();
        std::uint32_t* samples = to.samples + std::size_t{dstOffset} * to.stride;
        if (from.atEnd()) {
            for (unsigned i = 0; i < count; ++i, samples += to.stride)
                *samples = 0;
            continue;
        }
        const Lane of = from.lane();
        const std::uint32_t* source = of.samples + std::size_t{srcOffset} * of.stride;
        for (unsigned i = 0; i < count; ++i, samples += to.stride, source += of.stride)
            *samples = *source;
        from.next();
    }
}
} // namespace

AudioBufferList* KaAudioBufferListNew(unsigned channels, unsigned frames, bool interleaved) {
    if (channels == 0 || frames == 0)
        return nullptr;
    const std::uint64_t samples = std::uint64_t{frames} * (interleaved ? channels : 1U);
    if (samples > std::numeric_limits<std::uint32_t>::max() / sampleSize)
        return nullptr;
    KaAudioBufferListPtr list;
    try {
        list.reset(new AudioBufferList);
        const std::uint32_t buffers = interleaved ? 1U : channels;
        list->mBuffers = new AudioBuffer[buffers];
        list->mNumberBuffers = buffers;
        for (std::uint32_t i = 0; i < buffers; ++i) {
            list->mBuffers[i].mNumberChannels = interleaved ? channels : 1U;
            list->mBuffers[i].mDataByteSize = static_cast<std::uint32_t>(samples * sampleSize);
            list->mBuffers[i].mData = new float[samples]();
        }
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return list.release();
}

void KaAudioBufferListDispose(AudioBufferList* list) {
    if (list == nullptr)
        return;
    for (std::uint32_t i = 0; i < list->mNumberBuffers; ++i)
        delete[] static_cast<float*>(list->mBuffers[i].mData);
    delete[] list->mBuffers;
    delete list;
}

unsigned KaAudioBufferListChannelCount(const AudioBufferList& list) noexcept KA_REALTIME {
    unsigned channels = 0;
    for (std::uint32_t i = 0; i < list.mNumberBuffers; ++i)
        channels += list.mBuffers[i].mNumberChannels;
    return channels;
}

unsigned KaAudioBufferListFrameCount(const AudioBufferList& list) noexcept KA_REALTIME {
    if (list.mNumberBuffers == 0 || list.mBuffers[0].mNumberChannels == 0)
        return 0;
    return list.mBuffers[0].mDataByteSize / list.mBuffers[0].mNumberChannels / sampleSize;
}

unsigned KaAudioBufferListCopy(const AudioBufferList& src, unsigned srcOffset, AudioBufferList& dst,
                               unsigned dstOffset, unsigned count) noexcept KA_REALTIME {
    const unsigned srcFrames = KaAudioBufferListFrameCount(src);
    const unsigned dstFrames = KaAudioBufferListFrameCount(dst);
    if (srcFrames < srcOffset || dstFrames < dstOffset)
        return 0;
    const unsigned copied = std::min({count, srcFrames - srcOffset, dstFrames - dstOffset});
    if (copied == 0)
        return 0;
    if (haveEqualLayout(src, dst))
        copyBuffers(src, srcOffset, dst, dstOffset, copied);
    else
        copyChannels(src, srcOffset, dst, dstOffset, copied);
    return copied;
}

unsigned KaAudioBufferListClear(AudioBufferList& list, unsigned offset, unsigned count) noexcept KA_REALTIME {
    const unsigned frames = KaAudioBufferListFrameCount(list);
    if (frames < offset)
        return 0;
    const unsigned cleared = std::min(frames - offset, count);
    for (std::uint32_t i = 0; i < list.mNumberBuffers; ++i)
        std::memset(frameOf(list.mBuffers[i], offset), 0, bytesOf(list.mBuffers[i], cleared));
    return cleared;
}

#include "audio/KaAudioBuffer.h"

#include <algorithm>

namespace {
struct WriteContext {
    const AudioBufferList& list;
    unsigned frame = 0;
    double rateScalar = 1.0;
};

struct ReadContext {
    AudioBufferList& list;
    unsigned frame = 0;
};
} // namespace

KaAudioBuffer::KaAudioBuffer(unsigned frames, KaAudioBufferListPtr storage)
    : KaBuffer(frames), m_myBuffer(std::move(storage)) {}

std::unique_ptr<KaAudioBuffer> KaAudioBuffer::init() {
    return initWithCapacityFrames(44100, 2);
}

std::unique_ptr<KaAudioBuffer> KaAudioBuffer::initWithCapacity(unsigned frames) {
    return initWithCapacityFrames(frames, 2);
}

std::unique_ptr<KaAudioBuffer> KaAudioBuffer::initWithCapacityFrames(unsigned frames, unsigned channels,
                                                                     bool interleaved) {
    KaAudioBufferListPtr storage(KaAudioBufferListNew(channels, frames, interleaved));
    if (!storage)
        return nullptr;
    return std::unique_ptr<KaAudioBuffer>(new KaAudioBuffer(frames, std::move(storage)));
}

unsigned KaAudioBuffer::writeFromAudioBufferList(const AudioBufferList& list, unsigned maxFrames,
                                                 double rateScalar, bool waitForRoom) {
    WriteContext context{list, 0, rateScalar};
    return writeFromContext(&context, std::min(KaAudioBufferListFrameCount(list), maxFrames), waitForRoom);
}

unsigned KaAudioBuffer::readToAudioBufferList(AudioBufferList& list, unsigned maxFrames, bool waitForData) {
    ReadContext context{list, 0};
    return readToContext(&context, std::min(KaAudioBufferListFrameCount(list), maxFrames), waitForData);
}

void KaAudioBuffer::performWriteFromContext(void* context, unsigned offset, unsigned count) {
    auto& source = *static_cast<WriteContext*>(context);
    KaAudioBufferListCopy(source.list, source.frame, *m_myBuffer, offset, count);
    source.frame += count;
    // The base counts the new frames only after this.
    const double held = static_cast<double>(this->count()) + count;
    m_scaledFramesInBuffer = m_scaledFramesInBuffer + count * source.rateScalar;
    m_effectiveRateScalar = m_scaledFramesInBuffer / held;
}

void KaAudioBuffer::performReadToContext(void* context, unsigned offset, unsigned count) {
    auto& destination = *static_cast<ReadContext*>(context);
    KaAudioBufferListCopy(*m_myBuffer, offset, destination.list, destination.frame, count);
    destination.frame += count;
    m_scaledFramesInBuffer = (this->count() - count) * m_effectiveRateScalar;
}

void KaAudioBuffer::bufferDidEmpty() {
    KaBuffer::bufferDidEmpty();
    m_effectiveRateScalar = 1.0;
    m_scaledFramesInBuffer = 0.0;
}

#include "audio/KaConversionBuffer.h"

#include "audio/KaCoreAudioDevice.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

namespace {
/// How far a device's clock may be off its nominal rate.
constexpr double largestFudge = 1.01;
/// Frames of room for the resampler's look-ahead.
constexpr unsigned lookAheadFrames = 8;
constexpr double largestCount = std::numeric_limits<std::uint32_t>::max();

std::uint32_t roundedUp(double frames) {
    // Not-a-number compares false and becomes 0.
    return frames > 0.0 ? static_cast<std::uint32_t>(std::min(std::ceil(frames), largestCount)) : 0;
}

/// Multiplies `count` samples by `gain` in place.
void vsmul(float* samples, float gain, std::size_t count) KA_REALTIME {
    for (std::size_t i = 0; i < count; ++i)
        samples[i] *= gain;
}
} // namespace

std::unique_ptr<KaConversionBuffer>
KaConversionBuffer::initWithSourceDevice(KaCoreAudioDevice& source, KaCoreAudioDevice& destinationDevice) {
    if (!verifyDeviceIsCanonicalFormat(source, AudioDirection::input) ||
        !verifyDeviceIsCanonicalFormat(destinationDevice, AudioDirection::output))
        return nullptr;
    const auto largestCycle = [](const KaCoreAudioDevice& device) {
        return roundedUp(device.deviceMaxVariableBufferSizeInFrames() * largestFudge);
    };
    return initWithSourceSampleRate(
        source.nominalSampleRate(), source.channelsForDirection(AudioDirection::input), largestCycle(source),
        destinationDevice.nominalSampleRate(), destinationDevice.channelsForDirection(AudioDirection::output),
        largestCycle(destinationDevice));
}

bool KaConversionBuffer::verifyDeviceIsCanonicalFormat(KaCoreAudioDevice& device, AudioDirection inDirection) {
    return std::ranges::all_of(device.streamsForDirection(inDirection), [](const KaCoreAudioStream& stream) {
        return stream.streamDescriptionForSide(0).isCanonicalFormat();
    });
}

std::unique_ptr<KaConversionBuffer>
KaConversionBuffer::initWithSourceSampleRate(double sourceSampleRate, unsigned channels, unsigned bufferFrames,
                                             double destinationSampleRate, unsigned destinationChannels,
                                             unsigned destinationBufferFrames) {
    std::uint64_t effective = roundedUp(sourceSampleRate / destinationSampleRate * destinationBufferFrames);
    std::uint64_t capacity =
        numBufferFramesForSourceSampleRate(sourceSampleRate, bufferFrames, static_cast<unsigned>(effective));
    if (sourceSampleRate != destinationSampleRate) {
        effective += lookAheadFrames;
        capacity += lookAheadFrames;
    }
    if (std::max(effective, capacity) > std::numeric_limits<std::uint32_t>::max())
        return nullptr;
    const unsigned common = std::min(channels, destinationChannels);
    const auto chunkFrames = static_cast<unsigned>(effective);

    std::unique_ptr<KaConversionBuffer> buffer(new KaConversionBuffer);
    buffer->m_audioBuffer = KaAudioBuffer::initWithCapacityFrames(static_cast<unsigned>(capacity), common);
    buffer->m_conversionBufferList.reset(KaAudioBufferListNew(common, chunkFrames, false));
    buffer->m_outputBufferList.reset(KaAudioBufferListNew(destinationChannels, destinationBufferFrames, false));
    if (!buffer->m_audioBuffer || !buffer->m_conversionBufferList || !buffer->m_outputBufferList)
        return nullptr;
    buffer->m_converter =
        KaAudioConverter::create({sourceSampleRate, common, chunkFrames},
                                 {destinationSampleRate, destinationChannels, destinationBufferFrames});
    if (!buffer->m_converter || !buffer->initGainArray())
        return nullptr;
    return buffer;
}

std::uint64_t KaConversionBuffer::numBufferFramesForSourceSampleRate(double, unsigned sourceFrames,
                                                                     unsigned effectiveDestinationFrames) {
    return std::uint64_t{sourceFrames} + effectiveDestinationFrames;
}

bool KaConversionBuffer::initGainArray() {
    const unsigned channels = KaAudioBufferListChannelCount(*m_outputBufferList);
    try {
        m_gainArray = std::make_unique<std::atomic<float>[]>(channels);
    } catch (const std::bad_alloc&) {
        return false;
    }
    for (unsigned channel = 0; channel < channels; ++channel)
        m_gainArray[channel] = 1.0F;
    return true;
}

double KaConversionBuffer::fudgeFactorFromTimeStamp(const AudioTimeStamp* timeStamp) {
    if (timeStamp == nullptr || (timeStamp->mFlags & AudioTimeStamp::rateScalarValid) == 0 ||
        std::isnan(timeStamp->mRateScalar))
        return 1.0;
    return std::clamp(timeStamp->mRateScalar, 1.0 / largestFudge, largestFudge);
}

void KaConversionBuffer::setGain(float gain, unsigned forOutputChannel) {
    if (forOutputChannel < KaAudioBufferListChannelCount(*m_outputBufferList))
        m_gainArray[forOutputChannel].store(gain, std::memory_order_relaxed);
}

float KaConversionBuffer::gainForOutputChannel(unsigned channel) const {
    if (channel >= KaAudioBufferListChannelCount(*m_outputBufferList))
        return 0.0F;
    return m_gainArray[channel].load(std::memory_order_relaxed);
}

void KaConversionBuffer::writeFromAudioBufferList(const AudioBufferList& list,
                                                  const AudioTimeStamp* timestamp) KA_REALTIME {
    m_audioBuffer->writeFromAudioBufferList(list, KaAudioBufferListFrameCount(list),
                                            fudgeFactorFromTimeStamp(timestamp), false);
}

void KaConversionBuffer::readToAudioBufferList(AudioBufferList& list, const AudioTimeStamp*) KA_REALTIME {
    std::uint32_t frames =
        std::min(KaAudioBufferListFrameCount(list), KaAudioBufferListFrameCount(*m_outputBufferList));
    if (m_converter->fillComplexBuffer(&FillComplexBufferProc, this, frames, *m_outputBufferList) !=
        audioHardwareNoError)
        return;
    for (std::uint32_t channel = 0; channel < m_outputBufferList->mNumberBuffers; ++channel)
        vsmul(static_cast<float*>(m_outputBufferList->mBuffers[channel].mData),
              m_gainArray[channel].load(std::memory_order_relaxed), frames);
    KaAudioBufferListCopy(*m_outputBufferList, 0, list, 0, frames);
}

OSStatus KaConversionBuffer::FillComplexBufferProc(std::uint32_t& count, AudioBufferList& list,
                                                   void* userData) KA_REALTIME {
    return static_cast<KaConversionBuffer*>(userData)->fillComplexBuffer(list, count);
}

OSStatus KaConversionBuffer::fillComplexBuffer(AudioBufferList& list, std::uint32_t& countPointer) KA_REALTIME {
    const unsigned available = m_audioBuffer->count();
    const unsigned frames = std::min(countPointer, KaAudioBufferListFrameCount(*m_conversionBufferList));
    countPointer = frames;
    for (std::uint32_t i = 0; i < list.mNumberBuffers; ++i) {
        const AudioBuffer& storage = m_conversionBufferList->mBuffers[i];
        list.mBuffers[i].mData = storage.mData;
        list.mBuffers[i].mDataByteSize = frames * storage.mNumberChannels * 4;
    }
    // Partial reads are never given: what is there would be torn apart by the silence.
    if (available >= frames)
        m_audioBuffer->readToAudioBufferList(list, frames, false);
    else
        KaAudioBufferListClear(list, 0, frames);
    return audioHardwareNoError;
}

#include "audio/KaAudioConverter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <samplerate.h>

namespace {
/// No filter of the resampler is longer, at its steepest ratio.
constexpr unsigned longestFilter = 1U << 20;

/// The ratios that the resampler takes.
constexpr double largestRatio = 256.0;

bool usable(const KaAudioConverter::Format& format) {
    return format.sampleRate > 0.0 && std::isfinite(format.sampleRate) && format.channels > 0 &&
           format.maxFrames > 0;
}

float* samplesOf(const AudioBufferList& list, std::uint32_t buffer) {
    return static_cast<float*>(list.mBuffers[buffer].mData);
}
} // namespace

void KaAudioConverter::Release::operator()(SRC_STATE_tag* state) const {
    src_delete(state);
}

KaAudioConverter::KaAudioConverter(const Format& source, const Format& destination)
    : m_source(source),
      m_destination(destination),
      m_inputBuffers(source.channels, AudioBuffer{1, 0, nullptr}),
      m_inputList{source.channels, m_inputBuffers.data()} {}

KaAudioConverter::~KaAudioConverter() = default;

std::unique_ptr<KaAudioConverter> KaAudioConverter::create(const Format& source, const Format& destination) {
    if (!usable(source) || !usable(destination))
        return nullptr;
    try {
        std::unique_ptr<KaAudioConverter> converter(new KaAudioConverter(source, destination));
        if (source.sampleRate != destination.sampleRate && !converter->prepareResampler())
            return nullptr;
        return converter;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool KaAudioConverter::prepareResampler() {
    const double ratio = m_destination.sampleRate / m_source.sampleRate;
    if (ratio > largestRatio || ratio < 1.0 / largestRatio)
        return false;
    int error = 0;
    m_resampler.reset(src_new(SRC_SINC_BEST_QUALITY, static_cast<int>(m_source.channels), &error));
    m_input.resize(std::size_t{m_source.maxFrames} * m_source.channels);
    m_output.resize(std::size_t{m_destination.maxFrames} * m_source.channels);
    return m_resampler && prime();
}

/// Feeds silence until the first frame comes out, which is dropped. From here on, M output frames need the
/// floor of M times the rates' ratio of input frames.
bool KaAudioConverter::prime() {
    SRC_DATA data{};
    data.src_ratio = m_destination.sampleRate / m_source.sampleRate;
    for (unsigned fed = 0; fed < longestFilter && data.output_frames_gen == 0; ++fed) {
        data.data_in = m_input.data();
        data.input_frames = 1;
        data.data_out = m_output.data();
        data.output_frames = 1;
        if (src_process(m_resampler.get(), &data) != 0)
            return false;
    }
    return data.output_frames_gen == 1;
}

std::uint64_t KaAudioConverter::inputNeededFor(std::uint64_t outputFrames) const {
    return static_cast<std::uint64_t>(
        std::floor(static_cast<long double>(outputFrames) * static_cast<long double>(m_source.sampleRate) /
                   static_cast<long double>(m_destination.sampleRate)));
}

OSStatus KaAudioConverter::fillComplexBuffer(InputProc inputProc, void* userData, std::uint32_t& frames,
                                             AudioBufferList& output) KA_REALTIME {
    frames = std::min(frames, m_destination.maxFrames);
    return m_resampler ? resample(inputProc, userData, frames, output)
                       : passOn(inputProc, userData, frames, output);
}

OSStatus KaAudioConverter::pull(InputProc inputProc, void* userData, std::uint32_t wanted,
                                std::uint32_t& got) KA_REALTIME {
    got = std::min(wanted, m_source.maxFrames);
    return inputProc(got, m_inputList, userData);
}

OSStatus KaAudioConverter::passOn(InputProc inputProc, void* userData, std::uint32_t& frames,
                                  AudioBufferList& output) KA_REALTIME {
    const std::uint32_t wanted = frames;
    for (frames = 0; frames < wanted;) {
        std::uint32_t got = 0;
        const OSStatus status = pull(inputProc, userData, wanted - frames, got);
        if (status != audioHardwareNoError || got == 0)
            return status;
        for (std::uint32_t channel = 0; channel < output.mNumberBuffers; ++channel) {
            float* const into = samplesOf(output, channel) + frames;
            const std::uint32_t from = m_source.channels == 1 ? 0 : channel;
            if (from < m_source.channels)
                std::copy_n(samplesOf(m_inputList, from), got, into);
            else
                std::fill_n(into, got, 0.0F);
        }
        frames += got;
    }
    return audioHardwareNoError;
}

/// Gets up to `owed` frames of input, now that all others are used up.
OSStatus KaAudioConverter::fetch(InputProc inputProc, void* userData, std::uint64_t& owed) KA_REALTIME {
    std::uint32_t got = 0;
    const auto wanted = static_cast<std::uint32_t>(std::min<std::uint64_t>(owed, m_source.maxFrames));
    const OSStatus status = pull(inputProc, userData, wanted, got);
    if (status != audioHardwareNoError)
        return status;
    const std::uint32_t channels = m_source.channels;
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
        const float* const from = samplesOf(m_inputList, channel);
        float* const into = m_input.data() + channel;
        for (std::size_t i = 0; i < got; ++i)
            into[i * channels] = from[i];
    }
    m_inputBegin = 0;
    m_inputHeld = got;
    m_inputFrames += got;
    owed -= got;
    return audioHardwareNoError;
}

OSStatus KaAudioConverter::resample(InputProc inputProc, void* userData, std::uint32_t& frames,
                                    AudioBufferList& output) KA_REALTIME {
    const std::uint32_t channels = m_source.channels;
    const std::uint32_t wanted = frames;
    const std::uint64_t needed = inputNeededFor(m_outputFrames + wanted);
    std::uint64_t owed = needed > m_inputFrames ? needed - m_inputFrames : 0;
    for (frames = 0; frames < wanted;) {
        if (m_inputHeld == 0 && owed > 0) {
            const OSStatus status = fetch(inputProc, userData, owed);
            if (status != audioHardwareNoError)
                return status;
        }
        SRC_DATA data{};
        data.src_ratio = m_destination.sampleRate / m_source.sampleRate;
        data.data_in = m_input.data() + std::size_t{m_inputBegin} * channels;
        data.input_frames = static_cast<long>(m_inputHeld);
        data.data_out = m_output.data() + std::size_t{frames} * channels;
        data.output_frames = static_cast<long>(wanted - frames);
        if (src_process(m_resampler.get(), &data) != 0)
            return audioHardwareUnspecifiedError;
        const auto used = static_cast<std::uint32_t>(data.input_frames_used);
        const auto produced = static_cast<std::uint32_t>(data.output_frames_gen);
        m_inputBegin += used;
        m_inputHeld -= used;
        frames += produced;
        m_outputFrames += produced;
        if (used > 0 || produced > 0)
            continue;
        if (m_inputHeld > 0)
            return audioHardwareUnspecifiedError;
        // Where an output falls on an input frame, rounding may let the resampler ask for the next frame
        // already.
        if (owed == 0)
            owed = 1;
    }
    for (std::uint32_t channel = 0; channel < output.mNumberBuffers; ++channel) {
        float* const into = samplesOf(output, channel);
        const std::uint32_t from = channels == 1 ? 0 : channel;
        for (std::size_t i = 0; i < frames; ++i)
            into[i] = from < channels ? m_output[i * channels + from] : 0.0F;
    }
    return audioHardwareNoError;
}

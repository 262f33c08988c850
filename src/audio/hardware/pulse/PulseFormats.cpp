#include "audio/hardware/pulse/PulseFormats.h"

namespace {
constexpr std::uint32_t formatALaw = 0x616C6177; // 'alaw'
constexpr std::uint32_t formatULaw = 0x756C6177; // 'ulaw'

std::uint32_t validBits(pa_sample_format_t format) {
    switch (format) {
    case PA_SAMPLE_U8:
    case PA_SAMPLE_ALAW:
    case PA_SAMPLE_ULAW:
        return 8;
    case PA_SAMPLE_S16LE:
    case PA_SAMPLE_S16BE:
        return 16;
    case PA_SAMPLE_S24LE:
    case PA_SAMPLE_S24BE:
    case PA_SAMPLE_S24_32LE:
    case PA_SAMPLE_S24_32BE:
        return 24;
    default:
        return 32;
    }
}
} // namespace

AudioStreamBasicDescription pulseCycleFormat(const pa_sample_spec& spec) {
    using Description = AudioStreamBasicDescription;
    Description format;
    format.mSampleRate = spec.rate;
    format.mFormatID = Description::formatLinearPCM;
    format.mFormatFlags = Description::flagIsFloat | Description::flagIsPacked;
    format.mChannelsPerFrame = spec.channels;
    format.mBitsPerChannel = 32;
    format.mBytesPerFrame = spec.channels * 4U;
    format.mFramesPerPacket = 1;
    format.mBytesPerPacket = format.mBytesPerFrame;
    return format;
}

AudioStreamBasicDescription pulsePhysicalFormat(const pa_sample_spec& spec) {
    using Description = AudioStreamBasicDescription;
    Description format = pulseCycleFormat(spec);
    const pa_sample_format_t sample = spec.format;
    const bool isFloat = sample == PA_SAMPLE_FLOAT32LE || sample == PA_SAMPLE_FLOAT32BE;
    if (sample == PA_SAMPLE_ALAW)
        format.mFormatID = formatALaw;
    if (sample == PA_SAMPLE_ULAW)
        format.mFormatID = formatULaw;
    format.mFormatFlags = 0;
    if (format.mFormatID == Description::formatLinearPCM) {
        if (isFloat)
            format.mFormatFlags |= Description::flagIsFloat;
        else if (sample != PA_SAMPLE_U8)
            format.mFormatFlags |= Description::flagIsSignedInteger;
        if (pa_sample_format_is_be(sample) == 1)
            format.mFormatFlags |= Description::flagIsBigEndian;
        // 24 bits at the low end of 32 leave a gap; everything else fills its bytes.
        if (sample != PA_SAMPLE_S24_32LE && sample != PA_SAMPLE_S24_32BE)
            format.mFormatFlags |= Description::flagIsPacked;
    }
    format.mBitsPerChannel = validBits(sample);
    format.mBytesPerFrame = static_cast<std::uint32_t>(pa_frame_size(&spec));
    format.mBytesPerPacket = format.mBytesPerFrame;
    return format;
}

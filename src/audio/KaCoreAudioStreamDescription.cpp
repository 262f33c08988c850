#include "audio/KaCoreAudioStreamDescription.h"

#include <cstdio>

namespace {
using Basic = AudioStreamBasicDescription;

constexpr std::uint32_t nativeFlags = Basic::flagIsFloat | Basic::flagIsPacked;
} // namespace

KaCoreAudioStreamDescription::KaCoreAudioStreamDescription(const AudioStreamBasicDescription& description)
    : m_myASBasicDescription(description) {}

KaCoreAudioStreamDescription KaCoreAudioStreamDescription::nativeStreamDescription() {
    return KaCoreAudioStreamDescription({.mSampleRate = 44100.0,
                                         .mFormatID = Basic::formatLinearPCM,
                                         .mFormatFlags = nativeFlags,
                                         .mBytesPerPacket = 8,
                                         .mFramesPerPacket = 1,
                                         .mBytesPerFrame = 8,
                                         .mChannelsPerFrame = 2,
                                         .mBitsPerChannel = 32,
                                         .mReserved = 0});
}

bool KaCoreAudioStreamDescription::isInterleaved() const {
    return (formatFlags() & Basic::flagIsNonInterleaved) == 0;
}

KaCoreAudioStreamDescription& KaCoreAudioStreamDescription::setSampleRate(double rate) {
    m_myASBasicDescription.mSampleRate = rate;
    return *this;
}

KaCoreAudioStreamDescription& KaCoreAudioStreamDescription::setFormatID(std::uint32_t formatID) {
    m_myASBasicDescription.mFormatID = formatID;
    return *this;
}

KaCoreAudioStreamDescription& KaCoreAudioStreamDescription::setFormatFlags(std::uint32_t flags) {
    m_myASBasicDescription.mFormatFlags = flags;
    return *this;
}

KaCoreAudioStreamDescription& KaCoreAudioStreamDescription::setBytesPerPacket(std::uint32_t bytes) {
    m_myASBasicDescription.mBytesPerPacket = bytes;
    return *this;
}

KaCoreAudioStreamDescription& KaCoreAudioStreamDescription::setFramesPerPacket(std::uint32_t frames) {
    m_myASBasicDescription.mFramesPerPacket = frames;
    return *this;
}

KaCoreAudioStreamDescription& KaCoreAudioStreamDescription::setBytesPerFrame(std::uint32_t bytes) {
    m_myASBasicDescription.mBytesPerFrame = bytes;
    return *this;
}

KaCoreAudioStreamDescription& KaCoreAudioStreamDescription::setChannelsPerFrame(std::uint32_t channels) {
    m_myASBasicDescription.mChannelsPerFrame = channels;
    return *this;
}

KaCoreAudioStreamDescription& KaCoreAudioStreamDescription::setBitsPerChannel(std::uint32_t bits) {
    m_myASBasicDescription.mBitsPerChannel = bits;
    return *this;
}

KaCoreAudioStreamDescription& KaCoreAudioStreamDescription::setIsInterleaved(bool interleaved) {
    const std::uint32_t others = formatFlags() & ~Basic::flagIsNonInterleaved;
    return setFormatFlags(interleaved ? others : others | Basic::flagIsNonInterleaved);
}

bool KaCoreAudioStreamDescription::isLinearPCMFormat() const {
    return formatID() == Basic::formatLinearPCM;
}

bool KaCoreAudioStreamDescription::isCanonicalFormat() const {
    return isLinearPCMFormat() && (formatFlags() & ~Basic::flagIsNonInterleaved) == nativeFlags &&
           bitsPerChannel() == 32 && framesPerPacket() == 1;
}

std::string KaCoreAudioStreamDescription::flagsText() const {
    const std::uint32_t flags = formatFlags();
    if (!isLinearPCMFormat() || flags == nativeFlags)
        return {};
    const char* const number = (flags & Basic::flagIsFloat) != 0           ? "floating-point"
                               : (flags & Basic::flagIsSignedInteger) != 0 ? "signed-integer"
                                                                           : "unsigned-integer";
    const char* const order = (flags & Basic::flagIsBigEndian) != 0 ? "big-endian" : "little-endian";
    const char* const packing = (flags & Basic::flagIsPacked) != 0        ? "packed"
                                : (flags & Basic::flagIsAlignedHigh) != 0 ? "aligned-high"
                                                                          : "aligned-low";
    return std::string(" ") + number + " " + order + " " + packing;
}

std::string KaCoreAudioStreamDescription::description(const UnitLookup& unit) const {
    const auto text = [&unit](const char* key) { return unit ? unit(key) : std::string(key); };
    char rate[32];
    std::snprintf(rate, sizeof rate, "%.2f", sampleRate());
    std::string format;
    for (int shift = 24; shift >= 0; shift -= 8)
        format += static_cast<char>(formatID() >> shift & 0xFF);
    // Like "%4.4s", a format without an ID is shown as blanks.
    if (const std::size_t end = format.find('\0'); end != std::string::npos)
        format = std::string(4 - end, ' ') + format.substr(0, end);
    return std::to_string(channelsPerFrame()) + text("ch") + "-" + rate + text("hz") + "-" +
           std::to_string(bitsPerChannel()) + text("bit") + "-'" + format + "'" + flagsText();
}

// audio/KaCoreAudioStreamDescription.h — how one stream's samples are laid out.
#pragma once
#include "audio/hardware/AudioHardware.h"

#include <functional>
#include <string>

/// A copyable description of a stream format. Setters change their one field and can be chained.
class KaCoreAudioStreamDescription {
public:
    /// Text of a unit ("ch", "hz", "bit") in the string table "StreamDescription".
    using UnitLookup = std::function<std::string(const std::string& unit)>;

    KaCoreAudioStreamDescription() = default;
    explicit KaCoreAudioStreamDescription(const AudioStreamBasicDescription& description);

    /// 32-bit float linear PCM, interleaved stereo at 44100 Hz.
    static KaCoreAudioStreamDescription nativeStreamDescription();

    /// Hz.
    double sampleRate() const { return m_myASBasicDescription.mSampleRate; }
    std::uint32_t formatID() const { return m_myASBasicDescription.mFormatID; }
    std::uint32_t formatFlags() const { return m_myASBasicDescription.mFormatFlags; }
    std::uint32_t bytesPerPacket() const { return m_myASBasicDescription.mBytesPerPacket; }
    std::uint32_t framesPerPacket() const { return m_myASBasicDescription.mFramesPerPacket; }
    std::uint32_t bytesPerFrame() const { return m_myASBasicDescription.mBytesPerFrame; }
    std::uint32_t channelsPerFrame() const { return m_myASBasicDescription.mChannelsPerFrame; }
    std::uint32_t bitsPerChannel() const { return m_myASBasicDescription.mBitsPerChannel; }
    bool isInterleaved() const;

    KaCoreAudioStreamDescription& setSampleRate(double rate);
    KaCoreAudioStreamDescription& setFormatID(std::uint32_t formatID);
    KaCoreAudioStreamDescription& setFormatFlags(std::uint32_t flags);
    KaCoreAudioStreamDescription& setBytesPerPacket(std::uint32_t bytes);
    KaCoreAudioStreamDescription& setFramesPerPacket(std::uint32_t frames);
    KaCoreAudioStreamDescription& setBytesPerFrame(std::uint32_t bytes);
    KaCoreAudioStreamDescription& setChannelsPerFrame(std::uint32_t channels);
    KaCoreAudioStreamDescription& setBitsPerChannel(std::uint32_t bits);
    KaCoreAudioStreamDescription& setIsInterleaved(bool interleaved);

    bool isLinearPCMFormat() const;
    /// Packed 32-bit floats in native byte order, one frame a packet; interleaved or not.
    bool isCanonicalFormat() const;

    /// Such as "2ch-44100.00hz-32bit-'lpcm'". Without a lookup the units are the keys themselves.
    std::string description(const UnitLookup& unit = {}) const;

    const AudioStreamBasicDescription& basicDescription() const { return m_myASBasicDescription; }
    bool operator==(const KaCoreAudioStreamDescription&) const = default;

private:
    std::string flagsText() const;

    AudioStreamBasicDescription m_myASBasicDescription;
};

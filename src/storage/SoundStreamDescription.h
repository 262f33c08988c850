// storage/SoundStreamDescription.h — the description of a sound file's samples.
#pragma once
#include <cstdint>

/// Field by field what the sound system calls a stream's basic description.
struct SoundStreamDescription {
    static constexpr std::uint32_t linearPCM = 0x6C70636D; // 'lpcm'
    static constexpr std::uint32_t bigEndianSignedPacked = 2 | 4 | 8;

    double mSampleRate = 0.0; ///< Hz
    std::uint32_t mFormatID = 0;
    std::uint32_t mFormatFlags = 0;
    std::uint32_t mBytesPerPacket = 0;
    std::uint32_t mFramesPerPacket = 0;
    std::uint32_t mBytesPerFrame = 0;
    std::uint32_t mChannelsPerFrame = 0;
    std::uint32_t mBitsPerChannel = 0;
    std::uint32_t mReserved = 0;
    bool operator==(const SoundStreamDescription&) const = default;

    /// 16-bit big-endian samples, as sound files hold them.
    static SoundStreamDescription ofSoundFile(double rate, unsigned channels) {
        return {rate, linearPCM, bigEndianSignedPacked, channels * 2, 1, channels * 2, channels, 16, 0};
    }
};

// audio/AudioBufferList.h — the sample containers that all audio passes through.
#pragma once
#include <cstdint>

/// One run of 32-bit float samples; its channels are interleaved.
struct AudioBuffer {
    std::uint32_t mNumberChannels = 0;
    std::uint32_t mDataByteSize = 0;
    void* mData = nullptr;
};

/// `mNumberBuffers` buffers: interleaved audio has one buffer of all channels, non-interleaved audio one buffer
/// of one channel each.
struct AudioBufferList {
    std::uint32_t mNumberBuffers = 0;
    AudioBuffer* mBuffers = nullptr;
};

/// When a cycle's first frame was or will be at the device.
struct AudioTimeStamp {
    static constexpr std::uint32_t sampleTimeValid = 1;
    static constexpr std::uint32_t hostTimeValid = 2;
    static constexpr std::uint32_t rateScalarValid = 4;

    double mSampleTime = 0.0;   ///< frames since the stream began, holes included
    std::int64_t mHostTime = 0; ///< nanoseconds of the clock's host time
    double mRateScalar = 1.0;   ///< actual over nominal host ticks a frame
    std::uint32_t mFlags = 0;
};

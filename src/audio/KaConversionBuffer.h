// audio/KaConversionBuffer.h — carries audio from one device's cycles into another's.
#pragma once
#include "audio/KaAudioBuffer.h"
#include "audio/KaAudioBufferList.h"
#include "audio/KaAudioConverter.h"
#include "base/Realtime.h"

#include <atomic>
#include <memory>

class KaCoreAudioDevice;

/// A ring between a writing and a reading device that may differ in rate, cycle size and channels, with a gain
/// for each output channel. It holds one cycle of each. What does not fit is dropped; while there is less than
/// a reading cycle needs, that cycle is silent and the frames held wait for the next. Nothing is allocated
/// after creation.
///
/// Where the two cycles differ in length, their changing offset takes up all of that room: until each offset
/// has occurred once (2 s between 44100 and 48000 Hz at 512 frames), a few silent cycles and less than a cycle
/// of dropped frames bring the ring to its level, which it then keeps. A side that hands its cycles on in
/// bursts needs the frames of its longest burst as `bufferFrames`.
class KaConversionBuffer {
public:
    /// From the inputs of one device to the outputs of another. Nothing unless every stream concerned carries
    /// packed 32-bit floats.
    static std::unique_ptr<KaConversionBuffer> initWithSourceDevice(KaCoreAudioDevice& source,
                                                                    KaCoreAudioDevice& destinationDevice);

    /// Rates in Hz; `bufferFrames` are those of a side's largest cycle.
    static std::unique_ptr<KaConversionBuffer>
    initWithSourceSampleRate(double sourceSampleRate, unsigned channels, unsigned bufferFrames,
                             double destinationSampleRate, unsigned destinationChannels,
                             unsigned destinationBufferFrames);

    KaConversionBuffer(const KaConversionBuffer&) = delete;
    KaConversionBuffer& operator=(const KaConversionBuffer&) = delete;

    /// Frames to hold; the rate is of no account.
    static std::uint64_t numBufferFramesForSourceSampleRate(double rate, unsigned sourceFrames,
                                                            unsigned effectiveDestinationFrames);
    /// 1.0 without a valid rate scalar, else the rate scalar, at most 1 % off.
    static double fudgeFactorFromTimeStamp(const AudioTimeStamp* timeStamp);

    // Any thread
    /// A channel that does not exist is ignored.
    void setGain(float gain, unsigned forOutputChannel);
    /// 0.0 for a channel that does not exist.
    float gainForOutputChannel(unsigned channel) const;
    const KaAudioBuffer& audioBuffer() const { return *m_audioBuffer; }

    // Source's I/O thread. Never waits for the other side.
    void writeFromAudioBufferList(const AudioBufferList& list, const AudioTimeStamp* timestamp) KA_REALTIME;

    // Destination's I/O thread. Never waits for the other side.
    /// Fills the list, or leaves it as it was if the conversion fails. The time stamp is not used.
    void readToAudioBufferList(AudioBufferList& list, const AudioTimeStamp* timestamp) KA_REALTIME;

private:
    KaConversionBuffer() = default;

    static bool verifyDeviceIsCanonicalFormat(KaCoreAudioDevice& device, AudioDirection inDirection);
    static OSStatus FillComplexBufferProc(std::uint32_t& count, AudioBufferList& list,
                                          void* userData) KA_REALTIME;
    OSStatus fillComplexBuffer(AudioBufferList& list, std::uint32_t& countPointer) KA_REALTIME;
    bool initGainArray();

    std::unique_ptr<KaAudioConverter> m_converter;
    KaAudioBufferListPtr m_conversionBufferList;
    KaAudioBufferListPtr m_outputBufferList;
    std::unique_ptr<KaAudioBuffer> m_audioBuffer;
    std::unique_ptr<std::atomic<float>[]> m_gainArray;
};

// audio/KaAudioConverter.h — pulls audio through a change of sample rate and channels.
#pragma once
#include "audio/AudioBufferList.h"
#include "audio/hardware/AudioHardware.h"
#include "base/Realtime.h"

#include <cstdint>
#include <memory>
#include <vector>

struct SRC_STATE_tag;

/// Asks for as many input frames as the output wanted needs, and no more. The resampler starts behind its own
/// length of silence, about 3 ms at the usual rates, which stays its delay. Equal rates are passed on
/// untouched.
///
/// One input channel feeds every output channel; else channels are mapped in order, and outputs without an
/// input are silent. Both sides are non-interleaved. Nothing is allocated after creation.
class KaAudioConverter {
public:
    /// Fills `list` with `count` frames, or sets `count` to how many there are: its buffers are to be pointed
    /// at the frames, which stay valid until the next call. A status other than 0 ends the conversion.
    using InputProc = OSStatus (*)(std::uint32_t& count, AudioBufferList& list, void* userData);

    struct Format {
        double sampleRate = 0.0; ///< Hz
        std::uint32_t channels = 0;
        std::uint32_t maxFrames = 0; ///< of one request
    };

    /// Nothing if a rate or channel count is unusable, or without memory.
    static std::unique_ptr<KaAudioConverter> create(const Format& source, const Format& destination);
    ~KaAudioConverter();

    // I/O thread
    /// Writes `frames` frames into `output` and sets `frames` to what was produced.
    OSStatus fillComplexBuffer(InputProc inputProc, void* userData, std::uint32_t& frames,
                               AudioBufferList& output) KA_REALTIME;

private:
    struct Release {
        void operator()(SRC_STATE_tag* state) const;
    };

    KaAudioConverter(const Format& source, const Format& destination);
    bool prepareResampler();
    bool prime();
    std::uint64_t inputNeededFor(std::uint64_t outputFrames) const;
    OSStatus pull(InputProc inputProc, void* userData, std::uint32_t wanted, std::uint32_t& got) KA_REALTIME;
    OSStatus passOn(InputProc inputProc, void* userData, std::uint32_t& frames,
                    AudioBufferList& output) KA_REALTIME;
    OSStatus resample(InputProc inputProc, void* userData, std::uint32_t& frames,
                      AudioBufferList& output) KA_REALTIME;
    OSStatus fetch(InputProc inputProc, void* userData, std::uint64_t& owed) KA_REALTIME;

    const Format m_source;
    const Format m_destination;
    std::unique_ptr<SRC_STATE_tag, Release> m_resampler; // none between equal rates
    std::vector<AudioBuffer> m_inputBuffers;             // without storage: the input procedure lends its own
    AudioBufferList m_inputList;
    std::vector<float> m_input;  // interleaved
    std::vector<float> m_output; // interleaved
    std::uint32_t m_inputBegin = 0;
    std::uint32_t m_inputHeld = 0; // frames from `m_inputBegin` on that the resampler has not taken yet
    std::uint64_t m_inputFrames = 0;
    std::uint64_t m_outputFrames = 0;
};

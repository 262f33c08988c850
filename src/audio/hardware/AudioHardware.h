// audio/hardware/AudioHardware.h — the one interface to sound systems.
#pragma once
#include "audio/AudioBufferList.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

using AudioDeviceID = std::uint32_t; ///< 0 means none
using AudioStreamID = std::uint32_t;
using OSStatus = std::int32_t; ///< 0 is success

enum class AudioDirection : std::uint8_t { output = 0, input = 1 };

constexpr OSStatus audioHardwareNoError = 0;
constexpr OSStatus audioHardwareNotRunningError = 0x73746F70;  // 'stop'
constexpr OSStatus audioHardwareBadDeviceError = 0x21646576;   // '!dev'
constexpr OSStatus audioHardwareUnspecifiedError = 0x77686174; // 'what'

/// What a cycle calls: device, now, input list and time, output list and time, client data. A device without
/// input hands in a null input list, one without output a null output list. Runs on the I/O thread.
using AudioDeviceIOProc = OSStatus (*)(AudioDeviceID device, const AudioTimeStamp* now,
                                       const AudioBufferList* inputData, const AudioTimeStamp* inputTime,
                                       AudioBufferList* outputData, const AudioTimeStamp* outputTime,
                                       void* clientData);

struct AudioValueRange {
    double minimum = 0.0;
    double maximum = 0.0;
    bool operator==(const AudioValueRange&) const = default;
};

struct AudioDataSource {
    std::uint32_t id = 0;
    std::string name;
    bool operator==(const AudioDataSource&) const = default;
};

/// The platform's description of one stream's samples.
struct AudioStreamBasicDescription {
    static constexpr std::uint32_t formatLinearPCM = 0x6C70636D; // 'lpcm'
    static constexpr std::uint32_t flagIsFloat = 1;
    static constexpr std::uint32_t flagIsBigEndian = 2;
    static constexpr std::uint32_t flagIsSignedInteger = 4;
    static constexpr std::uint32_t flagIsPacked = 8;
    static constexpr std::uint32_t flagIsAlignedHigh = 16;
    static constexpr std::uint32_t flagIsNonInterleaved = 32;

    double mSampleRate = 0.0;
    std::uint32_t mFormatID = 0;
    std::uint32_t mFormatFlags = 0;
    std::uint32_t mBytesPerPacket = 0;
    std::uint32_t mFramesPerPacket = 0;
    std::uint32_t mBytesPerFrame = 0;
    std::uint32_t mChannelsPerFrame = 0;
    std::uint32_t mBitsPerChannel = 0;
    std::uint32_t mReserved = 0;
    bool operator==(const AudioStreamBasicDescription&) const = default;
};

/// How soon a running stream's sound must be handed on; the adapter trades wake-ups against it.
enum class AudioLatencyNeed {
    monitoring, ///< heard while it happens: about 20 ms
    metering,   ///< a meter is seen or a level decides: about 50 ms
    relaxed,    ///< only written to disk: about 1 s
};

/// What the hardware tells on its own.
struct AudioHardwareEvent {
    enum class Kind {
        deviceListChanged, ///< devices came or went; `device` is 0
        deviceDied,        ///< a running device stopped delivering for good
        deviceReturned,    ///< a device that died delivers again (same unique ID)
        serverLost,        ///< the whole sound system went away; told once
        serverReturned,
        hole,                 ///< `frames` frames were lost before the adapter and handed on as silence
        delivered,            ///< the cycles of one piece of input have run; told for each piece
        defaultInputChanged,  ///< `device` is the usual one now, 0 when there is none
        defaultOutputChanged, ///< the same for outputs
    };
    Kind kind = Kind::deviceListChanged;
    AudioDeviceID device = 0;
    std::uint64_t frames = 0;
    std::string message;
};

/// Devices, their properties and their I/O cycles.
///
/// A cycle always has exactly the set buffer size. All samples are 32-bit floats. A hole reported by the sound
/// system is handed on as silence of the same length. Rates that the hardware does not run are not offered.
class AudioHardware {
public:
    virtual ~AudioHardware() = default;

    // Main thread. A failed query yields an empty, zero or false result.
    virtual std::vector<AudioDeviceID> devices() = 0;
    /// The device of `direction` that the sound system uses where none is named; 0 when there is none.
    virtual AudioDeviceID defaultDevice(AudioDirection direction) = 0;
    virtual std::string deviceName(AudioDeviceID device) = 0;
    virtual std::string deviceUID(AudioDeviceID device) = 0;
    virtual std::vector<AudioStreamID> streams(AudioDeviceID device, AudioDirection direction) = 0;
    /// Channels of each stream of `direction`, in order.
    virtual std::vector<std::uint32_t> streamConfiguration(AudioDeviceID device, AudioDirection direction) = 0;
    /// Side 1 is the physical format, any other the format that cycles carry.
    virtual AudioStreamBasicDescription streamFormat(AudioStreamID stream, unsigned side) = 0;
    virtual std::vector<AudioDataSource> dataSources(AudioDeviceID device, AudioDirection direction) = 0;
    virtual std::uint32_t dataSource(AudioDeviceID device, AudioDirection direction) = 0;
    virtual bool setDataSource(AudioDeviceID device, AudioDirection direction, std::uint32_t source) = 0;
    /// Hz.
    virtual double nominalSampleRate(AudioDeviceID device) = 0;
    virtual bool setNominalSampleRate(AudioDeviceID device, double rate) = 0;
    virtual std::vector<AudioValueRange> availableNominalSampleRates(AudioDeviceID device) = 0;
    /// Frames; the same for both directions.
    virtual AudioValueRange bufferFrameSizeRange(AudioDeviceID device, AudioDirection direction) = 0;
    virtual std::uint32_t bufferFrameSize(AudioDeviceID device) = 0;
    virtual bool setBufferFrameSize(AudioDeviceID device, std::uint32_t frames) = 0;
    virtual std::uint32_t maxVariableBufferFrameSize(AudioDeviceID device) = 0;

    // Main thread
    /// Registers `proc`; it is not called before `startIOProc`.
    virtual OSStatus addIOProc(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) = 0;
    virtual OSStatus startIOProc(AudioDeviceID device, AudioDeviceIOProc proc) = 0;
    /// Returns after a cycle in progress has ended. Not to be called from inside a cycle.
    virtual OSStatus stopIOProc(AudioDeviceID device, AudioDeviceIOProc proc) = 0;
    virtual OSStatus removeIOProc(AudioDeviceID device, AudioDeviceIOProc proc) = 0;
    /// Takes effect on the running stream, without a gap.
    virtual void setLatencyNeed(AudioDeviceID device, AudioLatencyNeed need) = 0;
    /// The one listener; an empty function ends listening. It is called on a thread of the sound system, never
    /// from inside a cycle.
    virtual void setListener(std::function<void(const AudioHardwareEvent&)> listener) = 0;

    // Any thread
    /// Frames of silence that were handed on in place of lost sound since the device was first started.
    virtual std::uint64_t holeFrames(AudioDeviceID device) = 0;
};

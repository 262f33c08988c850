// audio/hardware/pulse/CycleDispatcher.h — calls a device's I/O procedures, cycle by cycle.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/hardware/pulse/CycleAssembler.h"
#include "audio/hardware/pulse/StreamClock.h"

#include <span>
#include <vector>

/// One device's I/O procedures and the frame count of its stream, which outlives the server's streams: a stream
/// that is opened again goes on counting where the device's clock is by then.
///
/// Every call is made under the lock of the sound system's thread, so a procedure can be stopped only between
/// cycles. Procedures run in a RealtimeScope; memory is allocated by `begin` only.
class CycleDispatcher {
public:
    static constexpr std::uint32_t minCycleFrames = 14;
    static constexpr std::uint32_t maxCycleFrames = 4096;

    CycleDispatcher(const Clock& clock, AudioDeviceID device);

    // Main thread
    bool add(AudioDeviceIOProc proc, void* clientData);
    bool remove(AudioDeviceIOProc proc);
    bool has(AudioDeviceIOProc proc) const;
    bool setStarted(AudioDeviceIOProc proc, bool started);
    bool anyStarted() const;
    std::uint32_t cycleFrames() const { return m_cycleFrames; }
    void setCycleFrames(std::uint32_t frames);
    /// A stream of `channels` at `rate` Hz begins: counts from 0.
    void begin(std::uint32_t channels, double rate);

    // Sound system's thread
    /// Frame `framesTaken()` was or will be at the device at `time`.
    void observe(HostTime time);
    /// The same, without certainty; ignored once something certain is known.
    void guess(HostTime time);
    /// The stream ended. What waits for a full cycle is handed on, filled up with silence; returns the frames
    /// of silence. The next observation or guess decides where counting goes on.
    std::uint32_t interrupt();
    /// Hands on captured frames (silence when `interleaved` is null) in cycles.
    void capture(const float* interleaved, std::uint64_t frames);
    /// One cycle of sound to play, interleaved; valid until the next call.
    std::span<const float> render();
    /// Frames taken from or given to the sound system since `begin`, gaps included.
    std::uint64_t framesTaken() const { return m_position + m_assembler.pending(); }

private:
    struct Entry {
        AudioDeviceIOProc proc;
        void* clientData;
        bool started;
    };
    Entry* entry(AudioDeviceIOProc proc);
    void goOnAt(HostTime time);
    void runInput(float* cycle);
    AudioTimeStamp nowStamp() const;
    AudioTimeStamp cycleStamp();

    const Clock& m_clock;
    const AudioDeviceID m_device;
    std::vector<Entry> m_entries;
    std::uint32_t m_cycleFrames = 512;
    std::uint32_t m_channels = 0;
    CycleAssembler m_assembler{0, 0};
    StreamClock m_streamClock{1.0};
    std::vector<float> m_output;
    std::vector<float> m_scratch; ///< one procedure's output, when several are mixed
    std::uint64_t m_position = 0; ///< number of the next cycle's first frame
    HostTime m_lastStamp = 0;     ///< stamps never go back
    bool m_afterGap = false;
};

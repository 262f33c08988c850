// recorder/VmLevelMeter.h — the input level as a number and as a column of lamps.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "base/Clock.h"
#include "base/Controls.h"
#include "base/Realtime.h"
#include "base/RunLoop.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

class KaCoreAudioDevice;
class UserDefaults;
class VmControler;

/// Takes snapshots of the input on the I/O thread and shows them every 0.05 s, which also drives the recorder.
class VmLevelMeter {
public:
    explicit VmLevelMeter(VmControler& controler);
    ~VmLevelMeter();
    static void registerDefaults(UserDefaults& defaults);

    // Main thread
    void setLevelIOTargetWithDevice(KaCoreAudioDevice& device);
    void initLEDDisplay();
    void renewLEDDisplay();
    void execLevelMeter();
    void levelAnalyzer();
    /// Looks at the level at once, if the next look is not soon anyway.
    void levelCrossed();
    /// Makes the next look come within a tick, however long the meter was going to rest.
    void lookSoon();
    /// Forgets what was heard last: nothing comes any more.
    void clearSnapshot() { m_frames = 0; }
    void dispLevel(int level);
    double peekHoldTime() const { return m_peekHoldTime; }
    void setPeekHoldTime(double seconds) { m_peekHoldTime = std::clamp(seconds, 0.0, longestHold); }
    void saveUserDefaults();
    LampColumn& lamps() { return m_lamps; }

    // I/O thread
    /// Copies every eighth input buffer. Never waits.
    OSStatus levelInputIOForDevice(KaCoreAudioDevice& device, const AudioTimeStamp* timeStamp,
                                   const AudioBufferList* inputData, const AudioTimeStamp* inputTime,
                                   AudioBufferList* outputData, const AudioTimeStamp* outputTime,
                                   void* clientData) noexcept KA_REALTIME;

    // Sound system's thread, between cycles
    /// Whether the level has crossed the watched one since the last call: while nobody sees the level, the main
    /// thread looks at it then, not twenty times a second.
    bool takeCrossing() noexcept { return m_crossed.exchange(false, std::memory_order_acquire); }

    // Main thread
    /// When the level first came up to the watched one since the last call, however busy the main thread was
    /// meanwhile; 0 when it did not.
    HostTime takeRise() noexcept { return m_risen.exchange(0, std::memory_order_acquire); }

    // Any thread
    /// The level that `takeCrossing` watches.
    void watchLevel(int level) noexcept { m_watched.store(level, std::memory_order_relaxed); }
    /// 0 (silence) to 20 (full scale).
    int level() const { return m_level.load(std::memory_order_relaxed); }

    static constexpr double longestHold = 60.0; ///< seconds

private:
    int levelOfSnapshot() const noexcept;
    void noteCrossing(HostTime captured) noexcept;

    static constexpr double tick = 0.05; ///< seconds
    /// While nobody sees the level and nothing depends on it, only the state machine needs a tick.
    static constexpr double restingTick = 0.5;

    VmControler& m_controler;
    LampColumn m_lamps;
    // A torn snapshot disturbs one reading; atomics only keep the floats whole.
    std::vector<std::atomic<float>> m_buffer;
    std::atomic<unsigned> m_frames{0}; // floats in the snapshot
    int m_counter = 0;                 // I/O thread
    bool m_wasOver = false;            // I/O thread
    std::atomic<int> m_watched{0};
    std::atomic<bool> m_crossed{false};
    std::atomic<HostTime> m_risen{0};
    int m_lastNum = 0;
    int m_maxNum = 0;
    int m_maxCount = 0;
    std::atomic<int> m_level{0};
    double m_peekHoldTime = 1.0;
    std::unique_ptr<Timer> m_timer;
};

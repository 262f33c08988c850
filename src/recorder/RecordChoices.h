// recorder/RecordChoices.h — what a person chose of how is recorded.
#pragma once
#include <algorithm>
#include <string>

/// The recorder's choices that need nothing but to be remembered. The recorder reads them from the settings and
/// writes them back. Main thread only.
class RecordChoices {
public:
    static constexpr int longestPreBuffer = 79;         ///< seconds: what the queue holds
    int preBufferSec() const { return m_preBufferSec; } ///< seconds kept from before the start of auto mode
    void setPreBufferSec(int seconds) { m_preBufferSec = std::clamp(seconds, 0, longestPreBuffer); }
    int delayTime() const { return m_delayTime; } ///< seconds of quiet after which auto mode stops
    void setDelayTime(int seconds) { m_delayTime = std::max(seconds, 0); }
    /// Which part of the device's rate: 0 a quarter, 1 half of it, 2 all.
    int rateNumber() const { return m_rateNumber; }
    int channels() const { return m_channels; } ///< of the file: 1 or 2
    void setChannels(int channels) { m_channels = channels >= 2 ? 2 : 1; }
    /// Label key for a channel count.
    static std::string channels(int count) { return count == 1 ? "ChannelMono" : "ChannelStereo"; }
    /// Whether the start level may be moved while it decides nothing, or a recording runs.
    bool sliderAlways() const { return m_sliderAlwaysEnable; }
    /// Whether new recordings are hidden.
    bool hideSoundFile() const { return m_hideSoundFile; }
    void setHideSoundFile(bool hide) { m_hideSoundFile = hide; }
    /// Whether recording is switched on at each launch.
    bool autoStartup() const { return m_autoStartup; }
    void setAutoStartup(bool on) { m_autoStartup = on; }

protected:
    RecordChoices() = default;
    ~RecordChoices() = default;

    int m_preBufferSec = 3;
    int m_delayTime = 5;
    int m_rateNumber = 1;
    int m_channels = 1;
    bool m_sliderAlwaysEnable = false;
    bool m_hideSoundFile = false;
    bool m_autoStartup = false;
};

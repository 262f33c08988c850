// audio/KaCoreAudioDevice.h — one client's view of a hardware device.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/KaCoreAudioStream.h"
#include "base/NotificationCenter.h"
#include "base/Realtime.h"

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class KaCoreAudioDeviceDelegate;
class KaCoreAudioSystem;
class SystemLog;

/// What a started device object calls in each cycle: device object, now, input list and time, output list and
/// time, client data. A null list means that the hardware device lacks that direction.
using KaIOTarget =
    std::function<OSStatus(KaCoreAudioDevice& device, const AudioTimeStamp* timeStamp,
                           const AudioBufferList* inputData, const AudioTimeStamp* inputTime,
                           AudioBufferList* outputData, const AudioTimeStamp* outputTime, void* clientData)>;

/// Queries and settings of one hardware device, and one client's share of its I/O cycles. Several objects for
/// one device ID are independent clients of it. Holds no hardware state but the lists of streams.
class KaCoreAudioDevice {
public:
    KaCoreAudioDevice(KaCoreAudioSystem& system, AudioDeviceID deviceID);
    /// Stops and leaves the cycle first.
    ~KaCoreAudioDevice();
    KaCoreAudioDevice(const KaCoreAudioDevice&) = delete;
    KaCoreAudioDevice& operator=(const KaCoreAudioDevice&) = delete;

    // Main thread: properties. A failed query yields an empty or zero result, a failed setting is ignored.
    /// Every device of the system by name, then by unique ID; devices without a name come last.
    static std::vector<std::unique_ptr<KaCoreAudioDevice>> allDevices(KaCoreAudioSystem& system);

    /// Nothing if no device has that unique ID.
    static std::unique_ptr<KaCoreAudioDevice> deviceWithUID(KaCoreAudioSystem& system, const std::string& uid);

    /// What the sound system uses where no device is named; nothing when there is none.
    static std::unique_ptr<KaCoreAudioDevice> defaultInputDevice(KaCoreAudioSystem& system);
    static std::unique_ptr<KaCoreAudioDevice> defaultOutputDevice(KaCoreAudioSystem& system);
    /// For alerts: the same one here.
    static std::unique_ptr<KaCoreAudioDevice> defaultSystemOutputDevice(KaCoreAudioSystem& system);

    AudioDeviceID deviceID() const { return m_myDevice; }
    std::string deviceName() const;
    std::string deviceUID() const;
    /// Sum over the streams of the direction.
    std::uint32_t channelsForDirection(AudioDirection direction) const;
    std::vector<std::uint32_t> channelsByStreamForDirection(AudioDirection direction) const;
    /// Names in the device's order.
    std::vector<std::string> dataSourcesForDirection(AudioDirection direction) const;
    /// Name of the source in use.
    std::string dataSourceForDirection(AudioDirection direction) const;
    /// Chooses the source of exactly that name. No name, or one that no source has, changes nothing.
    void setDataSource(const std::optional<std::string>& name, AudioDirection forDirection);
    /// Hz.
    double nominalSampleRate() const;
    void setNominalSampleRate(double rate);
    /// Minimum and maximum in Hz of each range, in the device's order.
    std::vector<std::array<double, 2>> nominalSampleRates() const;
    /// Frames, as the output side tells them whatever the device is used for.
    std::uint32_t deviceMinBufferSizeInFrames() const;
    std::uint32_t deviceMaxBufferSizeInFrames() const;
    std::uint32_t deviceBufferSizeInFrames() const;
    void setDeviceBufferSizeInFrames(std::uint32_t frames);
    std::uint32_t deviceMaxVariableBufferSizeInFrames() const;
    std::vector<KaCoreAudioStream>& streamsForDirection(AudioDirection direction);
    /// Null ends it. The delegate outlives this object.
    void setDelegate(KaCoreAudioDeviceDelegate* delegate);
    /// Class, address, ID and name.
    std::string description() const;

    // Main thread: deprecated. The channel is of no account; each call leaves a line in the log.
    std::string dataSourceForChannel(unsigned channel, AudioDirection forDirection, SystemLog& log) const;
    std::vector<std::string> dataSourcesForChannel(unsigned channel, AudioDirection forDirection,
                                                   SystemLog& log) const;
    void setDataSource(const std::optional<std::string>& name, unsigned forChannel, AudioDirection forDirection,
                       SystemLog& log);

    // Any one thread but the I/O thread: the client's share of the cycles
    /// Both stop the device first; `deviceStart` must be called again.
    void setIOProc(AudioDeviceIOProc proc, void* withClientData);
    void setIOTarget(KaIOTarget target, void* withClientData);
    template <typename Target>
    void setIOTarget(Target& target,
                     OSStatus (Target::*withSelector)(KaCoreAudioDevice&, const AudioTimeStamp*,
                                                      const AudioBufferList*, const AudioTimeStamp*,
                                                      AudioBufferList*, const AudioTimeStamp*, void*),
                     void* withClientData) {
        setIOTarget(KaIOTarget(std::bind_front(withSelector, &target)), withClientData);
    }
    void removeIOProc();
    void removeIOTarget() { removeIOProc(); }
    /// Whether the device is started; the delegate hears why not.
    bool deviceStart();
    /// Returns after a cycle in progress has ended.
    void deviceStop();
    /// A pause waits for the cycle in progress, so that none is cut in half; a resume takes effect at once.
    void setDevicePaused(bool paused);

    // Multiplexer only
    void dispatchIOProcWithTimeStamp(const AudioTimeStamp* timeStamp, const AudioBufferList* inputData,
                                     const AudioTimeStamp* inputTime, AudioBufferList* outputData,
                                     const AudioTimeStamp* outputTime) KA_REALTIME;
    void dispatchIOStartDidFailForReason(OSStatus reason);
    void doSetPause(bool pause) { m_isPaused.store(pause, std::memory_order_relaxed); }

private:
    // Main thread
    void deviceDidChange(const UserInfo& userInfo);
    void sourceDidChange(AudioDirection direction);

    KaCoreAudioSystem& m_system;
    AudioHardware& m_hardware;
    const AudioDeviceID m_myDevice;
    KaCoreAudioDeviceDelegate* m_myDelegate = nullptr;
    NotificationCenter::Observation m_changes;
    AudioDeviceIOProc m_myIOProc = nullptr;
    bool m_deviceIOStarted = false;
    std::array<std::vector<KaCoreAudioStream>, 2> m_myStreams; // by direction
    std::array<bool, 2> m_streamsDirty{true, true};
    void* m_myIOProcClientData = nullptr;
    KaIOTarget m_myIOInvocation;
    std::atomic<bool> m_isPaused{false};
};

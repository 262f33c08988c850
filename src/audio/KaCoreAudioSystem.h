// audio/KaCoreAudioSystem.h — the sound system and who shares its devices.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/KaCoreAudioIOProcMux.h"
#include "audio/KaCoreAudioNotifications.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>

class NotificationCenter;
class RunLoop;
class SystemLog;
struct Notification;

/// Holds one multiplexer for each hardware device that was ever started, and listens to the hardware: of two
/// systems on one hardware only the younger one hears it. Outlives every device object.
class KaCoreAudioSystem {
public:
    explicit KaCoreAudioSystem(AudioHardware& hardware);
    /// Ends listening first.
    ~KaCoreAudioSystem();
    KaCoreAudioSystem(const KaCoreAudioSystem&) = delete;
    KaCoreAudioSystem& operator=(const KaCoreAudioSystem&) = delete;

    AudioHardware& hardware() const { return m_hardware; }

    // Any thread but the I/O thread
    /// The multiplexer of the device's ID, made on first use; it lives as long as this object.
    KaCoreAudioIOProcMux& muxForDevice(const KaCoreAudioDevice& device);
    bool registerDevice(KaCoreAudioDevice& device);
    void unRegisterDevice(KaCoreAudioDevice& device);
    void setPause(bool pause, KaCoreAudioDevice& forDevice);
    /// What hears of every event of the hardware; an empty function ends it. It is called on a thread of the
    /// sound system, never from inside a cycle, and must not wait for the main thread: no call of the former
    /// one is in progress when this returns.
    void setEventHandler(std::function<void(const AudioHardwareEvent&)> handler);

    // Main thread
    /// From now on every change is posted to `notifications` from the loop, and delegates that are set after
    /// this hear of it. All three outlive this object.
    void attachNotificationsToThisThread(RunLoop& runLoop, NotificationCenter& notifications, SystemLog& log);
    /// Null as long as nothing is attached.
    NotificationCenter* notifications() const;
    SystemLog* log() const;

    // Any thread but the I/O thread
    /// Has every object of the device hear of it.
    void deviceDidChange(AudioDeviceID device, AudioDirection direction, AudioPropertyID property);
    /// Has every object of the stream hear of it.
    void streamDidChange(AudioStreamID stream, AudioPropertyID property);

private:
    struct Attachment {
        RunLoop& runLoop;
        NotificationCenter& notifications;
        SystemLog& log;
    };
    // Any thread, with the event lock held
    void post(Notification notification);

    // Sound system's thread
    void hardwareDidTell(const AudioHardwareEvent& event);

    AudioHardware& m_hardware;
    std::recursive_mutex m_eventLock; // held while the handler is called, which may replace itself
    std::shared_ptr<const std::function<void(const AudioHardwareEvent&)>> m_eventHandler;
    std::shared_ptr<const Attachment> m_attachment; // calls that are posted yet die with it
    std::mutex m_tableLock;
    std::map<AudioDeviceID, std::unique_ptr<KaCoreAudioIOProcMux>> m_deviceMultiplexers;
};

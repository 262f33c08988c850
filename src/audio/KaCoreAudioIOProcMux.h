// audio/KaCoreAudioIOProcMux.h — lets several clients share one hardware device.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "base/Realtime.h"

#include <memory>
#include <mutex>
#include <vector>

class KaCoreAudioDevice;

/// One per hardware device. One I/O procedure runs on the device while at least one client is started; in each
/// cycle it calls every started client in the order in which they joined.
///
/// Threads and locks. `lock` is held for the whole of each cycle and for every change of the clients or of a
/// pause, so a client never joins, leaves or pauses in the middle of a cycle. `registrationLock` is taken
/// before it and serialises joining and leaving together with the hardware calls; those are made without
/// `lock`, because the hardware's stop waits for the cycle in progress, which holds it. It is recursive, as a
/// failed start leaves again from inside joining. A client's callback must not start, stop or pause a client of
/// the same hardware device.
///
/// Mixing. A single client works on the device's own lists. With more, each writes into a scratch list of the
/// output's layout that is added into the device's output; what the output held on entry stays in the sum.
class KaCoreAudioIOProcMux {
public:
    KaCoreAudioIOProcMux(AudioHardware& hardware, AudioDeviceID deviceID);
    ~KaCoreAudioIOProcMux();
    KaCoreAudioIOProcMux(const KaCoreAudioIOProcMux&) = delete;
    KaCoreAudioIOProcMux& operator=(const KaCoreAudioIOProcMux&) = delete;

    // Any thread but the I/O thread. Each waits for a cycle in progress.
    /// Adds a client and starts the hardware for the first. On failure the client is out again, its delegate
    /// has heard the hardware's status, and the result is false.
    bool registerDevice(KaCoreAudioDevice& device);
    /// Removes a client and stops the hardware after the last.
    void unRegisterDevice(KaCoreAudioDevice& device);
    void setPause(bool pause, KaCoreAudioDevice& forDevice);

    // I/O thread. Allocates only when the layout of the output has changed.
    OSStatus dispatchIOProcsWithTimeStamp(const AudioTimeStamp* timeStamp, const AudioBufferList* inputData,
                                          const AudioTimeStamp* inputTime, AudioBufferList* outputData,
                                          const AudioTimeStamp* outputTime) KA_REALTIME;

private:
    struct ScratchList;

    static OSStatus demuxIOProc(AudioDeviceID device, const AudioTimeStamp* now,
                                const AudioBufferList* inputData, const AudioTimeStamp* inputTime,
                                AudioBufferList* outputData, const AudioTimeStamp* outputTime,
                                void* clientData) KA_REALTIME;
    OSStatus startHardware();
    void updateDeviceProxyCache();

    bool bufferIsEquivalentToAudioBufferList(const AudioBufferList* list) const KA_REALTIME;
    bool matchBufferToAudioBufferList(const AudioBufferList* list) KA_REALTIME;
    void clearAudioBufferList() KA_REALTIME;
    void mixIntoAudioBufferList(AudioBufferList* list) const KA_REALTIME;
    void resetAudioBufferListBufferSizesFrom(const AudioBufferList* list) KA_REALTIME;
    void releaseAudioBufferList();

    AudioHardware& m_hardware;
    const AudioDeviceID m_myDeviceID;
    std::vector<KaCoreAudioDevice*>
        m_deviceProxies; // a set in order of joining; a client leaves before it goes away
    std::vector<KaCoreAudioDevice*> m_deviceProxyListCache;
    std::uint32_t m_deviceProxyCountCache = 0;
    std::mutex m_lock;
    std::recursive_mutex m_registrationLock;
    std::unique_ptr<ScratchList> m_eachOutputData;
    bool m_isRunning = false;
};

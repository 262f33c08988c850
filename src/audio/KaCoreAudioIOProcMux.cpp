#include "audio/KaCoreAudioIOProcMux.h"

#include "audio/KaCoreAudioDevice.h"

#include <algorithm>
#include <cstring>
#include <new>

struct KaCoreAudioIOProcMux::ScratchList {
    AudioBufferList list;
    std::unique_ptr<AudioBuffer[]> buffers;
    std::unique_ptr<std::unique_ptr<float[]>[]> storage;
};

namespace {
/// Adds `count` samples of `from` into `into`.
void vadd(const float* __restrict from, float* __restrict into, std::size_t count) KA_REALTIME {
    for (std::size_t i = 0; i < count; ++i)
        into[i] += from[i];
}
} // namespace

KaCoreAudioIOProcMux::KaCoreAudioIOProcMux(AudioHardware& hardware, AudioDeviceID deviceID)
    : m_hardware(hardware), m_myDeviceID(deviceID) {}

KaCoreAudioIOProcMux::~KaCoreAudioIOProcMux() = default;

bool KaCoreAudioIOProcMux::registerDevice(KaCoreAudioDevice& device) {
    OSStatus status = audioHardwareNoError;
    {
        const std::lock_guard registration(m_registrationLock);
        bool mustStart = false;
        {
            const std::lock_guard guard(m_lock);
            if (std::ranges::find(m_deviceProxies, &device) == m_deviceProxies.end())
                m_deviceProxies.push_back(&device);
            updateDeviceProxyCache();
            mustStart = !m_isRunning;
            m_isRunning = true;
        }
        if (mustStart)
            status = startHardware();
        if (status != audioHardwareNoError)
            unRegisterDevice(device);
    }
    if (status != audioHardwareNoError)
        device.dispatchIOStartDidFailForReason(status);
    return status == audioHardwareNoError;
}

OSStatus KaCoreAudioIOProcMux::startHardware() {
    const OSStatus added = m_hardware.addIOProc(m_myDeviceID, &demuxIOProc, this);
    return added != audioHardwareNoError ? added : m_hardware.startIOProc(m_myDeviceID, &demuxIOProc);
}

void KaCoreAudioIOProcMux::unRegisterDevice(KaCoreAudioDevice& device) {
    const std::lock_guard registration(m_registrationLock);
    bool mustStop = false;
    {
        const std::lock_guard guard(m_lock);
        std::erase(m_deviceProxies, &device);
        updateDeviceProxyCache();
        mustStop = m_isRunning && m_deviceProxyCountCache == 0;
        if (mustStop)
            m_isRunning = false;
    }
    if (mustStop) {
        m_hardware.stopIOProc(m_myDeviceID, &demuxIOProc);
        m_hardware.removeIOProc(m_myDeviceID, &demuxIOProc);
    }
}

void KaCoreAudioIOProcMux::setPause(bool pause, KaCoreAudioDevice& forDevice) {
    const std::lock_guard guard(m_lock);
    forDevice.doSetPause(pause);
}

void KaCoreAudioIOProcMux::updateDeviceProxyCache() {
    m_deviceProxyListCache = m_deviceProxies;
    m_deviceProxyCountCache = static_cast<std::uint32_t>(m_deviceProxyListCache.size());
}

OSStatus KaCoreAudioIOProcMux::demuxIOProc(AudioDeviceID, const AudioTimeStamp* now,
                                           const AudioBufferList* inputData, const AudioTimeStamp* inputTime,
                                           AudioBufferList* outputData, const AudioTimeStamp* outputTime,
                                           void* clientData) KA_REALTIME {
    return static_cast<KaCoreAudioIOProcMux*>(clientData)
        ->dispatchIOProcsWithTimeStamp(now, inputData, inputTime, outputData, outputTime);
}

OSStatus KaCoreAudioIOProcMux::dispatchIOProcsWithTimeStamp(const AudioTimeStamp* timeStamp,
                                                            const AudioBufferList* inputData,
                                                            const AudioTimeStamp* inputTime,
                                                            AudioBufferList* outputData,
                                                            const AudioTimeStamp* outputTime) KA_REALTIME {
    const std::lock_guard guard(m_lock);
    if (m_deviceProxyCountCache == 1) {
        m_deviceProxyListCache[0]->dispatchIOProcWithTimeStamp(timeStamp, inputData, inputTime, outputData,
                                                               outputTime);
        return audioHardwareNoError;
    }
    // Without memory this cycle is silent for all clients; the next one tries again.
    if (!matchBufferToAudioBufferList(outputData))
        return audioHardwareNoError;
    AudioBufferList* const scratch = m_eachOutputData ? &m_eachOutputData->list : nullptr;
    for (std::uint32_t i = 0; i < m_deviceProxyCountCache; ++i) {
        clearAudioBufferList();
        m_deviceProxyListCache[i]->dispatchIOProcWithTimeStamp(timeStamp, inputData, inputTime, scratch,
                                                               outputTime);
        mixIntoAudioBufferList(outputData);
        resetAudioBufferListBufferSizesFrom(outputData);
    }
    return audioHardwareNoError;
}

bool KaCoreAudioIOProcMux::bufferIsEquivalentToAudioBufferList(const AudioBufferList* list) const KA_REALTIME {
    if (list == nullptr || !m_eachOutputData)
        return list == nullptr && !m_eachOutputData;
    const AudioBufferList& scratch = m_eachOutputData->list;
    return std::equal(
        scratch.mBuffers, scratch.mBuffers + scratch.mNumberBuffers, list->mBuffers,
        list->mBuffers + list->mNumberBuffers, [](const AudioBuffer& left, const AudioBuffer& right) {
            return left.mNumberChannels == right.mNumberChannels && left.mDataByteSize == right.mDataByteSize;
        });
}

bool KaCoreAudioIOProcMux::matchBufferToAudioBufferList(const AudioBufferList* list) KA_REALTIME {
    if (bufferIsEquivalentToAudioBufferList(list))
        return true;
    const RealtimeScope::Exempt layoutChanged;
    releaseAudioBufferList();
    if (list == nullptr)
        return true;
    try {
        auto scratch = std::make_unique<ScratchList>();
        scratch->buffers = std::make_unique<AudioBuffer[]>(list->mNumberBuffers);
        scratch->storage = std::make_unique<std::unique_ptr<float[]>[]>(list->mNumberBuffers);
        scratch->list = {list->mNumberBuffers, scratch->buffers.get()};
        for (std::uint32_t i = 0; i < list->mNumberBuffers; ++i) {
            const AudioBuffer& model = list->mBuffers[i];
            const std::size_t samples = (std::size_t{model.mDataByteSize} + sizeof(float) - 1) / sizeof(float);
            scratch->storage[i] = std::unique_ptr<float[]>(new float[samples]);
            scratch->buffers[i] = {model.mNumberChannels, model.mDataByteSize, scratch->storage[i].get()};
        }
        m_eachOutputData = std::move(scratch);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void KaCoreAudioIOProcMux::clearAudioBufferList() KA_REALTIME {
    if (!m_eachOutputData)
        return;
    const AudioBufferList& scratch = m_eachOutputData->list;
    for (std::uint32_t i = 0; i < scratch.mNumberBuffers; ++i)
        std::memset(scratch.mBuffers[i].mData, 0, scratch.mBuffers[i].mDataByteSize);
}

void KaCoreAudioIOProcMux::mixIntoAudioBufferList(AudioBufferList* list) const KA_REALTIME {
    if (!m_eachOutputData || list == nullptr)
        return;
    const AudioBufferList& scratch = m_eachOutputData->list;
    for (std::uint32_t i = 0; i < scratch.mNumberBuffers; ++i) {
        const std::uint32_t bytes =
            std::min(list->mBuffers[i].mDataByteSize, scratch.mBuffers[i].mDataByteSize);
        vadd(static_cast<const float*>(scratch.mBuffers[i].mData), static_cast<float*>(list->mBuffers[i].mData),
             bytes / sizeof(float));
    }
}

void KaCoreAudioIOProcMux::resetAudioBufferListBufferSizesFrom(const AudioBufferList* list) KA_REALTIME {
    if (!m_eachOutputData || list == nullptr)
        return;
    const AudioBufferList& scratch = m_eachOutputData->list;
    for (std::uint32_t i = 0; i < scratch.mNumberBuffers; ++i)
        scratch.mBuffers[i].mDataByteSize = list->mBuffers[i].mDataByteSize;
}

void KaCoreAudioIOProcMux::releaseAudioBufferList() {
    m_eachOutputData.reset();
}

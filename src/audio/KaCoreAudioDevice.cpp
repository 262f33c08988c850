#include "audio/KaCoreAudioDevice.h"

#include "audio/KaCoreAudioDeviceDelegate.h"
#include "audio/KaCoreAudioSystem.h"
#include "base/SystemLog.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <numeric>
#include <utility>

namespace {
std::uint32_t clampedToUnsigned(double value) {
    // Not-a-number compares false and becomes 0.
    if (!(value > 0.0))
        return 0;
    constexpr auto largest = std::numeric_limits<std::uint32_t>::max();
    return value >= largest ? largest : static_cast<std::uint32_t>(value);
}
} // namespace

KaCoreAudioDevice::KaCoreAudioDevice(KaCoreAudioSystem& system, AudioDeviceID deviceID)
    : m_system(system), m_hardware(system.hardware()), m_myDevice(deviceID) {}

KaCoreAudioDevice::~KaCoreAudioDevice() {
    removeIOProc();
}

std::vector<std::unique_ptr<KaCoreAudioDevice>> KaCoreAudioDevice::allDevices(KaCoreAudioSystem& system) {
    struct Named {
        std::string name;
        std::string uid;
        std::unique_ptr<KaCoreAudioDevice> device;
    };
    std::vector<Named> found;
    for (const AudioDeviceID deviceID : system.hardware().devices()) {
        auto device = std::make_unique<KaCoreAudioDevice>(system, deviceID);
        found.push_back({device->deviceName(), device->deviceUID(), std::move(device)});
    }
    std::ranges::stable_sort(found, [](const Named& left, const Named& right) {
        if (left.name.empty() != right.name.empty())
            return right.name.empty();
        return std::tie(left.name, left.uid) < std::tie(right.name, right.uid);
    });
    std::vector<std::unique_ptr<KaCoreAudioDevice>> devices;
    for (Named& named : found)
        devices.push_back(std::move(named.device));
    return devices;
}

std::unique_ptr<KaCoreAudioDevice> KaCoreAudioDevice::deviceWithUID(KaCoreAudioSystem& system,
                                                                    const std::string& uid) {
    for (const AudioDeviceID deviceID : system.hardware().devices()) {
        if (system.hardware().deviceUID(deviceID) == uid)
            return std::make_unique<KaCoreAudioDevice>(system, deviceID);
    }
    return nullptr;
}

namespace {
std::unique_ptr<KaCoreAudioDevice> defaultDevice(KaCoreAudioSystem& system, AudioDirection direction) {
    const AudioDeviceID deviceID = system.hardware().defaultDevice(direction);
    return deviceID == 0 ? nullptr : std::make_unique<KaCoreAudioDevice>(system, deviceID);
}
} // namespace

std::unique_ptr<KaCoreAudioDevice> KaCoreAudioDevice::defaultInputDevice(KaCoreAudioSystem& system) {
    return defaultDevice(system, AudioDirection::input);
}

std::unique_ptr<KaCoreAudioDevice> KaCoreAudioDevice::defaultOutputDevice(KaCoreAudioSystem& system) {
    return defaultDevice(system, AudioDirection::output);
}

std::unique_ptr<KaCoreAudioDevice> KaCoreAudioDevice::defaultSystemOutputDevice(KaCoreAudioSystem& system) {
    return defaultOutputDevice(system);
}

std::string KaCoreAudioDevice::deviceName() const {
    return m_hardware.deviceName(m_myDevice);
}

std::string KaCoreAudioDevice::deviceUID() const {
    return m_hardware.deviceUID(m_myDevice);
}

std::uint32_t KaCoreAudioDevice::channelsForDirection(AudioDirection direction) const {
    const std::vector<std::uint32_t> channels = channelsByStreamForDirection(direction);
    return std::accumulate(channels.begin(), channels.end(), std::uint32_t{0});
}

std::vector<std::uint32_t> KaCoreAudioDevice::channelsByStreamForDirection(AudioDirection direction) const {
    return m_hardware.streamConfiguration(m_myDevice, direction);
}

std::vector<std::string> KaCoreAudioDevice::dataSourcesForDirection(AudioDirection direction) const {
    std::vector<std::string> names;
    for (const AudioDataSource& source : m_hardware.dataSources(m_myDevice, direction))
        names.push_back(source.name);
    return names;
}

std::string KaCoreAudioDevice::dataSourceForDirection(AudioDirection direction) const {
    const std::uint32_t present = m_hardware.dataSource(m_myDevice, direction);
    for (const AudioDataSource& source : m_hardware.dataSources(m_myDevice, direction)) {
        if (source.id == present)
            return source.name;
    }
    return {};
}

void KaCoreAudioDevice::setDataSource(const std::optional<std::string>& name, AudioDirection forDirection) {
    if (!name)
        return;
    for (const AudioDataSource& source : m_hardware.dataSources(m_myDevice, forDirection)) {
        if (source.name == *name && m_hardware.setDataSource(m_myDevice, forDirection, source.id))
            m_system.deviceDidChange(m_myDevice, forDirection, audioDevicePropertyDataSource);
    }
}

double KaCoreAudioDevice::nominalSampleRate() const {
    return m_hardware.nominalSampleRate(m_myDevice);
}

void KaCoreAudioDevice::setNominalSampleRate(double rate) {
    if (!m_hardware.setNominalSampleRate(m_myDevice, rate))
        return;
    m_system.deviceDidChange(m_myDevice, AudioDirection::output, audioDevicePropertyNominalSampleRate);
    for (const AudioDirection direction : {AudioDirection::output, AudioDirection::input})
        for (const AudioStreamID stream : m_hardware.streams(m_myDevice, direction))
            m_system.streamDidChange(stream, audioDevicePropertyStreamFormat);
}

std::vector<std::array<double, 2>> KaCoreAudioDevice::nominalSampleRates() const {
    std::vector<std::array<double, 2>> rates;
    for (const AudioValueRange& range : m_hardware.availableNominalSampleRates(m_myDevice))
        rates.push_back({range.minimum, range.maximum});
    return rates;
}

std::uint32_t KaCoreAudioDevice::deviceMinBufferSizeInFrames() const {
    return clampedToUnsigned(m_hardware.bufferFrameSizeRange(m_myDevice, AudioDirection::output).minimum);
}

std::uint32_t KaCoreAudioDevice::deviceMaxBufferSizeInFrames() const {
    return clampedToUnsigned(m_hardware.bufferFrameSizeRange(m_myDevice, AudioDirection::output).maximum);
}

std::uint32_t KaCoreAudioDevice::deviceBufferSizeInFrames() const {
    return m_hardware.bufferFrameSize(m_myDevice);
}

void KaCoreAudioDevice::setDeviceBufferSizeInFrames(std::uint32_t frames) {
    if (m_hardware.setBufferFrameSize(m_myDevice, frames))
        m_system.deviceDidChange(m_myDevice, AudioDirection::output, audioDevicePropertyBufferFrameSize);
}

std::uint32_t KaCoreAudioDevice::deviceMaxVariableBufferSizeInFrames() const {
    return m_hardware.maxVariableBufferFrameSize(m_myDevice);
}

std::vector<KaCoreAudioStream>& KaCoreAudioDevice::streamsForDirection(AudioDirection direction) {
    const auto index = static_cast<std::size_t>(direction);
    if (m_streamsDirty[index]) {
        m_myStreams[index].clear();
        for (const AudioStreamID stream : m_hardware.streams(m_myDevice, direction))
            m_myStreams[index].emplace_back(m_system, stream, direction, *this);
        // A device that is away has no streams; they are asked for again when it is back.
        m_streamsDirty[index] = m_myStreams[index].empty();
    }
    return m_myStreams[index];
}

std::string KaCoreAudioDevice::dataSourceForChannel(unsigned, AudioDirection forDirection,
                                                    SystemLog& log) const {
    log.log("-[KaCoreAudioDevice dataSourceForChannel:forDirection:] is deprecated, use "
            "-dataSourceForDirection:]");
    return dataSourceForDirection(forDirection);
}

std::vector<std::string> KaCoreAudioDevice::dataSourcesForChannel(unsigned, AudioDirection forDirection,
                                                                  SystemLog& log) const {
    log.log("-[KaCoreAudioDevice dataSourcesForChannel:forDirection:] is deprecated, use "
            "-dataSourcesForDirection:]");
    return dataSourcesForDirection(forDirection);
}

void KaCoreAudioDevice::setDataSource(const std::optional<std::string>& name, unsigned,
                                      AudioDirection forDirection, SystemLog& log) {
    log.log("-[KaCoreAudioDevice setDataSource:forChannel:forDirection:] is deprecated, use "
            "-setDataSource:forDirection:]");
    setDataSource(name, forDirection);
}

void KaCoreAudioDevice::setDelegate(KaCoreAudioDeviceDelegate* delegate) {
    m_myDelegate = delegate;
    m_changes.end();
    if (NotificationCenter* const notifications = m_system.notifications();
        delegate != nullptr && notifications)
        m_changes = notifications->observe(KaCoreAudioDeviceNotification, [this](const Notification& change) {
            deviceDidChange(change.userInfo);
        });
}

void KaCoreAudioDevice::deviceDidChange(const UserInfo& userInfo) {
    const auto value = [&](const char* key) {
        const auto found = userInfo.find(key);
        return found == userInfo.end() ? std::string() : found->second;
    };
    if (m_myDelegate == nullptr || value("DeviceID") != std::to_string(m_myDevice))
        return;
    const std::string property = value("PropertyID");
    if (property == textOfPropertyID(audioDevicePropertyDeviceIsAlive)) {
        m_streamsDirty = {true, true};
        m_myDelegate->audioDeviceIsAliveDidChange(*this);
    } else if (property == textOfPropertyID(audioDevicePropertyOverload)) {
        m_myDelegate->audioDeviceDidOverload(*this);
    } else if (property == textOfPropertyID(audioDevicePropertyDataSource)) {
        sourceDidChange(value("Direction") == "1" ? AudioDirection::input : AudioDirection::output);
    } else if (property == textOfPropertyID(audioDevicePropertyNominalSampleRate)) {
        m_myDelegate->audioDeviceNominalSampleRateDidChange(*this);
    } else if (property == textOfPropertyID(audioDevicePropertyBufferFrameSize)) {
        m_myDelegate->audioDeviceBufferSizeInFramesDidChange(*this);
    }
}

void KaCoreAudioDevice::sourceDidChange(AudioDirection direction) {
    m_myDelegate->audioDeviceSourceDidChange(*this, direction);
    if (m_myDelegate->audioDeviceSourceDidChange(*this, 0, direction) && m_system.log() != nullptr)
        m_system.log()->log("KaCoreAudio: delegate method "
                            "-audioDeviceSourceDidChange:forChannel:forDirection: is deprecated, use "
                            "audioDeviceSourceDidChange:forDirection:");
}

std::string KaCoreAudioDevice::description() const {
    char head[96];
    std::snprintf(head, sizeof head, "<KaCoreAudioDevice: %p id %u> ", static_cast<const void*>(this),
                  m_myDevice);
    return head + deviceName();
}

void KaCoreAudioDevice::setIOProc(AudioDeviceIOProc proc, void* withClientData) {
    removeIOProc();
    m_myIOProc = proc;
    m_myIOProcClientData = withClientData;
}

void KaCoreAudioDevice::setIOTarget(KaIOTarget target, void* withClientData) {
    removeIOProc();
    m_myIOInvocation = std::move(target);
    m_myIOProcClientData = withClientData;
}

void KaCoreAudioDevice::removeIOProc() {
    if (m_myIOProc == nullptr && !m_myIOInvocation)
        return;
    deviceStop();
    m_myIOProc = nullptr;
    m_myIOInvocation = nullptr;
    m_myIOProcClientData = nullptr;
}

bool KaCoreAudioDevice::deviceStart() {
    if (m_myIOProc == nullptr && !m_myIOInvocation)
        return m_deviceIOStarted;
    m_deviceIOStarted = m_system.registerDevice(*this);
    return m_deviceIOStarted;
}

void KaCoreAudioDevice::deviceStop() {
    if (!m_deviceIOStarted)
        return;
    m_system.unRegisterDevice(*this);
    m_deviceIOStarted = false;
}

void KaCoreAudioDevice::setDevicePaused(bool paused) {
    if (paused)
        m_system.setPause(true, *this);
    else
        m_isPaused.store(false, std::memory_order_relaxed);
}

void KaCoreAudioDevice::dispatchIOProcWithTimeStamp(const AudioTimeStamp* timeStamp,
                                                    const AudioBufferList* inputData,
                                                    const AudioTimeStamp* inputTime,
                                                    AudioBufferList* outputData,
                                                    const AudioTimeStamp* outputTime) KA_REALTIME {
    if (m_isPaused.load(std::memory_order_relaxed))
        return;
    // A client's result is of no interest: no client can stop the cycle.
    if (m_myIOProc != nullptr)
        m_myIOProc(m_myDevice, timeStamp, inputData, inputTime, outputData, outputTime, m_myIOProcClientData);
    else if (m_myIOInvocation)
        m_myIOInvocation(*this, timeStamp, inputData, inputTime, outputData, outputTime, m_myIOProcClientData);
}

void KaCoreAudioDevice::dispatchIOStartDidFailForReason(OSStatus reason) {
    if (m_myDelegate != nullptr)
        m_myDelegate->audioDeviceStartDidFail(*this, reason);
}

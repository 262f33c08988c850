#include "audio/hardware/simulated/SimulatedHardware.h"

#include <algorithm>

namespace {
using Basic = AudioStreamBasicDescription;

AudioStreamID streamOf(AudioDeviceID device, AudioDirection direction) {
    return device * 2 + static_cast<AudioStreamID>(direction);
}
} // namespace

SimulatedHardware::SimulatedHardware(Clock& clock, std::vector<SimulatedDevice> devices) {
    const HostTime launch = clock.hostTime();
    for (SimulatedDevice& device : devices) {
        auto unit = std::make_unique<Unit>();
        unit->dataSource = device.dataSources.empty() ? 0 : 1;
        const auto deviceID = static_cast<AudioDeviceID>(m_units.size() + 1);
        unit->engine =
            std::make_unique<SimulatedEngine>(clock, launch, std::move(device), deviceID,
                                              [this](const AudioHardwareEvent& event) { tell(event); });
        m_units.push_back(std::move(unit));
    }
}

SimulatedHardware::Unit* SimulatedHardware::known(AudioDeviceID device) const {
    return device >= 1 && device <= m_units.size() ? m_units[device - 1].get() : nullptr;
}

SimulatedHardware::Unit* SimulatedHardware::present(AudioDeviceID device) const {
    Unit* const unit = known(device);
    return unit != nullptr && unit->engine->plugged() ? unit : nullptr;
}

SimulatedHardware::Unit* SimulatedHardware::present(AudioDeviceID device, AudioDirection direction) const {
    Unit* const unit = present(device);
    if (unit == nullptr)
        return nullptr;
    const SimulatedDevice& model = unit->engine->device();
    return (direction == AudioDirection::input ? model.hasInput() : model.hasOutput()) ? unit : nullptr;
}

AudioDeviceID SimulatedHardware::deviceWithUID(const std::string& uid) const {
    const auto found =
        std::ranges::find(m_units, uid, [](const auto& unit) { return unit->engine->device().uid; });
    return found == m_units.end() ? 0 : static_cast<AudioDeviceID>(found - m_units.begin() + 1);
}

void SimulatedHardware::tell(const AudioHardwareEvent& event) {
    const std::lock_guard guard(m_listenerMutex);
    // The listener may replace itself while it runs.
    const auto listener = m_listener;
    if (listener && *listener)
        (*listener)(event);
}

void SimulatedHardware::setPlugged(Unit& unit, bool plugged) {
    const AudioDeviceID input = defaultDevice(AudioDirection::input);
    const AudioDeviceID output = defaultDevice(AudioDirection::output);
    unit.engine->setPlugged(plugged);
    if (!plugged && unit.engine->running())
        tell({AudioHardwareEvent::Kind::deviceDied, deviceWithUID(unit.engine->device().uid), 0, {}});
    tell({AudioHardwareEvent::Kind::deviceListChanged, 0, 0, {}});
    if (const AudioDeviceID now = defaultDevice(AudioDirection::input); now != input)
        tell({AudioHardwareEvent::Kind::defaultInputChanged, now, 0, {}});
    if (const AudioDeviceID now = defaultDevice(AudioDirection::output); now != output)
        tell({AudioHardwareEvent::Kind::defaultOutputChanged, now, 0, {}});
}

void SimulatedHardware::unplug(const std::string& uid) {
    if (Unit* const unit = present(deviceWithUID(uid)))
        setPlugged(*unit, false);
}

void SimulatedHardware::replug(const std::string& uid) {
    const AudioDeviceID device = deviceWithUID(uid);
    Unit* const unit = known(device);
    if (unit == nullptr || unit->engine->plugged())
        return;
    setPlugged(*unit, true);
    if (unit->engine->running())
        tell({AudioHardwareEvent::Kind::deviceReturned, device, 0, {}});
}

void SimulatedHardware::stall(const std::string& uid, double seconds) {
    if (Unit* const unit = known(deviceWithUID(uid)))
        unit->engine->stall(seconds);
}

void SimulatedHardware::stallUntold(const std::string& uid, double seconds) {
    if (Unit* const unit = known(deviceWithUID(uid)))
        unit->engine->stallUntold(seconds);
}

void SimulatedHardware::setOutputSink(const SimulatedOutputSink& sink) {
    for (const auto& unit : m_units)
        unit->engine->setSink(sink);
}

std::vector<AudioDeviceID> SimulatedHardware::devices() {
    std::vector<AudioDeviceID> found;
    for (AudioDeviceID device = 1; device <= m_units.size(); ++device) {
        if (present(device) != nullptr)
            found.push_back(device);
    }
    return found;
}

AudioDeviceID SimulatedHardware::defaultDevice(AudioDirection direction) {
    for (const AudioDeviceID device : devices())
        if (present(device, direction) != nullptr)
            return device;
    return 0;
}

std::string SimulatedHardware::deviceName(AudioDeviceID device) {
    const Unit* const unit = present(device);
    return unit != nullptr ? unit->engine->device().name : std::string();
}

std::string SimulatedHardware::deviceUID(AudioDeviceID device) {
    const Unit* const unit = present(device);
    return unit != nullptr ? unit->engine->device().uid : std::string();
}

std::vector<AudioStreamID> SimulatedHardware::streams(AudioDeviceID device, AudioDirection direction) {
    if (present(device, direction) == nullptr)
        return {};
    return {streamOf(device, direction)};
}

std::vector<std::uint32_t> SimulatedHardware::streamConfiguration(AudioDeviceID device,
                                                                  AudioDirection direction) {
    const Unit* const unit = present(device, direction);
    if (unit == nullptr)
        return {};
    return {unit->engine->device().channels};
}

AudioStreamBasicDescription SimulatedHardware::streamFormat(AudioStreamID stream, unsigned) {
    const Unit* const unit = present(stream / 2, static_cast<AudioDirection>(stream % 2));
    if (unit == nullptr)
        return {};
    const std::uint32_t channels = unit->engine->device().channels;
    return {.mSampleRate = unit->engine->rate(),
            .mFormatID = Basic::formatLinearPCM,
            .mFormatFlags = Basic::flagIsFloat | Basic::flagIsPacked,
            .mBytesPerPacket = channels * 4,
            .mFramesPerPacket = 1,
            .mBytesPerFrame = channels * 4,
            .mChannelsPerFrame = channels,
            .mBitsPerChannel = 32,
            .mReserved = 0};
}

std::vector<AudioDataSource> SimulatedHardware::dataSources(AudioDeviceID device, AudioDirection direction) {
    const Unit* const unit = present(device, direction);
    std::vector<AudioDataSource> sources;
    if (unit == nullptr)
        return sources;
    for (const std::string& name : unit->engine->device().dataSources)
        sources.push_back({static_cast<std::uint32_t>(sources.size() + 1), name});
    return sources;
}

std::uint32_t SimulatedHardware::dataSource(AudioDeviceID device, AudioDirection direction) {
    const Unit* const unit = present(device, direction);
    return unit != nullptr ? unit->dataSource.load() : 0;
}

bool SimulatedHardware::setDataSource(AudioDeviceID device, AudioDirection direction, std::uint32_t source) {
    Unit* const unit = present(device, direction);
    if (unit == nullptr || source < 1 || source > unit->engine->device().dataSources.size())
        return false;
    unit->dataSource = source;
    return true;
}

double SimulatedHardware::nominalSampleRate(AudioDeviceID device) {
    const Unit* const unit = present(device);
    return unit != nullptr ? unit->engine->rate() : 0.0;
}

bool SimulatedHardware::setNominalSampleRate(AudioDeviceID device, double rate) {
    Unit* const unit = present(device);
    if (unit == nullptr ||
        std::ranges::find(unit->engine->device().rates, rate) == unit->engine->device().rates.end())
        return false;
    unit->engine->setRate(rate);
    return true;
}

std::vector<AudioValueRange> SimulatedHardware::availableNominalSampleRates(AudioDeviceID device) {
    const Unit* const unit = present(device);
    std::vector<AudioValueRange> ranges;
    if (unit == nullptr)
        return ranges;
    for (const double rate : unit->engine->device().rates)
        ranges.push_back({rate, rate});
    return ranges;
}

AudioValueRange SimulatedHardware::bufferFrameSizeRange(AudioDeviceID device, AudioDirection) {
    const Unit* const unit = present(device);
    if (unit == nullptr)
        return {};
    const SimulatedDevice& model = unit->engine->device();
    return {static_cast<double>(model.minFrames), static_cast<double>(model.maxFrames)};
}

std::uint32_t SimulatedHardware::bufferFrameSize(AudioDeviceID device) {
    const Unit* const unit = present(device);
    return unit != nullptr ? unit->engine->bufferFrames() : 0;
}

bool SimulatedHardware::setBufferFrameSize(AudioDeviceID device, std::uint32_t frames) {
    Unit* const unit = present(device);
    if (unit == nullptr || frames == 0 || frames < unit->engine->device().minFrames ||
        frames > unit->engine->device().maxFrames)
        return false;
    unit->engine->setBufferFrames(frames);
    return true;
}

std::uint32_t SimulatedHardware::maxVariableBufferFrameSize(AudioDeviceID device) {
    return bufferFrameSize(device);
}

OSStatus SimulatedHardware::addIOProc(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) {
    Unit* const unit = present(device);
    return unit != nullptr ? unit->engine->addProc(proc, clientData) : audioHardwareBadDeviceError;
}

OSStatus SimulatedHardware::startIOProc(AudioDeviceID device, AudioDeviceIOProc proc) {
    Unit* const unit = present(device);
    if (unit == nullptr)
        return audioHardwareBadDeviceError;
    const OSStatus failure = m_startFailure;
    return failure != audioHardwareNoError ? failure : unit->engine->startProc(proc);
}

OSStatus SimulatedHardware::stopIOProc(AudioDeviceID device, AudioDeviceIOProc proc) {
    Unit* const unit = known(device);
    return unit != nullptr ? unit->engine->stopProc(proc) : audioHardwareBadDeviceError;
}

OSStatus SimulatedHardware::removeIOProc(AudioDeviceID device, AudioDeviceIOProc proc) {
    Unit* const unit = known(device);
    return unit != nullptr ? unit->engine->removeProc(proc) : audioHardwareBadDeviceError;
}

void SimulatedHardware::setListener(std::function<void(const AudioHardwareEvent&)> listener) {
    const std::lock_guard guard(m_listenerMutex);
    m_listener = std::make_shared<const std::function<void(const AudioHardwareEvent&)>>(std::move(listener));
}

std::uint64_t SimulatedHardware::holeFrames(AudioDeviceID device) {
    const Unit* const unit = known(device);
    return unit != nullptr ? unit->engine->holeFrames() : 0;
}

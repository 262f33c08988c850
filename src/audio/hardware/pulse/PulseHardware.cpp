#include "audio/hardware/pulse/PulseHardware.h"

#include "audio/hardware/pulse/PulseFormats.h"

#include <algorithm>
#include <pulse/introspect.h>

namespace {
constexpr double secondsUntilConnected = 5.0;
constexpr double secondsUntilPortSet = 2.0;
constexpr AudioStreamID firstStream = 0x10000; // a device's one stream has its ID above this
} // namespace

PulseHardware::PulseHardware(Clock& clock, PulseOptions options)
    : m_clock(clock),
      m_lister([this](const std::vector<PulseDevice>& listed) { devicesListed(listed); }),
      m_connection(std::move(options), *this) {
    if (!m_connection.start())
        return;
    const PulseConnection::Lock lock(m_connection);
    m_connection.waitUntil([this] { return m_hasList || m_failedOnce; }, secondsUntilConnected);
}

PulseHardware::~PulseHardware() {
    {
        const PulseConnection::Lock lock(m_connection);
        m_listener = nullptr;
        m_lister.detach();
        const std::lock_guard guard(m_iosMutex);
        m_ios.clear();
    }
    m_connection.stop();
}

void PulseHardware::connectionReady() {
    m_lister.attach(m_connection.context());
}

void PulseHardware::connectionFailed(bool wasReady) {
    m_failedOnce = true;
    m_lister.detach();
    const bool wasListed = std::exchange(m_hasList, false);
    if (!wasReady)
        return;
    for (const auto& [device, procedures] : m_ios)
        procedures->connectionLost();
    const bool hadDevices = m_table.replace({});
    if (wasListed)
        tell({AudioHardwareEvent::Kind::serverLost, 0, 0, m_connection.lastError()});
    if (hadDevices)
        tell({AudioHardwareEvent::Kind::deviceListChanged, 0, 0, {}});
    tellDefaults();
}

void PulseHardware::devicesListed(const std::vector<PulseDevice>& listed) {
    const bool changed = m_table.replace(listed);
    const bool returned = !std::exchange(m_hasList, true) && m_failedOnce;
    m_connection.signal();
    if (returned)
        tell({AudioHardwareEvent::Kind::serverReturned, 0, 0, {}});
    if (changed)
        tell({AudioHardwareEvent::Kind::deviceListChanged, 0, 0, {}});
    tellDefaults();
    for (const auto& [device, procedures] : m_ios)
        procedures->devicesListed();
}

void PulseHardware::tellDefaults() {
    const AudioDeviceID input = m_table.defaultDevice(AudioDirection::input);
    const AudioDeviceID output = m_table.defaultDevice(AudioDirection::output);
    if (std::exchange(m_defaultInput, input) != input)
        tell({AudioHardwareEvent::Kind::defaultInputChanged, input, 0, {}});
    if (std::exchange(m_defaultOutput, output) != output)
        tell({AudioHardwareEvent::Kind::defaultOutputChanged, output, 0, {}});
}

void PulseHardware::tell(const AudioHardwareEvent& event) {
    if (m_listener)
        m_listener(event);
}

std::optional<PulseDevice> PulseHardware::present(AudioDeviceID device, AudioDirection direction) const {
    std::optional<PulseDevice> found = m_table.find(device);
    if (found && found->direction != direction)
        found.reset();
    return found;
}

PulseDeviceIO* PulseHardware::existingIO(AudioDeviceID device) {
    const std::lock_guard guard(m_iosMutex);
    const auto found = m_ios.find(device);
    return found == m_ios.end() ? nullptr : found->second.get();
}

PulseDeviceIO* PulseHardware::io(AudioDeviceID device) {
    if (PulseDeviceIO* const existing = existingIO(device))
        return existing;
    if (!m_table.isKnown(device))
        return nullptr;
    const PulseDeviceIO::Surroundings surroundings{
        m_clock, m_connection, m_table, [this](const AudioHardwareEvent& event) { tell(event); },
        [this](double seconds) { m_connection.callLater(seconds, [this] { m_lister.refresh(); }); }};
    // The sound system's thread walks the map under the connection's lock, other threads look up under the
    // mutex.
    const PulseConnection::Lock lock(m_connection);
    const std::lock_guard guard(m_iosMutex);
    return m_ios.emplace(device, std::make_unique<PulseDeviceIO>(device, surroundings)).first->second.get();
}

std::vector<AudioDeviceID> PulseHardware::devices() {
    return m_table.devices();
}

std::string PulseHardware::deviceName(AudioDeviceID device) {
    return m_table.name(device);
}

std::string PulseHardware::deviceUID(AudioDeviceID device) {
    return m_table.uniqueId(device);
}

std::vector<AudioStreamID> PulseHardware::streams(AudioDeviceID device, AudioDirection direction) {
    if (!present(device, direction))
        return {};
    return {firstStream + device};
}

std::vector<std::uint32_t> PulseHardware::streamConfiguration(AudioDeviceID device, AudioDirection direction) {
    const std::optional<PulseDevice> found = present(device, direction);
    if (!found)
        return {};
    return {found->format.spec.channels};
}

AudioStreamBasicDescription PulseHardware::streamFormat(AudioStreamID stream, unsigned side) {
    const std::optional<PulseDevice> found = m_table.find(stream > firstStream ? stream - firstStream : 0);
    if (!found)
        return {};
    return side == 1 ? pulsePhysicalFormat(found->format.spec) : pulseCycleFormat(found->format.spec);
}

std::vector<AudioDataSource> PulseHardware::dataSources(AudioDeviceID device, AudioDirection direction) {
    std::vector<AudioDataSource> sources;
    if (const std::optional<PulseDevice> found = present(device, direction))
        for (const PulsePort& port : found->ports)
            sources.push_back({m_table.portId(device, port.name), port.title});
    return sources;
}

std::uint32_t PulseHardware::dataSource(AudioDeviceID device, AudioDirection direction) {
    const std::optional<PulseDevice> found = present(device, direction);
    return found ? m_table.portId(device, found->activePort) : 0;
}

bool PulseHardware::setDataSource(AudioDeviceID device, AudioDirection direction, std::uint32_t source) {
    const std::optional<PulseDevice> found = present(device, direction);
    if (!found)
        return false;
    const auto port = std::find_if(found->ports.begin(), found->ports.end(), [&](const PulsePort& each) {
        return m_table.portId(device, each.name) == source;
    });
    if (port == found->ports.end())
        return false;
    if (!setServerPort(*found, port->name))
        return false;
    m_table.setActivePort(device, port->name); // the server's own word of it may still be on its way
    return true;
}

bool PulseHardware::setServerPort(const PulseDevice& device, const std::string& port) {
    struct Answer {
        PulseConnection& connection;
        bool isHere = false;
        bool isGood = false;
    } answer{m_connection};
    const auto answered = [](pa_context*, int success, void* into) {
        auto& given = *static_cast<Answer*>(into);
        given.isHere = true;
        given.isGood = success != 0;
        given.connection.signal();
    };
    const PulseConnection::Lock lock(m_connection);
    if (m_connection.context() == nullptr)
        return false;
    const auto ask = device.direction == AudioDirection::input ? pa_context_set_source_port_by_name
                                                               : pa_context_set_sink_port_by_name;
    pa_operation* const operation =
        ask(m_connection.context(), device.name.c_str(), port.c_str(), answered, &answer);
    if (operation == nullptr)
        return false;
    m_connection.waitUntil([&] { return answer.isHere || m_connection.context() == nullptr; },
                           secondsUntilPortSet);
    pa_operation_cancel(operation);
    pa_operation_unref(operation);
    return answer.isGood;
}

double PulseHardware::nominalSampleRate(AudioDeviceID device) {
    const std::optional<PulseDevice> found = m_table.find(device);
    return found ? found->format.spec.rate : 0.0;
}

bool PulseHardware::setNominalSampleRate(AudioDeviceID device, double rate) {
    return rate > 0.0 && rate == nominalSampleRate(device);
}

std::vector<AudioValueRange> PulseHardware::availableNominalSampleRates(AudioDeviceID device) {
    const double rate = nominalSampleRate(device);
    if (rate <= 0.0)
        return {};
    return {{rate, rate}};
}

AudioValueRange PulseHardware::bufferFrameSizeRange(AudioDeviceID device, AudioDirection) {
    if (!m_table.find(device))
        return {};
    return {CycleDispatcher::minCycleFrames, CycleDispatcher::maxCycleFrames};
}

std::uint32_t PulseHardware::bufferFrameSize(AudioDeviceID device) {
    PulseDeviceIO* const procedures = io(device);
    if (procedures == nullptr)
        return 0;
    return procedures->cycleFrames();
}

bool PulseHardware::setBufferFrameSize(AudioDeviceID device, std::uint32_t frames) {
    if (frames < CycleDispatcher::minCycleFrames || frames > CycleDispatcher::maxCycleFrames)
        return false;
    PulseDeviceIO* const procedures = io(device);
    if (procedures == nullptr)
        return false;
    const PulseConnection::Lock lock(m_connection);
    procedures->setCycleFrames(frames);
    return true;
}

std::uint32_t PulseHardware::maxVariableBufferFrameSize(AudioDeviceID device) {
    // Cycles do not vary, but come in bursts of a fragment, or of a block that the server renders at once.
    constexpr double burstSeconds = 0.05;
    const std::uint32_t frames = bufferFrameSize(device);
    if (frames == 0)
        return 0;
    const auto fragment = static_cast<std::uint32_t>(nominalSampleRate(device) * burstSeconds);
    return (fragment / frames + 1) * frames;
}

OSStatus PulseHardware::addIOProc(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) {
    PulseDeviceIO* const procedures = io(device);
    if (procedures == nullptr)
        return audioHardwareBadDeviceError;
    const PulseConnection::Lock lock(m_connection);
    return procedures->add(proc, clientData);
}

OSStatus PulseHardware::onExistingIO(AudioDeviceID device, AudioDeviceIOProc proc,
                                     OSStatus (PulseDeviceIO::*call)(AudioDeviceIOProc)) {
    PulseDeviceIO* const procedures = existingIO(device);
    if (procedures == nullptr)
        return audioHardwareBadDeviceError;
    const PulseConnection::Lock lock(m_connection);
    return (procedures->*call)(proc);
}

OSStatus PulseHardware::startIOProc(AudioDeviceID device, AudioDeviceIOProc proc) {
    return onExistingIO(device, proc, &PulseDeviceIO::start);
}

OSStatus PulseHardware::stopIOProc(AudioDeviceID device, AudioDeviceIOProc proc) {
    return onExistingIO(device, proc, &PulseDeviceIO::stop);
}

OSStatus PulseHardware::removeIOProc(AudioDeviceID device, AudioDeviceIOProc proc) {
    return onExistingIO(device, proc, &PulseDeviceIO::remove);
}

void PulseHardware::setLatencyNeed(AudioDeviceID device, AudioLatencyNeed need) {
    PulseDeviceIO* const procedures = io(device);
    if (procedures == nullptr)
        return;
    const PulseConnection::Lock lock(m_connection);
    procedures->setLatencyNeed(need);
}

void PulseHardware::setListener(std::function<void(const AudioHardwareEvent&)> listener) {
    const PulseConnection::Lock lock(m_connection);
    m_listener = std::move(listener);
}

std::uint64_t PulseHardware::holeFrames(AudioDeviceID device) {
    PulseDeviceIO* const procedures = existingIO(device);
    return procedures == nullptr ? 0 : procedures->holeFrames();
}

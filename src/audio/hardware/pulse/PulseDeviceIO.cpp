#include "audio/hardware/pulse/PulseDeviceIO.h"

#include "audio/hardware/pulse/PulsePlaybackStream.h"
#include "audio/hardware/pulse/PulseRecordStream.h"

namespace {
constexpr double secondsUntilStarted = 3.0;
constexpr double secondsUntilNextTry = 1.0;
} // namespace

PulseDeviceIO::PulseDeviceIO(AudioDeviceID device, const Surroundings& surroundings)
    : m_device(device), m_surroundings(surroundings), m_cycles(surroundings.clock, device) {}

OSStatus PulseDeviceIO::add(AudioDeviceIOProc proc, void* clientData) {
    return m_cycles.add(proc, clientData) ? audioHardwareNoError : audioHardwareUnspecifiedError;
}

OSStatus PulseDeviceIO::start(AudioDeviceIOProc proc) {
    if (!m_cycles.has(proc))
        return audioHardwareUnspecifiedError;
    if (m_surroundings.connection.context() == nullptr)
        return audioHardwareNotRunningError;
    m_cycles.setStarted(proc, true);
    const OSStatus status = startStream();
    if (status != audioHardwareNoError)
        stop(proc);
    return status;
}

OSStatus PulseDeviceIO::startStream() {
    const std::optional<PulseDevice> device = m_surroundings.table.find(m_device);
    if (!device)
        return audioHardwareBadDeviceError;
    if (m_condition == Condition::idle) {
        m_format = device->format;
        m_cycles.begin(m_format.spec.channels, m_format.spec.rate);
        m_condition = Condition::starting;
    }
    if (!m_stream) {
        if (!openStream(*device))
            return audioHardwareBadDeviceError;
        if (m_condition == Condition::waiting)
            m_condition = Condition::returning; // for the sake of procedures that were started earlier
    }
    m_surroundings.connection.waitUntil([this] { return !m_stream || m_stream->isReady(); },
                                        secondsUntilStarted);
    if (m_stream && m_stream->isReady())
        return audioHardwareNoError;
    if (m_surroundings.connection.context() == nullptr)
        return audioHardwareNotRunningError;
    // Still opening: the server is frozen. Gone: it refused the device.
    return m_stream ? audioHardwareUnspecifiedError : audioHardwareBadDeviceError;
}

OSStatus PulseDeviceIO::stop(AudioDeviceIOProc proc) {
    if (!m_cycles.setStarted(proc, false))
        return audioHardwareUnspecifiedError;
    if (m_cycles.anyStarted())
        return audioHardwareNoError;
    m_stream.reset();
    m_condition = Condition::idle;
    m_notBefore = 0;
    return audioHardwareNoError;
}

OSStatus PulseDeviceIO::remove(AudioDeviceIOProc proc) {
    const OSStatus status = stop(proc);
    m_cycles.remove(proc);
    return status;
}

void PulseDeviceIO::setLatencyNeed(AudioLatencyNeed need) {
    if (need == m_need)
        return;
    m_need = need;
    if (m_stream)
        m_stream->setLatencyNeed(need);
}

void PulseDeviceIO::setCycleFrames(std::uint32_t frames) {
    m_cycles.setCycleFrames(frames);
}

bool PulseDeviceIO::openStream(const PulseDevice& device) {
    PulseFormat format = m_format;
    if (pa_channel_map_valid(&device.format.map) != 0 && device.format.map.channels == format.spec.channels)
        format.map = device.format.map;
    PulseStream::Owner& owner = *this;
    if (device.direction == AudioDirection::input)
        m_stream = std::make_unique<PulseRecordStream>(m_surroundings.clock, m_cycles, owner);
    else
        m_stream = std::make_unique<PulsePlaybackStream>(m_surroundings.clock, m_cycles, owner);
    if (m_stream->open(m_surroundings.connection.context(), device, format, m_need))
        return true;
    m_stream.reset();
    return false;
}

void PulseDeviceIO::devicesListed() {
    if (m_condition != Condition::waiting || m_surroundings.connection.context() == nullptr)
        return;
    if (m_surroundings.clock.hostTime() < m_notBefore)
        return; // a list is due at that time
    const std::optional<PulseDevice> device = m_surroundings.table.find(m_device);
    if (!device)
        return;
    m_condition = Condition::returning;
    if (!openStream(*device))
        streamEnded(m_surroundings.connection.lastError());
}

void PulseDeviceIO::streamReady() {
    const bool hasReturned = m_condition == Condition::returning;
    m_condition = Condition::running;
    m_stream->setLatencyNeed(m_need); // it may have changed meanwhile
    m_surroundings.connection.signal();
    if (hasReturned)
        m_surroundings.tell({AudioHardwareEvent::Kind::deviceReturned, m_device, 0, {}});
}

void PulseDeviceIO::interrupt() {
    m_stream.reset();
    m_condition = Condition::waiting;
    // Counted, but not told: the loss itself is the news.
    m_holeFrames.fetch_add(m_cycles.interrupt(), std::memory_order_relaxed);
}

void PulseDeviceIO::streamEnded(const std::string& reason) {
    if (m_surroundings.connection.context() == nullptr)
        return; // told as the loss of the server
    if (m_condition == Condition::running) {
        interrupt();
        m_surroundings.tell({AudioHardwareEvent::Kind::deviceDied, m_device, 0, reason});
        m_surroundings.refreshDevices(0.0);
        return;
    }
    m_stream.reset();
    m_surroundings.connection.signal(); // `start` learns it from the missing stream
    if (m_condition != Condition::returning)
        return;
    m_condition = Condition::waiting;
    m_notBefore = m_surroundings.clock.hostTime() + hostTimeFromSeconds(secondsUntilNextTry);
    m_surroundings.refreshDevices(secondsUntilNextTry);
}

void PulseDeviceIO::connectionLost() {
    if (m_condition == Condition::running)
        interrupt();
    else if (m_condition == Condition::returning)
        m_condition = Condition::waiting;
    m_stream.reset();
    m_notBefore = 0;
}

void PulseDeviceIO::streamHadHole(std::uint64_t frames) {
    m_holeFrames.fetch_add(frames, std::memory_order_relaxed);
    m_surroundings.tell({AudioHardwareEvent::Kind::hole, m_device, frames, {}});
}

void PulseDeviceIO::streamDelivered() {
    m_surroundings.tell({AudioHardwareEvent::Kind::delivered, m_device, 0, {}});
}

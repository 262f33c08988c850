#include "audio/hardware/simulated/SimulatedEngine.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {
/// How much faster than time a device hands on what it could not while stalled: fast, but no faster than a
/// client with a queue of seconds can take it.
constexpr HostTime catchUpPace = 8;

constexpr std::uint32_t usualBufferFrames = 512;

AudioTimeStamp stampOf(std::uint64_t frame, HostTime time) {
    return {.mSampleTime = static_cast<double>(frame),
            .mHostTime = time,
            .mRateScalar = 1.0,
            .mFlags = AudioTimeStamp::sampleTimeValid | AudioTimeStamp::hostTimeValid |
                      AudioTimeStamp::rateScalarValid};
}

double firstRate(const SimulatedDevice& device) {
    return device.rates.empty() ? 0.0 : device.rates.front();
}
} // namespace

SimulatedEngine::SimulatedEngine(Clock& clock, HostTime launch, SimulatedDevice device, AudioDeviceID deviceID,
                                 Tell tell)
    : m_clock(clock),
      m_launch(launch),
      m_device(std::move(device)),
      m_deviceID(deviceID),
      m_tell(std::move(tell)),
      m_rate(firstRate(m_device)),
      m_bufferFrames(std::max(m_device.minFrames, std::min(usualBufferFrames, m_device.maxFrames))),
      m_signal(m_device.hasInput() ? m_device.signal : std::vector<SimulatedSegment>{}, m_device.channels,
               m_rate) {
    const std::size_t samples =
        std::size_t{std::max(m_device.minFrames, m_device.maxFrames)} * m_device.channels;
    if (m_device.hasInput())
        m_input.resize(samples);
    if (m_device.hasOutput()) {
        m_output.resize(samples);
        m_eachOutput.resize(samples);
    }
}

SimulatedEngine::~SimulatedEngine() {
    m_beat.reset();
}

HostTime SimulatedEngine::timeOfFrame(std::uint64_t frame) const {
    const long double nanoseconds =
        static_cast<long double>(frame) * 1e9L / static_cast<long double>(m_rate.load());
    return m_launch + static_cast<HostTime>(std::floor(nanoseconds));
}

std::uint64_t SimulatedEngine::frameAtTime(HostTime time) const {
    const long double frames =
        static_cast<long double>(time - m_launch) * static_cast<long double>(m_rate.load()) / 1e9L;
    return static_cast<std::uint64_t>(std::ceil(std::max(frames, 0.0L)));
}

void SimulatedEngine::planFromNow() {
    const HostTime now = m_clock.hostTime();
    m_nextFrame = frameAtTime(now);
    m_cycleFrames = m_bufferFrames;
    m_late = false;
    m_planChanged = true;
    m_holes.clear();
    m_stalled = now < m_stallEnd;
    if (m_stalled && m_device.hasInput())
        m_holes.push_back({m_nextFrame, frameAtTime(m_stallEnd)});
}

std::size_t SimulatedEngine::startedProcs() const {
    return static_cast<std::size_t>(std::ranges::count_if(m_procs, &Proc::started));
}

SimulatedEngine::Proc* SimulatedEngine::find(AudioDeviceIOProc proc) {
    const auto found = std::ranges::find(m_procs, proc, &Proc::proc);
    return found == m_procs.end() ? nullptr : &*found;
}

bool SimulatedEngine::running() const {
    const std::lock_guard guard(m_cycleMutex);
    return startedProcs() > 0;
}

void SimulatedEngine::setRate(double rate) {
    const std::lock_guard guard(m_cycleMutex);
    if (rate == m_rate)
        return;
    m_rate = rate;
    m_signal.setRate(rate);
    planFromNow();
}

OSStatus SimulatedEngine::addProc(AudioDeviceIOProc proc, void* clientData) {
    const std::lock_guard guard(m_cycleMutex);
    if (proc == nullptr || find(proc) != nullptr)
        return audioHardwareUnspecifiedError;
    m_procs.push_back({proc, clientData, false});
    return audioHardwareNoError;
}

OSStatus SimulatedEngine::startProc(AudioDeviceIOProc proc) {
    const std::lock_guard control(m_controlMutex);
    HostTime first = 0;
    {
        const std::lock_guard guard(m_cycleMutex);
        Proc* const found = find(proc);
        if (found == nullptr || m_rate <= 0.0)
            return audioHardwareUnspecifiedError;
        found->started = true;
        if (m_beat)
            return audioHardwareNoError;
        planFromNow();
        m_planChanged = false;
        first = std::max(dueTime(), m_stallEnd);
    }
    m_beat = m_clock.startBeat(m_device.uid, first, [this] { return beat(); });
    return audioHardwareNoError;
}

OSStatus SimulatedEngine::stopProc(AudioDeviceIOProc proc) {
    const std::lock_guard control(m_controlMutex);
    {
        const std::lock_guard guard(m_cycleMutex);
        Proc* const found = find(proc);
        if (found == nullptr)
            return audioHardwareUnspecifiedError;
        if (!found->started)
            return audioHardwareNotRunningError;
        found->started = false;
        if (startedProcs() > 0)
            return audioHardwareNoError;
    }
    m_beat.reset();
    return audioHardwareNoError;
}

OSStatus SimulatedEngine::removeProc(AudioDeviceIOProc proc) {
    stopProc(proc);
    const std::lock_guard guard(m_cycleMutex);
    return std::erase_if(m_procs, [proc](const Proc& each) { return each.proc == proc; }) > 0
               ? audioHardwareNoError
               : audioHardwareUnspecifiedError;
}

void SimulatedEngine::setSink(SimulatedOutputSink sink) {
    const std::lock_guard guard(m_cycleMutex);
    m_sink = std::move(sink);
}

void SimulatedEngine::setPlugged(bool plugged) {
    const std::lock_guard guard(m_cycleMutex);
    m_plugged = plugged;
    planFromNow();
}

void SimulatedEngine::stall(double seconds) {
    const std::lock_guard guard(m_cycleMutex);
    const HostTime now = m_clock.hostTime();
    const HostTime end = now + hostTimeFromSeconds(seconds);
    if (end <= m_stallEnd)
        return;
    const std::uint64_t begin = frameAtTime(std::max(now, m_stallEnd));
    m_stallEnd = end;
    m_stalled = true;
    if (m_device.hasInput() && startedProcs() > 0 && m_plugged)
        m_holes.push_back({begin, frameAtTime(end)});
}

void SimulatedEngine::stallUntold(double seconds) {
    const std::lock_guard guard(m_cycleMutex);
    m_stallEnd = std::max<HostTime>(m_stallEnd, m_clock.hostTime() + hostTimeFromSeconds(seconds));
    m_stalled = true;
    m_isUntold = true;
}

HostTime SimulatedEngine::beat() {
    std::uint64_t holeHandedOn = 0;
    HostTime next = 0;
    {
        const std::lock_guard guard(m_cycleMutex);
        next = runBeat(holeHandedOn);
    }
    if (holeHandedOn > 0)
        m_tell({AudioHardwareEvent::Kind::hole, m_deviceID, holeHandedOn, {}});
    if (m_device.hasInput())
        m_tell({AudioHardwareEvent::Kind::delivered, m_deviceID, 0, {}});
    return next;
}

HostTime SimulatedEngine::runBeat(std::uint64_t& holeHandedOn) {
    const HostTime now = m_clock.hostTime();
    if (m_planChanged) {
        m_planChanged = false;
        return dueTime();
    }
    if (now < m_stallEnd)
        return m_stallEnd;
    if (m_stalled) {
        m_stalled = false;
        m_late = true;
        // What was not played then will not be played now, nor what was not heard.
        if (!m_device.hasInput() || std::exchange(m_isUntold, false)) {
            planFromNow();
            m_planChanged = false;
            return dueTime();
        }
    }
    if (m_plugged) {
        m_nowStamp = stampOf(m_nextFrame + m_cycleFrames, now);
        m_inputStamp = stampOf(m_nextFrame, timeOfFrame(m_nextFrame));
        m_outputStamp = stampOf(m_nextFrame + m_cycleFrames, dueTime());
        if (m_device.hasInput())
            holeHandedOn = fillInput();
        runCycle();
        if (m_sink && m_device.hasOutput()) {
            AudioBuffer buffer{m_device.channels,
                               static_cast<std::uint32_t>(m_cycleFrames * m_device.channels * sizeof(float)),
                               m_output.data()};
            m_sink(m_device.uid, m_outputStamp, {1, &buffer});
        }
    }
    m_nextFrame += m_cycleFrames;
    m_cycleFrames = m_bufferFrames;
    if (m_late && dueTime() <= now)
        return now + (dueTime() - timeOfFrame(m_nextFrame)) / catchUpPace;
    m_late = false;
    return dueTime();
}

/// Renders the input of the cycle, silences what was lost, and returns the length of the holes that end in it.
std::uint64_t SimulatedEngine::fillInput() {
    const std::uint64_t end = m_nextFrame + m_cycleFrames;
    const std::uint32_t channels = m_device.channels;
    m_signal.render(m_nextFrame, m_cycleFrames, m_input.data());
    std::uint64_t ended = 0;
    for (const Hole& hole : m_holes) {
        const std::uint64_t from = std::max(hole.begin, m_nextFrame);
        const std::uint64_t to = std::min(hole.end, end);
        if (from < to) {
            std::fill_n(m_input.data() + (from - m_nextFrame) * channels, (to - from) * channels, 0.0F);
            m_holeFrames += to - from;
        }
        if (hole.end <= end)
            ended += hole.end - hole.begin;
    }
    std::erase_if(m_holes, [end](const Hole& hole) { return hole.end <= end; });
    return ended;
}

void SimulatedEngine::runCycle() KA_REALTIME {
    const RealtimeScope scope;
    const std::size_t samples = std::size_t{m_cycleFrames} * m_device.channels;
    const bool alone = startedProcs() == 1;
    if (m_device.hasOutput())
        std::fill_n(m_output.data(), samples, 0.0F);
    for (const Proc& proc : m_procs) {
        if (!proc.started)
            continue;
        if (alone || !m_device.hasOutput()) {
            callProc(proc, m_output.data());
            continue;
        }
        std::fill_n(m_eachOutput.data(), samples, 0.0F);
        callProc(proc, m_eachOutput.data());
        for (std::size_t i = 0; i < samples; ++i)
            m_output[i] += m_eachOutput[i];
    }
}

void SimulatedEngine::callProc(const Proc& proc, float* output) KA_REALTIME {
    const auto bytes = static_cast<std::uint32_t>(m_cycleFrames * m_device.channels * sizeof(float));
    AudioBuffer inputBuffer{m_device.channels, bytes, m_input.data()};
    AudioBuffer outputBuffer{m_device.channels, bytes, output};
    const AudioBufferList inputList{1, &inputBuffer};
    AudioBufferList outputList{1, &outputBuffer};
    proc.proc(m_deviceID, &m_nowStamp, m_device.hasInput() ? &inputList : nullptr, &m_inputStamp,
              m_device.hasOutput() ? &outputList : nullptr, &m_outputStamp, proc.clientData);
}

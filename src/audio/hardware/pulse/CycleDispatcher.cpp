#include "audio/hardware/pulse/CycleDispatcher.h"

#include "base/Realtime.h"

#include <algorithm>
#include <cassert>

CycleDispatcher::CycleDispatcher(const Clock& clock, AudioDeviceID device) : m_clock(clock), m_device(device) {}

CycleDispatcher::Entry* CycleDispatcher::entry(AudioDeviceIOProc proc) {
    const auto found =
        std::find_if(m_entries.begin(), m_entries.end(), [proc](const Entry& e) { return e.proc == proc; });
    return found == m_entries.end() ? nullptr : &*found;
}

bool CycleDispatcher::add(AudioDeviceIOProc proc, void* clientData) {
    if (proc == nullptr || entry(proc) != nullptr)
        return false;
    m_entries.push_back({proc, clientData, false});
    return true;
}

bool CycleDispatcher::remove(AudioDeviceIOProc proc) {
    return std::erase_if(m_entries, [proc](const Entry& e) { return e.proc == proc; }) > 0;
}

bool CycleDispatcher::has(AudioDeviceIOProc proc) const {
    return std::any_of(m_entries.begin(), m_entries.end(), [proc](const Entry& e) { return e.proc == proc; });
}

bool CycleDispatcher::setStarted(AudioDeviceIOProc proc, bool started) {
    Entry* const found = entry(proc);
    if (found == nullptr)
        return false;
    found->started = started;
    return true;
}

bool CycleDispatcher::anyStarted() const {
    return std::any_of(m_entries.begin(), m_entries.end(), [](const Entry& e) { return e.started; });
}

void CycleDispatcher::setCycleFrames(std::uint32_t frames) {
    assert(frames >= minCycleFrames && frames <= maxCycleFrames);
    m_cycleFrames = frames;
    m_assembler.setCycleFrames(frames);
}

void CycleDispatcher::begin(std::uint32_t channels, double rate) {
    m_channels = channels;
    m_assembler = CycleAssembler(channels, maxCycleFrames);
    m_assembler.setCycleFrames(m_cycleFrames);
    m_streamClock = StreamClock(rate);
    m_output.assign(static_cast<std::size_t>(channels) * maxCycleFrames, 0.0F);
    m_scratch.assign(m_output.size(), 0.0F);
    m_position = 0;
    m_lastStamp = 0;
    m_afterGap = false;
}

void CycleDispatcher::goOnAt(HostTime time) {
    if (!m_afterGap)
        return;
    if (m_streamClock.hasMoment())
        m_position = std::max(m_position, m_streamClock.frameAt(time));
    m_streamClock.loseMoment();
    m_afterGap = false;
}

void CycleDispatcher::observe(HostTime time) {
    goOnAt(time);
    m_streamClock.observe(framesTaken(), time);
}

void CycleDispatcher::guess(HostTime time) {
    goOnAt(time);
    if (!m_streamClock.hasMoment())
        m_streamClock.guess(framesTaken(), time);
}

std::uint32_t CycleDispatcher::interrupt() {
    const std::uint32_t silence = m_assembler.flush([this](float* cycle) { runInput(cycle); });
    m_afterGap = true;
    return silence;
}

void CycleDispatcher::capture(const float* interleaved, std::uint64_t frames) {
    m_assembler.push(interleaved, frames, [this](float* cycle) { runInput(cycle); });
}

AudioTimeStamp CycleDispatcher::nowStamp() const {
    AudioTimeStamp stamp;
    stamp.mHostTime = m_clock.hostTime();
    stamp.mFlags = AudioTimeStamp::hostTimeValid;
    if (m_streamClock.hasMoment()) {
        stamp.mSampleTime = static_cast<double>(m_streamClock.frameAt(stamp.mHostTime));
        stamp.mFlags |= AudioTimeStamp::sampleTimeValid;
    }
    return stamp;
}

AudioTimeStamp CycleDispatcher::cycleStamp() {
    AudioTimeStamp stamp;
    stamp.mSampleTime = static_cast<double>(m_position);
    stamp.mFlags = AudioTimeStamp::sampleTimeValid;
    if (m_streamClock.hasMoment()) {
        m_lastStamp = std::max(m_lastStamp, m_streamClock.timeOf(m_position));
        stamp.mHostTime = m_lastStamp;
        stamp.mFlags |= AudioTimeStamp::hostTimeValid;
    }
    if (m_streamClock.rateKnown()) {
        stamp.mRateScalar = m_streamClock.rateScalar();
        stamp.mFlags |= AudioTimeStamp::rateScalarValid;
    }
    return stamp;
}

void CycleDispatcher::runInput(float* cycle) {
    const RealtimeScope realtime;
    const std::uint32_t frames = m_assembler.cycleFrames();
    const AudioTimeStamp now = nowStamp();
    const AudioTimeStamp captured = cycleStamp();
    const AudioTimeStamp none;
    for (const Entry& client : m_entries) {
        if (!client.started)
            continue;
        AudioBuffer buffer{m_channels, static_cast<std::uint32_t>(frames * m_channels * sizeof(float)), cycle};
        const AudioBufferList list{1, &buffer};
        client.proc(m_device, &now, &list, &captured, nullptr, &none, client.clientData);
    }
    m_position += frames;
}

std::span<const float> CycleDispatcher::render() {
    const RealtimeScope realtime;
    const AudioTimeStamp now = nowStamp();
    const AudioTimeStamp played = cycleStamp();
    const AudioTimeStamp none;
    const std::size_t samples = static_cast<std::size_t>(m_cycleFrames) * m_channels;
    std::fill_n(m_output.begin(), samples, 0.0F);
    bool isFirst = true;
    for (const Entry& client : m_entries) {
        if (!client.started)
            continue;
        std::vector<float>& into = isFirst ? m_output : m_scratch;
        if (!isFirst)
            std::fill_n(m_scratch.begin(), samples, 0.0F);
        AudioBuffer buffer{m_channels, static_cast<std::uint32_t>(samples * sizeof(float)), into.data()};
        AudioBufferList list{1, &buffer};
        client.proc(m_device, &now, nullptr, &none, &list, &played, client.clientData);
        if (!isFirst)
            for (std::size_t sample = 0; sample < samples; ++sample)
                m_output[sample] += m_scratch[sample];
        isFirst = false;
    }
    m_position += m_cycleFrames;
    return {m_output.data(), samples};
}

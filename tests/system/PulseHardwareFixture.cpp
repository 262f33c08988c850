#include "system/PulseHardwareFixture.h"

#include "support/Sanitizer.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>
#include <fstream>
#include <thread>

namespace {
HostTime monotonicTime() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<HostTime>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}
} // namespace

CycleRecorder::CycleRecorder(std::uint32_t channels, std::size_t capacityFrames)
    : m_channels(channels), m_samples(capacityFrames * channels), m_cycles(capacityFrames / 14 + 1) {}

OSStatus CycleRecorder::proc(AudioDeviceID, const AudioTimeStamp*, const AudioBufferList* inputData,
                             const AudioTimeStamp* inputTime, AudioBufferList* outputData,
                             const AudioTimeStamp*, void* recorder) {
    auto& self = *static_cast<CycleRecorder*>(recorder);
    if (outputData != nullptr)
        self.m_hadOutput = true;
    if (inputData == nullptr || inputData->mNumberBuffers != 1)
        return audioHardwareUnspecifiedError;
    const AudioBuffer& buffer = inputData->mBuffers[0];
    const std::size_t frames = buffer.mDataByteSize / sizeof(float) / buffer.mNumberChannels;
    const std::size_t at = self.m_frames;
    if (buffer.mNumberChannels != self.m_channels || (at + frames) * self.m_channels > self.m_samples.size()) {
        self.m_overflowed = true;
        return audioHardwareUnspecifiedError;
    }
    std::memcpy(&self.m_samples[at * self.m_channels], buffer.mData, buffer.mDataByteSize);
    self.m_cycles[self.m_cycleCount] = {static_cast<std::uint32_t>(frames), monotonicTime(), *inputTime};
    self.m_cycleCount = self.m_cycleCount + 1;
    self.m_frames = at + frames;
    return audioHardwareNoError;
}

std::size_t CycleRecorder::bursts(std::size_t first) const {
    std::size_t bursts = 0;
    for (std::size_t index = first; index < m_cycleCount; ++index)
        if (index == first || m_cycles[index].arrival - m_cycles[index - 1].arrival > 4'000'000)
            ++bursts;
    return bursts;
}

void EventLog::add(const AudioHardwareEvent& event) {
    const std::lock_guard guard(m_mutex);
    m_events.push_back(event);
}

std::size_t EventLog::count(AudioHardwareEvent::Kind kind) const {
    const std::lock_guard guard(m_mutex);
    std::size_t count = 0;
    for (const AudioHardwareEvent& event : m_events)
        count += event.kind == kind ? 1 : 0;
    return count;
}

std::uint64_t EventLog::framesOfHoles() const {
    const std::lock_guard guard(m_mutex);
    std::uint64_t frames = 0;
    for (const AudioHardwareEvent& event : m_events)
        frames += event.kind == AudioHardwareEvent::Kind::hole ? event.frames : 0;
    return frames;
}

void PulseHardwareFixture::SetUp() {
    if (const std::string reason = PrivatePulseServer::whyNot(); !reason.empty())
        GTEST_SKIP() << reason;
    m_server = std::make_unique<PrivatePulseServer>();
    makeHardware();
}

void PulseHardwareFixture::TearDown() {
    m_hardware.reset();
    m_server.reset();
}

void PulseHardwareFixture::makeHardware() {
    m_hardware =
        std::make_unique<PulseHardware>(m_clock, PulseOptions{"Velmoratide tests", m_server->address()});
    m_hardware->setListener([this](const AudioHardwareEvent& event) { m_events.add(event); });
}

AudioDeviceID PulseHardwareFixture::deviceWithUID(const std::string& uid) {
    for (const AudioDeviceID device : m_hardware->devices())
        if (m_hardware->deviceUID(device) == uid)
            return device;
    return 0;
}

AudioDeviceID PulseHardwareFixture::awaitDevice(const std::string& uid) {
    AudioDeviceID device = 0;
    await(5.0, [&] { return (device = deviceWithUID(uid)) != 0; });
    return device;
}

OSStatus PulseHardwareFixture::record(AudioDeviceID device, CycleRecorder& recorder) {
    const OSStatus added = m_hardware->addIOProc(device, CycleRecorder::proc, &recorder);
    return added != audioHardwareNoError ? added : m_hardware->startIOProc(device, CycleRecorder::proc);
}

void PulseHardwareFixture::stopRecording(AudioDeviceID device) {
    EXPECT_EQ(m_hardware->stopIOProc(device, CycleRecorder::proc), audioHardwareNoError);
    EXPECT_EQ(m_hardware->removeIOProc(device, CycleRecorder::proc), audioHardwareNoError);
}

bool PulseHardwareFixture::await(double seconds, const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(patience(seconds));
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        pause(0.01);
    }
    return true;
}

void PulseHardwareFixture::pause(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

std::string PulseHardwareFixture::writeCounter(const std::filesystem::path& folder, std::size_t frames) {
    std::vector<float> samples;
    samples.reserve(frames * 2);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        samples.push_back(counterValue(frame % counterBase));
        samples.push_back(counterValue(frame / counterBase % counterBase));
    }
    const std::string path = folder / "counter.raw";
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(samples.data()),
               static_cast<std::streamsize>(samples.size() * sizeof(float)));
    return path;
}

std::unique_ptr<ChildProcess> PulseHardwareFixture::play(const std::string& rawFile) const {
    // A player of low latency would raise every client's wake-ups.
    return std::make_unique<ChildProcess>(
        std::vector<std::string>{"paplay", "--raw", "--format=float32le", "--rate=44100", "--channels=2",
                                 "--device=duty", "--latency-msec=2000", rawFile},
        m_server->environment(), m_server->folder() / "paplay.log");
}

CounterRun findCounter(const CycleRecorder& recorder) {
    CounterRun run;
    const std::size_t frames = recorder.frames();
    while (run.begin < frames && recorder.sample(run.begin, 0) == 0.0F)
        ++run.begin;
    if (run.begin == frames)
        return run;
    run.found = true;
    const auto digit = [&](std::uint32_t channel) {
        return static_cast<std::uint64_t>(std::lround(recorder.sample(run.begin, channel) * counterBase - 0.5));
    };
    run.firstCount = digit(1) * counterBase + digit(0);
    for (std::size_t frame = run.begin; frame < frames; ++frame, ++run.frames) {
        const std::uint64_t count = run.firstCount + run.frames;
        if (recorder.sample(frame, 0) != counterValue(count % counterBase) ||
            recorder.sample(frame, 1) != counterValue(count / counterBase % counterBase))
            break;
    }
    return run;
}

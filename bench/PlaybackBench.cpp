// Measures the time from the press of the play button to the first sound at the output's monitor.
#include "BenchFolder.h"
#include "Figures.h"
#include "system/AudibleDesk.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <vector>

namespace {
constexpr double longest = 0.1; // seconds
constexpr int presses = 15;

HostTime monotonicTime() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<HostTime>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

/// Listens to the monitor; says when a sound came after a silence.
struct Ear {
    std::atomic<HostTime> heard{0}; ///< 0: nothing since it was cleared

    static OSStatus proc(AudioDeviceID, const AudioTimeStamp*, const AudioBufferList* inputData,
                         const AudioTimeStamp*, AudioBufferList*, const AudioTimeStamp*, void* ear) {
        auto& self = *static_cast<Ear*>(ear);
        if (inputData == nullptr || inputData->mNumberBuffers == 0)
            return audioHardwareNoError;
        const AudioBuffer& buffer = inputData->mBuffers[0];
        const auto* const samples = static_cast<const float*>(buffer.mData);
        const bool isSilent = std::all_of(samples, samples + buffer.mDataByteSize / sizeof(float),
                                          [](float sample) { return sample == 0.0F; });
        self.lastSilent = isSilent;
        if (!isSilent && self.heard == 0)
            self.heard = monotonicTime();
        return audioHardwareNoError;
    }
    std::atomic<bool> lastSilent{true};
};

template <typename Condition>
bool attendUntil(Condition done) {
    const HostTime end = monotonicTime() + 10'000'000'000;
    while (!done()) {
        if (monotonicTime() > end)
            return false;
        AudibleDesk::attend();
    }
    return true;
}

/// Seconds; negative when nothing was heard.
double press(AudibleDesk& desk, Ear& ear) {
    if (!attendUntil([&] { return ear.lastSilent.load(); }))
        return -1.0;
    ear.heard = 0;
    const HostTime pressed = monotonicTime();
    desk.player().playButton().press(true);
    const bool heard = attendUntil([&] { return ear.heard != 0; });
    desk.player().playButton().press(false);
    return heard ? static_cast<double>(ear.heard - pressed) * 1e-9 : -1.0;
}
} // namespace

int main() {
    if (const std::string reason = PrivatePulseServer::whyNot(); !reason.empty()) {
        std::printf("SKIPPED: %s\n", reason.c_str());
        return 0;
    }
    const BenchFolder folder;
    const PrivatePulseServer server;
    AudibleDesk desk(server, folder.path());
    const std::vector<std::int16_t> samples(std::size_t{44100} * 2 * 60, 1000);
    const std::string path = desk.write("_Velmoratide_20260302_090000~090100.aif", 44100.0, 2, samples);
    Ear ear;
    SystemClock clock;
    PulseHardware monitor(clock, PulseOptions{"Ear", server.address()});
    AudioDeviceID source = 0;
    for (const AudioDeviceID device : monitor.devices())
        if (monitor.deviceUID(device) == "duty.monitor")
            source = device;
    monitor.setLatencyNeed(source, AudioLatencyNeed::monitoring); // what the ear adds counts too
    if (path.empty() || source == 0 || monitor.addIOProc(source, Ear::proc, &ear) != audioHardwareNoError ||
        monitor.startIOProc(source, Ear::proc) != audioHardwareNoError) {
        std::fprintf(stderr, "PlaybackBench: no file to play, or no monitor to hear it at\n");
        return 1;
    }
    desk.player().startPlayback(path);
    std::vector<double> times;
    for (int number = 0; number < presses; ++number)
        times.push_back(press(desk, ear));
    monitor.removeIOProc(source, Ear::proc);
    std::ranges::sort(times);
    if (times.front() < 0.0) {
        std::fprintf(stderr, "PlaybackBench: nothing was heard\n%s", desk.faults().c_str());
        return 1;
    }
    const double usual = times[times.size() / 2];
    std::printf("first sound after %.0f to %.0f ms\n", times.front() * 1e3, times.back() * 1e3);
    reportFigure("first sound after the press, at the output's monitor", nanoseconds(usual), "100 ms",
                 usual / longest, Aim::atMost, 1.0);
    return 0;
}

// Measures how much faster than time a rehearsed recording runs, on one core.
#include "app/VmControler.h"
#include "CpuSeconds.h"
#include "Figures.h"
#include "recorder/VmRecorder.h"
#include "rehearsal/RehearsalDesk.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <sched.h>

namespace {
const CalendarDate morning{.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 30};

void stayOnThisCore() {
    cpu_set_t core;
    CPU_ZERO(&core);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &core);
    if (sched_setaffinity(0, sizeof core, &core) != 0)
        std::fprintf(stderr, "RehearsalBench: could not stay on one core\n");
}

std::uintmax_t recordedBytes(const std::string& folder) {
    std::uintmax_t bytes = 0;
    for (const auto& file : std::filesystem::directory_iterator(folder))
        bytes += file.file_size();
    return bytes;
}

/// Records stereo at the full rate for `seconds` of virtual time.
bool rehearse(double rate, double seconds, double aim) {
    std::string folder = std::filesystem::temp_directory_path() / "velmoratide-bench-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr)
        return false;
    SimulatedDevice input;
    input.name = input.uid = "input";
    input.rates = {rate};
    input.signal = {{.kind = SimulatedSegment::Kind::counter}};
    double cpu = 0.0;
    double wall = 0.0;
    {
        RehearsalDesk desk(folder, QTimeZone::utc(), morning, {input},
                           {{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}});
        desk.launch();
        desk.controler->recorder().recordButton().press(true);
        desk.runFor(10.0);
        const double cpuBegin = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
        const auto begin = std::chrono::steady_clock::now();
        desk.runFor(seconds);
        cpu = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - cpuBegin;
        wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        desk.terminate();
    }
    const bool whole = static_cast<double>(recordedBytes(folder + "/record")) >= seconds * rate * 4.0;
    std::filesystem::remove_all(folder);
    if (!whole) {
        std::fprintf(stderr, "RehearsalBench: not everything was recorded\n");
        return false;
    }
    std::printf("rehearsal at %g Hz: %g s in %.3f s of CPU, %.3f s on the clock\n", rate, seconds, cpu, wall);
    char name[64];
    std::snprintf(name, sizeof name, "rehearsal speed, stereo at %g Hz", rate);
    char measured[64];
    std::snprintf(measured, sizeof measured, "%g s in %.2f s", seconds, cpu);
    reportFigure(name, measured, "real time", seconds / cpu, Aim::atLeast, aim);
    return true;
}
} // namespace

int main() {
    stayOnThisCore();
    return rehearse(44100.0, 1200.0, 500.0) && rehearse(8000.0, 4800.0, 2000.0) ? 0 : 1;
}

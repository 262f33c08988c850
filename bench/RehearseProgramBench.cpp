// Measures how much faster than time the program velmoratide-rehearse is: all it does, from start to end.
#include "Figures.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>

namespace {
double childrensCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// An always recording of noise at the full rate, in stereo, over an hour boundary. Noise moves the level, so
/// that all logs are at work.
void writeScenario(const std::string& path, double rate, double seconds) {
    std::ofstream(path) << R"({"timeZone": "Europe/Berlin", "hardware": [{"name": "In", "uid": "in",
        "direction": "input", "channels": 2, "rates": [)"
                        << rate << R"(], "signal": [{"at": 0, "kind": "noise", "level": 0.5, "seed": 7}]}],
        "settings": {"SamplingRateNumber": 2, "ChannelsNumber": 2},
        "launches": [{"start": "2026-03-02 09:50:00", "events": [
            {"at": 0, "do": "press", "button": "record", "on": true},
            {"at": )" << seconds
                        << R"(, "do": "press", "button": "record", "on": false}]}]})";
}

bool rehearse(double rate, double seconds, double aim) {
    std::string folder = std::filesystem::temp_directory_path() / "velmoratide-bench-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr)
        return false;
    writeScenario(folder + "/scenario.json", rate, seconds);
    const std::string command = VELMORATIDE_REHEARSE " '" + folder + "/scenario.json' --out '" + folder +
                                "/out' >'" + folder + "/totals'";
    const double before = childrensCpuSeconds();
    const int status = std::system(command.c_str());
    const double cpu = childrensCpuSeconds() - before;
    std::string totals;
    std::getline(std::ifstream(folder + "/totals"), totals);
    std::filesystem::remove_all(folder);
    if (status != 0 || totals.find("\"filesMade\":") == std::string::npos ||
        totals.find("\"framesLost\":0}") == std::string::npos) {
        std::fprintf(stderr, "RehearseProgramBench: not everything was recorded\n");
        return false;
    }
    std::printf("%s\n", totals.c_str());
    char name[80];
    std::snprintf(name, sizeof name, "velmoratide-rehearse, stereo at %g Hz", rate);
    char measured[64];
    std::snprintf(measured, sizeof measured, "%g s in %.2f s", seconds, cpu);
    reportFigure(name, measured, "real time", seconds / cpu, Aim::atLeast, aim);
    return true;
}
} // namespace

int main() {
    return rehearse(44100.0, 1200.0, 500.0) && rehearse(8000.0, 4200.0, 2000.0) ? 0 : 1;
}

// system/ProcessFigures.h — what a running process holds.
#pragma once
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <sys/types.h>
#include <unistd.h>

struct ProcessFigures {
    long residentKilobytes = 0;
    int descriptors = 0;
    int threads = 0;

    /// Nothing when it has ended.
    static std::optional<ProcessFigures> of(pid_t process) {
        const std::string folder = "/proc/" + std::to_string(process);
        ProcessFigures figures;
        std::ifstream status(folder + "/status");
        for (std::string key, rest; status >> key && std::getline(status, rest);) {
            if (key == "VmRSS:")
                figures.residentKilobytes = std::stol(rest);
            else if (key == "Threads:")
                figures.threads = std::stoi(rest);
        }
        std::error_code gone;
        for (const auto& entry : std::filesystem::directory_iterator(folder + "/fd", gone))
            figures.descriptors += entry.path().empty() ? 0 : 1;
        return figures.threads > 0 && !gone ? std::optional(figures) : std::nullopt;
    }
    /// The child of this process that runs `program`; -1 when there is none.
    static pid_t childRunning(const std::string& program) {
        for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
            std::error_code other;
            if (std::filesystem::read_symlink(entry.path() / "exe", other) != program || other)
                continue;
            std::ifstream status(entry.path() / "status");
            for (std::string key, rest; status >> key && std::getline(status, rest);)
                if (key == "PPid:" && std::stoi(rest) == getpid())
                    return std::stoi(entry.path().filename().string());
        }
        return -1;
    }
};

#include "rehearsal/ProcessTree.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace {
struct Process {
    pid_t parent = 0;
    std::uint64_t ticks = 0;
};

/// Reads "pid (name) state ppid ...": the name may hold anything, even ")".
bool readStatus(const std::string& path, Process& process) {
    std::ifstream file(path);
    std::string text;
    if (!std::getline(file, text) || text.rfind(')') == std::string::npos)
        return false;
    std::istringstream rest(text.substr(text.rfind(')') + 1));
    std::string word;
    constexpr int parentField = 4;
    constexpr int firstTicks = 14; // user, system, and the same of children that were waited for
    constexpr int lastTicks = 17;
    for (int field = 3; field <= lastTicks && rest >> word; ++field) {
        if (field == parentField)
            process.parent = static_cast<pid_t>(std::strtol(word.c_str(), nullptr, 10));
        if (field >= firstTicks)
            process.ticks += std::strtoull(word.c_str(), nullptr, 10);
    }
    return true;
}
} // namespace

std::uint64_t ProcessTree::usedTicks(pid_t root) {
    std::map<pid_t, Process> processes;
    std::error_code fault; // processes come and go while they are listed
    for (std::filesystem::directory_iterator entry("/proc", fault), end; !fault && entry != end;
         entry.increment(fault)) {
        const std::string name = entry->path().filename();
        Process process;
        if (name.find_first_not_of("0123456789") == std::string::npos &&
            readStatus(entry->path() / "stat", process))
            processes[static_cast<pid_t>(std::strtol(name.c_str(), nullptr, 10))] = process;
    }
    std::uint64_t ticks = 0;
    for (const auto& [identity, process] : processes) {
        pid_t at = identity;
        for (std::size_t steps = 0; at != root && at > 0 && steps <= processes.size(); ++steps) {
            const auto found = processes.find(at);
            at = found == processes.end() ? 0 : found->second.parent;
        }
        if (at == root)
            ticks += process.ticks;
    }
    return ticks;
}

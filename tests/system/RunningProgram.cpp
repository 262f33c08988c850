#include "system/RunningProgram.h"

#include <algorithm>
#include <fstream>
#include <iterator>

RunningProgram::RunningProgram(std::vector<std::string> arguments, ChildProcess::Environment environment) {
    const auto has = [&](const char* name) {
        return std::find(arguments.begin(), arguments.end(), name) != arguments.end();
    };
    std::vector<std::string> command = {
        "sh", "-c", "exec \"$0\" \"$@\" >'" + m_folder.path() + "/out' 2>'" + m_folder.path() + "/err'",
        VELMORATIDE_PROGRAM};
    if (!has("--folder"))
        command.insert(command.end(), {"--folder", recordFolder()});
    if (!has("--settings"))
        command.insert(command.end(), {"--settings", settingsPath()});
    command.insert(command.end(), arguments.begin(), arguments.end());
    environment.emplace("LC_ALL", "C.UTF-8");
    environment.emplace("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + m_folder.path() + "/no-bus");
    m_process = std::make_unique<ChildProcess>(command, environment);
}

std::vector<std::string> RunningProgram::lines(const std::string& name) const {
    std::ifstream file(m_folder.path() + "/" + name);
    std::vector<std::string> found;
    for (std::string line; std::getline(file, line);)
        found.push_back(line);
    return found;
}

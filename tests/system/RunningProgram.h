// system/RunningProgram.h — the built program, run by a test.
#pragma once
#include "support/TemporaryFolder.h"
#include "system/ChildProcess.h"

#include <memory>
#include <string>
#include <vector>

/// The program with settings and a record folder of its own, unless its arguments say otherwise, and without a
/// system bus, unless its environment has one: tests leave the machine's sleep alone.
class RunningProgram {
public:
    explicit RunningProgram(std::vector<std::string> arguments, ChildProcess::Environment environment = {});

    /// Waits for its end; returns its exit status.
    int wait() { return m_process->wait(); }
    ChildProcess& process() { return *m_process; }
    std::string recordFolder() const { return m_folder.path() + "/record"; }
    std::string settingsPath() const { return m_folder.path() + "/settings.json"; }
    std::vector<std::string> outputLines() const { return lines("out"); }
    std::vector<std::string> errorLines() const { return lines("err"); }

private:
    std::vector<std::string> lines(const std::string& name) const;

    TemporaryFolder m_folder;
    std::unique_ptr<ChildProcess> m_process;
};

// app/AuthorizationTool.h — hands a granted administrator right and a command to the helper program.
#pragma once
#include "base/AdministratorRight.h"

#include <array>
#include <cstdint>
#include <string>

class SystemLog;

/// The helper is told what to do through its standard input: the right's external form (32 bytes), then one
/// command record. It gets its own path as its only argument, and an empty environment. Main thread only.
class AuthorizationTool {
public:
    /// Native byte order. 0: the command (signed, 4 bytes); 4: a path that ends with a zero byte (1024 bytes,
    /// of which those behind the zero byte mean nothing).
    using CommandRecord = std::array<std::uint8_t, 1028>;
    static constexpr std::int32_t command = 1;
    static CommandRecord commandRecord();

    /// `path` of the helper may be empty, or name nothing that can be run: nothing is handed over then.
    AuthorizationTool(std::string path, SystemLog& log) : m_path(std::move(path)), m_log(log) {}

    /// Runs the helper and waits until it has exited, ten seconds at most. True when it took everything and
    /// exited with 0; what goes wrong otherwise is a line in the system log.
    bool pass(const AdministratorRight::ExternalForm& right) const;

private:
    bool complain(const std::string& what) const;

    const std::string m_path;
    SystemLog& m_log;
};

// system/ChildProcess.h — a program run by a test, ended with it.
#pragma once
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

/// Dies with this object, and with the test's process however that ends.
class ChildProcess {
public:
    using Environment = std::map<std::string, std::string>; ///< added to the test's own

    /// `arguments` begin with the program, looked up in PATH. Standard output and error go to `outputPath`.
    ChildProcess(const std::vector<std::string>& arguments, const Environment& environment,
                 const std::string& outputPath = "/dev/null");
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void signal(int number) const;
    /// Waits for its end; returns its exit status, or -1 when it ended by a signal.
    int wait();
    bool isRunning();
    /// Kills it and waits until it is gone.
    void kill();

    static bool isInstalled(const std::string& program);

private:
    pid_t m_pid = -1;
    int m_status = -1;
};

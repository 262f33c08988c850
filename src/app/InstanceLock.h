// app/InstanceLock.h — one recorder for each settings file and each record folder.
#pragma once
#include <string>

/// Holds an advisory lock of the system as long as it lives; the system takes it back however the process ends.
class InstanceLock {
public:
    enum class Outcome { taken, heldByAnother, impossible };

    InstanceLock() = default;
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    /// Locks an existing folder. Where the file system knows no locks it is `impossible`.
    Outcome lockFolder(const std::string& folder);
    /// Locks a file of its own at `path`, which is made if need be and stays.
    Outcome lockFile(const std::string& path);
    /// The errno for which the last lock was not taken.
    int error() const { return m_error; }
    /// Whether the lock lies on what is at `path` now, on whatever way it is reached.
    bool isOn(const std::string& path) const;

private:
    Outcome lock(int descriptor);

    int m_descriptor = -1;
    int m_error = 0;
};

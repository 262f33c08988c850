// system/PrivateDisk.h — a small file system of a test's own, with the faults of real ones.
#pragma once
#include "support/TemporaryFolder.h"

#include <string>
#include <sys/types.h>

/// Mounted where only this process and its children see it, so nothing stays behind however the test ends. The
/// first one must be made while the process has one thread.
class PrivateDisk {
public:
    enum class Kind { ext4, memory };

    /// Empty where this process can mount file systems, else the reason why not.
    static std::string whyNot();

    PrivateDisk(Kind kind, int megabytes);
    ~PrivateDisk();
    PrivateDisk(const PrivateDisk&) = delete;
    PrivateDisk& operator=(const PrivateDisk&) = delete;

    /// Of the folder where it is mounted.
    const std::string& path() const { return m_path; }

    /// Stands still for `seconds` from now on; returns at once. It goes on however this process ends.
    bool freezeFor(double seconds);
    void awaitThaw();
    /// What is not on the disk by now never gets there; everything fails until it is mounted anew.
    bool cutPower() const;
    /// The file system finds itself damaged and becomes read-only.
    bool failForGood() const;
    bool unmount();
    /// Takes it away from under whoever has a file of it open; what is mounted next is what was on it then.
    bool pullOut();
    bool mount();
    bool remount(const std::string& options) const;
    /// Fills it to the last byte with a file named `name`.
    void fill(const std::string& name) const;

private:
    std::string device() const;

    const Kind m_kind;
    const int m_megabytes;
    TemporaryFolder m_folder;
    std::string m_path;
    std::string m_image;
    pid_t m_freezer = -1;
    bool m_mounted = false;
};

// faults/NthFaultVolume.h — a volume on which the n-th operation of a kind fails.
#pragma once
#include "base/Clock.h"
#include "storage/VolumeLayer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <memory>
#include <optional>
#include <string>

/// Real files of another volume. Counts what is done to them, and lets one of it fail: once, for some seconds
/// or for good. A failing write has written half of its bytes.
class NthFaultVolume final : public VolumeLayer {
public:
    enum Operation {
        creating,
        openingForReading,
        openingForUpdating,
        writing,
        truncating,
        synchronizing,
        closing,
        renaming,
        linking,
        removing,
        synchronizingFolder,
        listing,
        operations
    };
    static constexpr const char* names[operations] = {
        "create", "openForReading", "openForUpdating",   "write", "truncate", "synchronize", "close", "rename",
        "link",   "remove",         "synchronizeFolder", "list"};

    struct Fault {
        Operation operation = operations;
        int number = 0;       ///< of the first one that fails, from 1
        double seconds = 0.0; ///< how long all others fail after it; 0: it alone
    };
    static constexpr double forEver = 1e9;

    NthFaultVolume(Volume& files, const Clock& clock, const Fault& fault)
        : VolumeLayer(files), m_clock(clock), m_fault(fault) {}

    int count(Operation operation) const { return m_counts[operation]; }
    /// When the fault first struck; nothing if it did not.
    std::optional<HostTime> struck() const {
        const HostTime when = m_struck;
        return when < 0 ? std::nullopt : std::optional(when);
    }
    /// Counts an operation; true when it is to fail.
    bool strikes(Operation operation) {
        const int number = ++m_counts[operation];
        if (operation != m_fault.operation || number < m_fault.number)
            return false;
        const HostTime now = m_clock.hostTime();
        if (m_struck < 0)
            m_struck = now;
        return number == m_fault.number ||
               (m_fault.seconds > 0.0 && now - m_struck < hostTimeFromSeconds(std::min(m_fault.seconds, 1e8)));
    }

    std::unique_ptr<VolumeFile> create(const std::string& path) override;
    std::unique_ptr<VolumeFile> openForReading(const std::string& path) override;
    std::unique_ptr<VolumeFile> openForUpdating(const std::string& path) override;
    int renameWithoutReplacing(const std::string& from, const std::string& to) override {
        return strikes(renaming) ? EIO : m_files.renameWithoutReplacing(from, to);
    }
    int makeLink(const std::string& existing, const std::string& link) override {
        return strikes(linking) ? EIO : m_files.makeLink(existing, link);
    }
    int remove(const std::string& path) override { return strikes(removing) ? EIO : m_files.remove(path); }
    int synchronizeFolder(const std::string& folder) override {
        return strikes(synchronizingFolder) ? EIO : m_files.synchronizeFolder(folder);
    }
    std::vector<VolumeEntry> list(const std::string& folder) override;

private:
    class File;
    std::unique_ptr<VolumeFile> wrapped(std::unique_ptr<VolumeFile> file);

    const Clock& m_clock;
    Fault m_fault;
    std::array<std::atomic<int>, operations> m_counts{};
    std::atomic<HostTime> m_struck{-1};
};

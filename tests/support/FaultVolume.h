// support/FaultVolume.h — a volume on which writes fail when told to.
#pragma once
#include "storage/VolumeLayer.h"

#include <limits>

/// Real files of another volume. Faults hold for all files opened through it, also those open already.
class FaultVolume final : public VolumeLayer {
public:
    using VolumeLayer::VolumeLayer;

    /// Room for this many more bytes: a write that needs more is cut there and fails with ENOSPC.
    void setRoom(std::int64_t bytes) { m_room = bytes; }
    /// The n-th write from now on (1 is the next) fails with `error`, having written nothing.
    void failWrite(int number, int error) {
        m_failingWrite = number;
        m_writeError = error;
    }
    void failSynchronizing(int error) { m_synchronizeError = error; }
    void failReading(bool failing) { m_readFails = failing; }
    void failOpening(bool failing) { m_openFails = failing; }
    /// Linking fails with `error` from now on, as EXDEV between two volumes.
    void failLinking(int error) { m_linkError = error; }
    int writes() const { return m_writes; }
    int synchronizations() const { return m_synchronizations; }

    std::unique_ptr<VolumeFile> create(const std::string& path) override;
    std::unique_ptr<VolumeFile> openForReading(const std::string& path) override;
    std::unique_ptr<VolumeFile> openForUpdating(const std::string& path) override;
    int makeLink(const std::string& existing, const std::string& link) override {
        return m_linkError != 0 ? m_linkError : m_files.makeLink(existing, link);
    }

private:
    class File;
    std::unique_ptr<VolumeFile> wrapped(std::unique_ptr<VolumeFile> file);

    std::int64_t m_room = std::numeric_limits<std::int64_t>::max();
    int m_failingWrite = 0;
    int m_writeError = 0;
    int m_synchronizeError = 0;
    int m_linkError = 0;
    bool m_readFails = false;
    bool m_openFails = false;
    int m_writes = 0;
    int m_synchronizations = 0;
};

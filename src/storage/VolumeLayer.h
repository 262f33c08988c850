// storage/VolumeLayer.h — what lies on another volume and changes some of what it does.
#pragma once
#include "storage/Volume.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// An open file that does what another one does, but for what a subclass does otherwise.
class VolumeFileLayer : public VolumeFile {
public:
    explicit VolumeFileLayer(std::unique_ptr<VolumeFile> file) : m_file(std::move(file)) {}

    std::int64_t readAt(std::int64_t offset, std::span<std::byte> into) override {
        return m_file->readAt(offset, into);
    }
    int writeAt(std::int64_t offset, std::span<const std::byte> bytes) override {
        return m_file->writeAt(offset, bytes);
    }
    int truncate(std::int64_t size) override { return m_file->truncate(size); }
    int synchronize() override { return m_file->synchronize(); }
    std::int64_t size() override { return m_file->size(); }
    bool isAt(const std::string& path) override { return m_file->isAt(path); }
    int close() override { return m_file->close(); }

protected:
    const std::unique_ptr<VolumeFile> m_file; ///< the other one
};

/// A volume that does what another one does, but for what a subclass does otherwise. The other one outlives it.
class VolumeLayer : public Volume {
public:
    explicit VolumeLayer(Volume& files) : m_files(files) {}

    std::unique_ptr<VolumeFile> create(const std::string& path) override { return m_files.create(path); }
    std::unique_ptr<VolumeFile> openForReading(const std::string& path) override {
        return m_files.openForReading(path);
    }
    std::unique_ptr<VolumeFile> openForUpdating(const std::string& path) override {
        return m_files.openForUpdating(path);
    }
    bool exists(const std::string& path) override { return m_files.exists(path); }
    std::optional<std::int64_t> fileSize(const std::string& path) override { return m_files.fileSize(path); }
    bool isFolder(const std::string& path) override { return m_files.isFolder(path); }
    bool isSameFile(const std::string& path, const std::string& other) override {
        return m_files.isSameFile(path, other);
    }
    bool makeFolder(const std::string& path) override { return m_files.makeFolder(path); }
    int renameWithoutReplacing(const std::string& from, const std::string& to) override {
        return m_files.renameWithoutReplacing(from, to);
    }
    int makeLink(const std::string& existing, const std::string& link) override {
        return m_files.makeLink(existing, link);
    }
    int remove(const std::string& path) override { return m_files.remove(path); }
    int synchronizeFolder(const std::string& folder) override { return m_files.synchronizeFolder(folder); }
    std::vector<VolumeEntry> list(const std::string& folder) override { return m_files.list(folder); }
    std::vector<std::optional<FileStatus>> look(const std::string& folder,
                                                const std::vector<std::string>& names) override {
        return m_files.look(folder, names);
    }
    bool isLocked(const std::string& path) override { return m_files.isLocked(path); }
    int setLocked(const std::string& path, bool locked) override { return m_files.setLocked(path, locked); }
    std::optional<double> freeBytes(const std::string& folder) override { return m_files.freeBytes(folder); }

protected:
    Volume& m_files; ///< the other one
};

// storage/SpaceVolume.h — a volume whose free space is told, and which removes only what it is let.
#pragma once
#include "storage/Volume.h"

#include <cerrno>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// Real files of another volume. Removing gives free bytes back.
class SpaceVolume final : public Volume {
public:
    explicit SpaceVolume(Volume& files) : m_files(files) {}

    std::optional<double> free = 1e15;     ///< bytes
    double freedByRemoving = 0.0;          ///< bytes per file removed
    std::map<std::string, int> refused;    ///< errno by full path
    std::set<std::string> immortal;        ///< full paths that removing reports gone but leaves
    std::vector<std::string> strangeNames; ///< listed as files beside those that are there
    std::vector<std::string> removed;      ///< full paths
    std::function<void()> beforeRemoving;  ///< called before each file that is removed

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
        const auto found = refused.find(from);
        return found != refused.end() ? found->second : m_files.renameWithoutReplacing(from, to);
    }
    int makeLink(const std::string& existing, const std::string& link) override {
        return m_files.makeLink(existing, link);
    }
    int remove(const std::string& path) override {
        if (const auto found = refused.find(path); found != refused.end())
            return found->second;
        if (immortal.contains(path))
            return 0;
        if (beforeRemoving)
            beforeRemoving();
        const int error = m_files.remove(path);
        if (error == 0) {
            removed.push_back(path);
            if (free)
                *free += freedByRemoving;
        }
        return error;
    }
    int synchronizeFolder(const std::string& folder) override { return m_files.synchronizeFolder(folder); }
    std::vector<VolumeEntry> list(const std::string& folder) override {
        std::vector<VolumeEntry> entries = m_files.list(folder);
        const int error = errno;
        for (const std::string& name : strangeNames)
            entries.push_back({.name = name});
        errno = error;
        return entries;
    }
    std::vector<std::optional<FileStatus>> look(const std::string& folder,
                                                const std::vector<std::string>& names) override {
        return m_files.look(folder, names);
    }
    bool isLocked(const std::string& path) override { return m_files.isLocked(path); }
    int setLocked(const std::string& path, bool locked) override { return m_files.setLocked(path, locked); }
    std::optional<double> freeBytes(const std::string&) override { return free; }

private:
    Volume& m_files;
};

// storage/SpaceVolume.h — a volume whose free space is told, and which removes only what it is let.
#pragma once
#include "storage/VolumeLayer.h"

#include <cerrno>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// Real files of another volume. Removing gives free bytes back.
class SpaceVolume final : public VolumeLayer {
public:
    using VolumeLayer::VolumeLayer;

    std::optional<double> free = 1e15;     ///< bytes
    double freedByRemoving = 0.0;          ///< bytes per file removed
    std::map<std::string, int> refused;    ///< errno by full path
    std::set<std::string> immortal;        ///< full paths that removing reports gone but leaves
    std::vector<std::string> strangeNames; ///< listed as files beside those that are there
    std::vector<std::string> removed;      ///< full paths
    std::function<void()> beforeRemoving;  ///< called before each file that is removed

    int renameWithoutReplacing(const std::string& from, const std::string& to) override {
        const auto found = refused.find(from);
        return found != refused.end() ? found->second : m_files.renameWithoutReplacing(from, to);
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
    std::vector<VolumeEntry> list(const std::string& folder) override {
        std::vector<VolumeEntry> entries = m_files.list(folder);
        const int error = errno;
        for (const std::string& name : strangeNames)
            entries.push_back({.name = name});
        errno = error;
        return entries;
    }
    std::optional<double> freeBytes(const std::string&) override { return free; }
};

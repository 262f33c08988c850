// rehearsal/ManualFolderWatch.h — a folder watch that says nothing of its own accord.
#pragma once
#include "base/FolderWatch.h"

#include <string>
#include <utility>

/// Main thread only.
class ManualFolderWatch final : public FolderWatch {
public:
    void watch(const std::string& folder, std::function<void()> changed) override {
        m_folder = folder;
        m_changed = std::move(changed);
    }
    void end() override {
        m_folder.clear();
        m_changed = nullptr;
    }
    /// Says that the folder has changed, if one is watched.
    void tell() const {
        if (m_changed)
            m_changed();
    }
    const std::string& folder() const { return m_folder; } ///< empty when none is watched

private:
    std::string m_folder;
    std::function<void()> m_changed;
};

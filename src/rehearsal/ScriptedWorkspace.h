// rehearsal/ScriptedWorkspace.h — a desktop that notes what it was asked to open.
#pragma once
#include "base/Workspace.h"

#include <vector>

/// Main thread only.
class ScriptedWorkspace final : public Workspace {
public:
    void setWorking(bool working) { m_working = working; }
    bool openFile(const std::string& path) override {
        m_opened.push_back(path);
        return m_working;
    }
    const std::vector<std::string>& opened() const { return m_opened; }

private:
    bool m_working = true;
    std::vector<std::string> m_opened;
};

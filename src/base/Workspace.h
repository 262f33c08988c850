// base/Workspace.h — other programs that open files and pages.
#pragma once
#include <string>

class Workspace {
public:
    virtual ~Workspace() = default;
    /// Main thread. Opens a file with the desktop's usual program for it; does not wait for that program. False
    /// when none could be started.
    virtual bool openFile(const std::string& path) = 0;
};

/// Where there is no desktop, nothing can be opened.
class NoWorkspace final : public Workspace {
public:
    bool openFile(const std::string&) override { return false; }
};

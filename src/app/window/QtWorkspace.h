// app/window/QtWorkspace.h — opens files with the desktop's programs.
#pragma once
#include "base/Workspace.h"

/// Main thread only.
class QtWorkspace final : public Workspace {
public:
    bool openFile(const std::string& path) override;
};

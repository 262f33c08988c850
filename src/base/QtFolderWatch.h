// base/QtFolderWatch.h — a folder watch in the main thread's Qt event loop.
#pragma once
#include "base/FolderWatch.h"

#include <QFileSystemWatcher>

class QtFolderWatch final : public FolderWatch {
public:
    QtFolderWatch();
    void watch(const std::string& folder, std::function<void()> changed) override;
    void end() override;

private:
    QFileSystemWatcher m_watcher;
    std::function<void()> m_changed;
};

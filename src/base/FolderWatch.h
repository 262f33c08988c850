// base/FolderWatch.h — says when the entries of a folder change, whoever changes them.
#pragma once
#include <functional>
#include <string>

/// Main thread only.
class FolderWatch {
public:
    virtual ~FolderWatch() = default;
    /// From now on calls `changed` after each change of the names in `folder`, and of nothing else than these;
    /// a folder that is not there yet is watched when this is called again. Not all file systems tell of
    /// changes, so this hastens what is looked at from time to time anyway.
    virtual void watch(const std::string& folder, std::function<void()> changed) = 0;
    virtual void end() = 0;
};

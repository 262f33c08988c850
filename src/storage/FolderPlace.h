// storage/FolderPlace.h — a folder from which its files are found without walking the whole path each time.
#pragma once
#include "storage/FileStatus.h"

#include <string>

/// Any thread.
class FolderPlace {
public:
    explicit FolderPlace(const std::string& folder);
    ~FolderPlace();
    FolderPlace(const FolderPlace&) = delete;
    FolderPlace& operator=(const FolderPlace&) = delete;

    /// Looks once at the file `name` (bare), without following a link. 0 or an errno: EINVAL when it is no
    /// regular file, that of opening the folder when that failed. `status` is unchanged then.
    int look(const std::string& name, FileStatus& status) const;

private:
    const int m_descriptor;
    const int m_error;
};

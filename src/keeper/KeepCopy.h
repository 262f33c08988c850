// keeper/KeepCopy.h — brings a recording into the keep folder.
#pragma once
#include "storage/FileCopier.h"

#include <atomic>
#include <string>

class Volume;

/// On one volume the recording gets a second name in the keep folder: the same bytes, at once, and no room is
/// needed where room is short. Elsewhere it is copied with all of `FileCopier`'s care. Either way it is on the
/// disk at the end. Any thread; waits for the disk.
struct KeepCopy {
    FileCopier::Result result;
    /// Full path. The recording's own name, with as many "+" before its extension as it takes to belong neither
    /// to a file of the folder nor to what one was compressed from.
    std::string target;

    static KeepCopy make(Volume& volume, const std::string& recording, const std::string& folder,
                         std::atomic<bool>& cancelled);
};

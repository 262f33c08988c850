// storage/FileLock.h — the lock on a recording: a mark on the file that nobody deletes it by.
#pragma once
#include <string>

struct statx;

/// A file is locked by the kernel's immutable flag where this process may set it and the file system has it,
/// else by having no write permission at all. Either one found on a file means locked, whoever asks: the
/// permission bits count for the superuser too. Links are not followed. Any thread.
struct FileLock {
    /// A file about which nothing can be learned is taken for locked; one that does not exist is not.
    static bool isLocked(const std::string& path);
    /// The same for the file `name` in the opened `folder`, whose `status` is known, with type and mode, read
    /// without following a link.
    static bool isLocked(int folder, const std::string& name, const struct statx& status);
    /// 0, or the errno of what failed. Regular files only (EINVAL). Unlocking clears both marks.
    static int setLocked(const std::string& path, bool locked);

    /// The two marks one by one; 0 or an errno.
    static int setImmutable(const std::string& path, bool immutable);
    /// Takes all write permissions away, or gives the owner his back.
    static int setWritable(const std::string& path, bool writable);
};

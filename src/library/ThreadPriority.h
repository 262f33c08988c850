// library/ThreadPriority.h — a thread that stands back.
#pragma once

struct ThreadPriority {
    /// The calling thread yields the processor and the disk to all others from now on. Where the system does
    /// not allow that, nothing changes.
    static void standBack();
};

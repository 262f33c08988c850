// recorder/StreamMoment.h — places in the input stream, and the sound between them.
#pragma once
#include "base/Clock.h"
#include "base/Date.h"
#include "recorder/WorkFiles.h"

#include <cstdint>

/// A frame of the input stream, and when it was or will be captured.
struct StreamMoment {
    std::int64_t frame = 0;
    Date date;
};

/// Where the sound ended when the input was lost.
struct InputLoss {
    std::int64_t frame = 0; ///< the first one that did not come
    HostTime time = 0;
    Date date;
};

/// Sound of a recording that has ended, which the disk did not take yet. It waits in memory.
struct OwedSound {
    StreamMoment from;
    StreamMoment to; ///< the first frame that is no part of it
    WorkFiles::Label label;
    double rate = 0.0; ///< Hz, of its file
};

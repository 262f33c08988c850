// recorder/StreamMoment.h — places in the input stream, and the sound between them.
#pragma once
#include "base/Clock.h"
#include "base/Date.h"
#include "recorder/WorkFiles.h"

#include <cstdint>
#include <memory>

class VmReserverElement;

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

/// An end of the open file that is known ahead. It follows the clocks until its sound is about to come.
struct PlannedEnd {
    StreamMoment moment;
    HostTime time = 0;
};

/// A recording that the disk does not take, until it can be written again.
struct RecordInterruption {
    StreamMoment from; ///< the first sound that is in no file
    bool timetable = false;
    std::shared_ptr<const VmReserverElement> element; ///< that ran, if one did
    Date timerStart;
    double period = 0.0; ///< seconds
};

/// Device frames of a duty. A file's frames count for as many of the device's as were reduced to them.
struct DutyFrames {
    std::int64_t captured = 0; ///< that the files should hold
    std::int64_t written = 0;  ///< that they hold
};

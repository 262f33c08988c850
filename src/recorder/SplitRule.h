// recorder/SplitRule.h — when a recording goes on in a new file.
#pragma once
#include "base/Date.h"

class Clock;

/// The moment at which a recording is split, by the calendar and by its length. Any thread.
struct SplitRule {
    bool onTheHour = true;   ///< at every full hour of local time
    double longest = 3600.0; ///< seconds that one file holds at most

    /// The next boundary of a file that began at `start`: the first full hour after `now`, or the moment at
    /// which the file reaches its greatest length, which may have passed. A file that begins in the first
    /// minute of an hour has its first full hour one hour later.
    Date boundaryAfter(Date start, Date now, const Clock& clock) const;
};

/// The first moment after `date` at which local time shows a full hour. Right also where the offset changes
/// meanwhile, by whole hours or not.
Date nextFullHour(Date date, const Clock& clock);

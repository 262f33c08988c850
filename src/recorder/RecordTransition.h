// recorder/RecordTransition.h — the recorder's state machine.
#pragma once

/// What the recorder is doing, as the person sees it.
enum class RecordCondition { stopped = 0, recording = 1, standingBy = 2, waitingForTimer = 3 };

/// All that the next condition depends on, besides the present one.
struct RecordInputs {
    bool asleep = false;    ///< the machine is about to sleep
    bool modeTimer = false; ///< the timetable waits for an entry
    bool recordState = false;
    bool inputLost = false;
    int recordMode = 0;        ///< 0 always, 1 by the level, 2 standby
    bool levelReached = false; ///< the input level is at the start level or above
    bool delayRuns = false;    ///< it has been below for less than the auto-stop delay
};

/// What is to be done with the file, then the condition that follows. A file that cannot be started leaves the
/// condition as it is.
struct RecordTransition {
    enum class File { unchanged, start, stop };
    File file = File::unchanged;
    RecordCondition next = RecordCondition::stopped;

    bool operator==(const RecordTransition&) const = default;
};

/// One look of the state machine. No condition but `recording` ever leaves a file open. Any thread.
constexpr RecordTransition recordTransition(RecordCondition present, const RecordInputs& inputs) {
    using File = RecordTransition::File;
    const bool recording = present == RecordCondition::recording;
    const auto leaving = [recording](RecordCondition next) {
        return RecordTransition{recording ? File::stop : File::unchanged, next};
    };
    const RecordTransition same{File::unchanged, present};
    const RecordTransition start{recording ? File::unchanged : File::start, RecordCondition::recording};
    if (inputs.asleep) // a file begins when the machine wakes, unless nobody wants one any more
        return inputs.recordState && !inputs.modeTimer ? leaving(RecordCondition::standingBy)
               : inputs.modeTimer                      ? leaving(RecordCondition::waitingForTimer)
                                                       : leaving(RecordCondition::stopped);
    if (inputs.modeTimer)
        return leaving(RecordCondition::waitingForTimer);
    if (!inputs.recordState)
        return leaving(RecordCondition::stopped);
    if (inputs.inputLost) // a file that went on without sound would bear times that it does not hold
        return leaving(RecordCondition::standingBy);
    switch (inputs.recordMode) {
    case 0:
        return start;
    case 1:
        if (inputs.levelReached)
            return start;
        return recording && !inputs.delayRuns ? leaving(RecordCondition::standingBy) : same;
    case 2:
        return leaving(RecordCondition::standingBy);
    default:
        return same;
    }
}

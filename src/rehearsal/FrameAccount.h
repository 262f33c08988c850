// rehearsal/FrameAccount.h — how many frames a duty should have recorded, and how many it did.
#pragma once
#include "base/Clock.h"
#include "base/NotificationCenter.h"

#include <cstdint>
#include <optional>

class RehearsalDesk;

/// Counts by the recorder's own dates, of elapsed time: a clock that is set does not change a count. Frames are
/// the device's; a file's frames count for as many of them as were reduced to them.
///
/// Main thread only.
class FrameAccount {
public:
    struct Counts {
        std::int64_t filesMade = 0;      ///< recordings that got their final name, the rescued ones too
        std::int64_t framesCaptured = 0; ///< what the open files should hold
        std::int64_t framesWritten = 0;  ///< what they hold; of a file that a crash left, what is in it
    };

    /// Counts from now on.
    explicit FrameAccount(RehearsalDesk& desk);

    /// Counts the file that is open as it would be found after a crash now.
    void crash();
    const Counts& counts() const { return m_counts; }

private:
    void heard(const Notification& notification);
    void begin();
    void end();
    void count(HostTime stop, double fileBytes);

    struct Open {
        HostTime start;
        double deviceRate;
        double ratio;
        int channels;
    };
    RehearsalDesk& m_desk;
    Counts m_counts;
    std::optional<Open> m_open;
    NotificationCenter::Observation m_watch;
};

// rehearsal/FrameAccount.h — how many frames a duty should have recorded, and how many it did.
#pragma once
#include "base/NotificationCenter.h"

#include <cstdint>

class RehearsalDesk;

/// Adds up the recorder's own account over the end of its launch. Frames are the device's; a file's frames
/// count for as many of them as were reduced to them.
///
/// Main thread only.
class FrameAccount {
public:
    struct Counts {
        std::int64_t filesMade = 0;      ///< recordings that got their final name, the rescued ones too
        std::int64_t framesCaptured = 0; ///< what the files should hold
        std::int64_t framesWritten = 0;  ///< what they hold; of a file that a crash left, what is in it
    };

    /// Counts files from now on.
    explicit FrameAccount(RehearsalDesk& desk);

    /// Takes the recorder's account, before the recorder goes.
    void close();
    /// The same for a launch that ends now without a stop: what is not in the open file is lost.
    void crash();
    const Counts& counts() const { return m_counts; }

private:
    RehearsalDesk& m_desk;
    Counts m_counts;
    NotificationCenter::Observation m_watch;
};

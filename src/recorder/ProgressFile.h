// recorder/ProgressFile.h — makes the recording in progress visible in the record folder.
#pragma once
#include "base/Date.h"

#include <string>

class Clock;
class NotificationCenter;
class SystemLog;
class UserDefaults;
class Volume;
class VmMechanic;
struct Seams;

/// A second name of the temporary file that looks like a finished recording with the present time as its end.
/// It grows with the recording, can be played, and is gone when the recording has its final name.
/// Main thread only.
class ProgressFile {
public:
    ProgressFile(const Seams& seams, VmMechanic& mechanic);

    /// Links the temporary file of the recording that began at `start`.
    void makeProgressSoundFile(Date start, bool hidden);
    /// Gives it a name with the present time, and a note that says what it is.
    void renewalProgressSoundFile(int channels);
    /// Removes the name, not the sound.
    void deleteProgressSoundFile();
    /// Takes the lock off `path`, a name of the recording in progress: a locked file cannot be finished.
    void unlock(const std::string& path);
    /// Full path; empty when there is none.
    std::string path() const;

private:
    std::string presentPath() const;
    bool hasOtherName(const std::string& path) const;
    void remember(const std::string& path);
    bool writeNote(const std::string& path);

    Clock& m_clock;
    Volume& m_volume;
    UserDefaults& m_defaults;
    SystemLog& m_log;
    const NotificationCenter& m_notifications;
    VmMechanic& m_mechanic;
    Date m_start;
    bool m_hidden = false;
    bool m_nameWasTaken = false;
};

// recorder/WorkFiles.h — the temporary file of a recording, and how it gets its final name.
#pragma once
#include "base/Date.h"
#include "recorder/ProgressFile.h"
#include "recorder/RelayFile.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

class Clock;
class NotificationCenter;
class SystemLog;
class UserDefaults;
class Volume;
class VmMechanic;
struct Seams;

/// A recording is written under a hidden temporary name and gets its final name, with the record information in
/// its header area, when it stops. A file that a crash left behind is repaired and named at the next launch.
/// Main thread only.
///
/// At each moment exactly one name leads to the sound for good: the temporary one until the recording stops,
/// the final one from then on. The progress name is a second name of the same file. It goes before the final
/// name comes, since the two may be equal, and a file that is renamed to another name of itself keeps both.
class WorkFiles {
public:
    /// What the record information says besides the dates.
    struct Label {
        int sampleRate = 0; ///< Hz, of the file
        int channels = 1;
        char sourceLetter = 'X';
        std::string scheduleName; ///< replaces all of the above when not empty
        bool hidden = false;      ///< the final name begins with a dot
    };
    static constexpr std::int64_t informationOffset = 256;

    WorkFiles(const Seams& seams, VmMechanic& mechanic);

    /// Remembers the start of the recording that is about to be written, for a rescue.
    void noteStart(Date start);
    /// Moves the temporary file to its final name and writes the record information into it. Returns the final
    /// path, or an empty text when it could not be moved: the temporary file then stays in place. A recording
    /// without a single frame is removed.
    /// With `cutTo` only so many bytes of its sound are kept.
    std::string finish(Date start, Date stop, const Label& label, std::optional<std::int64_t> cutTo = {});
    /// Repairs and names a temporary file that was left behind. Returns its final path; empty when there was
    /// none or when it could not be moved. A file without a single frame is removed.
    std::string rescueTempFile(const Label& label);
    /// Keeps sound that a crash left in the relay file, under a name that says so: it fits no recording.
    void rescueRelayFile();
    /// Removes a temporary file with which no recording could begin.
    void discardTempFile();

    /// Does what could not be done when a file was finished: cutting it, its record information, the removal of
    /// its progress name.
    void retryUnfinished();
    /// Whether there is a temporary file.
    bool hasLeftover() const;

    ProgressFile& progress() { return m_progress; }
    RelayFile& relay() { return m_relay; }
    /// The computed end of the last rescued recording; 0 when none was rescued.
    Date lastCrashDate() const { return m_lastCrashDate; }
    /// What it will be when the temporary file that lies there is rescued; 0 when there is none to rescue.
    Date leftoverEndDate() const;

    /// The text that goes to `informationOffset`.
    std::string informationText(Date start, Date stop, const Label& label, std::string_view option) const;
    /// Writes it there, zero-terminated. False when the file cannot be written.
    bool writeInformationWithPath(const std::string& path, Date startDate, Date stopDate, const Label& label,
                                  std::string_view option);

private:
    struct Unfinished {
        std::optional<std::int64_t> cutTo; ///< bytes of sound
        int channels = 1;
        std::string information; ///< to be written
        std::string otherName;   ///< path of a progress name to be removed
    };
    bool cutSound(const std::string& path, std::int64_t soundBytes, int channels);
    bool complete(const std::string& path, Unfinished& work);
    std::string moveToFinalName(Date start, Date stop, const Label& label);
    std::string startNotedInTempFile() const;
    bool startOfTempFile(Date& start) const;
    bool startFromText(const std::string& text, Date& start) const;
    void putAside(const std::string& path, const std::string& what);
    void removeOtherNames();
    bool writeInformation(const std::string& path, std::string text);
    bool isOwnHeader(const std::string& path, std::int64_t size) const;
    void removeEmpty(const std::string& temporary);

    Clock& m_clock;
    Volume& m_volume;
    UserDefaults& m_defaults;
    SystemLog& m_log;
    const NotificationCenter& m_notifications;
    VmMechanic& m_mechanic;
    ProgressFile m_progress;
    RelayFile m_relay;
    Date m_lastCrashDate;
    std::map<std::string, Unfinished> m_unfinished; // by the path of the recording
};

// recorder/RelayFile.h — carries sound from the end of one recording to the beginning of the next.
#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

class NotificationCenter;
class SoundFile;
class SystemLog;
class VmMechanic;
struct Seams;

/// Holds what was recorded past the end of a file, between the stop of that file and the start of the next one.
///
/// The write thread never passes an end that is known in time, so this is for the ends that become known too
/// late: a clock that was set, a limit that was changed, an input that was lost and came back while the main
/// thread was busy. Main thread only.
class RelayFile {
public:
    RelayFile(const Seams& seams, VmMechanic& mechanic);

    /// Moves the last `overRecordBytes` of the `soundBytes` bytes of sound of the temporary file, which has
    /// `channels` channels and is closed, into the relay file. What a failed write left behind them goes.
    /// False when they stay where they are.
    bool delOverRecordData(std::int64_t overRecordBytes, std::int64_t soundBytes, int channels);
    /// Writes the sound of the relay file to the beginning of `file` and deletes the relay file. Returns how
    /// many bytes that were; 0 when they cannot be read, nothing when `file` does not take them: the relay file
    /// then stays.
    std::optional<std::int64_t> addOverRecordData(SoundFile& file);

private:
    void reportError(std::string_view text) const;

    SystemLog& m_log;
    const NotificationCenter& m_notifications;
    VmMechanic& m_mechanic;
};

// storage/VmMechanic.h — makes, opens and repairs sound files, and keeps the record folder.
#pragma once
#include "base/RunLoop.h"
#include "base/Seams.h"
#include "storage/AdvicePanel.h"
#include "storage/RecordSpace.h"
#include "storage/SoundFile.h"
#include "storage/SoundFileNames.h"
#include "storage/SoundStreamDescription.h"
#include "storage/Volume.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

/// The controller of the record storage. Failures are said in the system log and as the log event
/// "SomeErrorHappen"; the operation then yields nothing.
///
/// Main thread.
class VmMechanic {
public:
    static void registerDefaults(UserDefaults& defaults);
    /// Reads the settings, takes the record folder into use and clears it of hidden recordings.
    explicit VmMechanic(const Seams& seams);
    VmMechanic(const VmMechanic&) = delete;
    VmMechanic& operator=(const VmMechanic&) = delete;
    void saveUserDefaults();

    // Sound files
    /// Replaces what is at `path`. Only rate and channel count of `format` are used.
    std::unique_ptr<SoundFile> createAudioFileWithFormat(const SoundStreamDescription& format,
                                                         const std::string& path);
    /// For reading; sets `audioFormatInput` and `numDatas`.
    std::unique_ptr<SoundFile> openAIFFFileWithPath(const std::string& path);
    /// Any thread. The same for a worker: sets nothing.
    std::unique_ptr<SoundFile> openAIFFFileForWorker(const std::string& path) const;
    /// Bytes of sound.
    static std::int64_t audioDataByteCount(const SoundFile& file) { return file.byteCount(); }
    const SoundStreamDescription& audioFormatOutput() const { return m_audioFormatOutput; }
    const SoundStreamDescription& audioFormatInput() const { return m_audioFormatInput; }
    std::int64_t numDatas() const { return m_numDatas; } ///< bytes of sound
    /// Repairs the header of a file that was never closed, also while it is being written. A file that is none
    /// of ours is left alone; false then.
    bool setAIFFFileHeader(const std::string& path, unsigned channels);
    /// "aif" for the sound form 0, else none.
    std::optional<std::string_view> extensionName() const;
    static bool isSoundFile(std::string_view name) { return SoundFileNames::isSoundFile(name); }
    static bool isImageFile(std::string_view name) { return SoundFileNames::isImageFile(name); }

    // Work files; empty pointers when they cannot be had
    std::string temporaryFilePath() const;
    std::unique_ptr<VolumeFile> openTempFile();
    std::string relayFilePath() const;
    static constexpr std::int64_t freshRelaySize = 12; ///< bytes
    /// A new relay file. It holds "regular file" at first: truncate it before writing.
    std::unique_ptr<VolumeFile> createRelayFile();
    std::unique_ptr<VolumeFile> openRelayFile();
    void deleteRelayFile();

    // Record folder
    const std::string& recordFolder() const { return m_recordFolder; }
    /// `handler` is called after another record folder was taken into use.
    void setFolderHandler(std::function<void()> handler) { m_folderHandler = std::move(handler); }
    /// Takes the folder `path` into use, made if need be; the default folder if it cannot be had. While a
    /// folder is in use already, one that another recorder records into is not taken in its place.
    void setDirPath(const std::string& path);
    /// Makes the record folder anew if it is gone. False when it cannot be had.
    bool restoreFolder();
    /// Whether another recorder was found recording into what is now at the record folder's path.
    bool isFolderTaken() const { return m_isFolderTaken; }
    /// Whether a file of `bytes` can be written to the record folder, which is made anew if it is gone.
    bool isWritable(double bytes);
    /// Removes the hidden recordings that are not locked in `folder` and the folders below it, logging each.
    void deleteDotFileInFolder(const std::string& folder);

    /// Names are relative to the record folder. The flags say whether it worked.
    bool isLockedFile(std::string_view name) const;
    bool lockFile(std::string_view name);
    bool unlockFile(std::string_view name);
    static bool isHidedFile(std::string_view name) { return name.starts_with('.'); }
    /// The recordings of the record folder in order of their names, with length and lock.
    std::vector<Recording> recordings() { return m_space.recordings(place()); }

    // Room; durations in seconds. A duration or size that makes no sense becomes its default.
    double maxRecordTime() const { return m_maxRecordTime; }
    void setMaxRecordTime(double seconds);
    double maxTotalTime() const { return m_maxTotalTime; }
    void setMaxTotalTime(double seconds);
    bool adviceOperation() const { return m_adviceOperation; }
    void setAdviceOperation(bool on) { m_adviceOperation = on; }
    double adviceDataSize() const { return m_adviceDataSize; } ///< megabytes
    void setAdviceDataSize(double megabytes);
    /// Free bytes of the volume that holds the record folder; nothing when they cannot be had.
    std::optional<double> freeSystemSpace() const;
    /// Bytes of the longest single recording at `rate` Hz. Always finite.
    float maxRecordOne(double rate, unsigned channels) const;
    /// Bytes that must be free before a recording. Always finite.
    double needFreeSpace(double rate, unsigned channels) const;

    /// Seconds of all unlocked recordings of the record folder, by their names.
    double recordTotalTime() { return m_space.totalTime(place()); }
    /// Makes room for a recording of `rate` Hz; false when there is too little, or was (see
    /// `RecordSpace::secure`). Where very much is to be deleted, timers see to the rest of it.
    bool secureRecordSpace(double rate, unsigned channels);
    /// Deletes the oldest unlocked recording, if there is one.
    bool deleteOlderFile() { return m_space.deleteOlderFile(place()); }
    /// Advice to make a backup if it is due, then `secureRecordSpace`. At the start of every recording.
    bool makeSecureRecordSpace(double rate, unsigned channels);
    double totalDataSize() const { return folderSizeWithPath(m_recordFolder); } ///< bytes
    /// Bytes of every entry below the folder `path`. Links are not followed.
    double folderSizeWithPath(const std::string& path) const;
    /// Empties the folder "VelmoratideBackup" beside `path` and moves the first files of `path` there, as many
    /// as `adviceDataSize` allows. Returns the bytes moved.
    double moveBackupDataWithPath(const std::string& path);
    /// Shows the advice panel for the backup folder `path` and `total` bytes.
    void adviceAlertWithPath(const std::string& path, double total);
    AdvicePanel& advicePanel() { return m_advicePanel; }
    /// What keeps a copy of a recording before it is deleted.
    void setKeepHook(RecordSpace::KeepHook hook) { m_space.setKeepHook(std::move(hook)); }
    /// Deletes a recording of which the hook said that keeping it is under way. False when it stays.
    bool deleteKept(const std::string& path) { return m_space.deleteKept(path); }
    /// Tells the folder of kept recordings, or an empty text while keeping is off.
    void setKeepFolderHook(std::function<std::string()> hook) { m_keepFolder = std::move(hook); }

private:
    RecordSpace::Place place() const;
    void goOnLater();
    bool setLocked(std::string_view name, bool locked);
    bool claim(const std::string& folder);
    std::string takeDefaultFolder();
    void reportError(std::string_view message) const;
    void deleteDotFile(const std::string& path) const;

    const Seams m_seams;
    SoundStreamDescription m_audioFormatOutput;
    SoundStreamDescription m_audioFormatInput;
    std::int64_t m_numDatas = 0;
    std::string m_recordFolder;
    std::function<void()> m_folderHandler;
    bool m_isFolderTaken = false;
    RecordSpace m_space;
    std::unique_ptr<Timer> m_rest; // while there is more to delete
    AdvicePanel m_advicePanel;
    std::function<std::string()> m_keepFolder;
    int m_soundForm = 0;
    double m_maxRecordTime = 0.0;
    double m_maxTotalTime = 0.0;
    bool m_adviceOperation = false;
    double m_adviceDataSize = 0.0;
};

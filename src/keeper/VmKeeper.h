// keeper/VmKeeper.h — keeps compressed copies of recordings that are deleted to make room.
#pragma once
#include "base/Controls.h"
#include "base/NotificationCenter.h"
#include "keeper/CompressCommand.h"
#include "keeper/CompressorTask.h"
#include "keeper/KeepCopy.h"
#include "keeper/KeepSpace.h"
#include "keeper/VmKeepList.h"
#include "keeper/WorkQueue.h"
#include "storage/RecordSpace.h"
#include "storage/Volume.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

class CompressionProof;
class UserDefaults;
class VmControler;

/// The controller of the keep folder and of the keep tab.
///
/// A recording that is to be deleted goes through two queues with a thread each. On the first it is brought
/// into the keep folder and to the disk; then the main thread deletes it in the record folder and puts its copy
/// into the second, where one compressor after the other runs. What a crash or a quit leaves uncompressed is
/// put into the second queue at the next launch. Of failures, each kind is reported once until the next
/// success.
class VmKeeper {
public:
    static void registerDefaults(UserDefaults& defaults);
    explicit VmKeeper(const VmControler& controler);
    /// Ends a compressor that runs; its recording stays uncompressed in the keep folder.
    ~VmKeeper();
    VmKeeper(const VmKeeper&) = delete;
    VmKeeper& operator=(const VmKeeper&) = delete;

    // Main thread
    /// Takes the keep folder into use and queues what an earlier launch left uncompressed.
    void awake();
    /// What becomes of the recording at the full path `path`, which is about to be deleted.
    RecordSpace::Kept compressDataFile(const std::string& path);
    /// The compressor test: copies the sample at `path` (its extension is "test") into the keep folder, though
    /// keeping may be off, and compresses it with `command`, its error output shown. The sample may be removed
    /// afterwards. Its end is an alert, and "CompressRatioNotification" if it went well. False when the sample
    /// could not be copied, which an alert has said.
    bool compressSampleFile(const std::string& path, const CompressCommand& command);
    /// Full path of the sample sound: where the settings say, else among the sounds of the application.
    std::string sampleDataFile() const;

    bool keepOperation() const { return m_keepOperation; }
    void setKeepOperation(bool on);
    const std::string& keepFolder() const { return m_keepFolder; }
    /// The default folder when `path` is not absolute, or no folder and cannot be made.
    void setKeepFolder(const std::string& path);
    int keepPeriod() const { return m_keepPeriod; } ///< days
    void setKeepPeriod(int days);
    std::string commandPath() const { return command().path; }
    void setCommandPath(const std::string& path);
    std::string argumentStr() const { return command().argument; }
    void setArgumentStr(const std::string& argument);
    void setMonitorCommand(bool on);
    void setCompressTimeLimit(int seconds);
    const std::string& expandFolder() const { return m_expandFolder; }

    bool secureKeepSpace();
    bool deleteOlderKeepFile();
    double totalKeepTime() const;     ///< seconds
    double totalKeepSpace() const;    ///< bytes, of the folder itself
    double totalDataSize() const;     ///< bytes, with the folders below
    double needFreeKeepSpace() const; ///< bytes of a recording of full length, compressed
    double freeSystemSpace() const;   ///< bytes; infinite when they are not known
    double totalSecondOfFile(const std::string& name) const { return m_names.totalSecondOfFile(name); }
    bool isKeepDataFile(const std::string& name) const { return m_names.isKeepDataFile(name); }
    unsigned headerLength() const { return m_names.headerLength(); }

    // Main thread: the keep tab
    void mainTabSelected() { renewListAndControl(); }
    void mainTabUnselected() {}
    /// Reads the folder anew; the selected file stays selected.
    void renewListAndControl();
    void initDataSource();
    void changeSelectRow();
    void doubleAction() { actPlayback(); }
    void actPlayback();
    void actCopy();
    void actCancelCopy() { m_copyCancelled = true; }
    void actDelete();
    /// Whether the items of the keep menu can be chosen.
    bool validateMenuItem() const;
    VmKeepList& keepList() { return m_dataSource; }
    Button& playButton() { return m_playButton; }
    Button& copyButton() { return m_copyButton; }
    Button& deleteButton() { return m_deleteButton; }
    Button& cancelCopyButton() { return m_cancelCopyButton; } ///< enabled while a copy is made
    TextField& copyProgressText() { return m_copyProgressText; }
    TextField& totalTimeText() { return m_totalTimeText; }
    TextField& totalSizeText() { return m_totalSizeText; }
    TextField& totalFilesText() { return m_totalFilesText; }
    Indicator& compressIndicator() { return m_compressIndicator; }

    // Any thread
    /// A compression runs, or is about to: "DataKeepCompleteNotification" will be posted. Whoever waits for it
    /// observes it first, and asks then.
    bool isCompressing() const { return m_compressions.isRunning() && !m_completeSaid; }
    bool monitorCommand() const { return m_monitorCommand; }
    int compressTimeLimit() const { return m_compressTimeLimit; } ///< seconds
    float compressRatio() const { return m_compressRatio; }       ///< compressed by uncompressed size
    void setCompressRatio(float ratio);

    // Not the main thread
    /// Runs a program and waits for its end, at most `compressTimeLimit`. Its exit status, -1 when it has none.
    int execTaskWithPath(const std::string& path, const std::vector<std::string>& arguments);

private:
    struct Keeping {
        std::string recording;
        std::string folder;
        KeepSpace::Limits limits;
    };
    struct Compression {
        std::string target;                     ///< full path of the uncompressed copy
        std::optional<CompressCommand> command; ///< else as the settings say when it runs
    };
    struct Export {
        std::string from;
        std::string to;
    };

    CompressCommand command() const;
    KeepSpace space() const;
    KeepSpace::Limits limits() const;
    void store(std::string_view key, const std::string& text) const;
    void onMainThread(std::function<void()> call) const;
    /// Any thread.
    void reportError(const std::string& message) const;

    // Keeping
    void keep(Keeping& keeping);
    void keepingEnded(const std::string& recording, const KeepCopy& copy);
    void reportUnkept(const std::string& recording, const std::string& why);
    void withdraw(const std::string& recording, const std::string& target);
    bool isInHand(const std::string& target) const;
    void takeInHand(const std::string& target);
    void queueCompression(Compression compression);
    void queueLeftovers();
    void queueLeftoversSoon();
    void clearFolder();
    /// Those that can be had; it is reported when that are not all.
    std::vector<VolumeEntry> entriesOfFolder();
    /// Once, until the folder can be read again; 0 is no error.
    void reportUnreadable(int error);

    // Compression thread
    void compressFile(Compression& compression);
    CompressorTask::Result execute(const std::string& path, const std::vector<std::string>& arguments,
                                   bool monitor);
    void warnOfTime(const std::string& target, double elapsed) const;
    void postComplete(const std::string& target, const std::string& error) const;
    void compressThreaCompleteHandle(const Notification& notification);
    void completeCheckKeepActionHandle(const std::string& target, const std::string& error);
    void finishCompressed(const std::string& target);
    void learnRatio(const std::string& target);
    bool putBack(const std::string& target);
    /// Each is in the system log; the first of its kind is told until the next success.
    void reportUncompressed(const std::string& kind, const std::string& message);
    void reportLost(const std::string& how, const std::string& target) const;
    void postKeepComplete();
    void setAnimating(bool animating);

    // The keep tab
    std::string selectedFile() const;
    void renewIfShown();
    void copyOut(Export& wish);
    void copyEnded(const FileCopier::Result& result);

    const VmControler& m_controler;
    const KeepName m_names;
    bool m_keepOperation = false;
    std::string m_keepFolder;
    int m_keepPeriod = 0;
    std::string m_expandFolder;
    std::atomic<bool> m_monitorCommand{true};
    std::atomic<int> m_compressTimeLimit{3600};
    std::atomic<float> m_compressRatio{1.0F};
    mutable std::mutex m_mutex; // guards the next two
    CompressCommand m_command;
    std::string m_inHand; // what is being compressed

    std::set<std::string> m_underWay;            // recordings being kept
    std::map<std::string, HostTime> m_notBefore; // recordings that could not be kept are tried again then
    std::set<std::string> m_reportedRecordings;  // each is reported once
    std::string m_keepFault;                     // what was reported, until the next success
    bool m_leftoversAwaited = false;
    bool m_isFolderUnreadable = false;
    const CompressionProof* m_proof = nullptr; // of the compression in hand; its thread's, as the next
    std::string m_lockedFolder;
    std::string m_compressFault;

    VmKeepList m_dataSource;
    Button m_playButton;
    Button m_copyButton;
    Button m_deleteButton;
    Button m_cancelCopyButton;
    TextField m_copyProgressText;
    TextField m_totalTimeText;
    TextField m_totalSizeText;
    TextField m_totalFilesText;
    Indicator m_compressIndicator;

    std::atomic<bool> m_completeSaid{false}; // since the last one was queued
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_copyCancelled{false};
    const std::shared_ptr<VmKeeper*> m_alive = std::make_shared<VmKeeper*>(this); // for calls that were posted
    NotificationCenter::Observation m_observation;
    WorkQueue<Export> m_exports; // these end before all that their threads use
    WorkQueue<Compression> m_compressions;
    WorkQueue<Keeping> m_keepings;
};

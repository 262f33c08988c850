// dutylog/VmDutyLog.h — writes down what happens on duty.
#pragma once
#include "base/Date.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "dutylog/LogBook.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

class DiskFlusher;
class UserDefaults;
class VmControler;

/// The controller of the log book: hears every log event and writes its block, in the order in which they are
/// handled. A book that cannot be written disturbs nothing; see `LogBook`.
///
/// Must be destroyed after everything that posts log events on other threads. No log event is ever posted while
/// one is handled: it would come back.
class VmDutyLog {
public:
    /// The files that the player's last operations were about.
    struct PlayerFiles {
        std::string originalFile;
        std::string destinationFile;
        std::string deleteFile;
        std::string deleteImage;
    };

    /// The duty begins now; the book is opened at the log event "DutyStart".
    explicit VmDutyLog(VmControler& controler);
    ~VmDutyLog();
    VmDutyLog(const VmDutyLog&) = delete;
    VmDutyLog& operator=(const VmDutyLog&) = delete;
    static void registerDefaults(UserDefaults& defaults);

    // Main thread
    void initLogItem();
    void saveUserDefaults();
    bool writeLog() const { return m_writeLog; }
    /// From the next duty on.
    void setWriteLog(bool writeLog) { m_writeLog = writeLog; }
    /// Stores the time of life. Called by the patrol timer, and once at the begin of a duty.
    void patrolTimerPeriodic(bool byTimer);
    /// What tells the files of the events "SoundFileCopy" and "SoundFileDelete"; none are named without it.
    void setPlayerFilesHook(std::function<PlayerFiles()> hook) { m_playerFiles = std::move(hook); }
    /// The book that is open, else where one would be.
    std::string logBookPath() const;

    // Any thread
    /// "SomeErrorHappen" and "SomeReportHappen" may come on any thread but an I/O thread; the other events ask
    /// the peers and belong to the main thread. Never waits for the disk, save at "DutyFinish".
    void logEventNotificationHandler(const Notification& notification);
    /// Whether a file of this name is a log book.
    static bool isLogFile(std::string_view name) { return name.starts_with("VelmoratideLog."); }

private:
    // Main thread
    /// Makes a record folder that has vanished anew, and says so: in the book, too.
    void restoreFolder();

    // All with the lock held
    void beginDuty();
    bool openBook(const std::string& path, std::string& text);
    std::string blockOf(const Notification& notification, const std::string& now);
    std::string dutyFinish(const std::string& now) const;
    std::string recordingStart();
    std::string recordingStop() const;
    std::string message(const std::string& now, const char* titleKey, const Notification& notification) const;
    std::string troubleReport() const;
    Date crashDate() const;
    std::string dutyHeader() const;
    std::string settings() const;
    std::string change(std::string_view event, const std::string& now) const;
    std::string playerBlock(std::string_view event, const std::string& now) const;
    std::string recordFormat() const;
    std::string method(const char* labelKey) const;

    std::string label(const char* key) const;
    std::string item(const char* labelKey, const std::string& value) const;
    std::string title(const std::string& date, const char* titleKey) const;
    std::string recordingTitle(Date date, const char* titleKey) const;
    std::string dateString(Date date) const;
    std::string presentSourceString() const;
    std::string markerInterval() const;
    std::string markerSound() const;
    std::string keepPeriod() const;
    std::string maxRecord() const;
    bool markerSwitch() const;

    void schedulePatrol();

    VmControler& m_controler;
    mutable std::mutex m_mutex; // one event at a time; guards what follows up to the timer
    LogBook m_logBook;
    int m_serialNum = 0;
    Date m_startDate;
    Date m_dutyStart;

    bool m_writeLog = true;
    std::unique_ptr<Timer> m_patrolTimer;
    std::function<PlayerFiles()> m_playerFiles;
    NotificationCenter::Observation m_events; // last: it calls into what is above
};

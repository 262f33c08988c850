#include "dutylog/VmDutyLog.h"

#include "app/VmControler.h"
#include "base/Clock.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "dutylog/DiskFlusher.h"
#include "dutylog/LogText.h"
#include "storage/Paths.h"
#include "storage/VmMechanic.h"

namespace {
constexpr const char* writeLogBookKey = "WriteLogBook";
constexpr const char* troubleTerminationKey = "TroubleTermination";
constexpr const char* lastPatrolDateKey = "LastPatrolDate";
constexpr const char* logFileName = "VelmoratideLog.txt";
constexpr double patrolInterval = 300.0; // seconds
} // namespace

void VmDutyLog::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault(writeLogBookKey, true);
    defaults.registerDefault(troubleTerminationKey, false);
    defaults.registerDefault(lastPatrolDateKey, "");
}

VmDutyLog::VmDutyLog(VmControler& controler)
    : m_controler(controler),
      m_logBook(controler.seams().clock, controler.seams().volume, controler.seams().log,
                [this](unsigned long dropped) {
                    const Date now = m_controler.seams().clock.now();
                    return title(dateString(now), "REPORT HAPPEN") + "\t" + std::to_string(dropped) + " " +
                           label("events are missing here") + "\t\n\n";
                }) {
    initLogItem();
    m_writeLog = controler.seams().defaults.boolForKey(writeLogBookKey);
    m_events = controler.seams().notifications.observe(
        VmLogEventNotification,
        [this](const Notification& notification) { logEventNotificationHandler(notification); });
    schedulePatrol();
}

VmDutyLog::~VmDutyLog() = default;

void VmDutyLog::initLogItem() {
    m_dutyStart = m_controler.seams().clock.now();
    m_serialNum = 0;
}

void VmDutyLog::saveUserDefaults() {
    UserDefaults& defaults = m_controler.seams().defaults;
    defaults.set(writeLogBookKey, m_writeLog);
    {
        // As long as a book is open the duty goes on: settings are stored in the midst of it too.
        const std::lock_guard guard(m_mutex);
        defaults.set(troubleTerminationKey, m_logBook.isOpen());
    }
    defaults.synchronize();
}

std::string VmDutyLog::logBookPath() const {
    const std::lock_guard guard(m_mutex);
    return m_logBook.isOpen() ? m_logBook.path()
                              : Paths::inFolder(m_controler.mechanic().recordFolder(), logFileName);
}

// --- patrol --------------------------------------------------------------------------------------------------

void VmDutyLog::schedulePatrol() {
    m_patrolTimer = m_controler.seams().runLoop.schedule({.interval = patrolInterval, .repeats = true},
                                                         [this] { patrolTimerPeriodic(true); });
}

void VmDutyLog::patrolTimerPeriodic(bool byTimer) {
    if (byTimer)
        m_patrolTimer.reset();
    const Clock& clock = m_controler.seams().clock;
    UserDefaults& defaults = m_controler.seams().defaults;
    defaults.set(lastPatrolDateKey, LogText::standardDate(clock, clock.now()));
    defaults.synchronize();
    if (!byTimer)
        return;
    schedulePatrol();
    const bool isFolderGone = [this] {
        const std::lock_guard guard(m_mutex);
        m_logBook.retry(); // a quiet duty has no later event that would
        return m_logBook.isFolderGone();
    }();
    if (isFolderGone) // and no recording needed it so far
        restoreFolder();
}

void VmDutyLog::restoreFolder() {
    m_controler.mechanic().restoreFolder();
    const std::lock_guard guard(m_mutex);
    m_logBook.restoreFolder(); // the record folder may be another one by now
}

// --- events --------------------------------------------------------------------------------------------------

void VmDutyLog::logEventNotificationHandler(const Notification& notification) {
    std::unique_ptr<DiskFlusher> flusher; // waits for the disk at the end, without the lock
    const std::lock_guard guard(m_mutex);
    if (notification.object == "DutyStart") {
        beginDuty();
        return;
    }
    if (!m_logBook.isOpen())
        return;
    const std::string now = dateString(m_controler.seams().clock.now());
    if (std::string block = blockOf(notification, now); !block.empty())
        m_logBook.append(std::move(block));
    if (notification.object == "DutyFinish")
        flusher = m_logBook.close();
}

void VmDutyLog::beginDuty() {
    if (!m_writeLog || m_logBook.isOpen())
        return;
    const Seams& seams = m_controler.seams();
    std::string text;
    if (!openBook(Paths::inFolder(m_controler.mechanic().recordFolder(), logFileName), text)) {
        seams.log.log("Can not create Log Book.");
        return;
    }
    seams.defaults.set(troubleTerminationKey, true);
    seams.defaults.synchronize();
    text += dutyHeader();
    patrolTimerPeriodic(false);
    m_logBook.append(std::move(text));
}

bool VmDutyLog::openBook(const std::string& path, std::string& text) {
    m_controler.seams().volume.makeFolder(m_controler.mechanic().recordFolder());
    if (m_controler.seams().defaults.boolForKey(troubleTerminationKey) && m_logBook.openForUpdating(path)) {
        text = troubleReport();
        return true;
    }
    text = "\t=== " + label("Log title") + " ===\n";
    return m_logBook.create(path);
}

std::string VmDutyLog::troubleReport() const {
    const Seams& seams = m_controler.seams();
    const Date crash = crashDate();
    const auto patrol = LogText::dateFromStandard(seams.defaults.stringForKey(lastPatrolDateKey));
    const std::string date = crash != Date{} ? dateString(crash)
                             : patrol        ? dateString(*patrol)
                                             : label("(date unknown)");
    return title(date, crash != Date{} ? "CRASH TROUBLE" : "TROUBLE STOP") + "\n" +
           title(dateString(m_dutyStart), "TROUBLE RESTART") + "\n";
}

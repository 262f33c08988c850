#include "keeper/VmKeeper.h"

#include "app/VmControler.h"
#include "base/Alert.h"
#include "base/Clock.h"
#include "base/RunLoop.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "base/VmTableView.h"
#include "recorder/VmRecorder.h"
#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/SoundFileNames.h"
#include "storage/VmMechanic.h"
#include "storage/Volume.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

namespace {
constexpr std::string_view keepOperationKey = "KeepOperation";
constexpr std::string_view keepFolderKey = "KeepFileKeepFolder";
constexpr std::string_view keepPeriodKey = "KeepFileKeepPeriod";
constexpr std::string_view commandPathKey = "CommandPathString";
constexpr std::string_view argumentKey = "CommandArgumentString";
constexpr std::string_view monitorKey = "MonitorCommandLine";
constexpr std::string_view ratioKey = "CompressRatio";
constexpr std::string_view samplePathKey = "SampleDataFilePath";
constexpr std::string_view sampleNameKey = "SampleDataFileName";
constexpr std::string_view expandFolderKey = "KeepFileExpandFolder";
constexpr std::string_view timeLimitKey = "CompressTimeLimit";

constexpr const char* defaultKeepFolder = "~/Documents/VelmoratidePreserve";
constexpr int defaultTimeLimit = 3600; // seconds
constexpr float defaultRatio = 0.66F;
/// A recording that could not be kept is tried again after so many seconds.
constexpr double retryInterval = 600.0;
} // namespace

void VmKeeper::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault(keepOperationKey, false);
    defaults.registerDefault(keepFolderKey, defaultKeepFolder);
    defaults.registerDefault(keepPeriodKey, 10);
    defaults.registerDefault(commandPathKey, "/usr/bin/bzip2");
    defaults.registerDefault(argumentKey, "-f %@");
    defaults.registerDefault(monitorKey, true);
    defaults.registerDefault(ratioKey, 0.66);
    defaults.registerDefault(samplePathKey, "/System/Library/Sounds");
    defaults.registerDefault(sampleNameKey, "Blow.aiff");
    defaults.registerDefault(expandFolderKey, "~/DeskTop");
    defaults.registerDefault(timeLimitKey, defaultTimeLimit);
}

VmKeeper::VmKeeper(const VmControler& controler)
    : m_controler(controler),
      m_names(controler.recorder().headerString(), controler.recorder().fileExtension()),
      m_dataSource(controler.seams().volume, m_names),
      m_exports(controler.seams().clock, "keep export", [this](Export& wish) { copyOut(wish); }),
      m_compressions(controler.seams().clock, "compressor", [this](Compression& next) { compressFile(next); }),
      m_keepings(controler.seams().clock, "keeper", [this](Keeping& next) { keep(next); }) {
    UserDefaults& defaults = m_controler.seams().defaults;
    m_keepOperation = defaults.boolForKey(keepOperationKey);
    m_keepPeriod = std::clamp(defaults.integerForKey(keepPeriodKey), 0, KeepSpace::longestPeriod);
    m_command = {Paths::expandingTilde(defaults.stringForKey(commandPathKey)),
                 defaults.stringForKey(argumentKey)};
    m_monitorCommand = defaults.boolForKey(monitorKey);
    const auto ratio = static_cast<float>(defaults.doubleForKey(ratioKey));
    m_compressRatio = std::isfinite(ratio) && ratio > 0.0F ? ratio : defaultRatio;
    m_compressTimeLimit = std::max(1, defaults.integerForKey(timeLimitKey));
    m_expandFolder = Paths::expandingTilde(defaults.stringForKey(expandFolderKey));
    for (const std::string_view key : {samplePathKey, sampleNameKey}) // to stand in the settings file
        defaults.set(key, std::string_view(defaults.stringForKey(key)));
    m_observation = m_controler.seams().notifications.observe(
        "CompressCompleteNotification",
        [this](const Notification& notification) { compressThreaCompleteHandle(notification); });
    VmMechanic& mechanic = m_controler.mechanic();
    mechanic.setKeepHook([this](const std::string& path) { return compressDataFile(path); });
    mechanic.setKeepFolderHook([this] { return m_keepOperation ? m_keepFolder : std::string(); });
    m_playButton.setAction([this] { actPlayback(); });
    m_copyButton.setAction([this] { actCopy(); });
    m_deleteButton.setAction([this] { actDelete(); });
    m_cancelCopyButton.setAction([this] { actCancelCopy(); });
    m_cancelCopyButton.setEnabled(false);
}

VmKeeper::~VmKeeper() {
    VmMechanic& mechanic = m_controler.mechanic();
    mechanic.setKeepHook({});
    mechanic.setKeepFolderHook({});
    m_controler.keepTable().setSource(nullptr);
    m_copyCancelled = true;
    m_stopping = true;
}

void VmKeeper::awake() {
    VmTableView& table = m_controler.keepTable();
    table.setColumns({{.identifier = "RecordDate", .titleKey = "RecordDate"},
                      {.identifier = "StartTime", .titleKey = "StartTime"},
                      {.identifier = "EndTime", .titleKey = "EndTime"},
                      {.identifier = "RecordTime", .titleKey = "RecordTime", .rightAligned = true},
                      {.identifier = "FileSize", .titleKey = "KeepFileSize", .rightAligned = true}});
    table.setRowAction([this] { changeSelectRow(); });
    table.setDoubleAction([this] { doubleAction(); });
    table.setSortAction([this] { renewListAndControl(); });
    setKeepFolder(Paths::expandingTilde(m_controler.seams().defaults.stringForKey(keepFolderKey)));
    clearFolder();
    queueLeftoversSoon();
}

void VmKeeper::onMainThread(std::function<void()> call) const {
    m_controler.seams().runLoop.post([alive = std::weak_ptr(m_alive), call = std::move(call)] {
        if (alive.lock() != nullptr)
            call();
    });
}

void VmKeeper::reportError(const std::string& message) const {
    m_controler.seams().log.log(message);
    m_controler.seams().notifications.postLogEvent("SomeErrorHappen", message);
}

// Settings

void VmKeeper::store(std::string_view key, const std::string& text) const {
    m_controler.seams().defaults.set(key, std::string_view(text));
    m_controler.seams().defaults.synchronize();
}

void VmKeeper::setKeepOperation(bool on) {
    m_keepOperation = on;
    m_controler.seams().defaults.set(keepOperationKey, on);
    m_controler.seams().defaults.synchronize();
    queueLeftoversSoon();
}

void VmKeeper::setKeepFolder(const std::string& path) {
    Volume& volume = m_controler.seams().volume;
    std::string folder = Paths::trimmed(path);
    if (!folder.starts_with('/') || (!volume.isFolder(folder) && !volume.makeFolder(folder))) {
        const char* const message = "Keep folder is changed to default";
        m_controler.seams().log.log(message);
        onMainThread([this, message] { // at the launch the log book is not open yet
            m_controler.seams().notifications.postLogEvent("SomeErrorHappen", message);
        });
        folder = Paths::expandingTilde(defaultKeepFolder);
        volume.makeFolder(folder); // a folder that is not there is reported when something is to be kept
    }
    m_keepFolder = folder;
    store(keepFolderKey, m_keepFolder);
    m_notBefore.clear();
    renewListAndControl();
}

void VmKeeper::setKeepPeriod(int days) {
    m_keepPeriod = std::clamp(days, 0, KeepSpace::longestPeriod);
    m_controler.seams().defaults.set(keepPeriodKey, m_keepPeriod);
    m_controler.seams().defaults.synchronize();
}

CompressCommand VmKeeper::command() const {
    const std::lock_guard guard(m_mutex);
    return m_command;
}

void VmKeeper::setCommandPath(const std::string& path) {
    {
        const std::lock_guard guard(m_mutex);
        m_command.path = path;
    }
    store(commandPathKey, path);
    queueLeftoversSoon();
}

void VmKeeper::setArgumentStr(const std::string& argument) {
    {
        const std::lock_guard guard(m_mutex);
        m_command.argument = argument;
    }
    store(argumentKey, argument);
    queueLeftoversSoon();
}

void VmKeeper::setMonitorCommand(bool on) {
    m_monitorCommand = on;
    m_controler.seams().defaults.set(monitorKey, on);
    m_controler.seams().defaults.synchronize();
}

void VmKeeper::setCompressTimeLimit(int seconds) {
    m_compressTimeLimit = std::max(1, seconds);
    m_controler.seams().defaults.set(timeLimitKey, m_compressTimeLimit.load());
    m_controler.seams().defaults.synchronize();
}

void VmKeeper::setCompressRatio(float ratio) {
    m_compressRatio = ratio;
    m_controler.seams().defaults.set(ratioKey, static_cast<double>(ratio));
    m_controler.seams().defaults.synchronize();
}

// Room

KeepSpace VmKeeper::space() const {
    return {m_controler.seams().volume, m_controler.seams().log, m_names, m_keepFolder};
}

KeepSpace::Limits VmKeeper::limits() const {
    return {.keepPeriod = m_keepPeriod,
            .maxRecordTime = m_controler.mechanic().maxRecordTime(),
            .needFreeKeepSpace = needFreeKeepSpace()};
}

bool VmKeeper::secureKeepSpace() {
    return space().secureKeepSpace(limits());
}

bool VmKeeper::deleteOlderKeepFile() {
    return space().deleteOlderKeepFile();
}

double VmKeeper::totalKeepTime() const {
    return space().totalKeepTime();
}

double VmKeeper::totalKeepSpace() const {
    return space().totalKeepSpace();
}

double VmKeeper::totalDataSize() const {
    return m_controler.mechanic().folderSizeWithPath(m_keepFolder);
}

double VmKeeper::needFreeKeepSpace() const {
    constexpr double bytesPerSample = 2.0;
    const VmRecorder& recorder = m_controler.recorder();
    const double needPerSecond = recorder.sampleRate() * recorder.channels() * bytesPerSample;
    const double need = compressRatio() * (m_controler.mechanic().maxRecordTime() * needPerSecond);
    return std::isfinite(need) ? need : 0.0;
}

double VmKeeper::freeSystemSpace() const {
    return space().freeSystemSpace();
}

// Keeping

RecordSpace::Kept VmKeeper::compressDataFile(const std::string& path) {
    if (!m_keepOperation)
        return RecordSpace::Kept::yes;
    if (m_underWay.contains(path))
        return RecordSpace::Kept::underWay;
    const auto found = m_notBefore.find(path);
    if (found != m_notBefore.end() && m_controler.seams().clock.hostTime() < found->second)
        return RecordSpace::Kept::no;
    m_underWay.insert(path);
    m_keepings.append({.recording = path, .folder = m_keepFolder, .limits = limits()});
    return RecordSpace::Kept::underWay;
}

void VmKeeper::keep(Keeping& keeping) {
    if (m_stopping)
        return;
    const Seams& seams = m_controler.seams();
    KeepSpace(seams.volume, seams.log, m_names, keeping.folder).secureKeepSpace(keeping.limits);
    const KeepCopy copy = KeepCopy::make(seams.volume, keeping.recording, keeping.folder, m_stopping);
    onMainThread([this, recording = keeping.recording, copy] { keepingEnded(recording, copy); });
}

void VmKeeper::keepingEnded(const std::string& recording, const KeepCopy& copy) {
    m_underWay.erase(recording);
    if (!copy.result.done()) {
        reportUnkept(recording, copy.result.fault);
        return;
    }
    if (!std::exchange(m_keepFault, {}).empty())
        m_controler.seams().log.log("VmKeeper: recordings are kept again: " + recording);
    m_notBefore.erase(recording);
    m_reportedRecordings.erase(recording);
    if (m_controler.mechanic().deleteKept(recording))
        queueCompression({.target = copy.target, .command = {}});
    else
        withdraw(recording, copy.target);
    renewIfShown();
}

/// Of a recording that stays after all there must be no second one: it would be kept again and again.
void VmKeeper::withdraw(const std::string& recording, const std::string& target) {
    Volume& volume = m_controler.seams().volume;
    if (volume.exists(recording) && volume.remove(target) != 0)
        m_controler.seams().log.log("VmKeeper: copy of a recording that stays cannot be removed: " + target);
}

void VmKeeper::reportUnkept(const std::string& recording, const std::string& why) {
    const Seams& seams = m_controler.seams();
    m_notBefore[recording] = seams.clock.hostTime() + hostTimeFromSeconds(retryInterval);
    const bool isFirst = m_reportedRecordings.insert(recording).second;
    if (!isFirst || m_keepFault == why)
        return;
    m_keepFault = why;
    const std::string message =
        "VmKeeper: recording is not deleted, for it cannot be kept: " + why + ": " + recording;
    reportError(message);
    seams.alert.tell({"KeepFileError", "KeepFileErrorInfo", "Understand"});
}

std::vector<VolumeEntry> VmKeeper::entriesOfFolder() {
    errno = 0;
    std::vector<VolumeEntry> entries = m_controler.seams().volume.list(m_keepFolder);
    reportUnreadable(errno);
    return entries;
}

void VmKeeper::reportUnreadable(int error) {
    if (!std::exchange(m_isFolderUnreadable, error != 0) && error != 0)
        reportError("VmKeeper: keep folder cannot be read (" + std::string(std::strerror(error)) +
                    "): " + m_keepFolder);
}

/// Removes the hidden recordings and the halves of copies that were interrupted.
void VmKeeper::clearFolder() {
    m_controler.mechanic().deleteDotFileInFolder(m_keepFolder);
    const Seams& seams = m_controler.seams();
    for (const VolumeEntry& entry : entriesOfFolder()) {
        if (entry.isFolder || entry.isLink || !FileCopier::isAside(entry.name))
            continue;
        const std::string path = Paths::inFolder(m_keepFolder, entry.name);
        seams.log.log("VmKeeper: interrupted copy removed: " + path);
        seams.volume.remove(path);
    }
}

bool VmKeeper::isInHand(const std::string& target) const {
    const std::lock_guard guard(m_mutex);
    return m_inHand == target;
}

void VmKeeper::queueCompression(Compression compression) {
    m_completeSaid = false;
    m_compressions.append(std::move(compression));
}

/// Later, for several settings may change together.
void VmKeeper::queueLeftoversSoon() {
    if (!std::exchange(m_leftoversAwaited, true))
        onMainThread([this] {
            m_leftoversAwaited = false;
            queueLeftovers();
        });
}

void VmKeeper::queueLeftovers() {
    if (!m_keepOperation)
        return;
    const Seams& seams = m_controler.seams();
    const std::string& recordFolder = m_controler.mechanic().recordFolder();
    for (const VolumeEntry& entry : entriesOfFolder()) {
        if (entry.isFolder || entry.isLink || !m_names.isUncompressed(entry.name))
            continue;
        const std::string target = Paths::inFolder(m_keepFolder, entry.name);
        const bool isStillARecording =
            seams.volume.isSameFile(target, Paths::inFolder(recordFolder, entry.name));
        const bool waits = isInHand(target) ||
                           m_compressions.has([&](const Compression& other) { return other.target == target; });
        if (isStillARecording || waits || seams.volume.isLocked(target))
            continue;
        seams.log.log("VmKeeper: uncompressed recording is compressed now: " + target);
        queueCompression({.target = target, .command = {}});
    }
}

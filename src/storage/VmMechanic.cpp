#include "storage/VmMechanic.h"

#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "storage/Paths.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

namespace {
constexpr std::string_view directoryPathKey = "DirectoryPath";
constexpr std::string_view soundFileFormKey = "SoundFileForm";
constexpr std::string_view maxRecordTimeKey = "MaxRecordTime";
constexpr std::string_view maxTotalTimeKey = "MaxTotalTime";
constexpr std::string_view adviceOperationKey = "BackupAdviceOperation";
constexpr std::string_view adviceDataSizeKey = "BackupAdviceDataSize";

constexpr const char* defaultDirectoryPath = "~/Documents/VelmoratideRecord";
constexpr double defaultMaxRecordTime = 3600.0;
constexpr double defaultMaxTotalTime = 86400.0;
constexpr double defaultAdviceDataSize = 4096.0;
constexpr double reserveBytes = 41984.0;
/// About thirty years in seconds, or a petabyte in megabytes: nothing beyond is meant.
constexpr double largestSetting = 1e9;
constexpr double highestRate = 1e7;
constexpr unsigned mostChannels = 1024;

constexpr std::string_view regularFileType = "regular file";
constexpr const char* takenMessage = "VmMechanic: another recorder is recording into the folder ";

/// `value` as it is stored, in single precision; `fallback` if it makes no sense.
double sensible(double value, double fallback) {
    if (!std::isfinite(value) || value <= 0.0 || value > largestSetting)
        return fallback;
    return static_cast<double>(static_cast<float>(value));
}

std::string_view messageFor(SoundFileError error) {
    switch (error) {
    case SoundFileError::noFormat:
    case SoundFileError::unsupportedFormat:
        return "VmMechanic: audio file get property1 error.";
    case SoundFileError::noSound:
        return "VmMechanic: audio file get property2 error.";
    default:
        return "VmMechanic: audio file open error.";
    }
}
} // namespace

void VmMechanic::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault(directoryPathKey, defaultDirectoryPath);
    defaults.registerDefault(soundFileFormKey, 0);
    defaults.registerDefault(maxRecordTimeKey, defaultMaxRecordTime);
    defaults.registerDefault(maxTotalTimeKey, defaultMaxTotalTime);
    defaults.registerDefault(adviceOperationKey, false);
    defaults.registerDefault(adviceDataSizeKey, defaultAdviceDataSize);
}

VmMechanic::VmMechanic(const Seams& seams)
    : m_seams(seams), m_space(seams.volume, seams.clock, seams.log, seams.notifications) {
    const UserDefaults& defaults = m_seams.defaults;
    m_soundForm = defaults.integerForKey(soundFileFormKey);
    setMaxRecordTime(defaults.doubleForKey(maxRecordTimeKey));
    setMaxTotalTime(defaults.doubleForKey(maxTotalTimeKey));
    m_adviceOperation = defaults.boolForKey(adviceOperationKey);
    setAdviceDataSize(defaults.doubleForKey(adviceDataSizeKey));
    setDirPath(Paths::expandingTilde(defaults.stringForKey(directoryPathKey)));
    deleteDotFileInFolder(m_recordFolder);
}

void VmMechanic::saveUserDefaults() {
    m_seams.defaults.set(directoryPathKey, std::string_view(m_recordFolder));
    m_seams.defaults.set(soundFileFormKey, m_soundForm);
    m_seams.defaults.set(maxRecordTimeKey, m_maxRecordTime);
    m_seams.defaults.set(maxTotalTimeKey, m_maxTotalTime);
    m_seams.defaults.set(adviceOperationKey, m_adviceOperation);
    m_seams.defaults.set(adviceDataSizeKey, m_adviceDataSize);
    m_seams.defaults.synchronize();
}

void VmMechanic::reportError(std::string_view message) const {
    m_seams.log.log(message);
    m_seams.notifications.postLogEvent("SomeErrorHappen", message);
}

std::unique_ptr<SoundFile> VmMechanic::createAudioFileWithFormat(const SoundStreamDescription& format,
                                                                 const std::string& path) {
    m_audioFormatOutput = SoundStreamDescription::ofSoundFile(format.mSampleRate, format.mChannelsPerFrame);
    if (!m_seams.volume.isFolder(Paths::folderOf(path))) {
        reportError("VmMechanic: FSPathMakeRef error.");
        return nullptr;
    }
    SoundFile::Opened created =
        SoundFile::create(m_seams.volume, path, format.mSampleRate, format.mChannelsPerFrame);
    if (!created.file)
        reportError("VmMechanic: audio file create error.");
    return std::move(created.file);
}

std::unique_ptr<SoundFile> VmMechanic::openAIFFFileForWorker(const std::string& path) const {
    if (!m_seams.volume.exists(path)) {
        m_seams.log.log("FSPathMakeRef error.");
        return nullptr;
    }
    SoundFile::Opened opened = SoundFile::openForReading(m_seams.volume, path);
    if (!opened.file)
        reportError(messageFor(opened.error));
    return std::move(opened.file);
}

std::unique_ptr<SoundFile> VmMechanic::openAIFFFileWithPath(const std::string& path) {
    std::unique_ptr<SoundFile> file = openAIFFFileForWorker(path);
    if (!file)
        return nullptr;
    m_audioFormatInput = SoundStreamDescription::ofSoundFile(file->rate(), file->channels());
    m_numDatas = audioDataByteCount(*file);
    return file;
}

bool VmMechanic::setAIFFFileHeader(const std::string& path, unsigned channels) {
    if (SoundFile::repairHeader(m_seams.volume, path, channels) == SoundFileError::none)
        return true;
    reportError("VmMechanic: audio file header repair error.");
    return false;
}

std::optional<std::string_view> VmMechanic::extensionName() const {
    if (m_soundForm != 0)
        return std::nullopt;
    return SoundFileNames::soundExtension;
}

std::string VmMechanic::temporaryFilePath() const {
    return Paths::inFolder(m_recordFolder, ".VelmoratideTempFile");
}

std::string VmMechanic::relayFilePath() const {
    return Paths::inFolder(m_recordFolder, ".VelmoratideRelayFile");
}

std::unique_ptr<VolumeFile> VmMechanic::openTempFile() {
    return m_seams.volume.openForUpdating(temporaryFilePath());
}

std::unique_ptr<VolumeFile> VmMechanic::createRelayFile() {
    std::unique_ptr<VolumeFile> file = m_seams.volume.create(relayFilePath());
    if (!file || file->writeAt(0, std::as_bytes(std::span(regularFileType))) != 0)
        return nullptr;
    return file;
}

std::unique_ptr<VolumeFile> VmMechanic::openRelayFile() {
    return m_seams.volume.openForReading(relayFilePath());
}

void VmMechanic::deleteRelayFile() {
    const int error = m_seams.volume.remove(relayFilePath());
    if (error == 0 || error == ENOENT)
        return;
    reportError("VmMechanic: relay file delete error.");
    // Its sound lies in a recording: it must not be found here as well.
    if (const auto file = m_seams.volume.openForUpdating(relayFilePath()); file != nullptr)
        file->truncate(0); // its failure would be the same one, which is reported
}

bool VmMechanic::claim(const std::string& folder) {
    if (!m_seams.claimFolder || m_seams.claimFolder(folder))
        return true;
    reportError(takenMessage + folder);
    return false;
}

void VmMechanic::setDirPath(const std::string& path) {
    std::string folder = Paths::trimmed(path);
    const bool isThere =
        folder.starts_with('/') && (m_seams.volume.isFolder(folder) || m_seams.volume.makeFolder(folder));
    const bool isOurs = isThere && claim(folder);
    if (isThere && !isOurs && !m_recordFolder.empty())
        return;
    if (!isOurs) {
        m_seams.log.log("Data folder is changed to default");
        folder = takeDefaultFolder();
    }
    m_isFolderTaken = false;
    if (m_recordFolder != folder)
        m_rest.reset();
    m_recordFolder = folder;
    m_seams.defaults.set(directoryPathKey, std::string_view(m_recordFolder));
    m_seams.defaults.synchronize();
    if (m_folderHandler)
        m_folderHandler();
}

/// One beside it when another recorder has that already.
std::string VmMechanic::takeDefaultFolder() {
    constexpr int mostRecorders = 100;
    const std::string usual = Paths::expandingTilde(defaultDirectoryPath);
    for (int number = 1; number <= mostRecorders; ++number) {
        const std::string folder = number == 1 ? usual : usual + "-" + std::to_string(number);
        if (!m_seams.volume.makeFolder(folder)) {
            reportError("VmMechanic: record folder create error.");
            return folder;
        }
        if (claim(folder))
            return folder;
    }
    return usual;
}

bool VmMechanic::restoreFolder() {
    const bool wasThere = m_seams.volume.isFolder(m_recordFolder);
    if (!wasThere && !m_seams.volume.makeFolder(m_recordFolder))
        return false;
    if (!wasThere)
        reportError("VmMechanic: record folder was gone, it is made anew.");
    const bool wasTaken =
        std::exchange(m_isFolderTaken, m_seams.claimFolder && !m_seams.claimFolder(m_recordFolder));
    if (m_isFolderTaken && !wasTaken)
        reportError(takenMessage + m_recordFolder);
    return !m_isFolderTaken;
}

bool VmMechanic::isWritable(double bytes) {
    constexpr std::size_t probeSize = std::size_t{1} << 16;
    if (!restoreFolder())
        return false;
    if (const auto free = freeSystemSpace(); free && *free < bytes)
        return false;
    const std::string path = Paths::inFolder(m_recordFolder, ".VelmoratideWriteProbe");
    bool isWritten = false;
    if (const auto probe = m_seams.volume.create(path); probe != nullptr) {
        isWritten = probe->writeAt(0, std::vector<std::byte>(probeSize)) == 0 && probe->synchronize() == 0;
    }
    const int error = m_seams.volume.remove(path);
    return isWritten && error == 0;
}

void VmMechanic::deleteDotFileInFolder(const std::string& folder) {
    errno = 0;
    const std::vector<VolumeEntry> entries = m_seams.volume.list(folder);
    if (errno != 0)
        m_seams.log.log("VmMechanic: folder cannot be read (" + std::string(std::strerror(errno)) +
                        "): " + folder);
    for (const VolumeEntry& entry : entries) {
        const std::string path = Paths::inFolder(folder, entry.name);
        if (entry.isFolder && !entry.isLink)
            deleteDotFileInFolder(path);
        const std::string_view hidden = SoundFileNames::hiddenHeaderString;
        if (!entry.isSpecial && entry.name.size() > hidden.size() && entry.name.starts_with(hidden) &&
            !isImageFile(entry.name))
            deleteDotFile(path);
    }
}

void VmMechanic::deleteDotFile(const std::string& path) const {
    if (m_seams.volume.isLocked(path))
        m_seams.log.log("VmMechanic: hidden recording stays, for it is locked: " + path);
    else if (const int error = m_seams.volume.remove(path); error == 0)
        m_seams.log.log("VmMechanic: hidden recording deleted at launch: " + path);
    else
        m_seams.log.log("VmMechanic: hidden recording cannot be deleted (" + std::string(std::strerror(error)) +
                        "): " + path);
}

void VmMechanic::setMaxRecordTime(double seconds) {
    m_maxRecordTime = sensible(seconds, defaultMaxRecordTime);
}

void VmMechanic::setMaxTotalTime(double seconds) {
    m_maxTotalTime = sensible(seconds, defaultMaxTotalTime);
}

void VmMechanic::setAdviceDataSize(double megabytes) {
    m_adviceDataSize = sensible(megabytes, defaultAdviceDataSize);
}

std::optional<double> VmMechanic::freeSystemSpace() const {
    return m_seams.volume.freeBytes(m_recordFolder);
}

float VmMechanic::maxRecordOne(double rate, unsigned channels) const {
    if (!(rate > 0.0))
        return 0.0f;
    return static_cast<float>(m_maxRecordTime * std::min(rate, highestRate) * std::min(channels, mostChannels) *
                              2);
}

double VmMechanic::needFreeSpace(double rate, unsigned channels) const {
    return static_cast<double>(maxRecordOne(rate, channels)) + reserveBytes;
}

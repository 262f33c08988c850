// The part of VmKeeper that runs the compressor. What is not said otherwise is done on the compression thread.
#include "app/VmControler.h"
#include "base/Alert.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/RunLoop.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "keeper/CompressionProof.h"
#include "keeper/CompressorTask.h"
#include "keeper/VmKeeper.h"
#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/Volume.h"

#include <utility>

namespace {
constexpr const char* errorKey = "CompressErrorMessage";
constexpr const char* noCompressor = "CompresserNoExistError";
constexpr const char* executeError = "CompresserExecuteError";
constexpr std::string_view testExtension = "test";
} // namespace

// Main thread

std::string VmKeeper::sampleDataFile() const {
    const Seams& seams = m_controler.seams();
    const std::string name = seams.defaults.stringForKey("SampleDataFileName");
    const std::string wished =
        Paths::inFolder(Paths::expandingTilde(seams.defaults.stringForKey("SampleDataFilePath")), name);
    if (seams.volume.exists(wished))
        return wished;
    for (const std::string& folder : seams.soundFolders)
        if (std::string path = Paths::inFolder(folder, name); seams.volume.exists(path))
            return path;
    return wished;
}

bool VmKeeper::compressSampleFile(const std::string& path, const CompressCommand& command) {
    const Seams& seams = m_controler.seams();
    const std::string target = Paths::inFolder(m_keepFolder, RecordFolder::bareName(path));
    const FileCopier::Result result = FileCopier(seams.volume).copy(path, target, {.replace = true});
    if (!result.done()) {
        reportError("VmKeeper: sample cannot be copied: " + result.fault + ": " + path);
        seams.alert.tell({"CheckKeepActionError", "CompressingErrorInfo", "Understand"});
        return false;
    }
    queueCompression({.target = target, .command = command});
    return true;
}

// Compression thread

void VmKeeper::setAnimating(bool animating) {
    onMainThread([this, animating] { m_compressIndicator.setAnimating(animating); });
}

int VmKeeper::execTaskWithPath(const std::string& path, const std::vector<std::string>& arguments) {
    return execute(path, arguments, m_monitorCommand).status;
}

CompressorTask::Result VmKeeper::execute(const std::string& path, const std::vector<std::string>& arguments,
                                         bool monitor) {
    SystemLog& log = m_controler.seams().log;
    setAnimating(true);
    const CompressorTask::Result result =
        CompressorTask::run({.path = path,
                             .arguments = arguments,
                             .monitor = monitor,
                             .timeLimit = static_cast<double>(m_compressTimeLimit),
                             .folder = m_lockedFolder},
                            m_stopping);
    setAnimating(false);
    if (result.end == CompressorTask::End::noTask)
        log.log("Task create error.");
    else if (result.end == CompressorTask::End::noPipe)
        log.log("Pipe create error.");
    if (const std::string fault = result.fault(); !fault.empty())
        log.log("VmKeeper: " + path + ": " + fault);
    return result;
}

void VmKeeper::takeInHand(const std::string& target) {
    const std::lock_guard guard(m_mutex);
    m_inHand = target;
}

void VmKeeper::compressFile(Compression& compression) {
    if (m_stopping)
        return;
    const Seams& seams = m_controler.seams();
    const CompressCommand wished = compression.command.value_or(command());
    const std::string& target = compression.target;
    if (!seams.volume.exists(wished.path)) {
        postComplete(target, noCompressor);
        return;
    }
    takeInHand(target);
    const CompressionProof proof(seams.volume, target);
    m_lockedFolder = Paths::folderOf(target);
    const CompressorTask::Result result =
        execute(wished.path, wished.argumentsFor(target), m_monitorCommand || compression.command);
    if (m_stopping) {
        seams.log.log("VmKeeper: compression is broken off, it is made up for at the next launch: " + target);
        return;
    }
    warnOfTime(target, result.seconds);
    m_proof = &proof;
    postComplete(target, result.status == 0 ? "" : executeError);
    m_proof = nullptr;
    takeInHand({});
    onMainThread([this] { renewIfShown(); });
}

void VmKeeper::warnOfTime(const std::string& target, double elapsed) const {
    const std::string_view name = RecordFolder::bareName(target);
    if (m_names.isKeepDataFile(name) && elapsed > m_names.totalSecondOfFile(name))
        m_controler.seams().alert.tell({"CompressOverTimeAlert", "CompressOverTimeInfo", "Understand"});
}

void VmKeeper::postComplete(const std::string& target, const std::string& error) const {
    Notification notification{"CompressCompleteNotification", target, {}};
    if (!error.empty())
        notification.userInfo.emplace(errorKey, error);
    m_controler.seams().notifications.post(notification);
}

void VmKeeper::postKeepComplete() {
    if (!m_compressions.isEmpty())
        return;
    m_completeSaid = true;
    m_controler.seams().log.log("Notification to DateKeepComplete");
    m_controler.seams().notifications.post({"DataKeepCompleteNotification", {}, {}});
}

void VmKeeper::compressThreaCompleteHandle(const Notification& notification) {
    const std::string& target = notification.object;
    const auto found = notification.userInfo.find(errorKey);
    const std::string error = found == notification.userInfo.end() ? std::string() : found->second;
    if (!m_names.hasSoundExtension(RecordFolder::bareName(target))) {
        completeCheckKeepActionHandle(target, error);
        return;
    }
    SystemLog& log = m_controler.seams().log;
    if (error.empty()) {
        finishCompressed(target);
    } else if (error == noCompressor) {
        log.log("File compresser not exist error.");
        reportUncompressed(error,
                           "VmKeeper: recording is kept uncompressed, there is no compressor: " + target);
    } else {
        log.log("File compress execute error.");
        if (putBack(target))
            reportUncompressed(error,
                               "VmKeeper: recording is kept uncompressed, the compressor failed: " + target);
    }
    postKeepComplete();
}

/// The compressor says that it went well.
void VmKeeper::finishCompressed(const std::string& target) {
    Volume& volume = m_controler.seams().volume;
    if (const std::string fault = m_proof == nullptr ? std::string() : m_proof->fault(); !fault.empty()) {
        if (putBack(target))
            reportUncompressed(fault.substr(0, fault.find('(')), // without the size
                               "VmKeeper: the compressor said that it succeeded, but " + fault + ": " + target);
        return;
    }
    learnRatio(target);
    m_compressFault.clear();
    if (volume.exists(target) && volume.remove(target) != 0)
        m_controler.seams().log.log("VmKeeper: uncompressed copy cannot be removed: " + target);
}

void VmKeeper::learnRatio(const std::string& target) {
    Volume& volume = m_controler.seams().volume;
    const auto uncompressedSize = static_cast<double>(volume.fileSize(target).value_or(0));
    const auto compressed = CompressionProof::find(volume, target);
    if (!compressed || uncompressedSize <= 0.0)
        return;
    const double ratio = static_cast<double>(compressed->bytes) / uncompressedSize;
    if (0.0 < ratio && ratio < 1.0)
        setCompressRatio(static_cast<float>((ratio + static_cast<double>(compressRatio())) * 0.5));
}

/// A compressor that failed may have removed the recording all the same, and what it left is worth nothing.
/// False when the recording is lost.
bool VmKeeper::putBack(const std::string& target) {
    if (m_proof == nullptr)
        return true;
    if (m_proof->isGone()) {
        if (const std::string fault = m_proof->restore(); !fault.empty()) {
            reportLost("removed the recording, and it could not be put back: " + fault, target);
            return false;
        }
        m_controler.seams().log.log("VmKeeper: the compressor removed the recording, it was put back: " +
                                    target);
    }
    if (m_proof->isWrittenOver()) {
        reportLost("wrote over the recording", target);
        return false;
    }
    m_proof->discard();
    return true;
}

/// Each one is told.
void VmKeeper::reportLost(const std::string& how, const std::string& target) const {
    reportError("VmKeeper: the compressor " + how + ": " + target);
    m_controler.seams().alert.tell({"KeptRecordingLost", "KeptRecordingLostInfo", "Understand"});
}

void VmKeeper::reportUncompressed(const std::string& kind, const std::string& message) {
    if (std::exchange(m_compressFault, kind) == kind) {
        m_controler.seams().log.log(message);
        return;
    }
    reportError(message);
    m_controler.seams().alert.tell({"CompressError", "CompressErrorInfo", "Understand"});
}

void VmKeeper::completeCheckKeepActionHandle(const std::string& target, const std::string& error) {
    if (KeepName::extensionOf(RecordFolder::bareName(target)) != testExtension)
        return;
    const Seams& seams = m_controler.seams();
    const auto compressed = CompressionProof::find(seams.volume, target);
    const double uncompressedSize = static_cast<double>(seams.volume.fileSize(sampleDataFile()).value_or(0));
    const bool isCompressed = error.empty() && compressed && compressed->bytes > 0 && uncompressedSize > 0.0;
    if (compressed)
        seams.volume.remove(compressed->path);
    if (seams.volume.exists(target))
        seams.volume.remove(target);
    if (isCompressed) {
        seams.notifications.post({"CompressRatioNotification",
                                  formatted("%.9g", static_cast<double>(compressed->bytes) / uncompressedSize),
                                  {}});
        seams.alert.tell({"CompleteKeepAction", "CompleteKeepActionInfo", "Understand"});
    } else {
        seams.alert.tell({"CheckKeepActionError",
                          error == noCompressor ? "NoCompresserExistInfo" : "CompressingErrorInfo",
                          "Understand"});
    }
    postKeepComplete();
}

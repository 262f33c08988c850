// The keeping of old recordings, and what belongs to the meter, the player and the window.
#include "app/VmControler.h"
#include "app/VmPrefer.h"
#include "base/Alert.h"
#include "base/Formatted.h"
#include "base/RunLoop.h"
#include "base/SystemLog.h"
#include "keeper/CompressCommand.h"
#include "keeper/VmKeeper.h"
#include "library/VmPlayer.h"
#include "recorder/VmLevelMeter.h"
#include "storage/FileCopier.h"
#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/VmMechanic.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace {
constexpr std::string_view testExtension = ".test";
constexpr float percent = 100.0f;

/// Where a folder really lies, whatever links lead there.
std::string placeOf(const std::string& folder) {
    const std::string path = Paths::trimmed(Paths::expandingTilde(folder));
    std::error_code fault;
    const std::filesystem::path place = std::filesystem::weakly_canonical(path, fault);
    return fault ? path : place.string();
}
} // namespace

void VmPrefer::observeKeeper() {
    const Seams& seams = m_controler.seams();
    m_compressRatios =
        seams.notifications.observe("CompressRatioNotification", [this](const Notification& notification) {
            onMainThread([this, notification] { compressRatioHandle(notification); });
        });
    // Also after a failure, which the keeper tells.
    m_compressEnds =
        seams.notifications.observe("CompressCompleteNotification", [this](const Notification& notification) {
            if (notification.object.ends_with(testExtension))
                onMainThread([this] { checkKeepActionEnded(); });
        });
}

void VmPrefer::onMainThread(std::function<void()> call) const {
    m_controler.seams().runLoop.post([alive = std::weak_ptr(m_alive), call = std::move(call)] {
        if (!alive.expired())
            call();
    });
}

// --- what is in force ----------------------------------------------------------------------------------------

void VmPrefer::readKeeper() {
    const VmKeeper& keeper = m_controler.keeper();
    keepOperationCheck.setOn(keeper.keepOperation());
    keepFolderText.setText(keeper.keepFolder());
    keepPeriodText.setValue(keeper.keepPeriod());
    commandPathText.setText(keeper.commandPath());
    argumentText.setText(keeper.argumentStr());
    compressRatioText.setValue(static_cast<double>(keeper.compressRatio()));
    compressTimeLimitText.setValue(keeper.compressTimeLimit());
    monitorCommandCheck.setOn(keeper.monitorCommand());
    m_keptBytes = keeper.totalKeepSpace();
}

void VmPrefer::dispKeepTime() {
    const double free = m_controler.keeper().freeSystemSpace();
    const double seconds = StoragePlan::maxKeepTimeWithReserveSpace(
        {.freeSpace = free, .reserveSpace = reserveSpace(), .totalKeepSpace = m_keptBytes},
        plan().needPerSecond(), compressRatioText.value());
    keepTimeText.setText(std::isfinite(seconds) ? formatted("%.1f", seconds / StoragePlan::secondsPerDay)
                                                : "–");
}

std::string_view VmPrefer::commandFaultKey() const {
    if (!Paths::expandingTilde(commandPathText.text()).starts_with('/'))
        return "NoCommandPath";
    return argumentText.text().find("%@") == std::string::npos ? "NoCommandArgument" : "";
}

std::string_view VmPrefer::keepFaultKey() const {
    if (!keepOperationCheck.isOn())
        return {};
    if (!isFolderPath(keepFolderText.text()))
        return "NoSuchKeepFolder";
    if (placeOf(keepFolderText.text()) == placeOf(recordFolderText.text()))
        return "KeepFolderIsRecordFolder";
    return commandFaultKey();
}

// --- applying ------------------------------------------------------------------------------------------------

void VmPrefer::applyProgram() {
    if (isChanged(peekHoldText)) {
        m_controler.meter().setPeekHoldTime(peekHoldText.value());
        m_controler.meter().saveUserDefaults();
    }
    if (isChanged(verifyDeleteCheck)) {
        m_controler.player().setVerifyDelete(verifyDeleteCheck.isOn());
        m_controler.player().saveUserDefaults();
    }
    if (isChanged(opacitySlider)) {
        m_controler.setOpacity(static_cast<float>(opacitySlider.value()) / percent);
        m_controler.saveUserDefaults();
    }
}

void VmPrefer::applyKeeper() {
    VmKeeper& keeper = m_controler.keeper();
    if (isChanged(keepOperationCheck))
        keeper.setKeepOperation(keepOperationCheck.isOn());
    if (isChanged(keepFolderText))
        keeper.setKeepFolder(Paths::expandingTilde(keepFolderText.text()));
    if (isChanged(keepPeriodText))
        keeper.setKeepPeriod(keepPeriodText.integerValue());
    if (isChanged(commandPathText))
        keeper.setCommandPath(Paths::expandingTilde(commandPathText.text()));
    if (isChanged(argumentText))
        keeper.setArgumentStr(argumentText.text());
    if (isChanged(compressRatioText))
        keeper.setCompressRatio(static_cast<float>(compressRatioText.value()));
    if (isChanged(monitorCommandCheck))
        keeper.setMonitorCommand(monitorCommandCheck.isOn());
    if (isChanged(compressTimeLimitText))
        keeper.setCompressTimeLimit(compressTimeLimitText.integerValue());
}

void VmPrefer::renewRecordList() const {
    m_controler.player().renewListAndControl();
}

// --- compressor test -----------------------------------------------------------------------------------------

void VmPrefer::actCheckKeepAction() {
    const Seams& seams = m_controler.seams();
    const std::string source = m_controler.keeper().sampleDataFile();
    const std::string sample =
        Paths::inFolder(m_controler.mechanic().recordFolder(),
                        std::string(RecordFolder::bareName(source)).append(testExtension));
    const FileCopier::Result copied = FileCopier(seams.volume).copy(source, sample, {.replace = true});
    if (!copied.done()) {
        reportError("VmPrefer: sample sound cannot be copied: " + copied.fault + ": " + source);
        seams.alert.tell({"CheckKeepActionError", "CompressingErrorInfo", "Understand"});
        return;
    }
    m_checkingKeep = true;
    if (!m_controler.keeper().compressSampleFile(
            sample, {.path = Paths::expandingTilde(commandPathText.text()), .argument = argumentText.text()}))
        m_checkingKeep = false;
    if (const int error = seams.volume.remove(sample); error != 0 && error != ENOENT)
        seams.log.log("VmPrefer: sample sound cannot be removed: " + sample);
    resetControlState();
}

void VmPrefer::checkKeepActionEnded() {
    m_checkingKeep = false;
    if (drawer.isOpen())
        resetControlState();
}

void VmPrefer::compressRatioHandle(const Notification& notification) {
    m_checkingKeep = false;
    if (!drawer.isOpen())
        return;
    compressRatioText.setValue(std::strtod(notification.object.c_str(), nullptr));
    dispDiskInfo();
    resetControlState();
}

// Applying: only what was changed is handed on, in a fixed order.
#include "app/VmControler.h"
#include "app/VmPrefer.h"
#include "audio/VmDevice.h"
#include "base/Alert.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "base/SystemLog.h"
#include "dutylog/VmDutyLog.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"
#include "schedule/VmReserver.h"
#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/VmMechanic.h"

#include <algorithm>

void VmPrefer::actChangePrefer() {
    if (!drawer.isOpen() || !m_controlEnabled || !faultKey().empty())
        return;
    applyFormat();
    applySources();
    applyRecorder();
    applyMarker();
    applyHiding();
    m_controler.recorder().saveUserDefaults();
    applyStorage();
    m_controler.recorder().saveUserDefaults();
    applyProgram();
    applyReserver();
    if (isChanged(writeLogCheck)) {
        m_controler.dutylog().setWriteLog(writeLogCheck.isOn());
        m_controler.dutylog().saveUserDefaults();
    }
    applyQuality();
    applyKeeper();
    applyAdvice();
    exitPrefer();
}

void VmPrefer::post(const char* event) const {
    m_controler.seams().notifications.postLogEvent(event);
}

void VmPrefer::reportError(const std::string& message) const {
    m_controler.seams().log.log(message);
    m_controler.seams().notifications.postLogEvent("SomeErrorHappen", message);
}

std::optional<int> VmPrefer::presentSource(const Popup& popup, const std::vector<std::string>& present) const {
    const int chosen = popup.selected();
    if (popup.items() == present)
        return chosen;
    if (chosen < 0)
        return std::nullopt;
    const std::string& name = popup.items().at(static_cast<std::size_t>(chosen));
    const auto found = std::ranges::find(present, name);
    if (found != present.end())
        return static_cast<int>(found - present.begin());
    reportError("VmPrefer: the chosen source is not there any more: " + name);
    return std::nullopt;
}

void VmPrefer::applyFormat() {
    VmRecorder& recorder = m_controler.recorder();
    if (isChanged(ratePopup)) {
        recorder.setRateNumber(ratePopup.selected());
        post("SampleRateChange");
    }
    if (isChanged(channelsPopup)) {
        recorder.setChannels(channelsPopup.selected() + 1);
        recorder.initMarkerBuffer();
        recorder.renewDispSampleRate();
        post("ChannelsChange");
    }
}

void VmPrefer::applySources() {
    VmDevice& devicer = m_controler.devicer();
    if (isChanged(recordSourcePopup))
        if (const auto source = presentSource(recordSourcePopup, devicer.usableJapanRecordSourceNames())) {
            devicer.changeRecordSource(*source);
            post("InputSourceChange");
        }
    // Outputs are logged as inputs are: the book knows no other block for them.
    if (isChanged(playSourcePopup))
        if (const auto source = presentSource(playSourcePopup, devicer.usableJapanPlaySourceNames())) {
            devicer.changePlaySource(*source);
            post("InputSourceChange");
        }
    if (isChanged(monitorSourcePopup))
        if (const auto source = presentSource(monitorSourcePopup, devicer.usableJapanPlaySourceNames())) {
            devicer.changeMonitorSource(*source);
            post("InputSourceChange");
        }
}

void VmPrefer::applyRecorder() {
    VmRecorder& recorder = m_controler.recorder();
    if (isChanged(recordModePopup)) {
        recorder.setRecordMode(recordModePopup.selected());
        post("RecordModeChange");
    }
    if (isChanged(sliderAlwaysCheck))
        recorder.setSliderAlways(sliderAlwaysCheck.isOn());
    if (isChanged(delayText)) {
        recorder.setDelayTime(delayText.integerValue());
        post("DelayTimeChange");
    }
    if (isChanged(priorText)) {
        recorder.setPreBufferSec(priorText.integerValue());
        post("PreTimeChange");
    }
    if (isChanged(dispTotalCheck))
        recorder.setDispTotalTime(dispTotalCheck.isOn());
    if (isChanged(autoStartupCheck))
        recorder.setAutoStartup(autoStartupCheck.isOn());
}

void VmPrefer::applyMarker() {
    VmRecorder& recorder = m_controler.recorder();
    if (isChanged(markerSoundPopup)) {
        recorder.setMarkerSound(
            markerSoundPopup.items().at(static_cast<std::size_t>(markerSoundPopup.selected())));
        post("MarkerSoundChange");
    }
    if (isChanged(markerMonitorCheck))
        recorder.setMarkerMonitor(markerMonitorCheck.isOn());
    if (isChanged(markerOptionPopup)) {
        recorder.setMarkerOption(markerOptionPopup.selected());
        post("MarkerPeriodChange");
    }
}

void VmPrefer::applyStorage() {
    VmMechanic& mechanic = m_controler.mechanic();
    if (isChanged(maxRecordPopup)) {
        mechanic.setMaxRecordTime((maxRecordPopup.selected() + 1) * 3600.0);
        post("MaxRecordChange");
    }
    if (isChanged(maxTotalText)) {
        mechanic.setMaxTotalTime(maxTotalText.value() * StoragePlan::secondsPerDay);
        post("KeepPeriodChange");
    }
    if (isChanged(recordFolderText))
        applyFolder(Paths::trimmed(Paths::expandingTilde(recordFolderText.text())));
    if (isChanged(maxRecordPopup) || isChanged(maxTotalText))
        mechanic.saveUserDefaults(); // a duty of days may end without a quit
}

void VmPrefer::applyFolder(const std::string& folder) {
    const Seams& seams = m_controler.seams();
    if (m_renaming != nullptr)
        proceedRenaming(true); // in the folder that was meant
    // Two recorders in one folder would take each other's work files for leftovers.
    if (m_folderGuard && seams.volume.makeFolder(folder) && !m_folderGuard(folder)) {
        reportError("VmPrefer: another recorder uses the folder " + folder);
        seams.alert.tell({"FolderInUse", "FolderInUseInfo", "Understand"});
        return;
    }
    m_controler.mechanic().setDirPath(folder);
    post("RecordFolderChange");
}

void VmPrefer::applyReserver() {
    VmReserver& reserver = m_controler.reserver();
    const auto apply = [this](const Control& control, auto&& set) {
        if (isChanged(control))
            set();
        return isChanged(control);
    };
    bool changed = false;
    const auto take = [&](const Control& control, auto&& set) { changed |= apply(control, set); };
    take(reserveAutoStartupCheck, [&] { reserver.setReserveAutoStartup(reserveAutoStartupCheck.isOn()); });
    take(verifyDeleteReserveCheck, [&] { reserver.setVerifyDeleteReserve(verifyDeleteReserveCheck.isOn()); });
    take(defReserveValidCheck, [&] { reserver.setDefReserveValid(defReserveValidCheck.isOn()); });
    take(defReserveNameText, [&] { reserver.setDefReserveName(defReserveNameText.text()); });
    take(defReserveMonthPopup, [&] { reserver.setDefReserveMonth(defReserveMonthPopup.selected()); });
    take(defReserveDayPopup, [&] { reserver.setDefReserveDay(defReserveDayPopup.selected()); });
    take(defReserveWeekPopup, [&] { reserver.setDefReserveWeek(defReserveWeekPopup.selected()); });
    take(defReserveRatePopup, [&] { reserver.setDefReserveRate(defReserveRatePopup.selected()); });
    take(defReserveChannelsPopup,
         [&] { reserver.setDefReserveChannels(defReserveChannelsPopup.selected() + 1); });
    take(defReserveDevicePopup, [&] {
        const auto present = m_controler.devicer().usableJapanRecordSourceNames();
        if (const auto source = presentSource(defReserveDevicePopup, present))
            reserver.changeDefReserveDevice(*source);
    });
    take(defReserveModePopup, [&] { reserver.setDefReserveMode(defReserveModePopup.selected()); });
    if (changed)
        reserver.saveUserDefaults();
}

void VmPrefer::applyQuality() {
    if (!isChanged(highQualityCheck))
        return;
    VmDevice& devicer = m_controler.devicer();
    devicer.setUseHighQuality(highQualityCheck.isOn());
    devicer.setRecordSource(devicer.recordSource());
    devicer.setMonitorSource(devicer.monitorSource());
    devicer.setPlaySource(devicer.playSource());
}

void VmPrefer::applyAdvice() {
    VmMechanic& mechanic = m_controler.mechanic();
    if (isChanged(adviceCheck))
        mechanic.setAdviceOperation(adviceCheck.isOn());
    if (isChanged(adviceSizeText))
        mechanic.setAdviceDataSize(adviceSizeText.value());
    if (isChanged(adviceCheck) || isChanged(adviceSizeText))
        mechanic.saveUserDefaults();
}

// --- hiding --------------------------------------------------------------------------------------------------

void VmPrefer::applyHiding() {
    if (!isChanged(hideCheck))
        return;
    if (m_renaming != nullptr)
        proceedRenaming(true);
    m_controler.recorder().setHideSoundFile(hideCheck.isOn());
    m_renaming =
        std::make_unique<HidingRename>(m_controler.seams().volume, m_controler.mechanic().recordFolder(),
                                       hideCheck.isOn() ? HidingRename::Wish::hide : HidingRename::Wish::show);
    proceedRenaming(false);
}

void VmPrefer::proceedRenaming(bool isLast) {
    constexpr double longestTurn = 0.02; // seconds on the main thread; a folder may hold very many files
    const Seams& seams = m_controler.seams();
    const HostTime end = seams.clock.hostTime() + hostTimeFromSeconds(longestTurn);
    const std::string inProgress(RecordFolder::bareName(m_controler.recorder().progressFilePath()));
    const bool isDone = m_renaming->proceed([&] { return !isLast && seams.clock.hostTime() > end; },
                                            [&](const std::string& name) { return name == inProgress; });
    if (!isDone) {
        m_renameTimer = seams.runLoop.schedule({.interval = longestTurn}, [this] { proceedRenaming(false); });
        return;
    }
    m_renameTimer.reset();
    const std::unique_ptr<HidingRename> done = std::move(m_renaming);
    seams.log.log(formatted("VmPrefer: %u sound files are %s.", done->renamed(),
                            done->wish() == HidingRename::Wish::hide ? "hidden" : "shown"));
    for (const std::string& failure : done->failures())
        seams.log.log("VmPrefer: sound file " + failure);
    if (!done->failures().empty())
        reportError(
            formatted("VmPrefer: %zu sound files could not be hidden or shown.", done->failures().size()));
    renewRecordList();
}

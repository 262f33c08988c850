// Opening, closing, and what is shown while the drawer is open; applying is in VmPreferApply.cpp.
#include "app/VmPrefer.h"

#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Alert.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "dutylog/VmDutyLog.h"
#include "library/VmPlayer.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"
#include "schedule/ReserveChoices.h"
#include "schedule/VmReserver.h"
#include "storage/Paths.h"
#include "storage/VmMechanic.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr const char* lastTabKey = "LastSelectedTabIndex";
constexpr const char* dash = "–";
constexpr int mostHours = 23; // of a file: its name tells less than a day
constexpr int markerOptions = 5;
constexpr int percent = 100;
constexpr double figuresInterval = 2.0; // seconds

std::string withNumber(std::string text, int number) {
    if (const std::size_t place = text.find("%1"); place != std::string::npos)
        text.replace(place, 2, std::to_string(number));
    return text;
}

std::vector<std::string> hourItems(const Texts& texts) {
    std::vector<std::string> items = {texts("OneHour")};
    for (int hours = 2; hours <= mostHours; ++hours)
        items.push_back(withNumber(texts("SomeHours"), hours));
    return items;
}

void fill(Popup& popup, std::vector<std::string> items, int selected) {
    const int count = static_cast<int>(items.size());
    popup.setItems(std::move(items));
    popup.select(count == 0 ? -1 : std::clamp(selected, 0, count - 1));
}
} // namespace

VmPrefer::VmPrefer(VmControler& controler) : m_controler(controler) {
    okButton.setEnabled(false);
    pages.select(std::clamp(controler.seams().defaults.integerForKey(lastTabKey), 0,
                            static_cast<int>(PreferPage::program)));
    setActions();
    observeKeeper();
}

VmPrefer::~VmPrefer() {
    // A hidden recording that is still to be shown would not outlive the next launch.
    if (m_renaming != nullptr)
        proceedRenaming(true);
}

void VmPrefer::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault(lastTabKey, 0);
}

void VmPrefer::setActions() {
    preferButton.setAction([this] { actExecPrefer(); });
    okButton.setAction([this] { actChangePrefer(); });
    cancelButton.setAction([this] { actCanceledPrefer(); });
    pages.setAction([this](int page) { m_controler.seams().defaults.set(lastTabKey, page); });
    for (const PreferItem& item : m_items) {
        const PreferItem::ControlOf control = item.controlOf();
        if (auto* const* popup = std::get_if<Popup*>(&control))
            (*popup)->setAction([this](int) { edited(); });
        else if (auto* const* field = std::get_if<NumberField*>(&control))
            (*field)->setAction([this] { edited(); });
        else if (auto* const* button = std::get_if<Button*>(&control))
            (*button)->setAction([this] { edited(); });
        else if (auto* const* text = std::get_if<TextField*>(&control))
            (*text)->setAction([this] { edited(); });
    }
    maxRecordPopup.setAction([this](int) { actMaxRecordTime(); });
    maxTotalText.setAction([this] { actMaxTotalText(); });
    opacitySlider.setAction([this](int) { actOpacitySlider(); });
    hideCheck.setAction([this] { actHideCheck(); });
    checkKeepActionButton.setAction([this] { actCheckKeepAction(); });
    for (Popup* const source : {&recordSourcePopup, &defReserveDevicePopup})
        source->setAction([this](int) {
            renewRates();
            edited();
        });
}

// --- opening and closing -------------------------------------------------------------------------------------

void VmPrefer::actExecPrefer() {
    if (drawer.isOpen()) {
        if (okButton.enabled())
            execPrefer(); // what was changed is not thrown away by a slip
        else
            actCanceledPrefer();
        return;
    }
    if (m_controler.authorization() && m_controler.VmAuthorization() != 0) {
        preferButton.setOn(false);
        return;
    }
    // The file of a recording that was just switched off is finished first: its format may change now.
    if (m_controler.recorder().condition() == RecordCondition::recording)
        m_controler.recorder().resetCondition();
    m_controlEnabled = true;
    readSettings();
    holdAll();
    dispDiskInfo();
    resetControlState();
    execPrefer();
}

void VmPrefer::execPrefer() {
    m_controler.recorder().setPreferencesOpen(true);
    preferButton.setOn(true);
    drawer.setOpen(true);
    m_figuresTimer = m_controler.seams().runLoop.schedule({.interval = figuresInterval, .repeats = true},
                                                          [this] { dispDiskInfo(); });
}

void VmPrefer::exitPrefer() {
    m_figuresTimer.reset();
    drawer.setOpen(false);
    preferButton.setOn(false);
    m_controler.recorder().setPreferencesOpen(false);
    okButton.setEnabled(false);
}

void VmPrefer::actCanceledPrefer() {
    if (!drawer.isOpen())
        return;
    m_controler.setOpacity(m_opacity);
    exitPrefer();
}

void VmPrefer::setControlEnabled(bool enabled) {
    m_controlEnabled = enabled;
    preferButton.setEnabled(enabled || drawer.isOpen());
    preferButton.setToolTip(enabled ? "" : m_controler.seams().texts("PreferencesNeedStop"));
    if (drawer.isOpen())
        resetControlState();
}

// --- what is in force ----------------------------------------------------------------------------------------

void VmPrefer::readSettings() {
    readRecorder();
    readDevices();
    readStorage();
    readMarker();
    readReserver();
    readKeeper();
    readProgram();
    renewRates();
}

void VmPrefer::readRecorder() {
    const VmRecorder& recorder = m_controler.recorder();
    const Texts& texts = m_controler.seams().texts;
    fill(channelsPopup, {texts("ChannelMono"), texts("ChannelStereo")}, recorder.channels() - 1);
    fill(recordModePopup, {texts("AlwaysMode"), texts("AutoMode"), texts("StandbyMode")},
         recorder.recordMode());
    delayText.setValue(recorder.delayTime());
    priorText.setValue(recorder.preBufferSec());
    sliderAlwaysCheck.setOn(recorder.sliderAlways());
    dispTotalCheck.setOn(recorder.dispTotalTime());
    autoStartupCheck.setOn(recorder.autoStartup());
    ratePopup.select(recorder.rateNumber());
}

void VmPrefer::readDevices() {
    const VmDevice& devicer = m_controler.devicer();
    fill(recordSourcePopup, devicer.usableJapanRecordSourceNames(), devicer.recordSource());
    fill(playSourcePopup, devicer.usableJapanPlaySourceNames(), devicer.playSource());
    fill(monitorSourcePopup, devicer.usableJapanPlaySourceNames(), devicer.monitorSource());
    highQualityCheck.setOn(devicer.useHighQuality());
}

void VmPrefer::readStorage() {
    VmMechanic& mechanic = m_controler.mechanic();
    const int hours = static_cast<int>(std::lround(mechanic.maxRecordTime() / 3600.0));
    fill(maxRecordPopup, hourItems(m_controler.seams().texts), hours - 1);
    maxTotalText.setValue(mechanic.maxTotalTime() / StoragePlan::secondsPerDay);
    recordFolderText.setText(mechanic.recordFolder());
    hideCheck.setOn(m_controler.recorder().hideSoundFile());
    adviceCheck.setOn(mechanic.adviceOperation());
    adviceSizeText.setValue(mechanic.adviceDataSize());
    m_recordedSeconds = mechanic.recordTotalTime();
}

void VmPrefer::readMarker() {
    const VmRecorder& recorder = m_controler.recorder();
    const Texts& texts = m_controler.seams().texts;
    std::vector<std::string> intervals = {texts("OneMinute")};
    for (int option = 1; option < markerOptions; ++option)
        intervals.push_back(withNumber(texts("SomeMinutes"), VmRecorder::markerIntervalWithNumber(option)));
    fill(markerOptionPopup, std::move(intervals), recorder.markerOption());
    std::vector<std::string> sounds = recorder.markerSounds();
    auto chosen = std::ranges::find(sounds, recorder.markerSound());
    if (chosen == sounds.end() && !recorder.markerSound().empty()) // gone, but still the one that is wished
        chosen = sounds.insert(sounds.end(), recorder.markerSound());
    const auto index = static_cast<int>(chosen - sounds.begin());
    fill(markerSoundPopup, std::move(sounds), recorder.markerSound().empty() ? 0 : index);
    markerMonitorCheck.setOn(recorder.markerMonitor());
}

void VmPrefer::readReserver() {
    const VmReserver& reserver = m_controler.reserver();
    const Texts& texts = m_controler.seams().texts;
    defReserveValidCheck.setOn(reserver.defReserveValid());
    defReserveNameText.setText(reserver.defReserveName());
    fill(defReserveMonthPopup, ReserveChoices::months(texts), reserver.defReserveMonth());
    fill(defReserveDayPopup, ReserveChoices::days(texts), reserver.defReserveDay());
    fill(defReserveWeekPopup, ReserveChoices::weeks(texts), reserver.defReserveWeek());
    fill(defReserveChannelsPopup, ReserveChoices::channels(texts), reserver.defReserveChannels() - 1);
    fill(defReserveModePopup, ReserveChoices::modes(texts), reserver.defReserveMode());
    fill(defReserveDevicePopup, m_controler.devicer().usableJapanRecordSourceNames(),
         m_controler.devicer().checkRecordSource(reserver.defReserveDevice()));
    defReserveRatePopup.select(reserver.defReserveRate());
    reserveAutoStartupCheck.setOn(reserver.reserveAutoStartup());
    verifyDeleteReserveCheck.setOn(reserver.verifyDeleteReserve());
}

void VmPrefer::readProgram() {
    m_opacity = m_controler.opacity();
    opacitySlider.setValue(static_cast<int>(std::lround(m_opacity * percent)));
    peekHoldText.setValue(m_controler.meter().peekHoldTime());
    verifyDeleteCheck.setOn(m_controler.player().verifyDelete());
    writeLogCheck.setOn(m_controler.dutylog().writeLog());
}

void VmPrefer::renewRates() {
    const VmDevice& devicer = m_controler.devicer();
    devicer.renewSampleRatePopup(ratePopup, recordSourcePopup.selected(), ratePopup.selected());
    devicer.renewSampleRatePopup(defReserveRatePopup, defReserveDevicePopup.selected(),
                                 defReserveRatePopup.selected());
}

void VmPrefer::setPlaySourceEnabled(bool enabled) {
    m_playSourceEnabled = enabled;
    playSourcePopup.setEnabled(enabled && m_controlEnabled && !playSourcePopup.items().empty());
}

// --- edits ---------------------------------------------------------------------------------------------------

void VmPrefer::edited() {
    dispDiskInfo();
    resetControlState();
}

void VmPrefer::actMaxRecordTime() {
    if (const auto free = freeSpace(); free && plan().isRecordTooBig(*free)) {
        m_controler.seams().alert.ask({"TooBigError", "SelectSmaller", "Understand"});
        maxRecordPopup.select(0);
    }
    edited();
}

void VmPrefer::actMaxTotalText() {
    if (const auto free = freeSpace(); free && plan().isTotalTooLong(*free)) {
        m_controler.seams().alert.ask({"TooLongError", "SelectShorter", "Understand"});
        maxTotalText.setValue(1.0);
    }
    edited();
}

void VmPrefer::actOpacitySlider() {
    m_controler.setOpacity(static_cast<float>(opacitySlider.value()) / percent);
    resetControlState();
}

void VmPrefer::actHideCheck() {
    const bool isNew = hideCheck.isOn() && !m_controler.recorder().hideSoundFile();
    if (isNew && m_controler.seams().alert.ask({"HideCaution", "HideCautionInfo", "ExecHide", "Cancel"}) !=
                     AlertAnswer::defaultButton)
        hideCheck.setOn(false);
    edited();
}

// --- display -------------------------------------------------------------------------------------------------

std::optional<double> VmPrefer::freeSpace() const {
    return m_controler.mechanic().freeSystemSpace();
}

StoragePlan VmPrefer::plan() const {
    const VmDevice& devicer = m_controler.devicer();
    const int source = recordSourcePopup.selected();
    const double rate = source == devicer.recordSource()
                            ? m_controler.recorder().sampleRate(ratePopup.selected())
                            : devicer.recordSampleRateWithSource(source, ratePopup.selected());
    return StoragePlan({.rate = rate,
                        .channels = channelsPopup.selected() + 1,
                        .maxRecordTime = (maxRecordPopup.selected() + 1) * 3600.0,
                        .maxTotalDays = maxTotalText.value()});
}

double VmPrefer::reserveSpace() const {
    return plan().reserveSpace(m_controler.mechanic().maxTotalTime(), m_recordedSeconds);
}

void VmPrefer::dispDiskInfo() {
    const StoragePlan figures = plan();
    const double total = figures.needTotalSpace();
    const auto free = freeSpace();
    freeSpaceText.setText(free ? formatted("%.2f", *free / StoragePlan::bytesPerGigabyte) : dash);
    freeTimeText.setText(free ? formatted("%ld", figures.freeHours(*free)) : dash);
    needTotalText.setText(formatted("%.2f", total / StoragePlan::bytesPerGigabyte));
    const double recorded = m_recordedSeconds * figures.needPerSecond(); // takes its place already
    needTotalText.setColor(free && total - recorded > *free ? TextColor::red : TextColor::black);
    dispKeepTime();
}

bool VmPrefer::isFolderPath(const std::string& path) const {
    const std::string expanded = Paths::expandingTilde(path);
    Volume& volume = m_controler.seams().volume;
    return expanded.starts_with('/') && (!volume.exists(expanded) || volume.isFolder(expanded));
}

std::string_view VmPrefer::faultKey() const {
    if (!isFolderPath(recordFolderText.text()))
        return "NoSuchRecordFolder";
    return keepFaultKey();
}

void VmPrefer::resetControlState() {
    const std::string_view fault = faultKey();
    messageText.setText(!m_controlEnabled ? m_controler.seams().texts("PreferencesNeedStop")
                        : fault.empty()   ? std::string()
                                          : m_controler.seams().texts(fault));
    messageText.setColor(TextColor::red);
    for (const PreferItem& item : m_items) {
        const auto* const* popup = std::get_if<Popup*>(&item.controlOf());
        item.control().setEnabled(m_controlEnabled && (popup == nullptr || !(*popup)->items().empty()));
    }
    playSourcePopup.setEnabled(playSourcePopup.enabled() && m_playSourceEnabled);
    checkKeepActionButton.setEnabled(m_controlEnabled && !m_checkingKeep && commandFaultKey().empty());
    okButton.setEnabled(m_controlEnabled && isAnyChanged() && fault.empty());
    preferButton.setEnabled(m_controlEnabled || drawer.isOpen());
}

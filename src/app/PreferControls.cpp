#include "app/PreferControls.h"

#include "storage/StoragePlan.h"

#include <algorithm>

namespace {
constexpr double secondsPerHour = 3600.0;
constexpr double longestHold = 60.0;      // seconds
constexpr double longestPreBuffer = 79.0; // seconds
constexpr double mostDays = 9999.0;
constexpr double mostMegabytes = 1e8;
constexpr double longestDelay = 3600.0; // seconds
} // namespace

PreferControls::PreferControls()
    : delayText({.maximum = longestDelay}),
      priorText({.maximum = longestPreBuffer}),
      maxTotalText({.minimum = 0.01, .maximum = mostDays, .decimals = 2}),
      adviceSizeText({.minimum = 1.0, .maximum = mostMegabytes, .step = 256.0}),
      keepPeriodText({.minimum = 1.0, .maximum = mostDays}),
      compressRatioText({.minimum = 0.01, .maximum = 1.0, .step = 0.01, .decimals = 2}),
      compressTimeLimitText({.minimum = 1.0, .maximum = StoragePlan::secondsPerDay, .step = 60.0}),
      peekHoldText({.maximum = longestHold, .step = 0.5, .decimals = 2}),
      opacitySlider(10, 100) {
    using enum PreferPage;
    m_items = {
        {recording, "SamplingRateNumber", &ratePopup},
        {recording, "ChannelsNumber", &channelsPopup, {1.0, 1.0}},
        {recording, "RecordMode", &recordModePopup},
        {recording, "AutoStopDelayTime", &delayText},
        {recording, "PreBufferingSeconds", &priorText},
        {recording, "SliderAlwaysEnable", &sliderAlwaysCheck},
        {recording, "DisplayTotalTime", &dispTotalCheck},
        {recording, "AutoRecordStartup", &autoStartupCheck},
        {sources, "recordSourceDevice", &recordSourcePopup},
        {sources, "PlaybackSourceDevice", &playSourcePopup},
        {sources, "MonitorSourceDevice", &monitorSourcePopup},
        {sources, "UseHightQualitySampling", &highQualityCheck},
        {storage, "MaxRecordTime", &maxRecordPopup, {secondsPerHour, 1.0}},
        {storage, "MaxTotalTime", &maxTotalText, {StoragePlan::secondsPerDay, 0.0}},
        {storage, "DirectoryPath", &recordFolderText},
        {storage, "HideSoundFileFlag", &hideCheck},
        {storage, "BackupAdviceOperation", &adviceCheck},
        {storage, "BackupAdviceDataSize", &adviceSizeText},
        {marker, "MarkerSoundOption", &markerOptionPopup},
        {marker, "MarkerSoundName", &markerSoundPopup},
        {marker, "MarkerSoundMonitor", &markerMonitorCheck},
        {timetable, "DefaultReserveValid", &defReserveValidCheck},
        {timetable, "DefaultReserveName", &defReserveNameText},
        {timetable, "DefaultReserveMonth", &defReserveMonthPopup},
        {timetable, "DefaultReserveDay", &defReserveDayPopup},
        {timetable, "DefaultReserveWeek", &defReserveWeekPopup},
        {timetable, "DefaultReserveRate", &defReserveRatePopup},
        {timetable, "DefaultReserveChannel", &defReserveChannelsPopup, {1.0, 1.0}},
        {timetable, "DefaultReserveDevice", &defReserveDevicePopup},
        {timetable, "DefaultReserveMode", &defReserveModePopup},
        {timetable, "ReserveAutoStartup", &reserveAutoStartupCheck},
        {timetable, "VerifyDeleteTimer", &verifyDeleteReserveCheck},
        {keeping, "KeepOperation", &keepOperationCheck},
        {keeping, "KeepFileKeepFolder", &keepFolderText},
        {keeping, "KeepFileKeepPeriod", &keepPeriodText},
        {keeping, "CommandPathString", &commandPathText},
        {keeping, "CommandArgumentString", &argumentText},
        {keeping, "CompressRatio", &compressRatioText},
        {keeping, "CompressTimeLimit", &compressTimeLimitText},
        {keeping, "MonitorCommandLine", &monitorCommandCheck},
        {program, "PeekLevelHoldTime", &peekHoldText},
        {program, "WindowOpacity", &opacitySlider, {0.01, 0.0}},
        {program, "VerifyDelete", &verifyDeleteCheck},
        {program, "WriteLogBook", &writeLogCheck},
    };
}

const char* PreferControls::pageKey(PreferPage page) {
    static constexpr const char* keys[] = {"PreferPageRecording", "PreferPageSources",   "PreferPageStorage",
                                           "PreferPageMarker",    "PreferPageTimetable", "PreferPageKeeping",
                                           "PreferPageProgram"};
    return keys[static_cast<std::size_t>(page)];
}

const PreferItem* PreferControls::item(std::string_view setting) const {
    const auto found = std::ranges::find(m_items, setting, &PreferItem::setting);
    return found == m_items.end() ? nullptr : &*found;
}

bool PreferControls::isChanged(const Control& control) const {
    const auto found =
        std::ranges::find_if(m_items, [&](const PreferItem& item) { return &item.control() == &control; });
    return found != m_items.end() && found->isChanged();
}

bool PreferControls::isAnyChanged() const {
    return std::ranges::any_of(m_items, &PreferItem::isChanged);
}

void PreferControls::holdAll() {
    for (PreferItem& item : m_items)
        item.hold();
}

// app/PreferControls.h — what a person sees and presses in the preferences.
#pragma once
#include "app/PreferItem.h"
#include "base/Controls.h"
#include "base/Drawer.h"
#include "base/NumberField.h"

#include <vector>

/// The controls of the preferences drawer; `VmPrefer` alone sets them. A view shows `items` page by page, each
/// with its caption and line of help. Main thread only.
class PreferControls {
public:
    PreferControls();
    PreferControls(const PreferControls&) = delete;
    PreferControls& operator=(const PreferControls&) = delete;

    // The drawer
    Button preferButton; ///< opens it; on the record tab
    Drawer drawer;
    TabView pages; ///< as `PreferPage`
    Button okButton;
    Button cancelButton;

    // Figures; each is a dash when it cannot be had
    TextField freeSpaceText; ///< gigabytes
    TextField freeTimeText;  ///< hours
    TextField needTotalText; ///< gigabytes; red when there is not so much room
    TextField keepTimeText;  ///< days of sound that the keep folder can hold
    TextField messageText;   ///< why the choice cannot be applied; red, empty when it can

    // Recording
    Popup ratePopup;
    Popup channelsPopup;
    Popup recordModePopup;
    NumberField delayText; ///< seconds
    NumberField priorText; ///< seconds
    Button sliderAlwaysCheck;
    Button dispTotalCheck;
    Button autoStartupCheck;

    // Sources
    Popup recordSourcePopup;
    Popup playSourcePopup;
    Popup monitorSourcePopup;
    Button highQualityCheck;

    // Storage
    Popup maxRecordPopup;
    NumberField maxTotalText; ///< days
    TextField recordFolderText;
    Button hideCheck;
    Button adviceCheck;
    NumberField adviceSizeText; ///< megabytes

    // Marker
    Popup markerOptionPopup;
    Popup markerSoundPopup;
    Button markerMonitorCheck;

    // Timetable: the defaults of a new entry, and more
    Button defReserveValidCheck;
    TextField defReserveNameText;
    Popup defReserveMonthPopup;
    Popup defReserveDayPopup;
    Popup defReserveWeekPopup;
    Popup defReserveRatePopup;
    Popup defReserveChannelsPopup;
    Popup defReserveDevicePopup;
    Popup defReserveModePopup;
    Button reserveAutoStartupCheck;
    Button verifyDeleteReserveCheck;

    // Keeping
    Button keepOperationCheck;
    TextField keepFolderText;
    NumberField keepPeriodText; ///< days
    TextField commandPathText;
    TextField argumentText;
    NumberField compressRatioText;
    NumberField compressTimeLimitText; ///< seconds
    Button monitorCommandCheck;
    Button checkKeepActionButton; ///< tries the command; no setting

    // Program
    NumberField peekHoldText; ///< seconds
    Slider opacitySlider;     ///< per cent
    Button verifyDeleteCheck;
    Button writeLogCheck;

    /// Key of the text that heads a page.
    static const char* pageKey(PreferPage page);
    /// Every setting, in the order in which a page shows it.
    const std::vector<PreferItem>& items() const { return m_items; }
    /// The item of a setting, by its key in the settings store; none for what is no preference.
    const PreferItem* item(std::string_view setting) const;
    /// Whether `control` shows another value than the one in force.
    bool isChanged(const Control& control) const;
    /// Whether any of them does.
    bool isAnyChanged() const;

protected:
    ~PreferControls() = default;
    void holdAll();

    std::vector<PreferItem> m_items;
};

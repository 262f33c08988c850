// The timer tab: its table, and the drawer that shows the selected entry.
#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Clock.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "schedule/ReserveChoices.h"
#include "schedule/VmReserveList.h"
#include "schedule/VmReserver.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {
constexpr int stepSeconds = 300; // of the pop-ups of minutes
constexpr int lastHour = 24;     // the midnight that ends the day: no minutes after it
} // namespace

void VmReserver::awake() {
    VmReserveList& list = m_controler.reservelist();
    std::vector<TableColumn> columns;
    for (const char* column :
         {"EnabledReserve", "ReserveName", "ReserveMonth", "ReserveDay", "ReserveWeek", "StartTime", "StopTime",
          "SampleRate", "ChannelsNumber", "SourceDevice", "RecordMode", "EntryMark", "NextSpan"})
        columns.push_back({.identifier = column,
                           .titleKey = std::string(column) + "Head",
                           .tipKey = std::string(column) + "Title"});
    timerTable.setColumns(std::move(columns));
    timerTable.setSource(&list);
    timerTable.setRowAction([this] { setSelectedRow(timerTable.selectedRow()); });
    timerTable.setSortAction([this] { sortTimers(); });
    m_listChanges = m_controler.seams().notifications.observe(VmReserveListChanged_Notification,
                                                              [this](const Notification&) { listChanged(); });
    fillPopups();
    setActions();
    drawer.setOpen(m_timerDrawerState);
    drawerButton.setOn(m_timerDrawerState);
    showSelected();
}

void VmReserver::fillPopups() {
    const Texts& texts = m_controler.seams().texts;
    monthPopup.setItems(ReserveChoices::months(texts));
    dayPopup.setItems(ReserveChoices::days(texts));
    weekPopup.setItems(ReserveChoices::weeks(texts));
    startHourPopup.setItems(ReserveChoices::hours());
    startMinutePopup.setItems(ReserveChoices::minutes());
    stopHourPopup.setItems(ReserveChoices::hours());
    stopMinutePopup.setItems(ReserveChoices::minutes());
    channelsPopup.setItems(ReserveChoices::channels(texts));
    modePopup.setItems(ReserveChoices::modes(texts));
}

void VmReserver::setActions() {
    insertButton.setAction([this] { actInsertTimer(); });
    copyButton.setAction([this] { actCopyTimer(); });
    deleteButton.setAction([this] { actDeleteTimer(); });
    drawerButton.setAction([this] { actTimerDrawer(); });
    enabledCheck.setAction([this] { edited(); });
    nameField.setAction([this] { edited(); });
    for (Popup* const popup :
         {&monthPopup, &dayPopup, &weekPopup, &ratePopup, &channelsPopup, &devicePopup, &modePopup})
        popup->setAction([this](int) { edited(); });
    for (Popup* const time : {&startHourPopup, &startMinutePopup, &stopHourPopup, &stopMinutePopup})
        time->setAction([this](int) {
            m_timeEdited = true;
            edited();
        });
}

void VmReserver::mainTabSelected() {
    m_controler.reservelist().initReserveList(); // inputs may have come or gone
    listChanged();
    renewSoon();
}

void VmReserver::mainTabUnselected() {
    m_renewal.reset();
    timerTable.giveUpEditing();
}

/// What comes next is another thing when a minute has begun.
void VmReserver::renewSoon() {
    const Clock& clock = m_controler.seams().clock;
    const double second = clock.calendarDate(clock.now()).second;
    m_renewal = m_controler.seams().runLoop.schedule({.interval = 60.0 - second}, [this] {
        timerTable.reloadData();
        renewSoon();
    });
}

void VmReserver::actTimerDrawer() {
    m_timerDrawerState = drawerButton.isOn();
    drawer.setOpen(m_timerDrawerState);
    UserDefaults& defaults = m_controler.seams().defaults;
    defaults.set("TimerDrawerState", m_timerDrawerState ? 1 : 0);
    defaults.synchronize();
}

void VmReserver::listChanged() {
    timerTable.reloadData();
    setSelectedRow(m_selectedRow);
}

void VmReserver::setSelectedRow(int row) {
    m_selectedRow = row >= 0 && row < count() ? row : -1;
    timerTable.selectRow(m_selectedRow);
    showSelected();
}

void VmReserver::sortTimers() {
    const SortDescriptor& sort = timerTable.sortDescriptor();
    m_controler.reservelist().sortDescriptorsDidChange({{sort.column, sort.ascending}});
}

std::array<Control*, 13> VmReserver::entryControls() {
    return {&enabledCheck,   &nameField,        &monthPopup,    &dayPopup,        &weekPopup,
            &startHourPopup, &startMinutePopup, &stopHourPopup, &stopMinutePopup, &ratePopup,
            &channelsPopup,  &devicePopup,      &modePopup};
}

void VmReserver::showSelected() {
    const VmReserverElement* const selected = elementAtIndex(m_selectedRow);
    for (Control* const control : entryControls())
        control->setEnabled(selected != nullptr);
    copyButton.setEnabled(selected != nullptr);
    deleteButton.setEnabled(selected != nullptr);
    if (selected == nullptr) {
        enabledCheck.setOn(false);
        nameField.setText("");
        return;
    }
    const VmDevice& devicer = m_controler.devicer();
    const auto select = [](Popup& popup, int value) {
        popup.select(std::clamp(value, -1, static_cast<int>(popup.items().size()) - 1));
    };
    enabledCheck.setOn(selected->enabled() != 0);
    nameField.setText(selected->name());
    select(monthPopup, selected->month());
    select(dayPopup, selected->day());
    select(weekPopup, selected->week());
    select(startHourPopup, selected->startHour());
    select(startMinutePopup, selected->startMinute() * 60 / stepSeconds);
    select(stopHourPopup, selected->stopHour());
    select(stopMinutePopup, selected->stopMinute() * 60 / stepSeconds);
    devicePopup.setItems(devicer.usableJapanRecordSourceNames());
    select(devicePopup, selected->device());
    devicer.renewSampleRatePopup(ratePopup, selected->device(), selected->sample());
    select(channelsPopup, selected->channels() == 1 ? 0 : 1);
    select(modePopup, selected->mode() == 0 ? 0 : 1);
}

void VmReserver::edited() {
    const bool timeEdited = std::exchange(m_timeEdited, false);
    if (elementAtIndex(m_selectedRow) == nullptr)
        return;
    for (const auto& [hour, minute] :
         {std::pair(&startHourPopup, &startMinutePopup), std::pair(&stopHourPopup, &stopMinutePopup)})
        if (hour->selected() == lastHour)
            minute->select(0);
    // Times that lie between two steps are not brought to one of them by another edit.
    writeValues({.name = nameField.text(),
                 .enabled = enabledCheck.isOn(),
                 .startHour = startHourPopup.selected(),
                 .startMinute = startMinutePopup.selected(),
                 .stopHour = stopHourPopup.selected(),
                 .stopMinute = stopMinutePopup.selected(),
                 .sample = ratePopup.selected(),
                 .channels = channelsPopup.selected(),
                 .device = devicePopup.selected(),
                 .mode = modePopup.selected(),
                 .month = monthPopup.selected(),
                 .day = dayPopup.selected(),
                 .week = weekPopup.selected()},
                timeEdited ? Times::taken : Times::kept);
}

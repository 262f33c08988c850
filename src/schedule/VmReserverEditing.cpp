// The editing of the timetable and its settings.
#include "app/VmControler.h"
#include "base/Alert.h"
#include "base/Clock.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "schedule/VmReserveList.h"
#include "schedule/VmReserver.h"

#include <algorithm>

namespace {
constexpr const char* nameKey = "DefaultReserveName";

/// Of a pop-up of hours and one of five-minute steps.
int secondsOf(int hour, int fiveMinutes) {
    return hour * 3600 + fiveMinutes * 300;
}
} // namespace

VmReserver::VmReserver(VmControler& controler) : m_controler(controler) {
    const UserDefaults& defaults = m_controler.seams().defaults;
    m_reserveAutoStartup = defaults.boolForKey("ReserveAutoStartup");
    m_verifyDeleteReserve = defaults.boolForKey("VerifyDeleteTimer");
    m_timerDrawerState = defaults.integerForKey("TimerDrawerState") != 0;
    m_defReserveValid = defaults.boolForKey("DefaultReserveValid");
    m_defReserveName = defaults.stringForKey(nameKey);
    if (defaults.valueForKey(nameKey) == defaults.registeredDefault(nameKey))
        m_defReserveName = m_controler.seams().texts(m_defReserveName);
    m_defReserveMonth = defaults.integerForKey("DefaultReserveMonth");
    m_defReserveDay = defaults.integerForKey("DefaultReserveDay");
    m_defReserveWeek = defaults.integerForKey("DefaultReserveWeek");
    m_defReserveRate = defaults.integerForKey("DefaultReserveRate");
    m_defReserveChannels = defaults.integerForKey("DefaultReserveChannel");
    m_defReserveDevice = defaults.integerForKey("DefaultReserveDevice");
    m_defReserveMode = defaults.integerForKey("DefaultReserveMode");
}

void VmReserver::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault("TimerDrawerState", 0);
    defaults.registerDefault("VerifyDeleteTimer", true);
    defaults.registerDefault("DefaultReserveValid", true);
    defaults.registerDefault(nameKey, "NoNamedTimer"); // its text is looked up when it is read
    defaults.registerDefault("DefaultReserveMonth", 0);
    defaults.registerDefault("DefaultReserveDay", 0);
    defaults.registerDefault("DefaultReserveWeek", 0);
    defaults.registerDefault("DefaultReserveRate", 1);
    defaults.registerDefault("DefaultReserveChannel", 1);
    defaults.registerDefault("DefaultReserveDevice", 0);
    defaults.registerDefault("DefaultReserveMode", 0);
    defaults.registerDefault("ReserveAutoStartup", false);
}

void VmReserver::saveUserDefaults() {
    UserDefaults& defaults = m_controler.seams().defaults;
    defaults.set("TimerDrawerState", m_timerDrawerState ? 1 : 0);
    defaults.set("VerifyDeleteTimer", m_verifyDeleteReserve);
    defaults.set("DefaultReserveValid", m_defReserveValid);
    defaults.set(nameKey, std::string_view(m_defReserveName));
    defaults.set("DefaultReserveMonth", m_defReserveMonth);
    defaults.set("DefaultReserveDay", m_defReserveDay);
    defaults.set("DefaultReserveWeek", m_defReserveWeek);
    defaults.set("DefaultReserveRate", m_defReserveRate);
    defaults.set("DefaultReserveChannel", m_defReserveChannels);
    defaults.set("DefaultReserveDevice", m_defReserveDevice);
    defaults.set("DefaultReserveMode", m_defReserveMode);
    defaults.set("ReserveAutoStartup", m_reserveAutoStartup);
    defaults.synchronize();
}

void VmReserver::changeDefReserveDevice(int device) {
    setDefReserveDevice(device);
    m_controler.seams().defaults.set("DefaultReserveDevice", device);
    m_controler.seams().defaults.synchronize();
}

VmReserverElement VmReserver::newElement() const {
    const Clock& clock = m_controler.seams().clock;
    const CalendarDate now = clock.calendarDate(clock.now());
    const int nextMark = now.hour * 3600 + now.minute / 5 * 300 + 300;
    VmReserverElement element(m_controler.seams().texts);
    element.setName(m_defReserveName);
    element.setEnabled(m_defReserveValid);
    element.setStart(nextMark);
    element.setStop(nextMark);
    element.setMode(m_defReserveMode);
    element.setSample(m_defReserveRate);
    element.setChannels(m_defReserveChannels);
    element.setDevice(m_defReserveDevice);
    element.setMonth(m_defReserveMonth);
    element.setDay(m_defReserveDay);
    element.setWeek(m_defReserveWeek);
    return element;
}

void VmReserver::insertElement(VmReserverElement element) {
    const int row = m_selectedRow >= 0 && m_selectedRow < count() ? m_selectedRow : count();
    m_selectedRow = row;
    m_controler.reservelist().insert(std::move(element), row);
}

void VmReserver::actInsertTimer() {
    insertElement(newElement());
}

void VmReserver::actCopyTimer() {
    const VmReserverElement* const selected = elementAtIndex(m_selectedRow);
    if (selected == nullptr)
        return;
    VmReserverElement copy = *selected->clone();
    if (copy.device() < 0) // there is no source at present
        copy.setDevice(
            m_controler.reservelist().lastTimers()[static_cast<std::size_t>(m_selectedRow)].device());
    insertElement(std::move(copy));
}

void VmReserver::actDeleteTimer() {
    if (elementAtIndex(m_selectedRow) == nullptr)
        return;
    if (m_verifyDeleteReserve &&
        m_controler.seams().alert.ask({"RemoveTimerCaution", "RemoveTimerInfo", "ExecRemove", "Cancel"}) !=
            AlertAnswer::defaultButton)
        return;
    const int row = m_selectedRow;
    m_selectedRow = std::min(row, count() - 2); // the entry that moves up, or the last one
    m_controler.reservelist().remove(row);
}

void VmReserver::resetTimerElementValue(const TimerElementValue& values) {
    writeValues(values, Times::taken);
}

void VmReserver::writeValues(const TimerElementValue& values, Times times) {
    const VmReserverElement* const selected = elementAtIndex(m_selectedRow);
    if (selected == nullptr)
        return;
    VmReserverElement element = *selected;
    element.setName(values.name);
    element.setEnabled(values.enabled);
    if (times == Times::taken) {
        element.setStart(secondsOf(values.startHour, values.startMinute));
        element.setStop(secondsOf(values.stopHour, values.stopMinute));
    }
    element.setSample(values.sample);
    element.setChannels(values.channels + 1);
    element.setDevice(values.device);
    element.setMode(values.mode);
    element.setMonth(values.month);
    element.setDay(values.day);
    element.setWeek(values.week);
    m_controler.reservelist().replace(m_selectedRow, std::move(element));
}

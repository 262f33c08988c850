// schedule/VmReserver.h — what the timetable says about the present moment, and its editing.
#pragma once
#include "base/Date.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "schedule/TimerControls.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

class UserDefaults;
class VmControler;
class VmReserveList;
class VmReserverElement;

/// Asks the list of entries against the local clock. Every question reads the list afresh, in its order, and
/// the clock once; nothing is kept between questions. Main thread only.
///
/// An entry that is handed out holds until the list is changed; null stands for none.
class VmReserver final : public TimerControls {
public:
    struct NextElement {
        const VmReserverElement* element = nullptr;
        std::int32_t second = 86400; ///< seconds until its start
    };
    /// What the controls of the drawer say; the positions of pop-ups count from 0.
    struct TimerElementValue {
        std::string name;
        bool enabled = false;
        int startHour = 0;
        int startMinute = 0; ///< in steps of 5 minutes
        int stopHour = 0;
        int stopMinute = 0; ///< in steps of 5 minutes
        int sample = 0;
        int channels = 0; ///< 0 is mono
        int device = 0;
        int mode = 0;
        int month = 0;
        int day = 0;
        int week = 0;
    };

    explicit VmReserver(VmControler& controler);
    static void registerDefaults(UserDefaults& defaults);
    /// Shows the list, and the drawer as it was left. Needs the list and the record sources.
    void awake();
    void saveUserDefaults();

    // Questions
    /// The first enabled entry that may run today and starts in this minute: the same one for the whole minute.
    const VmReserverElement* startElement() const;
    /// The first enabled entry whose span contains now, both ends included, on whichever day.
    const VmReserverElement* withinElement() const;
    /// As `withinElement`, but an entry that stops in this very second is passed over: nothing is left of it to
    /// record. One that stops when it starts runs the whole day.
    const VmReserverElement* unfinishedWithinElement() const;
    /// As `startElement`, but an entry that has reached its stop within the minute of its start is passed over.
    const VmReserverElement* unfinishedStartElement() const;
    /// The nearest start within the next 24 hours, the first entry of equal ones. An entry fixed to yesterday
    /// that started less than a day ago counts with the negative seconds since then.
    NextElement nextElementSecond() const;
    const VmReserverElement* nextElement() const { return nextElementSecond().element; }
    /// Seconds until the start of `nextElement`; 86400 when there is none.
    std::int32_t nextStartTime() const { return nextElementSecond().second; }
    /// When `element`, running now, stops: the next time that the clock shows its stop, at least a second away.
    /// A stop that a clock change skips is reckoned as if the clock had not changed.
    Date stopDate(const VmReserverElement& element) const;
    /// The latest moment not after now at which `element` started; if a clock change skipped its start, the
    /// moment of that change.
    Date startDate(const VmReserverElement& element) const;
    int validReserves() const; ///< entries whose `enabled` is exactly 1
    int enables() const;       ///< entries whose `enabled` is not 0
    int count() const;
    const VmReserverElement* elementAtIndex(int index) const;

    // Editing
    int selectedRow() const { return m_selectedRow; } ///< -1 is none
    /// Shows the row's entry in the drawer.
    void setSelectedRow(int row);
    /// The timer tab is shown, or another one: what follows the clock is read anew.
    void mainTabSelected();
    void mainTabUnselected();
    /// Opens or closes the drawer.
    void actTimerDrawer();
    /// A new entry, from the next five-minute mark, before the selected row.
    void actInsertTimer();
    void actCopyTimer();
    /// Asks first, if so set.
    void actDeleteTimer();
    /// Writes the drawer's values into the selected entry.
    void resetTimerElementValue(const TimerElementValue& values);

    // Settings
    bool reserveAutoStartup() const { return m_reserveAutoStartup; }
    void setReserveAutoStartup(bool on) { m_reserveAutoStartup = on; }
    bool verifyDeleteReserve() const { return m_verifyDeleteReserve; }
    void setVerifyDeleteReserve(bool on) { m_verifyDeleteReserve = on; }
    bool timerDrawerState() const { return m_timerDrawerState; }
    void setTimerDrawerState(bool open) { m_timerDrawerState = open; }

    // What a new entry begins with
    bool defReserveValid() const { return m_defReserveValid; }
    void setDefReserveValid(bool valid) { m_defReserveValid = valid; }
    const std::string& defReserveName() const { return m_defReserveName; }
    void setDefReserveName(std::string name) { m_defReserveName = std::move(name); }
    int defReserveMonth() const { return m_defReserveMonth; }
    void setDefReserveMonth(int month) { m_defReserveMonth = month; }
    int defReserveDay() const { return m_defReserveDay; }
    void setDefReserveDay(int day) { m_defReserveDay = day; }
    int defReserveWeek() const { return m_defReserveWeek; }
    void setDefReserveWeek(int week) { m_defReserveWeek = week; }
    int defReserveRate() const { return m_defReserveRate; }
    void setDefReserveRate(int sample) { m_defReserveRate = sample; }
    int defReserveChannels() const { return m_defReserveChannels; }
    void setDefReserveChannels(int channels) { m_defReserveChannels = channels; }
    int defReserveDevice() const { return m_defReserveDevice; }
    void setDefReserveDevice(int device) { m_defReserveDevice = device; }
    /// A person's choice: stored at once.
    void changeDefReserveDevice(int device);
    int defReserveMode() const { return m_defReserveMode; }
    void setDefReserveMode(int mode) { m_defReserveMode = mode; }

private:
    enum class Ending { counts, passedOver };
    const VmReserverElement* elementContainingNow(Ending ending) const;
    const VmReserverElement* elementStartingNow(Ending ending) const;
    VmReserverElement newElement() const;
    void fillPopups();
    void setActions();
    void listChanged();
    void sortTimers();
    void renewSoon();
    void showSelected();
    /// A person changed one of the drawer's values.
    void edited();
    std::array<Control*, 13> entryControls();
    enum class Times { taken, kept };
    void writeValues(const TimerElementValue& values, Times times);
    /// Before the selected row, or at the end; it is selected then.
    void insertElement(VmReserverElement element);

    VmControler& m_controler;
    int m_selectedRow = -1;
    bool m_timeEdited = false; ///< by the edit that is being handled
    bool m_reserveAutoStartup = false;
    bool m_verifyDeleteReserve = true;
    bool m_timerDrawerState = false;
    bool m_defReserveValid = true;
    std::string m_defReserveName;
    int m_defReserveMonth = 0;
    int m_defReserveDay = 0;
    int m_defReserveWeek = 0;
    int m_defReserveRate = 1;
    int m_defReserveChannels = 1;
    int m_defReserveDevice = 0;
    int m_defReserveMode = 0;
    NotificationCenter::Observation m_listChanges;
    std::unique_ptr<Timer> m_renewal; ///< of what follows the clock, while the tab is shown
};

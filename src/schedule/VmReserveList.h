// schedule/VmReserveList.h — the timetable's entries, their table and their place in the settings.
#pragma once
#include "base/VmTableView.h"
#include "schedule/EntryCalendar.h"
#include "schedule/ReserveRow.h"
#include "schedule/VmReserverElement.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class UserDefaults;
class VmControler;

/// Posted after every change of the entries, of their order, or of the sources that there are.
inline constexpr std::string_view VmReserveListChanged_Notification = "VmReserveListChanged_Notification";

/// Holds the entries in their order and shows them as rows.
///
/// Main thread only. References and pointers to entries hold until the next change.
class VmReserveList final : public TableSource {
public:
    /// One of a table's wishes for the order of its rows, by the key of a column.
    struct SortDescriptor {
        std::string key;
        bool ascending = true;
    };

    explicit VmReserveList(VmControler& controler);
    static void registerDefaults(UserDefaults& defaults);
    /// Loads the entries. One that cannot be read is reported and left out. Needs the record sources.
    void awake();
    /// An entry keeps the source that was chosen for it: what stands in for a missing one is not written.
    void saveUserDefaults();

    const std::vector<VmReserverElement>& timers() const { return m_timers; }
    /// Per entry: whether it was made or edited in this run.
    const std::vector<bool>& renewFlags() const { return m_renewFlags; }
    /// Per entry: as it was loaded or inserted, with the source that was last chosen for it.
    const std::vector<VmReserverElement>& lastTimers() const { return m_lastTimers; }

    // Changes; each is stored and posted
    /// Inserts before `row`; at the end if there is no such row.
    void insert(VmReserverElement element, int row);
    void remove(int row);
    void replace(int row, VmReserverElement element);

    // Table
    const std::vector<ReserveRow>& reserveList() const { return m_reserveList; }
    int numberOfRows() const override { return static_cast<int>(m_reserveList.size()); }
    /// As `objectValue`; besides "NextSpan", the next recording of an enabled entry, its year left out if it is
    /// this one, and "EntryMark", a mark when something is wrong with an entry.
    std::string cell(int row, std::string_view column) const override;
    /// "NextSpan": with both years; "EntryMark": what is wrong, in words.
    std::string tip(int row, std::string_view column) const override;
    bool isWarning(int row, std::string_view column) const override;
    void setCell(int row, std::string_view column, const std::string& text) override {
        setObjectValue(column, row, text);
    }
    /// Start and stop of the entry's next recording by its filters; none for one that is disabled.
    std::optional<EntryCalendar::Span> nextSpan(int row) const;
    /// Whether an enabled entry runs at the same time as another one, on some date.
    bool overlaps(int row) const;
    /// Whether no date passes the entry's filters.
    bool neverStarts(int row) const;
    /// Empty for a row or key that there is not.
    std::string objectValue(std::string_view key, int row) const;
    /// Stores an edited cell in its row.
    void setObjectValue(std::string_view key, int row, std::string text);
    /// Builds the rows anew; an entry whose source is missing gets one that is there, until its own is back.
    void initReserveList();
    /// Inputs came or went.
    void sourcesChanged();
    /// Sorts the rows by the first of `descriptors`, equal ones by the next, and the entries with them.
    void sortDescriptorsDidChange(const std::vector<SortDescriptor>& descriptors);

private:
    enum class Dates { brief, whole };
    std::string nextSpanText(int row, Dates dates) const;
    bool hasRow(int row) const { return row >= 0 && row < static_cast<int>(m_timers.size()); }
    void load();
    void append(const VmReserverElement& element);
    std::vector<ReserveRow> initWithTimers(std::vector<VmReserverElement>& timers) const;
    /// Reads the entries back from the rows; what a row's text leaves open stays as it was.
    void sortTimers();
    VmReserverElement elementFromRow(const ReserveRow& row, const VmReserverElement& former) const;
    int sourceOfRow(const ReserveRow& row, int former) const;
    /// The rate of source `device` that is nearest to the row's.
    int sampleOfRow(const ReserveRow& row, int device, int former) const;
    void changed();
    void postChanged() const;

    VmControler& m_controler;
    std::vector<ReserveRow> m_reserveList;
    std::vector<VmReserverElement> m_timers;
    std::vector<bool> m_renewFlags;
    std::vector<VmReserverElement> m_lastTimers;
};

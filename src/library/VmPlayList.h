// library/VmPlayList.h — the model behind the table of recordings.
#pragma once
#include "base/JobThread.h"
#include "base/RunLoop.h"
#include "base/VmTableView.h"
#include "library/RecordListing.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class VmControler;
class VmMechanic;

/// One row for each recording of the record folder, sorted by name until a person sorts by a column.
///
/// The folder is read on a thread of its own. While the list is shown it follows what other programs do in the
/// folder, and the recording in progress grows in it. The selected recording stays selected, by its name or, if
/// it was renamed, by its file. Rows do not move while a note is edited.
///
/// Main thread only. Rows that are not there yield empty texts and 0.
class VmPlayList final : public TableSource {
public:
    explicit VmPlayList(VmControler& controler);
    ~VmPlayList() override;
    VmPlayList(const VmPlayList&) = delete;
    VmPlayList& operator=(const VmPlayList&) = delete;

    /// Makes `table` show the list, with its columns, and takes over its sorting.
    void attach(VmTableView& table);
    /// Called after rows have changed; the table and its selection are up to date then.
    void setRenewedHandler(std::function<void()> handler) { m_renewed = std::move(handler); }
    /// While shown, the list keeps up with the folder.
    void setShown(bool shown);

    // Reading
    /// Builds both arrays afresh, waiting for the disk: not for a folder of any size while a person waits.
    void initWithDirPath(const std::string& path);
    /// Has the arrays built afresh soon; what was under way for another folder is dropped.
    void renewWithDirPath(const std::string& path);
    /// Whether a renewal is under way.
    bool isRenewing() const { return m_superseded != nullptr; }
    /// Reads one row anew at once, after work on its file; takes it out when the file is gone.
    void renewRow(const std::string& name);

    // Rows
    const std::vector<RecordRow>& playList() const { return m_shown.rows; }
    const std::vector<std::string>& fileList() const { return m_shown.names; } ///< parallel to `playList`
    const std::string& folder() const { return m_shown.folder; }
    std::string fileNameAtRow(int row) const;
    /// -1 for a name that is not listed.
    int rowOfFileName(std::string_view name) const { return m_shown.rowOfName(name); }
    double fileSizeAtRow(int row) const; ///< megabytes
    std::string startTimeStringAtRow(int row) const;
    std::string endTimeStringAtRow(int row) const;
    std::string spendTimeStringAtRow(int row) const;
    double spendTimeAtRow(int row) const; ///< seconds
    std::string noteStringAtRow(int row) const;
    bool isLockedAtRow(int row) const;
    bool isInProgressAtRow(int row) const; ///< it is being recorded

    // Totals
    double totalTime() const;             ///< seconds
    double totalTimeExceptLocked() const; ///< seconds
    double totalSize() const;             ///< megabytes
    int totalFiles() const { return numberOfRows(); }
    std::string totalPeriodString() const;

    // TableSource
    int numberOfRows() const override { return static_cast<int>(m_shown.rows.size()); }
    std::string cell(int row, std::string_view column) const override;
    bool isNumber(std::string_view column) const override { return column == "FileSize"; }
    /// Changes the row record only, nothing on the disk.
    void setCell(int row, std::string_view column, const std::string& text) override;
    /// The first row's file.
    std::vector<std::string> draggedFiles(const std::vector<int>& rows) const override;

private:
    struct Renewal;
    const RecordRow* rowAt(int row) const;
    RecordListing::Request request(const std::string& path) const;
    void startRenewal(const std::string& path);
    void finishRenewal(const std::shared_ptr<Renewal>& renewal);
    void apply(Renewal& renewal);
    void readProgressRow(const std::string& name);
    void putRow(int row, RecordRow renewed);
    void show(RecordListing listing);
    void sortDescriptorDidChange();
    void reportUnreadable(int error);
    void folderChanged();
    void tick();
    void watch();
    bool isEditing() const { return m_table != nullptr && m_table->isEditing(); }

    VmControler& m_controler;
    VmMechanic& m_mechanic;
    VmTableView* m_table = nullptr;
    std::function<void()> m_renewed;
    RecordListing m_shown;                           // in the table's order
    std::shared_ptr<const RecordListing> m_read;     // as last read, by name
    std::vector<SortDescriptor> m_sort;              // the latest first
    std::shared_ptr<std::atomic<bool>> m_superseded; // of the renewal under way
    std::shared_ptr<Renewal> m_heldBack;             // read while a note was edited
    std::string m_wantedPath;                        // to be read after the renewal under way; or empty
    bool m_unreadable = false;
    int m_ticks = 0;             // since the folder was last looked at
    int m_ticksBetweenLooks = 5; // more where looking takes long
    std::unique_ptr<Timer> m_tick;
    std::unique_ptr<Timer> m_burst;      // runs while further changes are waited for
    std::unique_ptr<JobThread> m_reader; // last: ends before what it reports to
};

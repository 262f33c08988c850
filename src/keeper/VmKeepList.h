// keeper/VmKeepList.h — the kept files as the rows of a table.
#pragma once
#include "base/VmTableView.h"
#include "keeper/KeepName.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

class Volume;

/// One row per kept file, in the order of their names until a person sorts them. Columns: "RecordDate",
/// "StartTime", "EndTime", "RecordTime" and "FileSize" (bytes). Rows count from 0. Main thread only.
class VmKeepList final : public TableSource {
public:
    VmKeepList(Volume& volume, KeepName names) : m_volume(volume), m_names(std::move(names)) {}

    /// Reads the folder anew. Folders and links are no kept files, nor is what lies in folders below. 0, or the
    /// errno of a folder that could not be read to its end.
    int initWithDirPath(const std::string& path);
    void sort(const SortDescriptor& order);

    int numberOfRowsInTableView() const { return static_cast<int>(m_rows.size()); }
    /// Empty for a row that is not there.
    std::string fileNameAtRow(int row) const;
    double fileSizeAtRow(int row) const; ///< bytes
    std::string spendTimeStringAtRow(int row) const;
    double spendTimeAtRow(int row) const; ///< seconds
    /// The row of a file, -1 when there is none.
    int rowOfFile(std::string_view name) const;

    int totalFiles() const { return numberOfRowsInTableView(); }
    double totalTime() const; ///< seconds
    double totalSize() const; ///< bytes
    std::string totalPeriodString() const;

    int numberOfRows() const override { return numberOfRowsInTableView(); }
    std::string cell(int row, std::string_view column) const override;
    bool isNumber(std::string_view column) const override { return column == "FileSize"; }
    /// In memory only: no file is touched.
    void setCell(int row, std::string_view column, const std::string& text) override;
    /// Only the first of the rows.
    std::vector<std::string> draggedFiles(const std::vector<int>& rows) const override;

private:
    struct Row {
        std::string name;
        std::map<std::string, std::string, std::less<>> cells;
        double bytes = 0.0;
    };
    bool has(int row) const { return row >= 0 && row < numberOfRowsInTableView(); }
    const Row& at(int row) const { return m_rows[static_cast<std::size_t>(row)]; }

    Volume& m_volume;
    const KeepName m_names;
    std::string m_folder;
    std::vector<Row> m_rows;
};

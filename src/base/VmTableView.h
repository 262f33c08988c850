// base/VmTableView.h — a table of rows, without a toolkit.
#pragma once
#include "base/Controls.h"

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Where a table takes its cells from. Rows count from 0; columns are known by their identifiers. Main thread
/// only.
class TableSource {
public:
    virtual ~TableSource() = default;
    virtual int numberOfRows() const = 0;
    /// The text of a cell; empty for a row or a column that is not there.
    virtual std::string cell(int row, std::string_view column) const = 0;
    /// What a cell has to say besides its text; also told to a screen reader. None: the text itself.
    virtual std::string tip(int, std::string_view) const { return {}; }
    /// Whether a cell warns, and stands out from the others.
    virtual bool isWarning(int, std::string_view) const { return false; }
    /// What orders the rows by a column, where its texts do not ("FileSize"): compares as text otherwise.
    virtual bool isNumber(std::string_view) const { return false; }
    /// A person's new text for a cell.
    virtual void setCell(int, std::string_view, const std::string&) {}
    /// The full paths that dragging these rows out of the window carries.
    virtual std::vector<std::string> draggedFiles(const std::vector<int>&) const { return {}; }
};

struct TableColumn {
    std::string identifier;
    std::string titleKey; ///< of the localised texts
    bool editable = false;
    bool rightAligned = false;
    std::string tipKey = {}; ///< of the head's tool tip; empty: its title
};

struct SortDescriptor {
    std::string column;
    bool ascending = true;
    bool operator==(const SortDescriptor&) const = default;
};

/// A table of which one row or none is selected. Main thread only.
class VmTableView : public Control {
public:
    const std::vector<TableColumn>& columns() const { return m_columns; }
    void setColumns(std::vector<TableColumn> columns) {
        m_columns = std::move(columns);
        changed();
    }

    TableSource* source() const { return m_source; }
    void setSource(TableSource* source) {
        m_source = source;
        reloadData();
    }
    /// All rows may be others now; a selection beyond the last row ends.
    void reloadData() {
        ++m_generation;
        if (m_selectedRow >= numberOfRows())
            m_selectedRow = -1;
        changed();
    }
    /// Counts how often the rows were exchanged, so that a view knows when to read them again.
    unsigned generation() const { return m_generation; }
    int numberOfRows() const { return m_source == nullptr ? 0 : m_source->numberOfRows(); }

    int selectedRow() const { return m_selectedRow; } ///< -1 is none
    /// Selects without telling anybody but the views.
    void selectRow(int row) { change(m_selectedRow, row < numberOfRows() ? row : -1); }
    /// A person's selection.
    void chooseRow(int row) {
        if (!enabled())
            return;
        selectRow(row);
        if (m_rowAction)
            m_rowAction();
    }
    void setRowAction(std::function<void()> action) { m_rowAction = std::move(action); }

    /// A double click, or the return key, on the selected row.
    void doubleClick() {
        if (enabled() && m_selectedRow >= 0 && m_doubleAction)
            m_doubleAction();
    }
    void setDoubleAction(std::function<void()> action) { m_doubleAction = std::move(action); }

    const SortDescriptor& sortDescriptor() const { return m_sort; }
    void setSortDescriptor(SortDescriptor sort) { change(m_sort, std::move(sort)); }
    /// A person's press on a column's head: sorts by it, or turns its order around.
    void pressHead(const std::string& column) {
        const bool again = m_sort.column == column;
        setSortDescriptor({column, again ? !m_sort.ascending : true});
        if (m_sortAction)
            m_sortAction();
    }
    void setSortAction(std::function<void()> action) { m_sortAction = std::move(action); }

    /// Asks the view to edit a cell in its place; `ended` is called with the new text when the person has
    /// finished, never when the editing was given up.
    void editCell(int row, std::string column, std::function<void(std::string)> ended) {
        m_edited = {row, std::move(column), std::move(ended)};
        changed();
    }
    bool isEditing() const { return m_edited.row >= 0; }
    int editedRow() const { return m_edited.row; }
    const std::string& editedColumn() const { return m_edited.column; }
    /// A person's end of editing.
    void endEditing(std::string text) {
        const Edited edited = std::exchange(m_edited, {});
        changed();
        if (edited.row >= 0 && edited.ended)
            edited.ended(std::move(text));
    }
    void giveUpEditing() {
        m_edited = {};
        changed();
    }

private:
    struct Edited {
        int row = -1;
        std::string column{};
        std::function<void(std::string)> ended{};
    };

    std::vector<TableColumn> m_columns;
    TableSource* m_source = nullptr;
    unsigned m_generation = 0;
    int m_selectedRow = -1;
    SortDescriptor m_sort;
    Edited m_edited;
    std::function<void()> m_rowAction;
    std::function<void()> m_doubleAction;
    std::function<void()> m_sortAction;
};

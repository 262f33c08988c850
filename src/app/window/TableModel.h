// app/window/TableModel.h — the rows of a toolkit-free table, as a widget wants them.
#pragma once
#include "base/VmTableView.h"

#include <QAbstractTableModel>
#include <QStringList>

class Texts;

/// Rows are asked for when they are drawn: their number does not matter. Main thread only.
class TableModel : public QAbstractTableModel {
public:
    /// `texts` is read while constructing only. `table` must outlive the model.
    TableModel(VmTableView& table, const Texts& texts, QObject* parent = nullptr);

    /// The table's rows may be others now. Those that a view edits or has scrolled to stay where they are.
    void reload();
    /// -1 for none of that name.
    int columnNamed(const std::string& identifier) const;
    const TableColumn& column(int section) const {
        return m_table.columns()[static_cast<std::size_t>(section)];
    }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    /// The files of the rows, by their addresses; other programs take them as files.
    QMimeData* mimeData(const QModelIndexList& indexes) const override;

private:
    VmTableView& m_table;
    QStringList m_titles;
    QStringList m_titleTips;
    int m_rows = 0; ///< as far as the views know
};

#include "app/window/TableModel.h"

#include "app/window/PlainTip.h"
#include "app/window/Theme.h"
#include "base/Texts.h"

#include <algorithm>
#include <memory>
#include <QApplication>
#include <QMimeData>
#include <QPalette>
#include <QUrl>

TableModel::TableModel(VmTableView& table, const Texts& texts, QObject* parent)
    : QAbstractTableModel(parent), m_table(table), m_rows(table.numberOfRows()) {
    for (const TableColumn& each : table.columns()) {
        m_titles.append(QString::fromStdString(texts(each.titleKey)));
        m_titleTips.append(each.tipKey.empty() ? m_titles.last() : QString::fromStdString(texts(each.tipKey)));
    }
}

void TableModel::reload() {
    const int rows = m_table.numberOfRows();
    if (rows > m_rows) {
        beginInsertRows({}, m_rows, rows - 1);
        m_rows = rows;
        endInsertRows();
    } else if (rows < m_rows) {
        beginRemoveRows({}, rows, m_rows - 1);
        m_rows = rows;
        endRemoveRows();
    }
    if (rows > 0)
        Q_EMIT dataChanged(index(0, 0), index(rows - 1, columnCount() - 1));
}

int TableModel::columnNamed(const std::string& identifier) const {
    const auto& columns = m_table.columns();
    const auto found = std::ranges::find(columns, identifier, &TableColumn::identifier);
    return found == columns.end() ? -1 : static_cast<int>(found - columns.begin());
}

int TableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_rows;
}

int TableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_titles.size());
}

QVariant TableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || m_table.source() == nullptr || index.row() >= m_table.numberOfRows())
        return {};
    const TableColumn& shown = column(index.column());
    if (role == Qt::TextAlignmentRole)
        return QVariant((shown.rightAligned ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    const TableSource& source = *m_table.source();
    if (role == Qt::ForegroundRole && source.isWarning(index.row(), shown.identifier))
        return Theme::of(QApplication::palette()).redText;
    if (role == Qt::DisplayRole || role == Qt::EditRole)
        return QString::fromStdString(source.cell(index.row(), shown.identifier));
    if (role != Qt::ToolTipRole && role != Qt::AccessibleTextRole)
        return {};
    const std::string tip = source.tip(index.row(), shown.identifier);
    const QString text = QString::fromStdString(tip.empty() ? source.cell(index.row(), shown.identifier) : tip);
    return role == Qt::ToolTipRole ? plainTip(text) : text;
}

QVariant TableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Vertical || section < 0 || section >= m_titles.size())
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant((column(section).rightAligned ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    if (role == Qt::DisplayRole)
        return m_titles[section];
    if (role == Qt::ToolTipRole || role == Qt::AccessibleTextRole)
        return m_titleTips[section];
    return {};
}

Qt::ItemFlags TableModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (!index.isValid())
        return flags;
    flags |= Qt::ItemIsDragEnabled;
    if (column(index.column()).editable)
        flags |= Qt::ItemIsEditable;
    return flags;
}

QStringList TableModel::mimeTypes() const {
    return {QStringLiteral("text/uri-list")};
}

QMimeData* TableModel::mimeData(const QModelIndexList& indexes) const {
    std::vector<int> rows;
    for (const QModelIndex& each : indexes)
        if (std::ranges::find(rows, each.row()) == rows.end())
            rows.push_back(each.row());
    QList<QUrl> files;
    if (m_table.source() != nullptr)
        for (const std::string& path : m_table.source()->draggedFiles(rows))
            files.append(QUrl::fromLocalFile(QString::fromStdString(path)));
    if (files.isEmpty())
        return nullptr;
    auto content = std::make_unique<QMimeData>();
    content->setUrls(files);
    return content.release(); // the drag owns it
}

#include "app/window/TableBox.h"

#include "app/window/TableModel.h"
#include "base/VmTableView.h"

#include <algorithm>
#include <QAbstractItemDelegate>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMetaProperty>
#include <QPointer>
#include <QScopedValueRollback>
#include <QStyledItemDelegate>
#include <utility>

namespace {
constexpr int lineHeight = 18;
constexpr int headHeight = 20;
} // namespace

/// Hands the text of an editor to the table, or tells it that the editing was given up.
class TableBox::NoteDelegate : public QStyledItemDelegate {
public:
    explicit NoteDelegate(TableBox& box) : QStyledItemDelegate(&box), m_box(&box) {}
    /// The box goes; its editor will go after it.
    void leave() { m_box = nullptr; }

    void setEditorData(QWidget* editor, const QModelIndex& index) const override {
        if (editor->property(begun).toBool())
            return; // rows that are read anew do not undo what was typed
        QStyledItemDelegate::setEditorData(editor, index);
        editor->setProperty(begun, true);
    }
    void setModelData(QWidget* editor, QAbstractItemModel*, const QModelIndex&) const override {
        const QByteArray name = editor->metaObject()->userProperty().name();
        m_box->m_editing = Editing::handedOver;
        m_box->m_table.endEditing(editor->property(name).toString().toStdString());
    }
    void destroyEditor(QWidget* editor, const QModelIndex& index) const override {
        QStyledItemDelegate::destroyEditor(editor, index);
        if (m_box == nullptr)
            return;
        if (std::exchange(m_box->m_editing, Editing::none) == Editing::open)
            m_box->m_table.giveUpEditing();
        m_box->showTable();
    }

private:
    static constexpr const char* begun = "begun";
    TableBox* m_box;
};

TableBox::TableBox(VmTableView& table, const Texts& texts, QWidget* parent)
    : QTableView(parent),
      m_table(table),
      m_model(new TableModel(table, texts, this)),
      m_delegate(new NoteDelegate(*this)),
      m_generation(table.generation()) {
    setModel(m_model);
    setItemDelegate(m_delegate);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setTextElideMode(Qt::ElideRight);
    setVerticalScrollMode(ScrollPerItem);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setDragEnabled(true);
    setDragDropMode(DragOnly);
    setDefaultDropAction(Qt::CopyAction);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setMinimumSectionSize(lineHeight);
    verticalHeader()->setDefaultSectionSize(lineHeight);
    QHeaderView& heads = *horizontalHeader();
    heads.setFixedHeight(headHeight);
    heads.setMinimumSectionSize(24);
    heads.setHighlightSections(false);
    heads.setStretchLastSection(true);
    heads.setSectionsClickable(true);
    heads.setSortIndicatorShown(true);
    heads.setFocusPolicy(Qt::NoFocus);
    connect(&heads, &QHeaderView::sectionClicked, this,
            [this](int section) { m_table.pressHead(m_model->column(section).identifier); });
    showTable();
    m_table.observe([guarded = QPointer<TableBox>(this)] {
        if (guarded)
            guarded->showTable();
    });
}

TableBox::~TableBox() {
    m_delegate->leave();
    if (m_editing == Editing::open)
        m_table.giveUpEditing();
}

void TableBox::showTable() {
    const QScopedValueRollback showing(m_showing, true);
    setEnabled(m_table.enabled());
    const bool reloads = m_generation != m_table.generation();
    if (reloads) {
        m_generation = m_table.generation();
        m_model->reload();
    }
    const SortDescriptor& sort = m_table.sortDescriptor();
    horizontalHeader()->setSortIndicator(m_model->columnNamed(sort.column),
                                         sort.ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
    // Another selection would close the editor; it is shown when the editing has ended.
    if (m_editing == Editing::none)
        showSelection(reloads);
    showEditing();
}

void TableBox::showSelection(bool reloads) {
    const int row = m_table.selectedRow();
    if (row < 0) {
        clearSelection();
        setCurrentIndex({});
    } else if (currentIndex().row() != row || !selectionModel()->isRowSelected(row)) {
        const QModelIndex index = m_model->index(row, std::max(currentIndex().column(), 0));
        setAutoScroll(!reloads); // rows that others bring do not move what a person looks at
        setCurrentIndex(index);
        selectRow(row);
        setAutoScroll(true);
        if (!reloads) {
            executeDelayedItemsLayout();
            scrollTo(index);
        }
    }
}

void TableBox::showEditing() {
    if (m_editing == Editing::open && !m_table.isEditing()) {
        m_editing = Editing::handedOver; // it was ended elsewhere
        if (auto* editor = viewport()->findChild<QLineEdit*>(); editor != nullptr)
            closeEditor(editor, QAbstractItemDelegate::RevertModelCache);
        return;
    }
    if (m_editing != Editing::none || !m_table.isEditing())
        return;
    const QModelIndex index = m_model->index(m_table.editedRow(), m_model->columnNamed(m_table.editedColumn()));
    if (!index.isValid())
        return;
    setCurrentIndex(index);
    scrollTo(index);
    m_editing = Editing::open;
    edit(index);
}

void TableBox::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) {
    QTableView::selectionChanged(selected, deselected);
    if (m_showing)
        return;
    const QModelIndexList rows = selectionModel()->selectedRows();
    if (const int row = rows.isEmpty() ? -1 : rows.first().row(); row != m_table.selectedRow())
        m_table.chooseRow(row);
}

void TableBox::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Delete:
        event->ignore(); // no work of a table
        return;
    case Qt::Key_Home:
        selectRow(0);
        return;
    case Qt::Key_End:
        selectRow(m_model->rowCount() - 1);
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        m_table.doubleClick();
        return;
    default:
        QTableView::keyPressEvent(event);
    }
}

void TableBox::mouseDoubleClickEvent(QMouseEvent* event) {
    QTableView::mouseDoubleClickEvent(event);
    if (event->button() == Qt::LeftButton && indexAt(event->pos()).isValid())
        m_table.doubleClick();
}

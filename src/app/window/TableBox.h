// app/window/TableBox.h — a table of which one row is selected.
#pragma once
#include <QTableView>

class TableModel;
class Texts;
class VmTableView;

/// Shows a toolkit-free table: sorts when a head is pressed, edits a cell when the table asks for it, gives
/// rows away as files when they are dragged out. Keys that are not a table's own (space, left and right) go to
/// the widget around it. Main thread only.
class TableBox : public QTableView {
public:
    /// `table` must outlive the box; `texts` is read while constructing only.
    TableBox(VmTableView& table, const Texts& texts, QWidget* parent = nullptr);
    /// Gives up an editing under way.
    ~TableBox() override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;

private:
    class NoteDelegate;
    enum class Editing { none, open, handedOver }; ///< the editor is about to close in the last
    void showTable();
    void showSelection(bool reloads);
    void showEditing();

    VmTableView& m_table;
    TableModel* m_model;
    NoteDelegate* m_delegate;
    unsigned m_generation;
    bool m_showing = false; ///< what changes now was not a person's doing
    Editing m_editing = Editing::none;
};

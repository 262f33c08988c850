#include "app/window/KeepTab.h"

#include "app/window/CaptionButton.h"
#include "app/window/ControlBinding.h"
#include "app/window/FittingLabel.h"
#include "app/window/IndicatorLamp.h"
#include "app/window/TableBox.h"
#include "app/window/TabParts.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>

namespace {
constexpr int margin = 10;
constexpr int rowSpacing = 6;
constexpr int captionGap = 5;
constexpr int groupGap = 10;
constexpr int columnWidths[] = {66, 66, 66, 76}; // the size gets the rest
} // namespace

KeepTab::KeepTab(const Controls& controls, const Texts& texts, QWidget* parent)
    : QWidget(parent), m_controls(controls) {
    const TabParts parts(*this, texts);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(margin, margin, margin, margin);
    rows->setSpacing(rowSpacing);
    QWidget* table = makeTable(parts, texts);
    rows->addWidget(table, 1);
    rows->addLayout(makeTotals(parts));
    rows->addLayout(makeButtons(parts));
    setFocusProxy(table);
}

QWidget* KeepTab::makeTable(const TabParts& parts, const Texts& texts) {
    auto* table = new TableBox(m_controls.table, texts, this);
    table->setObjectName("KeepTable");
    table->setAccessibleName(parts.text("KeepTableName"));
    table->setAccessibleDescription(parts.text("KeepTableDescription"));
    for (int column = 0; column < static_cast<int>(std::size(columnWidths)); ++column)
        table->setColumnWidth(column, columnWidths[column]);
    table->horizontalHeader()->setStretchLastSection(false);
    table->horizontalHeader()->setSectionResizeMode(static_cast<int>(std::size(columnWidths)),
                                                    QHeaderView::Stretch);
    parts.addCommand(*table, m_controls.play, "KeepPlay", {});
    parts.addCommand(*table, m_controls.copy, "KeepCopy", {});
    parts.addCommand(*table, m_controls.remove, "KeepDelete", QKeySequence(Qt::Key_Delete));
    return table;
}

QLayout* KeepTab::makeTotals(const TabParts& parts) {
    auto* line = new QHBoxLayout;
    line->setSpacing(captionGap);
    line->addWidget(parts.caption("KeepFilesName"));
    line->addWidget(parts.value(m_controls.totalFiles, "KeepFilesName"));
    line->addSpacing(groupGap);
    line->addWidget(parts.value(m_controls.totalTime, "TotalLengthName"));
    line->addSpacing(groupGap);
    line->addWidget(parts.value(m_controls.totalSize, "KeepSizeName"));
    line->addWidget(parts.caption("Megabytes"));
    line->addStretch();
    auto* lamp = new IndicatorLamp;
    lamp->setAccessibleName(parts.text("CompressName"));
    ControlBinding::bind(m_controls.compressing, *lamp, parts.text("CompressTip"));
    line->addWidget(lamp);
    line->addWidget(parts.caption("CompressName"));
    return line;
}

QLayout* KeepTab::makeButtons(const TabParts& parts) {
    auto* line = new QHBoxLayout;
    line->setSpacing(captionGap);
    line->addWidget(parts.captionedButton(m_controls.play, "KeepPlay", Glyph::play));
    line->addWidget(parts.captionedButton(m_controls.copy, "KeepCopy", Glyph::copy));
    line->addWidget(parts.captionedButton(m_controls.remove, "KeepDelete", Glyph::remove));
    line->addStretch();
    line->addWidget(parts.value(m_controls.copyProgress, "CopyProgressName"));
    CaptionButton* cancel = parts.button(m_controls.cancelCopy, "CancelCopy", Glyph::stop);
    cancel->setObjectName("KeepCancelCopy"); // the play tab has one, too
    line->addWidget(cancel);
    return line;
}

void KeepTab::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat())
        m_controls.play.press(true);
    else if (event->key() == Qt::Key_Escape && m_controls.cancelCopy.enabled())
        m_controls.cancelCopy.press(true);
    else
        QWidget::keyPressEvent(event);
}

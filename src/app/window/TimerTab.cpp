#include "app/window/TimerTab.h"

#include "app/window/CaptionButton.h"
#include "app/window/TableBox.h"
#include "app/window/TabParts.h"
#include "schedule/TimerControls.h"

#include <algorithm>
#include <QBoxLayout>
#include <QHeaderView>
#include <QStyle>
#include <utility>
#include <vector>

namespace {
constexpr int margin = 10;
constexpr int rowSpacing = 6;
constexpr int buttonGap = 5;

constexpr int tableTextSize = 11; ///< pixels: thirteen columns stand side by side
constexpr int inputWidth = 62;
constexpr int leastColumn = 18;

/// The widest that a column has to show: keys of texts, or the texts themselves. A name gets what is left.
const std::vector<std::pair<const char*, std::vector<const char*>>> widest = {
    {"EnabledReserve", {"CheckMark"}},
    {"ReserveMonth", {"EveryDay", "12"}},
    {"ReserveDay", {"EveryDay", "30"}},
    {"ReserveWeek", {"EveryDay", "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"}},
    {"StartTime", {"00:00"}},
    {"StopTime", {"00:00"}},
    {"SampleRate", {"44.100kHz"}},
    {"ChannelsNumber", {"MonoralSound", "StereoSound"}},
    {"RecordMode", {"AlwaysMode", "AutoMode"}},
    {"EntryMark", {"WarningMark"}},
    {"NextSpan", {"12-30 23:00–12-31 01:00"}}};

void setWidths(TableBox& table, const std::vector<TableColumn>& columns, const TabParts& parts) {
    QHeaderView& heads = *table.horizontalHeader();
    heads.setMinimumSectionSize(leastColumn);
    heads.setStretchLastSection(false);
    const auto number = [&columns](const char* identifier) {
        return static_cast<int>(std::ranges::find(columns, identifier, &TableColumn::identifier) -
                                columns.begin());
    };
    const int headEdge = 2 * heads.style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, &heads) + 1;
    const int edge = 2 * (table.style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, &table) + 1);
    for (const auto& [identifier, texts] : widest) {
        const QString head =
            table.model()->headerData(number(identifier), Qt::Horizontal, Qt::DisplayRole).toString();
        int width = heads.fontMetrics().horizontalAdvance(head) + headEdge;
        for (const char* text : texts)
            width = std::max(width, table.fontMetrics().horizontalAdvance(parts.text(text)) + edge + 1);
        table.setColumnWidth(number(identifier), width);
    }
    table.setColumnWidth(number("SourceDevice"), inputWidth);
    heads.setSectionResizeMode(number("ReserveName"), QHeaderView::Stretch);
}
} // namespace

TimerTab::TimerTab(TimerControls& controls, const Texts& texts, QWidget* parent)
    : QWidget(parent), m_controls(controls) {
    const TabParts parts(*this, texts);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(margin, margin, margin, margin);
    rows->setSpacing(rowSpacing);
    QWidget* table = makeTable(parts, texts);
    rows->addWidget(table, 1);
    rows->addLayout(makeButtons(parts));
    setFocusProxy(table);
}

QWidget* TimerTab::makeTable(const TabParts& parts, const Texts& texts) {
    auto* table = new TableBox(m_controls.timerTable, texts, this);
    table->setObjectName("TimerTable");
    table->setAccessibleName(parts.text("TimerTableName"));
    table->setAccessibleDescription(parts.text("TimerTableDescription"));
    QFont font = this->font();
    font.setPixelSize(tableTextSize);
    table->setFont(font);
    table->horizontalHeader()->setFont(font);
    setWidths(*table, m_controls.timerTable.columns(), parts);
    parts.addCommand(*table, m_controls.insertButton, "InsertTimer", QKeySequence(Qt::Key_Insert));
    parts.addCommand(*table, m_controls.copyButton, "CopyTimer", {});
    parts.addCommand(*table, m_controls.deleteButton, "DeleteTimer", QKeySequence(Qt::Key_Delete));
    parts.addCommand(*table, m_controls.drawerButton, "TimerDrawer", QKeySequence(Qt::Key_F2));
    return table;
}

QLayout* TimerTab::makeButtons(const TabParts& parts) {
    auto* line = new QHBoxLayout;
    line->setSpacing(buttonGap);
    line->addWidget(parts.captionedButton(m_controls.insertButton, "InsertTimer", Glyph::timer));
    line->addWidget(parts.captionedButton(m_controls.copyButton, "CopyTimer", Glyph::duplicate));
    line->addWidget(parts.captionedButton(m_controls.deleteButton, "DeleteTimer", Glyph::remove));
    line->addStretch();
    line->addWidget(parts.captionedButton(m_controls.drawerButton, "TimerDrawer", Glyph::note, false));
    return line;
}

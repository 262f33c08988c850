#include "app/window/TimerTab.h"

#include "app/window/CaptionButton.h"
#include "app/window/PlayBinding.h"
#include "app/window/TableBox.h"
#include "app/window/TabParts.h"
#include "schedule/TimerControls.h"

#include <algorithm>
#include <QAction>
#include <QBoxLayout>

namespace {
constexpr int margin = 10;
constexpr int rowSpacing = 6;
constexpr int buttonGap = 5;

struct ColumnWidth {
    const char* identifier;
    int width;
};
/// The mark gets the rest.
constexpr ColumnWidth columnWidths[] = {{"EnabledReserve", 28}, {"ReserveName", 96}, {"ReserveMonth", 46},
                                        {"ReserveDay", 40},     {"ReserveWeek", 54}, {"StartTime", 42},
                                        {"StopTime", 42},       {"SampleRate", 66},  {"ChannelsNumber", 50},
                                        {"SourceDevice", 70},   {"RecordMode", 54},  {"NextSpan", 150}};
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
    table->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    const auto& columns = m_controls.timerTable.columns();
    for (const ColumnWidth& each : columnWidths) {
        const auto found = std::ranges::find(columns, each.identifier, &TableColumn::identifier);
        if (found != columns.end())
            table->setColumnWidth(static_cast<int>(found - columns.begin()), each.width);
    }
    table->setContextMenuPolicy(Qt::ActionsContextMenu);
    const auto add = [&](Button& control, const char* key, const QKeySequence& keys) {
        auto* action = new QAction(parts.text(std::string(key) + "Caption"), table);
        action->setShortcut(keys);
        action->setShortcutContext(Qt::WidgetShortcut);
        action->setShortcutVisibleInContextMenu(true);
        PlayBinding::bind(control, *action);
        table->addAction(action);
    };
    add(m_controls.insertButton, "InsertTimer", QKeySequence(Qt::Key_Insert));
    add(m_controls.copyButton, "CopyTimer", {});
    add(m_controls.deleteButton, "DeleteTimer", QKeySequence(Qt::Key_Delete));
    add(m_controls.drawerButton, "TimerDrawer", QKeySequence(Qt::Key_F2));
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

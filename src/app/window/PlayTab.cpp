#include "app/window/PlayTab.h"

#include "app/window/CaptionButton.h"
#include "app/window/ControlBinding.h"
#include "app/window/PlayBinding.h"
#include "app/window/SeekSlider.h"
#include "app/window/TableBox.h"
#include "app/window/WaveView.h"
#include "base/Texts.h"
#include "base/VmTableView.h"
#include "library/PlayerControls.h"

#include <algorithm>
#include <QAction>
#include <QBoxLayout>
#include <QCheckBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QSpinBox>

namespace {
constexpr int margin = 10;
constexpr int rowSpacing = 5;
constexpr int textSize = 12; ///< pixels: the tab's size is fixed, so is its text's
constexpr int textHeight = 16;
constexpr int buttonHeight = 26;
constexpr int buttonWidth = 34;
constexpr int groupGap = 8;
constexpr int captionGap = 5;

struct ColumnWidth {
    const char* identifier;
    int width;
};
/// The note gets the rest.
constexpr ColumnWidth columnWidths[] = {{"LockFlag", 42}, {"RecordDate", 64}, {"StartTime", 62},
                                        {"EndTime", 62},  {"RecordTime", 66}, {"FileSize", 52}};
} // namespace

PlayTab::PlayTab(const PlayTabControls& controls, const Texts& texts, QWidget* parent)
    : QWidget(parent), m_controls(controls), m_texts(&texts) {
    setFixedSize(width, height);
    QFont own = font();
    own.setPixelSize(textSize);
    setFont(own);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(margin, margin, margin, margin);
    rows->setSpacing(rowSpacing);
    rows->addWidget(makeTable(), 1);
    rows->addLayout(makeTotals());
    auto* wave = new WaveView(controls.wave, texts, this);
    wave->setObjectName("Wave");
    rows->addWidget(wave, 0, Qt::AlignHCenter);
    rows->addLayout(makeTimes());
    rows->addWidget(makeSlider());
    rows->addLayout(makeButtons());
    m_texts = nullptr;
    orderTabs();
}

QString PlayTab::text(const std::string& key) const {
    return QString::fromStdString((*m_texts)(key));
}

QWidget* PlayTab::makeTable() {
    auto* table = new TableBox(m_controls.table, *m_texts, this);
    table->setObjectName("Table");
    table->setAccessibleName(text("RecordTableName"));
    table->setAccessibleDescription(text("RecordTableDescription"));
    const auto& columns = m_controls.table.columns();
    for (const ColumnWidth& each : columnWidths) {
        const auto found = std::ranges::find(columns, each.identifier, &TableColumn::identifier);
        if (found != columns.end())
            table->setColumnWidth(static_cast<int>(found - columns.begin()), each.width);
    }
    table->setContextMenuPolicy(Qt::ActionsContextMenu);
    const auto add = [&](Button& control, const char* key, const QKeySequence& keys) {
        auto* action = new QAction(text(std::string(key) + "Caption"), table);
        action->setShortcut(keys);
        action->setShortcutContext(Qt::WidgetShortcut);
        action->setShortcutVisibleInContextMenu(true);
        PlayBinding::bind(control, *action);
        table->addAction(action);
    };
    add(m_controls.player.playButton(), "Play", {});
    add(m_controls.player.lockButton(), "Lock", {});
    add(m_controls.player.noteButton(), "Note", QKeySequence(Qt::Key_F2));
    add(m_controls.player.copyButton(), "Copy", {});
    add(m_controls.player.deleteButton(), "Delete", QKeySequence(Qt::Key_Delete));
    return table;
}

FittingLabel* PlayTab::makeText(TextField& control, const std::string& nameKey) {
    auto* label = new FittingLabel(text(nameKey));
    label->setFixedHeight(textHeight);
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    ControlBinding::bind(control, *label, text(nameKey));
    return label;
}

FittingLabel* PlayTab::makeCaption(const char* key) {
    auto* label = new FittingLabel(text(key));
    label->showText(text(key), FittingLabel::Ink::secondary);
    label->setFixedHeight(textHeight);
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    return label;
}

QLayout* PlayTab::makeTotals() {
    PlayerControls& player = m_controls.player;
    auto* line = new QHBoxLayout;
    line->setSpacing(captionGap);
    line->addWidget(makeCaption("TotalFilesName"));
    line->addWidget(makeText(player.totalFilesText(), "TotalFilesName"));
    line->addSpacing(groupGap);
    line->addWidget(makeText(player.totalTimeText(), "TotalLengthName"));
    line->addSpacing(groupGap);
    line->addWidget(makeText(player.totalSizeText(), "TotalSizeName"));
    line->addWidget(makeCaption("Megabytes"));
    line->addSpacing(groupGap);
    line->addStretch();
    auto* device = new FittingLabel(text("PlayDeviceName"));
    device->setObjectName("PlayDevice");
    device->setFixedHeight(textHeight);
    device->setGlyph(Glyph::speaker);
    PlayBinding::bindDevice(player.playDevicePicture(), *device);
    line->addWidget(device);
    return line;
}

QLayout* PlayTab::makeTimes() {
    PlayerControls& player = m_controls.player;
    const std::pair<const char*, TextField*> times[] = {{"HeadTextName", &player.headText()},
                                                        {"TailTextName", &player.tailText()},
                                                        {"LengthName", &player.lengthText()},
                                                        {"PositionName", &player.positionText()}};
    auto* line = new QHBoxLayout;
    line->setSpacing(captionGap);
    for (const auto& [key, control] : times) {
        if (control == &player.positionText())
            line->addStretch();
        line->addWidget(makeCaption(key));
        line->addWidget(makeText(*control, key));
        if (control != &player.positionText())
            line->addSpacing(groupGap);
    }
    return line;
}

QWidget* PlayTab::makeSlider() {
    auto* slider = new SeekSlider(this);
    slider->setObjectName("Point");
    slider->setAccessibleName(text("PointName"));
    slider->setToolTip(text("PointTip"));
    PlayBinding::bind(m_controls.player.pointSlider(), *slider);
    return slider;
}

CaptionButton* PlayTab::makeButton(Button& control, const std::string& key, Glyph glyph, bool momentary) {
    auto* button = new CaptionButton(CaptionButton::Look::small, this);
    button->setObjectName(QString::fromStdString(key));
    button->setAccessibleName(text(key + "Caption"));
    button->setAccessibleDescription(text(key + "Tip"));
    button->setFixedSize(buttonWidth, buttonHeight);
    button->setCheckable(!momentary);
    const QString caption = text(key + "Caption");
    ControlBinding::bind(control, *button, {glyph, glyph, {}, {}, caption + "\n" + text(key + "Tip"), {}});
    return button;
}

QLayout* PlayTab::makeButtons() {
    PlayerControls& player = m_controls.player;
    auto* line = new QHBoxLayout;
    line->setSpacing(4);
    line->addWidget(makeButton(player.headButton(), "Head", Glyph::head));
    CaptionButton* back = makeButton(player.backButton(), "Back", Glyph::back);
    line->addWidget(back);
    line->addWidget(makeButton(player.playButton(), "Play", Glyph::play, false));
    CaptionButton* fast = makeButton(player.fastButton(), "Fast", Glyph::fast);
    line->addWidget(fast);
    line->addWidget(makeButton(player.tailButton(), "Tail", Glyph::tail));
    for (CaptionButton* button : {back, fast})
        button->setAutoRepeat(true);
    line->addSpacing(groupGap);

    auto* steps = new QSpinBox(this);
    steps->setObjectName("Steps");
    steps->setAccessibleName(text("StepCaption"));
    steps->setToolTip(text("StepTip"));
    steps->setFixedSize(56, buttonHeight);
    PlayBinding::bind(player.stepFastStepper(), *steps);
    line->addWidget(steps);
    auto* endless = new QCheckBox(text("EndlessCaption"), this);
    endless->setObjectName("Endless");
    endless->setToolTip(text("EndlessTip"));
    PlayBinding::bind(player.endlessCheck(), *endless);
    line->addWidget(endless);
    line->addStretch();

    line->addWidget(makeButton(player.lockButton(), "Lock", Glyph::lock));
    line->addWidget(makeButton(player.noteButton(), "Note", Glyph::note));
    line->addWidget(makeButton(player.copyButton(), "Copy", Glyph::copy));
    line->addWidget(makeButton(player.deleteButton(), "Delete", Glyph::remove));
    return line;
}

void PlayTab::orderTabs() {
    QWidget* previous = nullptr;
    for (const char* name : {"Table", "Wave", "Point", "Head", "Back", "Play", "Fast", "Tail", "Steps",
                             "Endless", "Lock", "Note", "Copy", "Delete"}) {
        auto* next = findChild<QWidget*>(QString::fromLatin1(name));
        if (previous != nullptr)
            setTabOrder(previous, next);
        previous = next;
    }
    findChild<QWidget*>("Table")->setFocus();
}

void PlayTab::keyPressEvent(QKeyEvent* event) {
    PlayerControls& player = m_controls.player;
    switch (event->key()) {
    case Qt::Key_Space:
        if (!event->isAutoRepeat())
            player.playButton().press(!player.playButton().isOn());
        return;
    case Qt::Key_Left:
        player.backButton().press(true);
        return;
    case Qt::Key_Right:
        player.fastButton().press(true);
        return;
    case Qt::Key_Home:
        player.headButton().press(true);
        return;
    case Qt::Key_End:
        player.tailButton().press(true);
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

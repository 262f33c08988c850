#include "app/window/PlayTab.h"

#include "app/window/CaptionButton.h"
#include "app/window/FittingLabel.h"
#include "app/window/PlayBinding.h"
#include "app/window/SeekSlider.h"
#include "app/window/TableBox.h"
#include "app/window/TabParts.h"
#include "app/window/WaveView.h"
#include "base/VmTableView.h"
#include "library/PlayerControls.h"

#include <algorithm>
#include <QBoxLayout>
#include <QCheckBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QProgressBar>
#include <QSpinBox>
#include <QStackedWidget>

namespace {
constexpr int margin = 10;
constexpr int rowSpacing = 5;
constexpr int totalsHeight = 18;
constexpr int progressWidth = 120;
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
    : QWidget(parent), m_controls(controls) {
    const TabParts parts(*this, texts);
    setFixedSize(width, height);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(margin, margin, margin, margin);
    rows->setSpacing(rowSpacing);
    rows->addWidget(makeTable(parts, texts), 1);
    rows->addLayout(makeTotals(parts));
    auto* wave = new WaveView(controls.wave, texts, this);
    wave->setObjectName("Wave");
    rows->addWidget(wave, 0, Qt::AlignHCenter);
    rows->addLayout(makeTimes(parts));
    rows->addWidget(makeSlider(parts));
    rows->addLayout(makeButtons(parts));
    orderTabs();
}

QWidget* PlayTab::makeTable(const TabParts& parts, const Texts& texts) {
    auto* table = new TableBox(m_controls.table, texts, this);
    table->setObjectName("Table");
    table->setAccessibleName(parts.text("RecordTableName"));
    table->setAccessibleDescription(parts.text("RecordTableDescription"));
    const auto& columns = m_controls.table.columns();
    for (const ColumnWidth& each : columnWidths) {
        const auto found = std::ranges::find(columns, each.identifier, &TableColumn::identifier);
        if (found != columns.end())
            table->setColumnWidth(static_cast<int>(found - columns.begin()), each.width);
    }
    parts.addCommand(*table, m_controls.player.playButton(), "Play", {});
    parts.addCommand(*table, m_controls.player.lockButton(), "Lock", {});
    parts.addCommand(*table, m_controls.player.noteButton(), "Note", QKeySequence(Qt::Key_F2));
    parts.addCommand(*table, m_controls.player.copyButton(), "Copy", {});
    parts.addCommand(*table, m_controls.player.deleteButton(), "Delete", QKeySequence(Qt::Key_Delete));
    return table;
}

QLayout* PlayTab::makeTotals(const TabParts& parts) {
    PlayerControls& player = m_controls.player;
    auto* line = new QHBoxLayout;
    line->setSpacing(captionGap);
    line->addWidget(parts.caption("TotalFilesName"));
    line->addWidget(parts.value(player.totalFilesText(), "TotalFilesName"));
    line->addSpacing(groupGap);
    line->addWidget(parts.value(player.totalTimeText(), "TotalLengthName"));
    line->addSpacing(groupGap);
    line->addWidget(parts.value(player.totalSizeText(), "TotalSizeName"));
    line->addWidget(parts.caption("Megabytes"));
    line->addSpacing(groupGap);
    line->addWidget(makeOutput(parts), 1);
    return line;
}

QWidget* PlayTab::makeOutput(const TabParts& parts) {
    auto* device = new FittingLabel(parts.text("PlayDeviceName"));
    device->setObjectName("PlayDevice");
    device->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    device->setGlyph(Glyph::speaker);
    PlayBinding::bindDevice(m_controls.player.playDevicePicture(), *device);

    auto* progress = new QProgressBar;
    progress->setObjectName("ExportProgress");
    progress->setAccessibleName(parts.text("CopyProgressName"));
    progress->setToolTip(parts.text("CopyProgressName"));
    progress->setFormat(parts.text("CopyCaption") + " %p %");
    progress->setFixedSize(progressWidth, TabParts::textHeight);
    auto* cancel = parts.button(m_controls.cancelExport, "CancelCopy", Glyph::stop);
    cancel->setFixedHeight(totalsHeight);
    auto* exporting = new QWidget;
    auto* line = new QHBoxLayout(exporting);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(captionGap);
    line->addStretch();
    line->addWidget(progress);
    line->addWidget(cancel);

    auto* output = new QStackedWidget(this);
    output->setFixedHeight(totalsHeight);
    output->addWidget(device);
    output->addWidget(exporting);
    PlayBinding::bindExport(m_controls.exportProgress, *progress, *output);
    return output;
}

QLayout* PlayTab::makeTimes(const TabParts& parts) {
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
        line->addWidget(parts.caption(key));
        line->addWidget(parts.value(*control, key));
        if (control != &player.positionText())
            line->addSpacing(groupGap);
    }
    return line;
}

QWidget* PlayTab::makeSlider(const TabParts& parts) {
    auto* slider = new SeekSlider(this);
    slider->setObjectName("Point");
    slider->setAccessibleName(parts.text("PointName"));
    slider->setToolTip(parts.text("PointTip"));
    PlayBinding::bind(m_controls.player.pointSlider(), *slider);
    return slider;
}

QLayout* PlayTab::makeButtons(const TabParts& parts) {
    PlayerControls& player = m_controls.player;
    auto* line = new QHBoxLayout;
    line->setSpacing(4);
    line->addWidget(parts.button(player.headButton(), "Head", Glyph::head));
    CaptionButton* back = parts.button(player.backButton(), "Back", Glyph::back);
    line->addWidget(back);
    line->addWidget(parts.button(player.playButton(), "Play", Glyph::play, false));
    CaptionButton* fast = parts.button(player.fastButton(), "Fast", Glyph::fast);
    line->addWidget(fast);
    line->addWidget(parts.button(player.tailButton(), "Tail", Glyph::tail));
    for (CaptionButton* button : {back, fast})
        button->setAutoRepeat(true);
    line->addSpacing(groupGap);
    line->addLayout(makeSteps(parts));
    line->addStretch();
    line->addWidget(parts.button(player.lockButton(), "Lock", Glyph::lock));
    line->addWidget(parts.button(player.noteButton(), "Note", Glyph::note));
    line->addWidget(parts.button(player.copyButton(), "Copy", Glyph::copy));
    line->addWidget(parts.button(player.deleteButton(), "Delete", Glyph::remove));
    return line;
}

QLayout* PlayTab::makeSteps(const TabParts& parts) {
    PlayerControls& player = m_controls.player;
    auto* line = new QHBoxLayout;
    line->setSpacing(captionGap);
    auto* steps = new QSpinBox(this);
    steps->setObjectName("Steps");
    steps->setAccessibleName(parts.text("StepCaption"));
    steps->setToolTip(parts.text("StepTip"));
    steps->setFixedSize(56, TabParts::buttonHeight);
    PlayBinding::bind(player.stepFastStepper(), *steps);
    line->addWidget(steps);
    auto* endless = new QCheckBox(parts.text("EndlessCaption"), this);
    endless->setObjectName("Endless");
    endless->setToolTip(parts.text("EndlessTip"));
    PlayBinding::bind(player.endlessCheck(), *endless);
    line->addWidget(endless);
    return line;
}

void PlayTab::orderTabs() {
    QWidget* previous = nullptr;
    for (const char* name : {"Table", "Wave", "Point", "Head", "Back", "Play", "Fast", "Tail", "Steps",
                             "Endless", "Lock", "Note", "Copy", "Delete", "CancelCopy"}) {
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
    case Qt::Key_Escape:
        if (!m_controls.cancelExport.enabled())
            break;
        m_controls.cancelExport.press(true);
        return;
    default:
        break;
    }
    QWidget::keyPressEvent(event);
}

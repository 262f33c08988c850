#include "app/window/RecordTab.h"

#include "app/window/CaptionButton.h"
#include "app/window/ControlBinding.h"
#include "app/window/DigitView.h"
#include "app/window/FittingLabel.h"
#include "app/window/Follow.h"
#include "app/window/IndicatorLamp.h"
#include "app/window/LampView.h"
#include "app/window/LevelSlider.h"
#include "app/window/ScreenReader.h"
#include "app/window/SourceBox.h"
#include "app/window/Theme.h"
#include "base/Texts.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QGridLayout>
#include <QPainter>
#include <QShortcut>
#include <QStackedWidget>

namespace {
constexpr int margin = 12;
constexpr int edge = 8; ///< above and below
constexpr int spacing = 8;
constexpr int rowSpacing = 5;
constexpr int textSize = 12; ///< pixels: the tab's size is fixed, so is its text's
constexpr int conditionSize = 16;
constexpr int timeSize = 29;
constexpr int textHeight = 16; ///< the same in every language, so that the window stays the same
constexpr int conditionHeight = 20;
constexpr int timeHeight = 32;
constexpr int captionHeight = 16;
constexpr int largeSwitchWidth = 80;

QFont sized(QFont font, int pixels, QFont::Weight weight = QFont::Normal) {
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

/// The ground of the display.
class Card : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override {
        const Theme theme = Theme::of(palette());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(theme.border, 1));
        painter.setBrush(theme.card);
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
    }
};

/// A caption that a screen reader need not tell: its neighbour is named.
FittingLabel* caption(const QString& text, const QString& tip, FittingLabel::Ink ink) {
    auto* label = new FittingLabel(text);
    label->showText(text, ink);
    label->setTip(tip);
    label->setAccessibleName(text);
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    return label;
}

/// A line of two texts: the right one is shown whole, the left one gets what remains.
QWidget* pairOf(FittingLabel* left, FittingLabel* right) {
    left->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    right->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    right->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto* pair = new QWidget;
    auto* line = new QHBoxLayout(pair);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(spacing);
    line->addWidget(left, 1);
    line->addWidget(right);
    return pair;
}
} // namespace

RecordTab::RecordTab(const RecordTabControls& controls, const Texts& texts, QWidget* parent)
    : QWidget(parent), m_texts(&texts) {
    setFont(sized(font(), textSize));
    auto* left = new QVBoxLayout;
    left->setSpacing(rowSpacing);
    left->addWidget(makeDisplay(controls));
    left->addWidget(makeSources(controls));
    left->addLayout(makeSwitches(controls), 1);
    left->addWidget(makeMessage(controls));

    auto* all = new QHBoxLayout(this);
    all->setContentsMargins(margin, edge, margin, edge);
    all->setSpacing(spacing);
    all->addLayout(left, 1);
    all->addLayout(makeMeter(controls));
    m_texts = nullptr;
    orderTabs();
    ScreenReader::tellName(*findChild<QComboBox*>("Sources"));
}

void RecordTab::orderTabs() {
    QWidget* previous = nullptr;
    for (const char* name : {"Record", "Reserve", "Monitor", "Hour", "Marker", "Sources", "Level"}) {
        auto* next = findChild<QWidget*>(QString::fromLatin1(name));
        if (previous != nullptr)
            setTabOrder(previous, next);
        previous = next;
    }
    setFocusProxy(findChild<QWidget*>("Record"));
}

QString RecordTab::text(const std::string& key) const {
    return QString::fromStdString((*m_texts)(key));
}

QWidget* RecordTab::makeDisplay(const RecordTabControls& controls) {
    auto* condition = new FittingLabel(text("ConditionName"));
    condition->setFont(sized(font(), conditionSize, QFont::Bold));
    condition->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    ControlBinding::bind(controls.condition, *condition, text("ConditionTip"));

    auto* mode = new FittingLabel(text("ModeName"));
    mode->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    mode->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    ControlBinding::bind(controls.mode, *mode, text("ModeTip"), FittingLabel::Ink::secondary);

    auto* recordTime = new DigitView(text("RecordTimeName"));
    recordTime->setFont(sized(font(), timeSize));
    ControlBinding::bind(controls.recordTime, *recordTime, text("RecordTimeTip"));

    auto* totalTime = new DigitView(text("TotalTimeName"));
    ControlBinding::bind(controls.totalTime, *totalTime, text("TotalTimeTip"));

    auto* lamp = new IndicatorLamp;
    lamp->setAccessibleName(text("WriteName"));
    ControlBinding::bind(controls.write, *lamp, text("WriteTip"));

    auto* card = new Card;
    auto* rows = new QVBoxLayout(card);
    rows->setContentsMargins(10, 5, 10, 5);
    rows->setSpacing(1);
    const auto row = [rows](int height, int gap, std::initializer_list<QWidget*> widgets) {
        auto* line = new QHBoxLayout;
        line->setSpacing(gap);
        for (QWidget* widget : widgets) {
            if (widget == nullptr) {
                line->addStretch();
                continue;
            }
            if (widget->minimumHeight() == 0)
                widget->setFixedHeight(height);
            line->addWidget(widget);
        }
        rows->addLayout(line);
    };
    row(conditionHeight, spacing, {condition, mode});
    row(timeHeight, 0, {recordTime, nullptr});
    auto* totalCaption = caption(text("TotalTimeCaption"), text("TotalTimeTip"), FittingLabel::Ink::secondary);
    row(textHeight, 5,
        {totalCaption, totalTime, nullptr, lamp,
         caption(text("WriteCaption"), text("WriteTip"), FittingLabel::Ink::secondary)});
    const auto showIfWanted = [](const TextField& model, QWidget& view) { view.setVisible(model.enabled()); };
    for (QWidget* widget : std::initializer_list<QWidget*>{totalCaption, totalTime})
        follow(controls.totalTime, *widget, showIfWanted);
    rows->addWidget(makeLastRow(controls));
    return card;
}

QWidget* RecordTab::makeLastRow(const RecordTabControls& controls) {
    auto* source = new FittingLabel(text("SourceName"));
    ControlBinding::bind(controls.source, *source, text("SourceTip"), FittingLabel::Ink::secondary);
    auto* rate = new FittingLabel(text("RateName"));
    ControlBinding::bind(controls.rate, *rate, text("RateTip"), FittingLabel::Ink::secondary);

    auto* entry = new FittingLabel(text("ReserveEntryName"));
    entry->setGlyph(Glyph::timer);
    ControlBinding::bindEntry(controls.reserveName, controls.source, controls.rate, *entry,
                              text("ReserveEntryTip"));
    auto* time = new FittingLabel(text("ReserveTimeName"));
    ControlBinding::bind(controls.reserveTime, *time, text("ReserveTimeTip"));

    auto* rows = new QStackedWidget;
    rows->setFixedHeight(textHeight);
    rows->addWidget(pairOf(source, rate));
    const int reserve = rows->addWidget(pairOf(entry, time));
    ControlBinding::bindRow(controls.reserveName, controls.reserveTime, *rows, reserve);
    return rows;
}

QWidget* RecordTab::makeSources(const RecordTabControls& controls) {
    auto* sources = new SourceBox;
    sources->setObjectName("Sources");
    sources->setAccessibleName(text("SourcesName"));
    sources->setAccessibleDescription(text("SourcesDescription"));
    sources->setPlaceholderText(text("NoSourceChoice"));
    ControlBinding::bind(controls.sources, *sources, text("SourcesTip"));
    return sources;
}

QLayout* RecordTab::makeSwitches(const RecordTabControls& controls) {
    CaptionButton* record = makeSwitch(controls.record, "Record", Glyph::record, Glyph::stop, "Ctrl+R");
    record->setFixedWidth(largeSwitchWidth);
    auto* grid = new QGridLayout;
    grid->setSpacing(5);
    grid->addWidget(record, 0, 0, 2, 1);
    grid->addWidget(makeSwitch(controls.reserve, "Reserve", Glyph::timer, Glyph::timer, "Ctrl+T"), 0, 1);
    grid->addWidget(makeSwitch(controls.monitor, "Monitor", Glyph::monitor, Glyph::monitor, "Ctrl+M"), 0, 2);
    grid->addWidget(makeSwitch(controls.hour, "Hour", Glyph::hour, Glyph::hour, "Ctrl+H"), 1, 1);
    grid->addWidget(makeSwitch(controls.marker, "Marker", Glyph::marker, Glyph::marker, "Ctrl+K"), 1, 2);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(2, 1);
    return grid;
}

CaptionButton* RecordTab::makeSwitch(Button& control, const std::string& key, Glyph off, Glyph on,
                                     const char* shortcut) {
    const bool isRecord = on != off;
    auto* button = new CaptionButton(isRecord ? CaptionButton::Look::large : CaptionButton::Look::small, this);
    button->setObjectName(QString::fromStdString(key));
    button->setAccessibleName(text(key + "Caption"));
    button->setAccessibleDescription(text(key + "Description"));
    if (isRecord)
        button->setFont(sized(font(), textSize + 1, QFont::Bold));
    const QKeySequence keys{QString::fromLatin1(shortcut)};
    auto* trigger = new QShortcut(keys, this);
    connect(trigger, &QShortcut::activated, button, [button] { button->click(); });
    ControlBinding::bind(control, *button,
                         {off, on, text(key + "Caption"), text(key + (isRecord ? "StopCaption" : "Caption")),
                          text(key + "Tip"), keys.toString(QKeySequence::NativeText)});
    return button;
}

QWidget* RecordTab::makeMessage(const RecordTabControls& controls) {
    auto* message = new FittingLabel(text("MessageName"));
    message->setFixedHeight(captionHeight);
    ControlBinding::bind(controls.message, *message, text("MessageTip"));
    return message;
}

QLayout* RecordTab::makeMeter(const RecordTabControls& controls) {
    auto* slider = new LevelSlider;
    slider->setObjectName("Level");
    slider->setAccessibleName(text("LevelName"));
    slider->setAccessibleDescription(text("LevelDescription"));
    ControlBinding::bind(controls.level, *slider, text("LevelTip"), text("LevelOf"));

    auto* lamps = new LampView;
    lamps->setAccessibleName(text("LampsName"));
    lamps->setAccessibleDescription(text("LampsDescription"));
    ControlBinding::bind(controls.lamps, *lamps, text("LampsTip"));
    ControlBinding::bindStartLevel(controls.level, *lamps);

    auto* pair = new QHBoxLayout;
    pair->setSpacing(2);
    pair->addWidget(slider);
    pair->addWidget(lamps);
    auto* column = new QVBoxLayout;
    column->setSpacing(2);
    FittingLabel* title = caption(text("LevelCaption"), text("LampsTip"), FittingLabel::Ink::normal);
    title->setFixedHeight(captionHeight);
    column->addWidget(title, 0, Qt::AlignHCenter);
    column->addLayout(pair);
    column->addStretch();
    return column;
}

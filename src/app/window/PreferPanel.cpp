#include "app/window/PreferPanel.h"

#include "app/PreferControls.h"
#include "app/window/CaptionButton.h"
#include "app/window/FittingLabel.h"
#include "app/window/Follow.h"
#include "app/window/FormBinding.h"
#include "app/window/PlayBinding.h"
#include "app/window/ScreenReader.h"
#include "app/window/TabParts.h"
#include "app/window/Theme.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QStackedWidget>
#include <QToolButton>

namespace {
constexpr int margin = 10;
constexpr int rowSpacing = 4;
constexpr int itemGap = 8;
constexpr int helpSize = 11; ///< pixels
constexpr int labelWidth = 150;
constexpr int pages = static_cast<int>(PreferPage::program) + 1;

template <typename... Calls>
struct Overloaded : Calls... {
    using Calls::operator()...;
};
template <typename... Calls>
Overloaded(Calls...) -> Overloaded<Calls...>;

/// The message tells why the choice cannot be applied.
void showMessage(const TextField& model, QLabel& view) {
    view.setText(QString::fromStdString(model.text()));
    QPalette palette = view.palette();
    palette.setColor(QPalette::WindowText, Theme::of(view.parentWidget()->palette()).redText);
    view.setPalette(palette);
}
} // namespace

PreferPanel::PreferPanel(PreferControls& controls, const Texts& texts, QWidget* parent)
    : QWidget(parent), m_controls(controls) {
    setFixedWidth(fixedWidth);
    setMinimumHeight(leastHeight);
    const TabParts parts(*this, texts);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, margin, margin, margin);
    rows->setSpacing(itemGap);
    auto* choice = new QComboBox;
    choice->setObjectName("PreferPages");
    choice->setAccessibleName(parts.text("PreferPagesName"));
    choice->setAccessibleDescription(parts.text("PreferPagesTip"));
    choice->setToolTip(parts.text("PreferPagesTip"));
    auto* stack = new QStackedWidget;
    for (int index = 0; index < pages; ++index) {
        const auto page = static_cast<PreferPage>(index);
        choice->addItem(parts.text(PreferControls::pageKey(page)));
        stack->addWidget(makePage(page, parts));
    }
    follow(controls.pages, *choice, [stack](const TabView& model, QComboBox& view) {
        view.setCurrentIndex(model.selected());
        stack->setCurrentIndex(model.selected());
    });
    connect(choice, qOverload<int>(&QComboBox::activated), this,
            [this](int page) { m_controls.pages.choose(page); });
    rows->addWidget(choice);
    ScreenReader::tellName(*choice);
    rows->addWidget(stack, 1);
    rows->addWidget(makeFoot(parts));
    setFocusProxy(choice);
}

QWidget* PreferPanel::makePage(PreferPage page, const TabParts& parts) {
    auto* content = new QWidget;
    auto* rows = new QVBoxLayout(content);
    rows->setContentsMargins(0, 0, itemGap, 0);
    rows->setSpacing(rowSpacing);
    if (page == PreferPage::storage) {
        addFigure(*rows, m_controls.freeSpaceText, "FreeSpace", parts);
        addFigure(*rows, m_controls.freeTimeText, "FreeTime", parts);
        addFigure(*rows, m_controls.needTotalText, "NeedTotal", parts);
        rows->addSpacing(itemGap);
    }
    for (const PreferItem& item : m_controls.items())
        if (item.page() == page)
            addItem(*rows, item, parts);
    if (page == PreferPage::keeping) {
        addFigure(*rows, m_controls.keepTimeText, "KeepTime", parts);
        auto* test = new QPushButton(parts.text("CheckKeepActionCaption"));
        test->setObjectName("CheckKeepAction");
        test->setAccessibleDescription(parts.text("CheckKeepActionHelp"));
        FormBinding::bind(m_controls.checkKeepActionButton, *test);
        rows->addSpacing(rowSpacing);
        rows->addWidget(test, 0, Qt::AlignLeft);
        addHelp(*rows, parts.text("CheckKeepActionHelp"));
    }
    rows->addStretch();
    auto* scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(content);
    return scroll;
}

QWidget* PreferPanel::makeField(const PreferItem& item, const TabParts& parts) {
    return std::visit(Overloaded{[](Popup* control) -> QWidget* {
                                     auto* box = new QComboBox;
                                     box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
                                     box->setMinimumContentsLength(6);
                                     FormBinding::bind(*control, *box);
                                     return box;
                                 },
                                 [](NumberField* control) -> QWidget* {
                                     auto* box = new QDoubleSpinBox;
                                     FormBinding::bind(*control, *box);
                                     return box;
                                 },
                                 [&](Button* control) -> QWidget* {
                                     auto* box = new QCheckBox(parts.text(item.captionKey()));
                                     PlayBinding::bind(*control, *box);
                                     return box;
                                 },
                                 [](TextField* control) -> QWidget* {
                                     auto* line = new QLineEdit;
                                     FormBinding::bindEachKey(*control, *line);
                                     return line;
                                 },
                                 [](Slider* control) -> QWidget* {
                                     auto* slider = new QSlider(Qt::Horizontal);
                                     FormBinding::bind(*control, *slider);
                                     return slider;
                                 }},
                      item.controlOf());
}

void PreferPanel::addItem(QBoxLayout& rows, const PreferItem& item, const TabParts& parts) {
    QWidget* const field = makeField(item, parts);
    const QString caption = parts.text(item.captionKey());
    const QString help = parts.text(item.helpKey());
    field->setObjectName(QString::fromStdString(item.setting()));
    field->setAccessibleName(caption);
    field->setAccessibleDescription(help);
    if (std::holds_alternative<Button*>(item.controlOf())) {
        rows.addWidget(field);
    } else {
        auto* line = new QHBoxLayout;
        line->setSpacing(itemGap);
        auto* label = new QLabel(caption);
        label->setBuddy(field);
        label->setFixedWidth(labelWidth);
        label->setWordWrap(true);
        line->addWidget(label);
        line->addWidget(field, 1);
        if (QWidget* browse = makeBrowse(item, parts); browse != nullptr)
            line->addWidget(browse);
        rows.addLayout(line);
    }
    addHelp(rows, help);
}

void PreferPanel::addHelp(QBoxLayout& rows, const QString& help) {
    auto* label = new QLabel(help);
    QFont small = font();
    small.setPixelSize(helpSize);
    label->setFont(small);
    label->setWordWrap(true);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, Theme::of(this->palette()).secondaryText);
    label->setPalette(palette);
    rows.addWidget(label);
    rows.addSpacing(rowSpacing);
}

void PreferPanel::addFigure(QBoxLayout& rows, TextField& figure, const std::string& key,
                            const TabParts& parts) {
    auto* line = new QHBoxLayout;
    line->setSpacing(itemGap);
    FittingLabel* caption = parts.caption(key + "Caption");
    caption->setFixedWidth(labelWidth);
    caption->setToolTip(parts.text(key + "Help"));
    FittingLabel* value = parts.value(figure, key + "Caption");
    value->setAccessibleDescription(parts.text(key + "Help"));
    line->addWidget(caption);
    line->addWidget(value);
    line->addStretch();
    rows.addLayout(line);
}

QWidget* PreferPanel::makeBrowse(const PreferItem& item, const TabParts& parts) {
    TextField* const* field = std::get_if<TextField*>(&item.controlOf());
    const bool isProgram = item.setting() == "CommandPathString";
    if (field == nullptr ||
        (!isProgram && item.setting() != "DirectoryPath" && item.setting() != "KeepFileKeepFolder"))
        return nullptr;
    auto* browse = new QToolButton;
    browse->setText(QStringLiteral("…"));
    browse->setObjectName(QString::fromStdString(item.setting() + "Browse"));
    const QString name = parts.text(isProgram ? "BrowseProgram" : "BrowseFolder");
    browse->setAccessibleName(name);
    browse->setToolTip(name);
    browse->setFocusPolicy(Qt::StrongFocus);
    connect(browse, &QToolButton::clicked, this, [this, name, isProgram, control = *field] {
        const QString from = QString::fromStdString(control->text());
        const QString path = isProgram ? QFileDialog::getOpenFileName(this, name, from)
                                       : QFileDialog::getExistingDirectory(this, name, from);
        if (!path.isEmpty())
            control->enter(path.toStdString());
    });
    follow(**field, *browse,
           [](const TextField& model, QToolButton& view) { view.setEnabled(model.enabled()); });
    return browse;
}

QWidget* PreferPanel::makeFoot(const TabParts& parts) {
    auto* foot = new QWidget;
    auto* rows = new QVBoxLayout(foot);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(rowSpacing);
    auto* message = new QLabel(foot);
    message->setObjectName("PreferMessage");
    message->setWordWrap(true);
    follow(m_controls.messageText, *message, showMessage);
    rows->addWidget(message);
    auto* line = new QHBoxLayout;
    auto* cancel = new QPushButton(parts.text("Cancel"));
    cancel->setObjectName("PreferCancel");
    cancel->setToolTip(parts.text("PreferCancelTip"));
    cancel->setAutoDefault(false);
    FormBinding::bind(m_controls.cancelButton, *cancel);
    auto* apply = new QPushButton(parts.text("PreferOk"));
    apply->setObjectName("PreferOk");
    apply->setToolTip(parts.text("PreferOkTip"));
    apply->setAutoDefault(true);
    FormBinding::bind(m_controls.okButton, *apply);
    line->addStretch();
    line->addWidget(cancel);
    line->addWidget(apply);
    rows->addLayout(line);
    return foot;
}

void PreferPanel::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Escape:
        m_controls.cancelButton.press(true);
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        pressEnter();
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

/// A button that has the focus is meant itself.
void PreferPanel::pressEnter() {
    auto* button = qobject_cast<QAbstractButton*>(focusWidget());
    if (button != nullptr && qobject_cast<QCheckBox*>(button) == nullptr)
        button->click();
    else
        m_controls.okButton.press(true);
}

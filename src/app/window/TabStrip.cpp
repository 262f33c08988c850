#include "app/window/TabStrip.h"

#include "app/window/StripButton.h"
#include "base/Controls.h"
#include "base/Texts.h"

#include <array>
#include <QBoxLayout>
#include <QKeyEvent>
#include <QShortcut>

namespace {
constexpr int margin = 8;
constexpr int spacing = 2;

QString tipWithKeys(const QString& tip, const QKeySequence& keys) {
    return tip + QStringLiteral(" (") + keys.toString(QKeySequence::NativeText) + QStringLiteral(")");
}
} // namespace

TabStrip::TabStrip(const Controls& controls, const Texts& texts, QWidget* parent)
    : QWidget(parent), m_controls(controls), m_texts(&texts) {
    setFixedHeight(fixedHeight);
    QFont small = font();
    small.setPixelSize(12);
    setFont(small);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(margin, 4, margin, 0);
    row->setSpacing(spacing);
    addTabs(*row);
    row->addStretch();
    addTools(*row);
    m_texts = nullptr;
    m_controls.tabs.observe([this] { showTab(); });
    showTab();
}

void TabStrip::addTabs(QBoxLayout& row) {
    static constexpr std::array<std::pair<const char*, Glyph>, 4> tabs{{{"RecordTab", Glyph::record},
                                                                        {"PlayTab", Glyph::play},
                                                                        {"TimerTab", Glyph::timer},
                                                                        {"KeepTab", Glyph::keep}}};
    for (std::size_t index = 0; index < tabs.size(); ++index) {
        const auto& [name, glyph] = tabs[index];
        auto* tab = new StripButton(glyph, QString::fromStdString((*m_texts)(name)), this);
        tab->setObjectName(QString::fromLatin1(name));
        // Other than a button of the same text on its page.
        tab->setAccessibleName(QString::fromStdString((*m_texts)(std::string(name) + "Name")));
        const QKeySequence keys(QStringLiteral("Ctrl+%1").arg(index + 1));
        tab->setToolTip(tipWithKeys(QString::fromStdString((*m_texts)(std::string(name) + "Tip")), keys));
        tab->setAccessibleDescription(QString::fromStdString((*m_texts)(std::string(name) + "Tip")));
        const auto choose = [this, index] { m_controls.tabs.choose(static_cast<int>(index)); };
        connect(tab, &QAbstractButton::clicked, this, choose);
        connect(new QShortcut(keys, this), &QShortcut::activated, this, choose);
        row.addWidget(tab);
        m_tabs.push_back(tab);
    }
}

StripButton* TabStrip::addTool(QBoxLayout& row, const char* name, Glyph glyph, const QKeySequence& keys) {
    auto* tool = new StripButton(glyph, QString::fromStdString((*m_texts)(name)), this);
    tool->setObjectName(QString::fromLatin1(name));
    const QString tip = QString::fromStdString((*m_texts)(std::string(name) + "Tip"));
    tool->setToolTip(tipWithKeys(tip, keys));
    tool->setAccessibleDescription(tip);
    connect(new QShortcut(keys, this), &QShortcut::activated, tool, [tool] { tool->click(); });
    row.addWidget(tool);
    m_toolsWidth += tool->sizeHint().width() + spacing;
    return tool;
}

void TabStrip::addTools(QBoxLayout& row) {
    const auto bind = [this](StripButton* tool, Button& control) {
        const auto show = [tool, &control] {
            tool->setChecked(control.isOn());
            tool->setEnabled(control.enabled());
        };
        control.observe(show);
        show();
        connect(tool, &QAbstractButton::clicked, this, [&control] { control.press(!control.isOn()); });
    };
    StripButton* lock =
        addTool(row, "Authorization", Glyph::lock, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_L));
    bind(lock, m_controls.authorization);
    bind(addTool(row, "Preferences", Glyph::preferences, QKeySequence(Qt::CTRL | Qt::Key_Comma)),
         m_controls.preferences);
    StripButton* help = addTool(row, "Help", Glyph::help, QKeySequence(Qt::Key_F1));
    help->setCheckable(false);
    connect(help, &QAbstractButton::clicked, this, [this] { m_controls.help(); });
}

void TabStrip::showTab() {
    for (std::size_t index = 0; index < m_tabs.size(); ++index)
        m_tabs[index]->setChecked(static_cast<int>(index) == m_controls.tabs.selected());
    fitNames();
}

void TabStrip::fitNames() {
    int wanted = m_toolsWidth + 3 * margin;
    for (const StripButton* tab : m_tabs)
        wanted += tab->namedWidth() + spacing;
    for (StripButton* tab : m_tabs)
        tab->setNamed(wanted <= width() || tab->isChecked());
}

void TabStrip::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fitNames();
}

void TabStrip::keyPressEvent(QKeyEvent* event) {
    const int step = event->key() == Qt::Key_Right ? 1 : event->key() == Qt::Key_Left ? -1 : 0;
    const int count = static_cast<int>(m_tabs.size());
    for (int index = 0; index < count && step != 0; ++index)
        if (m_tabs[static_cast<std::size_t>(index)]->hasFocus()) {
            const int next = (index + step + count) % count;
            m_tabs[static_cast<std::size_t>(next)]->setFocus();
            m_controls.tabs.choose(next);
            return;
        }
    QWidget::keyPressEvent(event);
}

#include "app/window/TabParts.h"

#include "app/window/CaptionButton.h"
#include "app/window/ControlBinding.h"
#include "app/window/FittingLabel.h"
#include "app/window/PlayBinding.h"
#include "base/Texts.h"

#include <QAction>
#include <QKeySequence>

TabParts::TabParts(QWidget& tab, const Texts& texts) : m_tab(tab), m_texts(texts) {
    QFont font = tab.font();
    font.setPixelSize(textSize);
    tab.setFont(font);
}

QString TabParts::text(const std::string& key) const {
    return QString::fromStdString(m_texts(key));
}

CaptionButton* TabParts::button(Button& control, const std::string& key, Glyph glyph, bool momentary) const {
    auto* button = new CaptionButton(CaptionButton::Look::small, &m_tab);
    button->setObjectName(QString::fromStdString(key));
    button->setAccessibleName(text(key + "Caption"));
    button->setAccessibleDescription(text(key + "Tip"));
    button->setFixedSize(buttonWidth, buttonHeight);
    button->setCheckable(!momentary);
    const QString tip = text(key + "Caption") + "\n" + text(key + "Tip");
    ControlBinding::bind(control, *button, {glyph, glyph, {}, {}, tip, {}});
    return button;
}

CaptionButton* TabParts::captionedButton(Button& control, const std::string& key, Glyph glyph,
                                         bool momentary) const {
    auto* button = new CaptionButton(CaptionButton::Look::small, &m_tab);
    button->setObjectName(QString::fromStdString(key));
    button->setAccessibleName(text(key + "Caption"));
    button->setAccessibleDescription(text(key + "Tip"));
    button->setFixedHeight(buttonHeight);
    button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    button->setCheckable(!momentary);
    const QString caption = text(key + "Caption");
    ControlBinding::bind(control, *button, {glyph, glyph, caption, caption, text(key + "Tip"), {}});
    return button;
}

FittingLabel* TabParts::caption(const std::string& key) const {
    auto* label = new FittingLabel(text(key));
    label->showText(text(key), FittingLabel::Ink::secondary);
    label->setFixedHeight(textHeight);
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    return label;
}

FittingLabel* TabParts::value(TextField& control, const std::string& nameKey) const {
    auto* label = new FittingLabel(text(nameKey));
    label->setFixedHeight(textHeight);
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    ControlBinding::bind(control, *label, text(nameKey));
    return label;
}

void TabParts::addCommand(QWidget& table, Button& control, const std::string& key,
                          const QKeySequence& keys) const {
    auto* action = new QAction(text(key + "Caption"), &table);
    action->setShortcut(keys);
    action->setShortcutContext(Qt::WidgetShortcut);
    action->setShortcutVisibleInContextMenu(true);
    PlayBinding::bind(control, *action);
    table.addAction(action);
    table.setContextMenuPolicy(Qt::ActionsContextMenu);
}

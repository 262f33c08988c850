// app/window/TabParts.h — the pieces that the tabs are put together from.
#pragma once
#include "app/window/Icons.h"

#include <QString>
#include <string>

class Button;
class CaptionButton;
class FittingLabel;
class QKeySequence;
class QWidget;
class TextField;
class Texts;

/// Makes the labels and buttons of one tab, with their texts. Main thread only.
class TabParts {
public:
    static constexpr int textSize = 12; ///< pixels: the tabs' sizes are fixed, so is their text's
    static constexpr int textHeight = 16;
    static constexpr int buttonWidth = 34;
    static constexpr int buttonHeight = 26;

    /// Sets the tab's font. Both are needed while the tab is made only.
    TabParts(QWidget& tab, const Texts& texts);

    QString text(const std::string& key) const;
    /// A button without a caption, whose texts' keys begin with `key`. A momentary one never shows itself on.
    CaptionButton* button(Button& control, const std::string& key, Glyph glyph, bool momentary = true) const;
    /// The same with its caption.
    CaptionButton* captionedButton(Button& control, const std::string& key, Glyph glyph,
                                   bool momentary = true) const;
    FittingLabel* caption(const std::string& key) const;
    FittingLabel* value(TextField& control, const std::string& nameKey) const;

    /// A command of the table's context menu, with its keys, that presses `control`.
    void addCommand(QWidget& table, Button& control, const std::string& key, const QKeySequence& keys) const;

private:
    QWidget& m_tab;
    const Texts& m_texts;
};

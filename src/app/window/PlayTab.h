// app/window/PlayTab.h — the tab on which a person finds recordings and listens to them.
#pragma once
#include "app/window/PlayTabControls.h"

#include <QString>
#include <QWidget>
#include <string>

class CaptionButton;
class FittingLabel;
class QLayout;
class Texts;
class TextField;
class Button;
enum class Glyph;

/// Shows the list of recordings, the waveform of the selected one, and what can be done with it.
///
/// Keys, wherever the focus is: space plays and stops (on a button it presses that one), left and right go back
/// and forward, home and end to the ends of the recording. In the list home and end are its own, delete
/// deletes, F2 writes a note; on the waveform left and right belong to the range. Main thread only.
class PlayTab : public QWidget {
public:
    static constexpr int width = 510;  ///< points
    static constexpr int height = 290; ///< of the window's 318; the rest is the strip of tabs

    /// `texts` is read while constructing only.
    PlayTab(const PlayTabControls& controls, const Texts& texts, QWidget* parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* makeTable();
    QLayout* makeTimes();
    QWidget* makeSlider();
    QLayout* makeButtons();
    QLayout* makeTotals();
    /// A button without a caption, whose texts' keys begin with `key`. A momentary one never shows itself on.
    CaptionButton* makeButton(Button& control, const std::string& key, Glyph glyph, bool momentary = true);
    FittingLabel* makeCaption(const char* key);
    FittingLabel* makeText(TextField& control, const std::string& nameKey);
    void orderTabs();
    QString text(const std::string& key) const;

    const PlayTabControls m_controls;
    const Texts* m_texts;
};

// app/window/PlayTab.h — the tab on which a person finds recordings and listens to them.
#pragma once
#include "app/window/PlayTabControls.h"

#include <QWidget>

class QLayout;
class TabParts;
class Texts;

/// Shows the list of recordings, the waveform of the selected one, and what can be done with it.
///
/// Keys, wherever the focus is: space plays and stops (on a button it presses that one), left and right go back
/// and forward, home and end to the ends of the recording. In the list home and end are its own, delete
/// deletes, F2 writes a note; on the waveform left and right belong to the range. Escape breaks an export off.
/// Main thread only.
class PlayTab : public QWidget {
public:
    static constexpr int width = 510;  ///< points
    static constexpr int height = 290; ///< of the window's 318; the rest is the strip of tabs

    /// `texts` is read while constructing only.
    PlayTab(const PlayTabControls& controls, const Texts& texts, QWidget* parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* makeTable(const TabParts& parts, const Texts& texts);
    QLayout* makeTotals(const TabParts& parts);
    /// The output's name, or how far an export is.
    QWidget* makeOutput(const TabParts& parts);
    QLayout* makeTimes(const TabParts& parts);
    QWidget* makeSlider(const TabParts& parts);
    QLayout* makeButtons(const TabParts& parts);
    QLayout* makeSteps(const TabParts& parts);
    void orderTabs();

    const PlayTabControls m_controls;
};

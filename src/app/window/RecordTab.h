// app/window/RecordTab.h — the tab on which a person records.
#pragma once
#include "app/window/RecordTabControls.h"

#include <QString>
#include <QWidget>
#include <string>

class CaptionButton;
class QLayout;
class Texts;
enum class Glyph;

/// Shows the record controls: a display, the choice of the input, the switches, and the level meter with the
/// start level beside it. Main thread only.
class RecordTab : public QWidget {
public:
    /// `texts` is read while constructing only.
    RecordTab(const RecordTabControls& controls, const Texts& texts, QWidget* parent = nullptr);

private:
    QWidget* makeDisplay(const RecordTabControls& controls);
    /// The last row of the display: the input, or the timetable's entry while there is one.
    QWidget* makeLastRow(const RecordTabControls& controls);
    QWidget* makeSources(const RecordTabControls& controls);
    QLayout* makeSwitches(const RecordTabControls& controls);
    QWidget* makeMessage(const RecordTabControls& controls);
    QLayout* makeMeter(const RecordTabControls& controls);
    /// A switch button whose texts' keys begin with `key`.
    CaptionButton* makeSwitch(Button& control, const std::string& key, Glyph off, Glyph on,
                              const char* shortcut);
    void orderTabs();
    QString text(const std::string& key) const;

    const Texts* m_texts;
};

// app/window/KeepTab.h — the tab of the recordings that are kept.
#pragma once
#include <QWidget>

class Button;
class Indicator;
class QLayout;
class TabParts;
class TextField;
class Texts;
class VmTableView;

/// Shows the kept files, and what can be done with the selected one. Main thread only.
class KeepTab : public QWidget {
public:
    struct Controls {
        VmTableView& table;
        Button& play;
        Button& copy;
        Button& cancelCopy;
        Button& remove;
        TextField& copyProgress;
        TextField& totalFiles;
        TextField& totalTime;
        TextField& totalSize;
        Indicator& compressing;
    };
    /// `texts` is read while constructing only.
    KeepTab(const Controls& controls, const Texts& texts, QWidget* parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* makeTable(const TabParts& parts, const Texts& texts);
    QLayout* makeTotals(const TabParts& parts);
    QLayout* makeButtons(const TabParts& parts);

    const Controls m_controls;
};

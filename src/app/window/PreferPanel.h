// app/window/PreferPanel.h — the preferences.
#pragma once
#include "app/PreferItem.h"

#include <QWidget>

class PreferControls;
class QBoxLayout;
class QLabel;
class TabParts;
class TextField;
class Texts;

/// Stands at the window's right edge. One page of settings at a time, each with its unit and a line of help.
/// Enter applies, Escape cancels. Main thread only.
class PreferPanel : public QWidget {
public:
    static constexpr int fixedWidth = 372; ///< pixels
    static constexpr int leastHeight = 480;

    /// `texts` is read while constructing only.
    PreferPanel(PreferControls& controls, const Texts& texts, QWidget* parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* makePage(PreferPage page, const TabParts& parts);
    QWidget* makeField(const PreferItem& item, const TabParts& parts);
    void addItem(QBoxLayout& rows, const PreferItem& item, const TabParts& parts);
    void addHelp(QBoxLayout& rows, const QString& help);
    void addFigure(QBoxLayout& rows, TextField& figure, const std::string& key, const TabParts& parts);
    /// A button that lets a person look for what the field of `item` names; none for other settings.
    QWidget* makeBrowse(const PreferItem& item, const TabParts& parts);
    QWidget* makeFoot(const TabParts& parts);
    void pressEnter();

    PreferControls& m_controls;
};

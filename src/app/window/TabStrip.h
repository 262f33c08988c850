// app/window/TabStrip.h — the row above the tabs: which one is shown, and what concerns all of them.
#pragma once
#include <functional>
#include <QWidget>
#include <vector>

class Button;
class QBoxLayout;
class StripButton;
class TabView;
class Texts;
enum class Glyph;

/// The selected tab shows its name beside its drawing; the others do where there is room for all. Main thread
/// only.
class TabStrip : public QWidget {
public:
    static constexpr int fixedHeight = 28;

    struct Controls {
        TabView& tabs;
        Button& authorization;
        Button& preferences;
        std::function<void()> help;
    };
    TabStrip(const Controls& controls, const Texts& texts, QWidget* parent = nullptr);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void addTabs(QBoxLayout& row);
    void addTools(QBoxLayout& row);
    StripButton* addTool(QBoxLayout& row, const char* name, Glyph glyph, const QKeySequence& keys);
    void showTab();
    void fitNames();

    const Controls m_controls;
    const Texts* m_texts; ///< while the strip is made
    std::vector<StripButton*> m_tabs;
    int m_toolsWidth = 0;
};

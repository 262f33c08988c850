// app/window/MainWindow.h — the one window of the program.
#pragma once
#include "app/window/RecordTabControls.h"
#include "app/window/TabStrip.h"

#include <functional>
#include <QKeySequence>
#include <QVariantAnimation>
#include <QWidget>
#include <utility>
#include <vector>

class Drawer;
class MainWindowModel;
class QHBoxLayout;
class QStackedWidget;
class Texts;

/// Holds the tabs below their strip, as large as its model says. Main thread only.
class MainWindow : public QWidget {
public:
    struct Controls {
        MainWindowModel& window;
        TabStrip::Controls strip;
        RecordTabControls record;
    };
    /// What the window tells its owner.
    struct Events {
        std::function<bool()> mayClose;       ///< asked when a person closes the window
        std::function<void(bool)> shown = {}; ///< whether somebody can see it
        std::function<void()> activated = {}; ///< it came to the front
    };
    MainWindow(const Controls& controls, const Texts& texts, Events events);

    /// Takes the place of the page of tab `index`.
    void setPage(int index, QWidget* page);
    /// Shows `panel`, of a fixed width, at the right edge while `drawer` is open and tab `tab` is shown; -1:
    /// any tab. The window grows by it.
    void addDrawer(Drawer& drawer, QWidget* panel, int tab = -1);
    /// Adds a command to the window's context menu, with its keys.
    void addCommand(const QString& text, const QKeySequence& keys, std::function<void()> command);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;

private:
    void follow();
    /// The size with the open drawers.
    QSize wantedSize() const;
    void resizeTo(const QSize& size);
    void restoreFrame();
    void tellShown() const;

    MainWindowModel& m_model;
    TabView& m_tabs;
    const Events m_events;
    QStackedWidget* m_pages = nullptr;
    QWidget* m_own = nullptr; // strip and pages, as large as the model says
    QHBoxLayout* m_all = nullptr;
    std::vector<QWidget*> m_panels; // at the right edge
    QVariantAnimation m_resizing;   // of the window's size
    bool m_closing = false;         // because the model says so
};

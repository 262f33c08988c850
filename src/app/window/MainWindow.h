// app/window/MainWindow.h — the one window of the program.
#pragma once
#include "app/window/RecordTabControls.h"

#include <functional>
#include <QKeySequence>
#include <QWidget>

class Texts;

/// Holds the record tab at its fixed size. Main thread only.
class MainWindow : public QWidget {
public:
    static constexpr int recordTabWidth = 352;
    static constexpr int recordTabHeight = 262;

    /// `mayClose` is asked when a person closes the window; `shown` hears whether somebody can see it.
    MainWindow(const RecordTabControls& controls, const Texts& texts, std::function<bool()> mayClose,
               std::function<void(bool)> shown = {});

    /// Adds a command to the window's context menu, with its keys.
    void addCommand(const QString& text, const QKeySequence& keys, std::function<void()> command);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void tellShown() const;

    const std::function<bool()> m_mayClose;
    const std::function<void(bool)> m_shown;
};

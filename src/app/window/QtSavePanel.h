// app/window/QtSavePanel.h — asks for a file name in a dialogue.
#pragma once
#include "base/SavePanel.h"

#include <QPointer>
#include <QWidget>

class Texts;

/// Asks whether an existing file may be replaced; options stand as check boxes below the name.
class QtSavePanel final : public SavePanel {
public:
    explicit QtSavePanel(const Texts& texts) : m_texts(texts) {}

    // Main thread
    /// The window that the panel belongs to; none at first.
    void setParentWindow(QWidget* window) { m_window = window; }
    std::optional<std::string> choose(SaveRequest& request) override;

private:
    const Texts& m_texts;
    QPointer<QWidget> m_window;
};

// app/window/AdviceWindow.h — tells that files were set aside for a backup.
#pragma once
#include <QDialog>

class AdvicePanel;
class Texts;

/// Shows itself in the middle of its parent while the panel is shown, beside everything else: nothing waits for
/// an answer. Closing it closes the panel. Main thread only.
class AdviceWindow : public QDialog {
public:
    /// Both are needed for as long as the window lives.
    AdviceWindow(AdvicePanel& panel, const Texts& texts, QWidget* parent);

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void layOut(const Texts& texts);
    void present();

    AdvicePanel& m_panel;
};

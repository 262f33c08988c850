// app/window/QtAlert.h — alerts as message boxes.
#pragma once
#include "base/Alert.h"

#include <memory>
#include <QObject>
#include <QPointer>
#include <QWidget>
#include <vector>

class QMessageBox;
class Texts;

/// Made on the main thread. `ask` runs a modal box; `tell` shows one that blocks nothing, and does not show a
/// second while one with the same message is still open: an unattended recorder must not fill the screen.
class QtAlert final : public Alert {
public:
    explicit QtAlert(const Texts& texts) : m_texts(texts) {}
    ~QtAlert() override;

    // Main thread
    /// The window that the boxes belong to; none at first.
    void setParentWindow(QWidget* window) { m_window = window; }
    AlertAnswer ask(const AlertRequest& request) override;
    // Any thread
    void tell(const AlertRequest& request) override;

private:
    std::unique_ptr<QMessageBox> makeBox(const AlertRequest& request) const;
    void show(const AlertRequest& request);

    const Texts& m_texts;
    QPointer<QWidget> m_window;
    QObject m_receiver; // of `tell`; the parent of nothing, it ties posted calls to this object's life
    std::vector<QPointer<QMessageBox>> m_open;
};

// app/window/QtAlert.h — alerts as message boxes.
#pragma once
#include "base/Alert.h"

#include <functional>
#include <memory>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <vector>

class QMessageBox;
class RunLoop;
class Texts;

/// Made on the main thread. `ask` runs a modal box; `tell` shows one that blocks nothing, and does not show a
/// second while one with the same message is still open: an unattended recorder must not fill the screen.
class QtAlert final : public Alert {
public:
    QtAlert(RunLoop& runLoop, const Texts& texts) : m_runLoop(runLoop), m_texts(texts) {}
    ~QtAlert() override;

    // Main thread
    /// The window that the boxes belong to; none at first.
    void setParentWindow(QWidget* window) { m_window = window; }
    AlertAnswer ask(const AlertRequest& request) override;
    /// Called with an alert's two texts when it is open for a second and no window of the program is in front.
    void setUnseenHandler(std::function<void(const QString& message, const QString& informative)> handler) {
        m_unseen = std::move(handler);
    }
    /// Closes the question that is open, if one is: the program ends.
    void dismissQuestion();
    // Any thread
    void tell(const AlertRequest& request) override;

private:
    std::unique_ptr<QMessageBox> makeBox(const AlertRequest& request) const;
    void show(const AlertRequest& request);
    void callPersonTo(QMessageBox& box) const;

    RunLoop& m_runLoop;
    const Texts& m_texts;
    QPointer<QWidget> m_window;
    std::function<void(const QString&, const QString&)> m_unseen;
    const std::shared_ptr<bool> m_alive = std::make_shared<bool>(true); // outlived by what `tell` posts
    std::vector<QPointer<QMessageBox>> m_open;
};

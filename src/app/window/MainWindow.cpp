#include "app/window/MainWindow.h"

#include "app/window/Icons.h"
#include "app/window/RecordTab.h"
#include "base/Texts.h"

#include <QAction>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QShortcut>
#include <utility>

MainWindow::MainWindow(const RecordTabControls& controls, const Texts& texts, std::function<bool()> mayClose,
                       std::function<void(bool)> shown)
    : m_mayClose(std::move(mayClose)), m_shown(std::move(shown)) {
    setWindowTitle(QString::fromStdString(texts("ApplicationName")));
    setWindowIcon(Icons::application());
    setFixedSize(recordTabWidth, recordTabHeight);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new RecordTab(controls, texts));
    auto* quit = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this);
    connect(quit, &QShortcut::activated, this, [this] { close(); });
}

void MainWindow::addCommand(const QString& text, const QKeySequence& keys, std::function<void()> command) {
    auto* action = new QAction(text, this);
    action->setShortcut(keys);
    action->setShortcutVisibleInContextMenu(true);
    connect(action, &QAction::triggered, this, std::move(command));
    addAction(action);
    setContextMenuPolicy(Qt::ActionsContextMenu);
}

void MainWindow::tellShown() const {
    if (m_shown)
        m_shown(isVisible() && !isMinimized());
}

void MainWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    tellShown();
}

void MainWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    tellShown();
}

void MainWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange)
        tellShown();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    event->setAccepted(!m_mayClose || m_mayClose());
}

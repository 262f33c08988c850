#include "app/window/MainWindow.h"

#include "app/window/Icons.h"
#include "app/window/RecordTab.h"
#include "base/Texts.h"

#include <QBoxLayout>
#include <QCloseEvent>
#include <QKeySequence>
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

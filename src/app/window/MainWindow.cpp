#include "app/window/MainWindow.h"

#include "app/window/Icons.h"
#include "app/window/RecordTab.h"
#include "base/Texts.h"

#include <QBoxLayout>
#include <QCloseEvent>
#include <QKeySequence>
#include <QShortcut>
#include <utility>

MainWindow::MainWindow(const RecordTabControls& controls, const Texts& texts, std::function<bool()> mayClose)
    : m_mayClose(std::move(mayClose)) {
    setWindowTitle(QString::fromStdString(texts("ApplicationName")));
    setWindowIcon(Icons::application());
    setFixedSize(recordTabWidth, recordTabHeight);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new RecordTab(controls, texts));
    auto* quit = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this);
    connect(quit, &QShortcut::activated, this, [this] { close(); });
}

void MainWindow::closeEvent(QCloseEvent* event) {
    event->setAccepted(!m_mayClose || m_mayClose());
}

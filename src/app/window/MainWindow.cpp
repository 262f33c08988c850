#include "app/window/MainWindow.h"

#include "app/MainWindowModel.h"
#include "app/window/Icons.h"
#include "app/window/RecordTab.h"
#include "base/Drawer.h"
#include "base/Texts.h"

#include <algorithm>
#include <cstdio>
#include <QAction>
#include <QApplication>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QScreen>
#include <QShortcut>
#include <QStackedWidget>
#include <QStyle>
#include <utility>

namespace {
constexpr int tabs = 4;

/// Where nothing can be used, the keys stay where they are.
void focusFirst(QWidget& panel) {
    if (panel.focusProxy() != nullptr) {
        panel.setFocus();
        return;
    }
    for (QWidget* control : panel.findChildren<QWidget*>())
        if (control->isEnabled() && (control->focusPolicy() & Qt::TabFocus) != 0 &&
            control->isVisibleTo(&panel)) {
            control->setFocus();
            return;
        }
}
} // namespace

MainWindow::MainWindow(const Controls& controls, const Texts& texts, Events events)
    : m_model(controls.window), m_tabs(controls.strip.tabs), m_events(std::move(events)) {
    setWindowTitle(QString::fromStdString(texts("ApplicationName")));
    setWindowIcon(Icons::application());
    m_all = new QHBoxLayout(this);
    m_all->setContentsMargins(0, 0, 0, 0);
    m_all->setSpacing(0);
    m_own = new QWidget;
    m_all->addWidget(m_own, 0, Qt::AlignTop);
    auto* layout = new QVBoxLayout(m_own);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(new TabStrip(controls.strip, texts));
    m_pages = new QStackedWidget;
    layout->addWidget(m_pages, 1);
    for (int index = 0; index < tabs; ++index)
        m_pages->addWidget(new QWidget);
    setPage(0, new RecordTab(controls.record, texts));
    auto* quit = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this);
    connect(quit, &QShortcut::activated, this, [this] { close(); });
    connect(&m_resizing, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& size) { setFixedSize(size.toSize()); });
    resizeTo(wantedSize());
    restoreFrame();
    m_model.observe([this] { follow(); });
    m_tabs.observe([this] { m_pages->setCurrentIndex(m_tabs.selected()); });
    m_pages->setCurrentIndex(m_tabs.selected());
    m_pages->currentWidget()->setFocus();
    follow();
}

void MainWindow::setPage(int index, QWidget* page) {
    QWidget* const before = m_pages->widget(index);
    m_pages->insertWidget(index, page);
    m_pages->removeWidget(before);
    delete before;
    m_pages->setCurrentIndex(m_tabs.selected());
}

void MainWindow::follow() {
    resizeTo(wantedSize());
    setWindowOpacity(static_cast<double>(m_model.opacity()));
    if (m_model.isVisible() == isVisible())
        return;
    m_closing = !m_model.isVisible();
    setVisible(m_model.isVisible());
    m_closing = false;
}

void MainWindow::addDrawer(Drawer& drawer, QWidget* panel, int tab) {
    m_all->addWidget(panel);
    m_panels.push_back(panel);
    const auto show = [this, &drawer, panel, tab] {
        const bool shown = drawer.isOpen() && (tab < 0 || tab == m_tabs.selected());
        if (shown == !panel->isHidden())
            return;
        panel->setVisible(shown);
        resizeTo(wantedSize());
        if (shown)
            focusFirst(*panel);
    };
    panel->hide();
    drawer.observe(show);
    m_tabs.observe(show);
    show();
}

QSize MainWindow::wantedSize() const {
    QSize size(m_model.width(), m_model.height());
    for (const QWidget* panel : m_panels)
        if (!panel->isHidden())
            size = {size.width() + panel->minimumWidth(), std::max(size.height(), panel->minimumHeight())};
    return size;
}

/// The top edge stays, as the window grows and shrinks downwards and to the right.
void MainWindow::resizeTo(const QSize& size) {
    m_own->setFixedSize(m_model.width(), m_model.height());
    const int duration = style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this);
    if (m_resizing.endValue().toSize() == size && m_resizing.state() == QAbstractAnimation::Running)
        return;
    m_resizing.stop();
    if (!isVisible() || duration <= 0) {
        setFixedSize(size);
        return;
    }
    if (this->size() == size)
        return;
    m_resizing.setStartValue(this->size());
    m_resizing.setEndValue(size);
    m_resizing.setDuration(duration);
    m_resizing.start();
}

void MainWindow::restoreFrame() {
    int x = 0;
    int y = 0;
    if (std::sscanf(m_model.frame().c_str(), "%d %d", &x, &y) != 2)
        return;
    // A screen that is gone must not take the window with it, nor one that is smaller now all but its edge.
    const QScreen* screen = QApplication::screenAt(QPoint(x + width() / 2, y + 4));
    if (screen == nullptr)
        return;
    constexpr int leastSeen = 64; // pixels below the title's upper edge
    const QRect room = screen->availableGeometry();
    move(x, std::min(y, std::max(room.top(), room.bottom() - std::min(leastSeen, height()))));
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
    if (m_events.shown)
        m_events.shown(isVisible() && !isMinimized());
}

void MainWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous()) // not when the desktop brings it back
        m_model.show();
    tellShown();
}

void MainWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous())
        m_model.close();
    tellShown();
}

void MainWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange)
        tellShown();
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && m_events.activated)
        m_events.activated();
}

void MainWindow::moveEvent(QMoveEvent* event) {
    QWidget::moveEvent(event);
    if (isVisible() && !isMinimized())
        m_model.setFrame(std::to_string(x()) + " " + std::to_string(y()));
}

void MainWindow::closeEvent(QCloseEvent* event) {
    event->setAccepted(m_closing || !m_events.mayClose || m_events.mayClose());
}

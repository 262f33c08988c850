#include "app/window/LogBookWindow.h"

#include "app/window/Icons.h"
#include "base/Texts.h"
#include "storage/Paths.h"

#include <algorithm>
#include <QBoxLayout>
#include <QFontDatabase>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QStackedWidget>
#include <QTextCursor>
#include <QTextOption>

namespace {
constexpr int lookInterval = 1000; // milliseconds, where no change is announced

QString textOf(const Texts& texts, const char* key) {
    return QString::fromStdString(texts(key));
}

/// Lines as they are shown: what the view would take for another end of a line becomes a blank, so that a
/// letter is where it was found.
QString linesOf(const std::string& text) {
    QString lines = QString::fromStdString(text);
    for (QChar& letter : lines)
        if (letter == u'\r' || letter == QChar::Null || letter == QChar::ParagraphSeparator ||
            letter == u'\uFDD0' || letter == u'\uFDD1')
            letter = u' ';
    return lines;
}
} // namespace

LogBookWindow::LogBookWindow(Volume& volume, const Texts& texts, std::function<std::string()> path)
    : m_texts(texts), m_path(std::move(path)), m_reader(volume) {
    setWindowTitle(textOf(texts, "LogBookTitle"));
    setWindowIcon(Icons::application());
    makeView(texts);
    makeSearch(texts);
    layOut();
    resize(640, 560);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, [this] { look(); });
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, [this] { look(); });
    connect(&m_timer, &QTimer::timeout, this, [this] { look(); });
    m_searchTimer.setSingleShot(true);
    connect(&m_searchTimer, &QTimer::timeout, this, [this] { searchOn(); });
}

void LogBookWindow::makeView(const Texts& texts) {
    m_view = new QPlainTextEdit(this);
    m_view->setReadOnly(true);
    m_view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_view->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_view->setUndoRedoEnabled(false);
    const double width = m_view->fontMetrics().horizontalAdvance(QLatin1Char(' '));
    QTextOption option = m_view->document()->defaultTextOption();
    option.setTabs({QTextOption::Tab(4 * width, QTextOption::LeftTab),    // an item's label
                    QTextOption::Tab(22 * width, QTextOption::LeftTab)}); // its value
    m_view->document()->setDefaultTextOption(option);
    m_view->setAccessibleName(textOf(texts, "LogBookTitle"));
    m_view->setAccessibleDescription(textOf(texts, "LogBookDescription"));
    // A found place must be seen while the search field has the keyboard.
    QPalette palette = m_view->palette();
    for (const auto role : {QPalette::Highlight, QPalette::HighlightedText})
        palette.setColor(QPalette::Inactive, role, palette.color(QPalette::Active, role));
    m_view->setPalette(palette);
    m_noBook = new QLabel(textOf(texts, "NoLogBook"), this);
    m_noBook->setAlignment(Qt::AlignCenter);
    m_noBook->setWordWrap(true);
    m_noBook->setMargin(24);
    m_stack = new QStackedWidget(this);
    m_stack->addWidget(m_noBook);
    m_stack->addWidget(m_view);
    m_earlier = new QPushButton(textOf(texts, "LogBookEarlier"), this);
    m_earlier->setToolTip(textOf(texts, "LogBookEarlierTip"));
    m_earlier->hide();
    connect(m_earlier, &QPushButton::clicked, this, [this] { showEarlier(); });
}

void LogBookWindow::makeSearch(const Texts& texts) {
    m_query = new QLineEdit(this);
    m_query->setPlaceholderText(textOf(texts, "LogBookSearch"));
    m_query->setAccessibleName(textOf(texts, "LogBookSearch"));
    m_query->setClearButtonEnabled(true);
    m_previous = new QPushButton(textOf(texts, "LogBookPrevious"), this);
    m_previous->setToolTip(textOf(texts, "LogBookPrevious") + QStringLiteral(" (Shift+F3)"));
    m_next = new QPushButton(textOf(texts, "LogBookNext"), this);
    m_next->setToolTip(textOf(texts, "LogBookNext") + QStringLiteral(" (F3)"));
    m_count = new QLabel(this);
    m_count->setAccessibleName(textOf(texts, "LogBookCountName"));
    connect(m_query, &QLineEdit::textChanged, this, [this] { search(); });
    connect(m_query, &QLineEdit::returnPressed, this, [this] { step(1); });
    connect(m_previous, &QPushButton::clicked, this, [this] { step(-1); });
    connect(m_next, &QPushButton::clicked, this, [this] { step(1); });
    const auto key = [this](const QKeySequence& keys, auto call) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, call);
    };
    key(Qt::CTRL | Qt::Key_F, [this] {
        m_query->setFocus(Qt::ShortcutFocusReason);
        m_query->selectAll();
    });
    key(Qt::Key_F3, [this] { step(1); });
    key(Qt::SHIFT | Qt::Key_F3, [this] { step(-1); });
    key(Qt::Key_Escape, [this] { leave(); });
    key(Qt::CTRL | Qt::Key_W, [this] { close(); });
    showCount();
}

void LogBookWindow::layOut() {
    auto* searching = new QHBoxLayout;
    searching->addWidget(m_query, 1);
    searching->addWidget(m_count);
    searching->addWidget(m_previous);
    searching->addWidget(m_next);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(searching);
    layout->addWidget(m_earlier);
    layout->addWidget(m_stack, 1);
    setTabOrder(m_view, m_query);
    setTabOrder(m_query, m_previous);
    setTabOrder(m_previous, m_next);
    setTabOrder(m_next, m_earlier);
    m_view->setFocus();
}

void LogBookWindow::present() {
    show();
    raise();
    activateWindow();
}

void LogBookWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    look();
    m_timer.start(lookInterval);
    goOnSearching();
}

void LogBookWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_timer.stop();
    m_searchTimer.stop();
}

// --- following -----------------------------------------------------------------------------------------------

void LogBookWindow::watch(const std::string& path) {
    const QString file = QString::fromStdString(path);
    const QStringList wanted = {file, QString::fromStdString(Paths::folderOf(path))};
    for (const QString& watched : m_watcher.files() + m_watcher.directories())
        if (!wanted.contains(watched))
            m_watcher.removePath(watched);
    // A path is not watched any more once its file was replaced.
    for (const QString& each : wanted)
        if (!m_watcher.files().contains(each) && !m_watcher.directories().contains(each))
            m_watcher.addPath(each);
}

void LogBookWindow::look() {
    if (!isVisible())
        return;
    const std::string path = m_path();
    const LogBookReader::Look look = m_reader.look(path);
    watch(path);
    switch (look.change) {
    case LogBookReader::Change::none:
        return;
    case LogBookReader::Change::missing:
        m_stack->setCurrentWidget(m_noBook);
        showText({});
        break;
    case LogBookReader::Change::anew:
        m_stack->setCurrentWidget(m_view);
        showText(linesOf(look.text));
        break;
    case LogBookReader::Change::added:
        addText(linesOf(look.text));
        break;
    }
    m_earlier->setVisible(m_stack->currentWidget() == m_view && m_reader.hasEarlier());
    showCount();
    goOnSearching();
}

bool LogBookWindow::isAtEnd() const {
    const QScrollBar* bar = m_view->verticalScrollBar();
    return bar->value() >= bar->maximum();
}

void LogBookWindow::goToEnd() {
    m_view->verticalScrollBar()->setValue(m_view->verticalScrollBar()->maximum());
}

void LogBookWindow::showText(const QString& text) {
    m_hasPresent = false;
    m_search.clear();
    m_search.append(text);
    m_view->setPlainText(text);
    goToEnd();
    m_search.scan();
}

void LogBookWindow::addText(const QString& text) {
    // Not when a place that was found is being looked at.
    const bool follows = isAtEnd() && !m_view->textCursor().hasSelection();
    m_search.append(text);
    QTextCursor end(m_view->document());
    end.movePosition(QTextCursor::End);
    end.insertText(text);
    if (follows)
        goToEnd();
}

void LogBookWindow::showEarlier() {
    const QString text = linesOf(m_reader.earlier());
    const int before = m_view->verticalScrollBar()->value();
    const int lines = m_view->blockCount();
    QTextCursor begin(m_view->document());
    begin.insertText(text);
    m_view->verticalScrollBar()->setValue(before + m_view->blockCount() - lines);
    m_search.prepend(text);
    m_earlier->setVisible(m_reader.hasEarlier() && !text.isEmpty());
    goOnSearching();
}

// --- search --------------------------------------------------------------------------------------------------

void LogBookWindow::search() {
    m_hasPresent = false;
    m_search.setQuery(m_query->text());
    m_wantsFirst = !m_query->text().isEmpty();
    searchOn();
}

bool LogBookWindow::maySearchEarlier() const {
    return !m_search.query().isEmpty() && m_earlier->isVisible() &&
           m_view->document()->characterCount() < mostLoaded;
}

void LogBookWindow::searchOn() {
    const std::size_t count = m_search.count();
    if (m_search.isDone() && maySearchEarlier())
        showEarlier();
    m_search.scan();
    m_present += m_search.count() - count; // those found now come first
    selectFirst();
    showCount();
    goOnSearching();
}

void LogBookWindow::goOnSearching() {
    if (isVisible() && (!m_search.isDone() || maySearchEarlier()))
        m_searchTimer.start(0);
}

void LogBookWindow::selectFirst() {
    if (!m_wantsFirst || m_search.count() == 0)
        return;
    m_wantsFirst = false;
    // From what is being looked at on.
    select(m_search.placeFrom(m_view->textCursor().selectionStart()));
}

void LogBookWindow::step(int direction) {
    const std::size_t count = m_search.count();
    if (count == 0)
        return;
    if (m_hasPresent)
        select((m_present + count + (direction > 0 ? 1 : count - 1)) % count);
    else
        select(direction > 0 ? 0 : count - 1);
}

void LogBookWindow::select(std::size_t place) {
    m_present = place;
    m_hasPresent = true;
    QTextCursor cursor(m_view->document());
    const int position = m_search.position(place);
    cursor.setPosition(position);
    cursor.setPosition(position + static_cast<int>(m_search.query().size()), QTextCursor::KeepAnchor);
    m_view->setTextCursor(cursor);
    m_view->ensureCursorVisible();
    showCount();
}

void LogBookWindow::showCount() {
    const bool found = m_search.count() != 0;
    m_previous->setEnabled(found);
    m_next->setEnabled(found);
    const bool goesOn = !m_search.isDone() || maySearchEarlier();
    const QString more = goesOn ? QStringLiteral("\u2026") : QString();
    if (m_search.query().isEmpty())
        m_count->clear();
    else if (!found)
        m_count->setText(goesOn ? more : textOf(m_texts, "LogBookNotFound"));
    else
        m_count->setText(textOf(m_texts, "LogBookCount")
                             .arg(m_hasPresent ? static_cast<int>(m_present) + 1 : 0)
                             .arg(m_search.count()) +
                         more);
}

void LogBookWindow::leave() {
    if (m_query->text().isEmpty() && !m_query->hasFocus()) {
        close();
        return;
    }
    m_query->clear();
    QTextCursor cursor = m_view->textCursor();
    cursor.clearSelection();
    m_view->setTextCursor(cursor);
    m_view->setFocus(Qt::ShortcutFocusReason);
}

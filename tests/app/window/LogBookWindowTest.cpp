#include "app/window/LogBookWindow.h"

#include "base/Texts.h"
#include "storage/PosixVolume.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTextBlock>
#include <QtTest>
#include <vector>

namespace {
class LogBookWindowTest : public testing::Test {
protected:
    void add(const std::string& text) { std::ofstream(path, std::ios::binary | std::ios::app) << text; }
    void open() {
        window.present();
        QApplication::processEvents();
    }
    QPlainTextEdit& view() { return *window.findChild<QPlainTextEdit*>(); }
    QLineEdit& query() { return *window.findChild<QLineEdit*>(); }
    QScrollBar& bar() { return *view().verticalScrollBar(); }
    QString count() {
        for (const QLabel* label : window.findChildren<QLabel*>())
            if (label->accessibleName() == "Search result")
                return label->text();
        return "no such label";
    }
    QPushButton& button(const QString& text) {
        for (QPushButton* button : window.findChildren<QPushButton*>())
            if (button->text() == text)
                return *button;
        throw std::runtime_error("no such button");
    }
    /// Where the selection begins, and what it is.
    std::pair<int, QString> found() {
        return {view().textCursor().selectionStart(), view().textCursor().selectedText()};
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(QApplication::focusWidget() != nullptr ? QApplication::focusWidget() : &window, key,
                        modifiers);
    }

    TemporaryFolder folder;
    const std::string path = folder.path() + "/VelmoratideLog.txt";
    PosixVolume volume;
    Texts texts = Texts::forLanguage("en");
    LogBookWindow window{volume, texts, [this] { return path; }};
};
} // namespace

TEST_F(LogBookWindowTest, showsTheBook_andFollowsIt) {
    add("one\n\n");
    open();
    EXPECT_EQ(view().toPlainText(), "one\n\n");
    add("two 録音\n\n");
    window.look();
    EXPECT_EQ(view().toPlainText(), "one\n\ntwo 録音\n\n");
    EXPECT_TRUE(view().isReadOnly());
    const QFontMetricsF letters(view().font()); // not what the font says of itself: some say they are not
    EXPECT_EQ(letters.horizontalAdvance(QStringLiteral("iiii")),
              letters.horizontalAdvance(QStringLiteral("WWWW")));
}

TEST_F(LogBookWindowTest, hearsOfAChangeByItself) {
    add("one\n");
    open();
    QSignalSpy changes(&view(), &QPlainTextEdit::textChanged);
    add("two\n");
    ASSERT_TRUE(changes.wait(5000));
    EXPECT_EQ(view().toPlainText(), "one\ntwo\n");
}

TEST_F(LogBookWindowTest, saysThatThereIsNoBook_untilThereIsOne) {
    open();
    EXPECT_FALSE(view().isVisible());
    bool said = false;
    for (const QLabel* label : window.findChildren<QLabel*>())
        said = said || (label->isVisible() && label->text().startsWith("There is no log book yet."));
    EXPECT_TRUE(said);
    add("one\n");
    window.look();
    EXPECT_TRUE(view().isVisible());
    std::filesystem::remove(path);
    window.look();
    EXPECT_FALSE(view().isVisible());
}

TEST_F(LogBookWindowTest, staysAtTheEnd_butNotWhenItWasScrolledUp) {
    for (int i = 0; i < 500; ++i)
        add("line\n");
    open();
    ASSERT_GT(bar().maximum(), 0);
    EXPECT_EQ(bar().value(), bar().maximum());
    add("more\nmore\n");
    window.look();
    EXPECT_EQ(bar().value(), bar().maximum());
    bar().setValue(100);
    add("more\n");
    window.look();
    EXPECT_EQ(bar().value(), 100);
}

TEST_F(LogBookWindowTest, findsPlacesInTurn_andCountsThem) {
    add("error\nfine\nERROR\nError\n");
    open();
    query().setText("error");
    EXPECT_EQ(count(), "1 of 3");
    EXPECT_EQ(found(), std::pair(0, QString("error")));
    press(Qt::Key_F3);
    EXPECT_EQ(count(), "2 of 3");
    EXPECT_EQ(found(), std::pair(11, QString("ERROR")));
    press(Qt::Key_F3);
    press(Qt::Key_F3);
    EXPECT_EQ(count(), "1 of 3");
    press(Qt::Key_F3, Qt::ShiftModifier);
    EXPECT_EQ(count(), "3 of 3");
    EXPECT_EQ(found(), std::pair(17, QString("Error")));
    button("Previous").click();
    EXPECT_EQ(count(), "2 of 3");
    button("Next").click();
    EXPECT_EQ(count(), "3 of 3");
    add("error\n");
    window.look();
    EXPECT_EQ(count(), "3 of 4");
    EXPECT_EQ(found(), std::pair(17, QString("Error")));
    query().setText("nowhere");
    EXPECT_EQ(count(), "Not found");
    EXPECT_FALSE(button("Next").isEnabled());
    query().clear();
    EXPECT_EQ(count(), "");
}

TEST_F(LogBookWindowTest, isWorkedByTheKeyboard) {
    add("one\n");
    open();
    view().setFocus();
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_TRUE(query().hasFocus());
    query().setText("one");
    press(Qt::Key_Escape);
    EXPECT_TRUE(view().hasFocus());
    EXPECT_EQ(query().text(), "");
    EXPECT_TRUE(window.isVisible());
    press(Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
}

TEST_F(LogBookWindowTest, hasNamesForScreenReaders) {
    EXPECT_EQ(view().accessibleName(), "Log Book");
    EXPECT_FALSE(view().accessibleDescription().isEmpty());
    EXPECT_EQ(query().accessibleName(), "Search the log book");
    EXPECT_EQ(window.windowTitle(), "Log Book");
}

TEST_F(LogBookWindowTest, showsTheEndOfALargeBook_andEarlierPartsOnDemand) {
    const std::string block = "2007.10.24 09:30:00 ERROR HAPPEN\n\tVmRecorder: audio file write error.\t\n\n";
    std::string part;
    while (part.size() < 1024 * 1024)
        part += block;
    add("first\n");
    for (int i = 0; i < 100; ++i)
        add(part);
    add("last\n");
    QElapsedTimer timer;
    timer.start();
    open();
    EXPECT_LT(timer.elapsed(), 1000);
    RecordProperty("openedInMilliseconds", static_cast<int>(timer.elapsed()));
    EXPECT_TRUE(view().toPlainText().endsWith("last\n"));
    QPushButton& earlier = button("Show earlier entries");
    ASSERT_TRUE(earlier.isVisible());
    const QString before = view().toPlainText();
    const int top = bar().value();
    const int lines = view().blockCount();
    earlier.click();
    EXPECT_TRUE(view().toPlainText().endsWith(before));
    EXPECT_GT(view().blockCount(), lines + 5'000);
    EXPECT_EQ(bar().value(), top + view().blockCount() - lines);
}

TEST_F(LogBookWindowTest, searchesTheWholeBook_andGoesOnWorkingMeanwhile) {
    const std::string block = "2007.10.24 09:30:00 REPORT HAPPEN\n\tVmRecorder: 録音 Sleep in.\t\n\n";
    const auto addMegabytes = [&](int count) {
        std::string part;
        while (part.size() < static_cast<std::size_t>(count) * 1024 * 1024)
            part += block;
        add(part);
    };
    add("needle one\n");
    addMegabytes(4);
    add("a needle\r in the middle\n");
    addMegabytes(4);
    open();
    EXPECT_FALSE(view().toPlainText().contains("needle"));
    query().setText("NEEDLE");
    EXPECT_EQ(count(), QString(u'\u2026')); // not "Not found" before all was looked at
    QElapsedTimer timer;
    std::vector<qint64> turns; // milliseconds
    while (count() != "2 of 2" && turns.size() < 1000) {
        timer.start();
        QApplication::processEvents();
        turns.push_back(timer.elapsed());
    }
    EXPECT_EQ(count(), "2 of 2"); // the last one was found first
    EXPECT_GT(turns.size(), 20U);
    std::ranges::sort(turns);
    RecordProperty("longestTurnInMilliseconds", static_cast<int>(turns.back()));
    EXPECT_LT(turns[turns.size() / 2], 200);
    EXPECT_EQ(found().second, "needle");
    EXPECT_EQ(view().textCursor().block().text(), "a needle  in the middle");
    EXPECT_FALSE(button("Show earlier entries").isVisible());
    press(Qt::Key_F3);
    EXPECT_EQ(count(), "1 of 2");
    EXPECT_EQ(found(), std::pair(0, QString("needle")));
    add("needle\n");
    window.look();
    EXPECT_EQ(count(), "1 of 3");
    button("Previous").click();
    EXPECT_EQ(count(), "3 of 3");
    query().setText("nowhere");
    while (count() != "Not found" && turns.size() < 2000) {
        QApplication::processEvents();
        turns.push_back(0);
    }
    EXPECT_EQ(count(), "Not found");
}

TEST_F(LogBookWindowTest, loadsNoMoreThanItNeeds_untilAWordIsSearched) {
    for (int i = 0; i < 40'000; ++i)
        add("2007.10.24 09:30:00 REPORT HAPPEN\n");
    open();
    const int lines = view().blockCount();
    for (int i = 0; i < 20; ++i)
        QApplication::processEvents();
    EXPECT_EQ(view().blockCount(), lines);
    EXPECT_LT(lines, 10'000);
    query().setText("x");
    query().clear(); // the search ends with its word
    const int some = view().blockCount();
    for (int i = 0; i < 20; ++i)
        QApplication::processEvents();
    EXPECT_EQ(view().blockCount(), some);
}

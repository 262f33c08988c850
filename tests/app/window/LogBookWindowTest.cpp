#include "app/window/LogBookWindow.h"

#include "base/Texts.h"
#include "storage/PosixVolume.h"
#include "support/TemporaryFolder.h"

#include <fstream>
#include <gtest/gtest.h>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QtTest>

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
    EXPECT_TRUE(QFontInfo(view().font()).fixedPitch());
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
    EXPECT_LT(timer.elapsed(), 3000);
    EXPECT_TRUE(view().toPlainText().endsWith("last\n"));
    QPushButton& earlier = button("Show earlier entries");
    ASSERT_TRUE(earlier.isVisible());
    const QString before = view().toPlainText();
    const int top = bar().value();
    const int lines = view().blockCount();
    earlier.click();
    EXPECT_TRUE(view().toPlainText().endsWith(before));
    EXPECT_GT(view().blockCount(), lines + 90'000);
    EXPECT_EQ(bar().value(), top + view().blockCount() - lines);
}

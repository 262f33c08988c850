// Everything in the real window is reached by keyboard, and has a name that a screen reader says.
#include "app/VmPrefer.h"
#include "app/window/MainWindow.h"
#include "app/window/ScreenReader.h"
#include "app/WindowAssembly.h"
#include "base/VmTableView.h"
#include "library/VmPlayer.h"
#include "schedule/VmReserver.h"
#include "storage/VmMechanic.h"
#include "support/DeskOfATest.h"

#include <map>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>
#include <set>

namespace {
/// What is said of a control; a box of choices tells its choice as well.
QString nameOf(QWidget* widget) {
    if (!widget->accessibleName().isEmpty())
        return widget->accessibleName();
    QAccessibleInterface* told = QAccessible::queryAccessibleInterface(widget);
    return told == nullptr ? QString() : told->text(QAccessible::Name);
}

/// What a screen reader finds beside a box of choices; the toolkit tells it the choice for a name.
QString labelBeside(QWidget* widget) {
    const auto labels = QAccessible::queryAccessibleInterface(widget)->relations(QAccessible::Label);
    return labels.isEmpty() ? QString() : labels[0].first->text(QAccessible::Name);
}

std::string labelOf(const QWidget* widget) {
    return std::string(widget->metaObject()->className()) + " \"" + widget->objectName().toStdString() + "\"";
}

/// A launched application with one recording and one timetable entry, and its window.
struct WholeWindow : testing::TestWithParam<const char*> {
    Desk desk{fullRateStereo};
    Texts texts = Texts::forLanguage(GetParam());
    std::unique_ptr<MainWindow> window;

    void SetUp() override {
        QAccessible::setActive(true);
        ScreenReader::tellWindows();
        desk.desk.texts = texts;
        desk.desk.makeControllers();
        window = assembleWindow(*desk.desk.controler, texts, [] { return true; });
        desk.desk.launch();
        desk.recorder().recordButton().press(true);
        desk.desk.runFor(8.0);
        desk.recorder().recordButton().press(false);
        desk.desk.runFor(2.0);
        QApplication::setActiveWindow(window.get());
    }

    VmControler& controler() { return *desk.desk.controler; }

    /// What a person could use now.
    std::vector<QWidget*> controls() const {
        std::vector<QWidget*> found;
        for (QWidget* widget : window->findChildren<QWidget*>())
            if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) != 0 &&
                widget->focusProxy() == nullptr && widget->window() == window.get())
                found.push_back(widget);
        return found;
    }

    /// Where the tab key leads, one after the other, until it comes round.
    std::set<QWidget*> reached(std::size_t most) const {
        std::set<QWidget*> met;
        controls().front()->setFocus();
        for (std::size_t step = 0; step < most; ++step) {
            QWidget* focused = QApplication::focusWidget();
            if (focused == nullptr)
                break;
            met.insert(focused);
            QTest::keyClick(focused, Qt::Key_Tab);
        }
        return met;
    }

    void expectAccessible(const std::string& place) {
        QCoreApplication::processEvents();
        const std::vector<QWidget*> all = controls();
        ASSERT_GT(all.size(), 6U) << place;
        const std::set<QWidget*> met = reached(2 * all.size());
        std::map<QString, QWidget*> names;
        for (QWidget* control : all) {
            EXPECT_TRUE(met.contains(control)) << place << ": " << labelOf(control) << " is not reached";
            const QString name = nameOf(control);
            EXPECT_FALSE(name.trimmed().isEmpty()) << place << ": " << labelOf(control) << " has no name";
            if (qobject_cast<QComboBox*>(control) != nullptr) {
                EXPECT_EQ(labelBeside(control).toStdString(), control->accessibleName().toStdString())
                    << place << ": " << labelOf(control);
            }
            // The preferences' help stands below each of them.
            EXPECT_FALSE(control->toolTip().isEmpty() && control->accessibleDescription().isEmpty())
                << place << ": " << labelOf(control) << " is not explained";
            const auto [other, isNew] = names.emplace(name, control);
            EXPECT_TRUE(isNew) << place << ": " << labelOf(control) << " and " << labelOf(other->second)
                               << " are both \"" << name.toStdString() << "\"";
        }
    }
};
} // namespace

TEST_P(WholeWindow, isReachedAndNamed_onTheRecordTab) {
    expectAccessible("record");
    desk.recorder().recordButton().press(true);
    desk.desk.runFor(3.0);
    expectAccessible("record while recording");
}

TEST_P(WholeWindow, isReachedAndNamed_onThePlayTab) {
    controler().mainTab().choose(1);
    for (int wait = 0; wait < 100 && controler().recordTable().numberOfRows() == 0; ++wait)
        desk.desk.runFor(0.1);
    expectAccessible("play");
    controler().player().initDataSource();
    ASSERT_GT(controler().recordTable().numberOfRows(), 0);
    controler().recordTable().chooseRow(0);
    desk.desk.runFor(0.5);
    expectAccessible("play with a recording");
}

TEST_P(WholeWindow, isReachedAndNamed_onTheTimerTab) {
    controler().mainTab().choose(2);
    controler().reserver().actInsertTimer();
    expectAccessible("timer");
    controler().reserver().drawerButton.press(true);
    QCoreApplication::processEvents();
    const QWidget* focused = QApplication::focusWidget();
    ASSERT_NE(focused, nullptr);
    EXPECT_NE(focused->focusPolicy() & Qt::TabFocus, 0) << "the drawer itself, which has no name";
    expectAccessible("timer with the drawer");
}

TEST_P(WholeWindow, isReachedAndNamed_onTheKeepTab) {
    controler().mainTab().choose(3);
    expectAccessible("keep");
}

TEST_P(WholeWindow, isReachedAndNamed_inThePreferences) {
    controler().prefer().preferButton.press(true);
    ASSERT_TRUE(controler().prefer().drawer.isOpen());
    auto* pages = window->findChild<QComboBox*>("PreferPages");
    ASSERT_NE(pages, nullptr);
    for (int page = 0; page < pages->count(); ++page) {
        controler().prefer().pages.choose(page);
        expectAccessible("preferences, page " + std::to_string(page));
    }
}

TEST_P(WholeWindow, isToldToBeAWindow_withItsTitle) {
    const QAccessibleInterface* told = QAccessible::queryAccessibleInterface(window.get());
    ASSERT_NE(told, nullptr);
    EXPECT_EQ(told->role(), QAccessible::Window);
    EXPECT_EQ(told->text(QAccessible::Name), "Velmoratide");
    for (QWidget* widget : window->findChildren<QWidget*>())
        if (!widget->isWindow()) {
            EXPECT_NE(QAccessible::queryAccessibleInterface(widget)->role(), QAccessible::Window)
                << labelOf(widget);
        }
}

TEST_P(WholeWindow, showsTheBackupAdvice_withANameForEachPart) {
    auto* advice = window->findChild<QDialog*>("Advice");
    ASSERT_NE(advice, nullptr);
    EXPECT_FALSE(advice->isVisible());
    controler().mechanic().adviceAlertWithPath("/duty/VelmoratideBackup", 5e9);
    EXPECT_TRUE(advice->isVisible());
    EXPECT_EQ(advice->findChild<QLineEdit*>("AdviceTotal")->text(), "4768.4");
    for (const char* part : {"AdvicePath", "AdviceTotal", "AdviceSize", "AdviceLamp", "AdviceClose"})
        EXPECT_FALSE(nameOf(advice->findChild<QWidget*>(part)).isEmpty()) << part;
    advice->findChild<QPushButton*>("AdviceClose")->click();
    EXPECT_FALSE(controler().mechanic().advicePanel().isShown());
}

INSTANTIATE_TEST_SUITE_P(Languages, WholeWindow, testing::Values("en", "de", "ja"),
                         [](const auto& language) { return std::string(language.param); });

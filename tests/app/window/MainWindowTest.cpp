#include "app/window/MainWindow.h"

#include "app/window/StripButton.h"
#include "base/Texts.h"
#include "TabModels.h"

#include <gtest/gtest.h>
#include <QAction>
#include <QIcon>
#include <QProxyStyle>
#include <QScreen>
#include <QStackedWidget>
#include <QtTest>

namespace {
/// Moves nothing: what is to come is there at once.
class StillStyle : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override {
        return hint == SH_Widget_Animation_Duration ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
    }
};

struct MainWindowTest : testing::Test {
    TabModels models;
    Texts texts = Texts::forLanguage("en");
    bool mayClose = false;
    int asked = 0;
    std::vector<bool> shown;
    MainWindow window{models.window(),
                      texts,
                      {.mayClose =
                           [this] {
                               ++asked;
                               return mayClose;
                           },
                       .shown = [this](bool seen) { shown.push_back(seen); }}};

    StripButton& button(const char* name) { return *window.findChild<StripButton*>(QString::fromLatin1(name)); }
};
} // namespace

TEST_F(MainWindowTest, hasTheFixedSizeOfTheRecordTab) {
    window.show();
    EXPECT_EQ(window.size(), QSize(352, 262));
    window.resize(600, 600);
    EXPECT_EQ(window.size(), QSize(352, 262));
    EXPECT_EQ(window.minimumSize(), window.maximumSize());
}

TEST_F(MainWindowTest, takesTheSizeOfItsModel_andKeepsItsTopEdge) {
    QApplication::setStyle(new StillStyle);
    window.move(40, 50);
    window.show();
    const int top = window.geometry().top();
    models.mainWindow.setSize(706, 318);
    EXPECT_EQ(window.size(), QSize(706, 318));
    EXPECT_EQ(window.geometry().top(), top);
    models.mainWindow.setSize(352, 262);
    EXPECT_EQ(window.size(), QSize(352, 262));
    EXPECT_EQ(window.geometry().top(), top);
    QApplication::setStyle("Fusion");
}

TEST_F(MainWindowTest, asksForTheTabThatAPersonChooses) {
    std::vector<int> chosen;
    models.tabs.setAction([&](int tab) { chosen.push_back(tab); });
    window.show();
    QApplication::setActiveWindow(&window);
    button("PlayTab").click();
    QTest::keyClick(&window, Qt::Key_4, Qt::ControlModifier);
    button("KeepTab").setFocus();
    QTest::keyClick(&button("KeepTab"), Qt::Key_Left);
    EXPECT_EQ(chosen, (std::vector<int>{1, 3, 2}));
    EXPECT_TRUE(button("TimerTab").isChecked());
    EXPECT_FALSE(button("KeepTab").isChecked());
}

TEST_F(MainWindowTest, staysOnTheRecordTab_whenTheGateRefuses) {
    models.tabs.setAction([&](int) { models.tabs.select(0); });
    window.show();
    button("PlayTab").click();
    EXPECT_TRUE(button("RecordTab").isChecked());
    EXPECT_FALSE(button("PlayTab").isChecked());
}

TEST_F(MainWindowTest, showsATabOnlyAfterTheQuestionWhetherItMayBeSeen) {
    const auto* pages = window.findChild<QStackedWidget*>();
    std::vector<int> seen;
    bool isGranted = false;
    models.tabs.setAction([&](int) {
        QApplication::processEvents(); // as while a person is asked
        seen.push_back(pages->currentIndex());
        if (!isGranted)
            models.tabs.select(0);
    });
    window.show();
    button("PlayTab").click();
    EXPECT_EQ(pages->currentIndex(), 0);
    EXPECT_TRUE(button("RecordTab").isChecked());
    EXPECT_FALSE(button("PlayTab").isChecked());
    isGranted = true;
    button("PlayTab").click();
    EXPECT_EQ(pages->currentIndex(), 1);
    EXPECT_TRUE(button("PlayTab").isChecked());
    EXPECT_EQ(seen, (std::vector<int>{0, 0}));
}

TEST_F(MainWindowTest, keepsItsTabChecked_whenThatIsChosenAgain) {
    window.show();
    button("RecordTab").click();
    EXPECT_TRUE(button("RecordTab").isChecked());
}

TEST_F(MainWindowTest, hasSwitchesForTheGateAndThePreferences_andHelp) {
    std::vector<bool> pressed;
    models.preferences.setAction([&] { pressed.push_back(models.preferences.isOn()); });
    window.show();
    QApplication::setActiveWindow(&window);
    button("Preferences").click();
    EXPECT_EQ(pressed, std::vector<bool>{true});
    EXPECT_TRUE(button("Preferences").isChecked());
    models.authorization.setEnabled(false);
    EXPECT_FALSE(button("Authorization").isEnabled());
    QTest::keyClick(&window, Qt::Key_F1);
    EXPECT_EQ(models.helpAsked, 1);
}

TEST_F(MainWindowTest, tellsItsPlace_andIsSeenThrough) {
    window.show();
    window.move(33, 44);
    EXPECT_EQ(models.mainWindow.frame(), "33 44");
    models.mainWindow.setOpacity(0.5F);
    EXPECT_NEAR(window.windowOpacity(), 0.5, 0.01);
}

TEST_F(MainWindowTest, comesBackToItsPlace_asFarAsTheScreenHasIt) {
    const QRect screen = QApplication::primaryScreen()->availableGeometry();
    const auto placeAfter = [this](const std::string& frame) {
        TabModels others;
        others.mainWindow.setFrame(frame);
        const MainWindow restored(others.window(), texts, {});
        return restored.pos();
    };
    EXPECT_EQ(placeAfter("70 90"), QPoint(70, 90));
    EXPECT_EQ(placeAfter("-100 90"), QPoint(-100, 90)) << "partly out, as a person has put it";
    const QPoint untold = placeAfter("");
    for (const char* lost : {"5000 90", "70 5000", "-5000 90", "70 -300", "x y", "70", "99999999999 1"})
        EXPECT_EQ(placeAfter(lost), untold) << lost;
    const QPoint low = placeAfter("70 " + std::to_string(screen.bottom() - 10));
    EXPECT_EQ(low.x(), 70);
    EXPECT_LE(low.y(), screen.bottom() - 64) << "only an edge is to be seen";
}

TEST_F(MainWindowTest, isClosedAndShownByItsModel) {
    window.show();
    EXPECT_TRUE(models.mainWindow.isVisible());
    models.mainWindow.close();
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(asked, 0);
    models.mainWindow.show();
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(shown, (std::vector<bool>{true, false, true}));
}

TEST_F(MainWindowTest, hasATitleAndAnIcon) {
    EXPECT_EQ(window.windowTitle(), "Velmoratide");
    EXPECT_FALSE(window.windowIcon().isNull());
}

TEST_F(MainWindowTest, staysOpen_whenClosingIsRefused) {
    window.show();
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(asked, 1);
}

TEST_F(MainWindowTest, closes_whenClosingIsAllowed) {
    mayClose = true;
    window.show();
    EXPECT_TRUE(window.close());
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(asked, 1);
}

TEST_F(MainWindowTest, offersItsCommandsByKeyAndInTheContextMenu) {
    int calls = 0;
    window.addCommand("Show Log Book", Qt::CTRL | Qt::Key_L, [&calls] { ++calls; });
    window.show();
    QApplication::setActiveWindow(&window);
    QTest::keyClick(&window, Qt::Key_L, Qt::ControlModifier);
    EXPECT_EQ(calls, 1);
    ASSERT_EQ(window.actions().size(), 1);
    EXPECT_EQ(window.actions()[0]->text(), "Show Log Book");
    EXPECT_EQ(window.contextMenuPolicy(), Qt::ActionsContextMenu);
}

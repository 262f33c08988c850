#include "app/window/MainWindow.h"

#include "base/Texts.h"
#include "TabModels.h"

#include <gtest/gtest.h>
#include <QAction>
#include <QIcon>
#include <QtTest>

namespace {
struct MainWindowTest : testing::Test {
    TabModels models;
    Texts texts = Texts::forLanguage("en");
    bool mayClose = false;
    int asked = 0;
    MainWindow window{models.controls(), texts, [this] {
                          ++asked;
                          return mayClose;
                      }};
};
} // namespace

TEST_F(MainWindowTest, hasTheFixedSizeOfTheRecordTab) {
    window.show();
    EXPECT_EQ(window.size(), QSize(352, 262));
    window.resize(600, 600);
    EXPECT_EQ(window.size(), QSize(352, 262));
    EXPECT_EQ(window.minimumSize(), window.maximumSize());
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

#include "app/window/AdviceWindow.h"

#include "app/window/IndicatorLamp.h"
#include "base/Texts.h"
#include "storage/AdvicePanel.h"

#include <gtest/gtest.h>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QtTest>

namespace {
struct AdviceWindowTest : testing::TestWithParam<const char*> {
    AdvicePanel panel;
    QWidget beside;
    Texts texts = Texts::forLanguage(GetParam());
    AdviceWindow window{panel, texts, &beside};

    AdviceWindowTest() {
        beside.setGeometry(300, 200, 400, 300);
        beside.show();
    }
    void advise(const char* total = "4097.5") {
        panel.adviceSizeText.setText("4096");
        panel.advicePathText.setText("/home/duty/VelmoratideBackup");
        panel.adviceTotalText.setText(total);
        panel.show();
        panel.adviceIndicator.setAnimating(true);
    }
    std::string textOf(const char* name) { return window.findChild<QLineEdit*>(name)->text().toStdString(); }
};
} // namespace

INSTANTIATE_TEST_SUITE_P(Languages, AdviceWindowTest, testing::Values("en", "de", "ja"));

TEST_P(AdviceWindowTest, isHidden_untilThereIsAdvice) {
    EXPECT_FALSE(window.isVisible());
    advise();
    EXPECT_TRUE(window.isVisible());
    EXPECT_FALSE(window.isModal());
}

TEST_P(AdviceWindowTest, showsSizePathAndTotal) {
    advise();
    EXPECT_EQ(textOf("AdviceSize"), "4096");
    EXPECT_EQ(textOf("AdvicePath"), "/home/duty/VelmoratideBackup");
    EXPECT_EQ(textOf("AdviceTotal"), "4097.5");
    EXPECT_TRUE(window.findChild<QLineEdit*>("AdvicePath")->isReadOnly());
    advise("5000.0");
    EXPECT_EQ(textOf("AdviceTotal"), "5000.0");
}

TEST_P(AdviceWindowTest, liesInTheMiddleOfItsParent) {
    advise();
    const QPoint apart = window.geometry().center() - beside.geometry().center();
    EXPECT_LE(apart.manhattanLength(), 4);
}

TEST_P(AdviceWindowTest, liesOnTheScreen_whenItsParentIsAtTheEdge) {
    const QRect room = beside.screen()->availableGeometry();
    for (const QPoint corner : {room.topLeft(), room.bottomRight() - QPoint(100, 100)}) {
        beside.move(corner);
        advise();
        EXPECT_TRUE(room.contains(window.frameGeometry())) << corner.x();
        window.hide();
    }
}

TEST_P(AdviceWindowTest, closesThePanel_byTheButtonOrEscapeOrTheFrame) {
    const std::vector<std::function<void()>> ways = {
        [this] { window.findChild<QPushButton*>("AdviceClose")->click(); },
        [this] { QTest::keyClick(&window, Qt::Key_Escape); }, [this] { window.close(); }};
    for (const auto& close : ways) {
        advise();
        ASSERT_TRUE(window.isVisible());
        close();
        EXPECT_FALSE(window.isVisible());
        EXPECT_FALSE(panel.isShown());
    }
}

TEST_P(AdviceWindowTest, goesWithThePanel) {
    advise();
    panel.close();
    EXPECT_FALSE(window.isVisible());
}

TEST_P(AdviceWindowTest, lightsItsLamp_untilTheNextRecording) {
    auto* lamp = window.findChild<IndicatorLamp*>("AdviceLamp");
    EXPECT_FALSE(lamp->isGlowing());
    advise();
    EXPECT_TRUE(lamp->isGlowing());
}

TEST_P(AdviceWindowTest, showsAllOfItsText) {
    advise();
    const auto* said = window.findChild<QLabel*>("AdviceText");
    EXPECT_GE(said->height(), said->heightForWidth(said->width()));
    for (const QLabel* label : window.findChildren<QLabel*>())
        EXPECT_FALSE(label->text().isEmpty());
}

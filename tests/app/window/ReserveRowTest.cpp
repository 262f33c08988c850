#include "app/window/CaptionButton.h"
#include "app/window/FittingLabel.h"
#include "app/window/MainWindow.h"
#include "app/window/SourceBox.h"
#include "base/Texts.h"
#include "TabModels.h"

#include <gtest/gtest.h>
#include <QApplication>
#include <QProxyStyle>
#include <QTest>
#include <QToolTip>

namespace {
/// Shows tool tips at once.
class PromptStyle : public QProxyStyle {
public:
    PromptStyle() : QProxyStyle("Fusion") {}
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override {
        return hint == SH_ToolTip_WakeUpDelay ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
    }
};

struct ReserveRowTest : testing::Test {
    ReserveRowTest() { open("en"); }
    ~ReserveRowTest() override { QToolTip::hideText(); }

    void open(const char* language) {
        texts = Texts::forLanguage(language);
        models.source.setText(texts("InternalSource"));
        models.rate.setText("22.05 kHz " + texts("ChannelMono"));
        window = std::make_unique<MainWindow>(models.window(), texts,
                                              MainWindow::Events{.mayClose = [] { return true; }});
        window->show();
        window->activateWindow();
        QApplication::processEvents();
    }
    /// The text whose accessible name begins with the text of `key`.
    FittingLabel& saying(const char* key) const {
        const QString name = QString::fromStdString(texts(key));
        for (QWidget* widget : window->findChildren<QWidget*>())
            if (auto* found = dynamic_cast<FittingLabel*>(widget);
                found && (found->accessibleName() == name || found->accessibleName().startsWith(name + ": ")))
                return *found;
        throw std::runtime_error(key);
    }
    CaptionButton& button(const char* name) const {
        return dynamic_cast<CaptionButton&>(*window->findChild<QWidget*>(name));
    }
    void wait(const std::string& name, const std::string& time) {
        models.reserveName.setText(name);
        models.reserveName.setToolTip(name);
        models.reserveTime.setText(time);
        QApplication::processEvents();
    }
    /// Rests the mouse on `widget`; whether its tool tip, `tip`, shows.
    bool showsTip(QWidget& widget, const std::string& tip) const {
        const QPoint centre = widget.mapTo(window.get(), widget.rect().center());
        QTest::mouseMove(window->windowHandle(), centre - QPoint(1, 1));
        QTest::mouseMove(window->windowHandle(), centre);
        const auto shows = [&tip] { return QToolTip::isVisible() && QToolTip::text().toStdString() == tip; };
        for (int turn = 0; turn < 100 && !shows(); ++turn)
            QApplication::processEvents(); // the tip waits no time, but for the event loop
        return shows();
    }
    QStringList tabOrder() const {
        QStringList order;
        QWidget* first = &button("Record");
        for (QWidget* widget = first; order.isEmpty() || widget != first; widget = widget->nextInFocusChain())
            if ((widget->focusPolicy() & Qt::TabFocus) != 0 && widget != window.get() && widget->isVisible() &&
                widget->isEnabled())
                order.append(widget->objectName());
        return order;
    }

    TabModels models;
    Texts texts;
    std::unique_ptr<MainWindow> window;
};
} // namespace

TEST_F(ReserveRowTest, tellsTheInput_whileTheTimetableIsOff) {
    EXPECT_TRUE(saying("SourceName").isVisible());
    EXPECT_TRUE(saying("RateName").isVisible());
    EXPECT_FALSE(saying("ReserveEntryName").isVisible());
    EXPECT_FALSE(saying("ReserveTimeName").isVisible());
}

TEST_F(ReserveRowTest, tellsTheEntryInTheInputsPlace_whileThereIsOne) {
    const QRect place(saying("SourceName").mapTo(window.get(), QPoint()), saying("SourceName").size());
    wait("Evening news", "Starts at 09:31");
    auto& entry = saying("ReserveEntryName");
    auto& time = saying("ReserveTimeName");
    EXPECT_TRUE(entry.isVisible());
    EXPECT_TRUE(time.isVisible());
    EXPECT_EQ(entry.text(), "Evening news");
    EXPECT_EQ(time.text(), "Starts at 09:31");
    EXPECT_EQ(entry.mapTo(window.get(), QPoint()), place.topLeft());
    EXPECT_FALSE(saying("SourceName").isVisible());
    EXPECT_EQ(window->size(), QSize(352, 262));

    models.reserveTime.setText("Stops at 10:00");
    EXPECT_EQ(time.text(), "Stops at 10:00");
    wait("", "");
    EXPECT_FALSE(entry.isVisible());
    EXPECT_TRUE(saying("SourceName").isVisible());
}

TEST_F(ReserveRowTest, showsTheTimeOfAnEntryWithoutAName) {
    wait("", "Starts at 09:31");
    EXPECT_TRUE(saying("ReserveTimeName").isVisible());
    EXPECT_FALSE(saying("ReserveEntryName").isShortened());
}

TEST_F(ReserveRowTest, namesTheEntryAndItsTimeForAScreenReader) {
    for (const char* language : {"en", "ja"}) {
        open(language);
        wait("Evening news", "09:31");
        EXPECT_EQ(saying("ReserveEntryName").accessibleName().toStdString(),
                  texts("ReserveEntryName") + ": Evening news");
        EXPECT_EQ(saying("ReserveTimeName").accessibleName().toStdString(),
                  texts("ReserveTimeName") + ": 09:31");
        EXPECT_EQ(saying("ReserveTimeName").toolTip().toStdString(), texts("ReserveTimeTip"));
    }
}

TEST_F(ReserveRowTest, shortensALongNameAndNeverTheTime) {
    const std::string name = "Dawn chorus at the north window, long-term survey, second season";
    wait(name, "Starts at 09:31");
    auto& entry = saying("ReserveEntryName");
    EXPECT_TRUE(entry.isShortened());
    EXPECT_TRUE(entry.toolTip().startsWith(QString::fromStdString(name) + "\n"));
    EXPECT_EQ(entry.accessibleName().toStdString(), texts("ReserveEntryName") + ": " + name);
    EXPECT_FALSE(saying("ReserveTimeName").isShortened());
    wait("News", "Starts at 09:31");
    EXPECT_FALSE(entry.isShortened());
}

TEST_F(ReserveRowTest, tellsTheInputInTheEntrysToolTip) {
    wait("News", "Starts at 09:31");
    auto& entry = saying("ReserveEntryName");
    EXPECT_EQ(entry.toolTip(),
              "News\nThe timetable entry that runs or comes next\nInternal microphone, 22.05 kHz Mono");
    models.rate.setText("44.1 kHz Stereo");
    EXPECT_TRUE(entry.toolTip().endsWith("Internal microphone, 44.1 kHz Stereo"));
    models.source.setText("");
    models.rate.setText("");
    EXPECT_EQ(entry.toolTip(), "News\nThe timetable entry that runs or comes next");
}

TEST_F(ReserveRowTest, showsANameThatLooksLikeMarkupAsItIs) {
    wait("<b>News</b>", "Starts at 09:31");
    EXPECT_EQ(saying("ReserveEntryName").text(), "<b>News</b>");
    EXPECT_TRUE(saying("ReserveEntryName").toolTip().contains("&lt;b&gt;News&lt;/b&gt;<br>"));
    models.sources.setItems({"<i>Line</i>"});
    models.sources.select(0);
    auto* sources = dynamic_cast<SourceBox*>(window->findChild<QWidget*>("Sources"));
    ASSERT_NE(sources, nullptr);
    EXPECT_TRUE(sources->toolTip().contains("&lt;i&gt;Line&lt;/i&gt;"));
}

TEST_F(ReserveRowTest, showsTheCountdownInRed) {
    models.condition.setText("4'59\"" + texts("Before"));
    models.condition.setColor(TextColor::red);
    auto& condition = saying("ConditionName");
    EXPECT_EQ(condition.text(), "4'59\" to start");
    EXPECT_EQ(condition.ink(), FittingLabel::Ink::red);
    EXPECT_FALSE(condition.isShortened());
}

TEST_F(ReserveRowTest, showsWhyASwitchIsDisabled) {
    QApplication::setStyle(new PromptStyle);
    models.record.setEnabled(false);
    models.record.setToolTip(texts("TimetableIsOn"));
    EXPECT_TRUE(showsTip(button("Record"), texts("TimetableIsOn")))
        << "without the shortcut, which does nothing now";
    models.reserve.setEnabled(false);
    models.reserve.setToolTip(texts("NoReserves"));
    EXPECT_TRUE(showsTip(button("Reserve"), texts("NoReserves")));
    QApplication::setStyle("Fusion");
}

TEST_F(ReserveRowTest, tellsTheShortcutAgain_whenTheSwitchIsEnabled) {
    models.record.setEnabled(false);
    EXPECT_EQ(button("Record").toolTip().toStdString(), texts("RecordTip"));
    models.record.setEnabled(true);
    EXPECT_EQ(button("Record").toolTip().toStdString(), texts("RecordTip") + " (Ctrl+R)");
}

TEST_F(ReserveRowTest, leavesDisabledSwitchesOutOfTheTabOrder) {
    models.sources.setItems({"Line in"});
    models.sources.select(0);
    EXPECT_EQ(tabOrder(),
              QStringList({"Record", "Reserve", "Monitor", "Hour", "Marker", "Sources", "Level", "RecordTab",
                           "PlayTab", "TimerTab", "KeepTab", "Authorization", "Preferences", "Help"}));
    ASSERT_TRUE(button("Record").hasFocus());
    models.reserve.setOn(true);
    models.record.setEnabled(false);
    models.sources.setEnabled(false);
    models.level.setEnabled(false);
    wait("News", "Starts at 09:31");
    EXPECT_EQ(tabOrder(), QStringList({"Reserve", "Monitor", "Hour", "Marker", "RecordTab", "PlayTab",
                                       "TimerTab", "KeepTab", "Authorization", "Preferences", "Help"}));
    EXPECT_TRUE(button("Reserve").hasFocus()) << "a disabled switch hands the focus on";
}

TEST_F(ReserveRowTest, showsTheDrawingsThatTheRecorderNames) {
    const std::tuple<const char*, Button*, const char*, Glyph> images[] = {
        {"Reserve", &models.reserve, "ReserveOn", Glyph::timer},
        {"Hour", &models.hour, "HourOn", Glyph::hour},
        {"Monitor", &models.monitor, "MonitorOn", Glyph::monitor},
        {"Marker", &models.marker, "MarkerOn", Glyph::marker}};
    for (const auto& [name, model, image, glyph] : images)
        for (const std::string& shown : {std::string(name), std::string(image)}) {
            model->setImage(shown);
            EXPECT_EQ(button(name).glyph(), glyph) << shown;
            EXPECT_EQ(Icons::named(shown), glyph) << shown;
        }
}

#include "app/window/CaptionButton.h"
#include "app/window/DigitView.h"
#include "app/window/FittingLabel.h"
#include "app/window/IndicatorLamp.h"
#include "app/window/LampScale.h"
#include "app/window/LampView.h"
#include "app/window/LevelSlider.h"
#include "app/window/MainWindow.h"
#include "app/window/SourceBox.h"
#include "base/Texts.h"
#include "TabModels.h"

#include <gtest/gtest.h>
#include <QApplication>
#include <QTest>

namespace {
struct RecordTabTest : testing::Test {
    RecordTabTest() { open("en"); }

    void open(const char* language) {
        texts = Texts::forLanguage(language);
        window = std::make_unique<MainWindow>(models.window(), texts,
                                              MainWindow::Events{.mayClose = [] { return true; }});
        window->show();
        window->activateWindow();
        QApplication::processEvents();
    }
    template <typename Widget>
    Widget& named(const char* name) const {
        auto* widget = dynamic_cast<Widget*>(window->findChild<QWidget*>(name));
        EXPECT_NE(widget, nullptr) << name;
        return *widget;
    }
    /// The widget whose accessible name begins with the text of `key`.
    template <typename Widget>
    Widget& saying(const char* key) const {
        const QString name = QString::fromStdString(texts(key));
        for (QWidget* widget : window->findChildren<QWidget*>())
            if (auto* found = dynamic_cast<Widget*>(widget); found && widget->accessibleName().startsWith(name))
                return *found;
        throw std::runtime_error(key);
    }
    static void type(QWidget& widget, Qt::Key key) { QTest::keyClick(&widget, key); }
    static void click(QWidget& widget, QPoint where) {
        QTest::mouseClick(&widget, Qt::LeftButton, Qt::NoModifier, where);
    }

    TabModels models;
    Texts texts;
    std::unique_ptr<MainWindow> window;
};
} // namespace

TEST_F(RecordTabTest, pressesRecord_whenSpaceIsTyped) {
    int presses = 0;
    models.record.setAction([&] { ++presses; });
    auto& button = named<CaptionButton>("Record");
    ASSERT_TRUE(button.hasFocus()) << "the record button has the focus at first";
    type(button, Qt::Key_Space);
    EXPECT_EQ(presses, 1);
    EXPECT_TRUE(models.record.isOn());
    EXPECT_TRUE(button.isChecked());
    type(button, Qt::Key_Space);
    EXPECT_EQ(presses, 2);
    EXPECT_FALSE(button.isChecked());
}

TEST_F(RecordTabTest, pressesEverySwitch_whenItIsClicked) {
    const std::pair<const char*, Button*> switches[] = {{"Record", &models.record},
                                                        {"Reserve", &models.reserve},
                                                        {"Monitor", &models.monitor},
                                                        {"Hour", &models.hour},
                                                        {"Marker", &models.marker}};
    for (const auto& [name, model] : switches) {
        auto& button = named<CaptionButton>(name);
        click(button, button.rect().center());
        EXPECT_TRUE(model->isOn()) << name;
        EXPECT_TRUE(button.isChecked()) << name;
    }
}

TEST_F(RecordTabTest, staysAsItWas_whenThePressIsRefused) {
    models.record.setAction([this] { models.record.setOn(false); });
    auto& button = named<CaptionButton>("Record");
    type(button, Qt::Key_Space);
    EXPECT_FALSE(button.isChecked());
}

TEST_F(RecordTabTest, pressesASwitchByItsShortcut_whereverTheFocusIs) {
    auto& slider = named<LevelSlider>("Level");
    slider.setFocus();
    QTest::keyClick(&slider, Qt::Key_R, Qt::ControlModifier);
    EXPECT_TRUE(models.record.isOn());
    QTest::keyClick(&slider, Qt::Key_H, Qt::ControlModifier);
    EXPECT_TRUE(models.hour.isOn());
    models.marker.setEnabled(false);
    QTest::keyClick(&slider, Qt::Key_K, Qt::ControlModifier);
    EXPECT_FALSE(models.marker.isOn());
    EXPECT_TRUE(named<CaptionButton>("Record").toolTip().contains("Ctrl+R"));
}

TEST_F(RecordTabTest, showsWhatTheSwitchesSay) {
    auto& button = named<CaptionButton>("Record");
    EXPECT_EQ(button.caption(), "Record");
    EXPECT_EQ(button.glyph(), Glyph::record);
    models.record.setOn(true);
    EXPECT_EQ(button.caption(), "Stop");
    EXPECT_EQ(button.glyph(), Glyph::stop);
    models.record.setTitle("Armed");
    models.record.setImage("Marker");
    EXPECT_EQ(button.caption(), "Armed");
    EXPECT_EQ(button.glyph(), Glyph::marker);

    models.reserve.setEnabled(false);
    models.reserve.setToolTip("Not yet");
    EXPECT_FALSE(named<CaptionButton>("Reserve").isEnabled());
    EXPECT_TRUE(named<CaptionButton>("Reserve").toolTip().startsWith("Not yet"));
}

TEST_F(RecordTabTest, showsTextsAndTheirColour) {
    auto& condition = saying<FittingLabel>("ConditionName");
    models.condition.setText("Recording");
    models.condition.setColor(TextColor::red);
    EXPECT_EQ(condition.text(), "Recording");
    EXPECT_EQ(condition.ink(), FittingLabel::Ink::red);
    EXPECT_EQ(condition.accessibleName(), "Condition: Recording");
    models.condition.setColor(TextColor::black);
    EXPECT_EQ(condition.ink(), FittingLabel::Ink::normal);

    models.recordTime.setText("1:02'03\"");
    EXPECT_EQ(saying<DigitView>("RecordTimeName").text(), "1:02'03\"");
    models.message.setText("Evening news");
    models.message.setToolTip("Evening news, every day");
    EXPECT_EQ(saying<FittingLabel>("MessageName").text(), "Evening news");
    EXPECT_EQ(saying<FittingLabel>("MessageName").toolTip(), "Evening news, every day");
}

TEST_F(RecordTabTest, tellsALongTextInFull) {
    auto& message = saying<FittingLabel>("MessageName");
    const QString text = QString("a long message ").repeated(10);
    models.message.setText(text.toStdString());
    EXPECT_TRUE(message.isShortened());
    EXPECT_TRUE(message.toolTip().startsWith(text));
    models.message.setText("short");
    EXPECT_EQ(message.toolTip(), "Messages of the recorder");
}

TEST_F(RecordTabTest, movesTheStartLevel_byKeysAndMouse) {
    int moved = -1;
    models.level.setAction([&](int value) { moved = value; });
    auto& slider = named<LevelSlider>("Level");
    type(slider, Qt::Key_Up);
    EXPECT_EQ(models.level.value(), 1);
    EXPECT_EQ(moved, 1);
    click(slider, {10, LampScale::middleOfLevel(15)});
    EXPECT_EQ(models.level.value(), 15);
    type(slider, Qt::Key_End);
    EXPECT_TRUE(models.level.value() == 0 || models.level.value() == 20);
    models.level.setValue(7);
    EXPECT_EQ(slider.value(), 7);
    EXPECT_EQ(saying<LampView>("LampsName").startLevel(), 7);
}

TEST_F(RecordTabTest, putsTheThumbLevelWithItsLamp) {
    auto& slider = named<LevelSlider>("Level");
    auto& lamps = saying<LampView>("LampsName");
    for (int level = 1; level <= LampColumn::count; ++level) {
        models.level.setValue(level);
        const int thumb = slider.mapTo(window.get(), slider.thumbRect().center()).y();
        const int lamp = lamps.mapTo(window.get(), lamps.lampRect(level - 1).center()).y();
        EXPECT_LE(std::abs(thumb - lamp), 1) << level;
        EXPECT_EQ(LampScale::levelAt(LampScale::middleOfLevel(level)), level);
    }
    models.level.setValue(0);
    EXPECT_GT(slider.thumbRect().center().y(), lamps.lampRect(0).bottom());
    EXPECT_TRUE(slider.rect().contains(slider.thumbRect()));
    EXPECT_EQ(LampScale::levelAt(-50), 20);
    EXPECT_EQ(LampScale::levelAt(5000), 0);
}

TEST_F(RecordTabTest, showsTheLamps) {
    auto& lamps = saying<LampView>("LampsName");
    EXPECT_EQ(lamps.highestLit(), 0);
    models.lamps.setLit(0, true);
    models.lamps.setLit(18, true);
    EXPECT_TRUE(lamps.isLit(0));
    EXPECT_FALSE(lamps.isLit(1));
    EXPECT_EQ(lamps.highestLit(), 19);
    models.lamps.setLit(18, false);
    EXPECT_EQ(lamps.highestLit(), 1);
}

TEST_F(RecordTabTest, choosesASource) {
    models.sources.setItems({"Line in", "Digital in"});
    models.sources.select(0);
    auto& box = named<SourceBox>("Sources");
    ASSERT_EQ(box.count(), 2);
    EXPECT_EQ(box.currentText(), "Line in");
    int chosen = -1;
    models.sources.setAction([&](int index) { chosen = index; });
    type(box, Qt::Key_Down);
    EXPECT_EQ(chosen, 1);
    EXPECT_EQ(models.sources.selected(), 1);
    models.sources.select(0);
    EXPECT_EQ(box.currentIndex(), 0);
    EXPECT_EQ(chosen, 1) << "only a person's choice is an action";
}

TEST_F(RecordTabTest, offersNoChoice_whenThereIsNoSource) {
    models.sources.setItems({});
    models.sources.select(-1);
    auto& box = named<SourceBox>("Sources");
    EXPECT_FALSE(box.isEnabled());
    EXPECT_EQ(box.placeholderText(), "No sound input");
    models.sources.setItems({"Line in"});
    EXPECT_TRUE(box.isEnabled());
}

TEST_F(RecordTabTest, lightsTheWriteLamp) {
    auto& lamp = saying<IndicatorLamp>("WriteName");
    EXPECT_FALSE(lamp.isGlowing());
    models.write.setAnimating(true);
    EXPECT_TRUE(lamp.isGlowing());
    models.write.setAnimating(false);
    EXPECT_TRUE(lamp.isGlowing()) << "a short write is seen by its afterglow";
}

TEST_F(RecordTabTest, namesAndExplainsEveryControl) {
    for (const char* language : {"en", "ja"}) {
        open(language);
        int controls = 0;
        for (QWidget* widget : window->findChildren<QWidget*>()) {
            const auto* label = dynamic_cast<QLabel*>(widget);
            if (label != nullptr && label->buddy() != nullptr)
                continue; // tells the name of another
            const bool shows =
                label != nullptr || dynamic_cast<LampView*>(widget) || dynamic_cast<IndicatorLamp*>(widget);
            const bool takesFocus = widget->focusPolicy() != Qt::NoFocus && widget->isVisible();
            if (!shows && !takesFocus)
                continue;
            ++controls;
            EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->metaObject()->className();
            EXPECT_FALSE(widget->toolTip().isEmpty()) << widget->accessibleName().toStdString();
            EXPECT_TRUE(!takesFocus || !widget->accessibleDescription().isEmpty())
                << widget->accessibleName().toStdString();
        }
        EXPECT_GE(controls, 18);
    }
}

TEST_F(RecordTabTest, movesTheFocusInReadingOrder) {
    models.sources.setItems({"Line in"});
    QStringList order;
    QWidget* first = &named<CaptionButton>("Record");
    for (QWidget* widget = first; order.isEmpty() || widget != first; widget = widget->nextInFocusChain())
        if ((widget->focusPolicy() & Qt::TabFocus) != 0 && widget != window.get() && widget->isVisible())
            order.append(widget->objectName());
    EXPECT_EQ(order,
              QStringList({"Record", "Reserve", "Monitor", "Hour", "Marker", "Sources", "Level", "RecordTab",
                           "PlayTab", "TimerTab", "KeepTab", "Authorization", "Preferences", "Help"}));
}

TEST_F(RecordTabTest, clipsNothing) {
    for (const char* language : {"en", "ja"})
        for (const char* condition : {"Recording", "Standby", "Stopped"})
            for (const char* mode : {"AlwaysMode", "AutoMode", "StandbyMode", "TimerMode"}) {
                open(language);
                models.condition.setText(texts(condition));
                models.mode.setText(texts(mode));
                models.source.setText(texts("InternalSource"));
                models.rate.setText("22.05 kHz " + texts("ChannelStereo"));
                models.recordTime.setText("1234:59'59\"");
                models.totalTime.setText("1234:59'59\"");
                models.message.setText(texts("NoRecordSource"));
                const bool timer = std::string_view(mode) == "TimerMode";
                models.reserveName.setText(timer ? texts("NoNamedTimer") : "");
                models.reserveTime.setText(timer ? texts("ReserveStartTime") + " 23:59" : "");
                models.record.setOn(!models.record.isOn());
                QApplication::processEvents();
                for (QWidget* widget : window->findChildren<QWidget*>()) {
                    if (!dynamic_cast<QLabel*>(widget) && !dynamic_cast<CaptionButton*>(widget))
                        continue;
                    if (!widget->isVisible()) // the last row that is not shown now
                        continue;
                    EXPECT_GE(widget->width(), widget->sizeHint().width())
                        << widget->accessibleName().toStdString();
                    const QRect place(widget->mapTo(window.get(), QPoint()), widget->size());
                    EXPECT_TRUE(window->rect().contains(place)) << widget->accessibleName().toStdString();
                }
            }
}

TEST_F(RecordTabTest, lapsOverNoNeighbour) {
    for (const char* language : {"en", "ja"}) {
        open(language);
        models.reserveName.setText(models.reserveName.text() + "A long name of an entry ");
        const QList<QWidget*> widgets = window->findChildren<QWidget*>();
        for (QWidget* one : widgets)
            for (QWidget* other : widgets) {
                if (one == other || one->isAncestorOf(other) || other->isAncestorOf(one) || !one->isVisible() ||
                    !other->isVisible() || one->window() != window.get() || other->window() != window.get())
                    continue;
                const QRect first(one->mapTo(window.get(), QPoint()), one->size());
                const QRect second(other->mapTo(window.get(), QPoint()), other->size());
                EXPECT_FALSE(first.intersects(second))
                    << one->accessibleName().toStdString() << " and " << other->accessibleName().toStdString();
            }
    }
}

TEST_F(RecordTabTest, hearsItsControlsNoMore_whenItIsGone) {
    window.reset();
    models.record.setOn(true);
    models.lamps.setLit(3, true);
    models.message.setText("nobody looks");
    EXPECT_TRUE(models.record.isOn());
}

TEST_F(RecordTabTest, hidesTheTotalTime_whileItIsNotWanted) {
    auto& total = saying<DigitView>("TotalTimeName");
    EXPECT_TRUE(total.isVisible());
    const QSize size = window->size();
    models.totalTime.setEnabled(false);
    EXPECT_FALSE(total.isVisible());
    EXPECT_FALSE(saying<FittingLabel>("TotalTimeCaption").isVisible());
    EXPECT_EQ(window->size(), size);
    models.totalTime.setEnabled(true);
    EXPECT_TRUE(total.isVisible());
}

TEST_F(RecordTabTest, showsNoTimeAtAll_untilSomethingWasRecorded) {
    EXPECT_EQ(saying<DigitView>("RecordTimeName").text().toStdString(), "0'00\"");
    models.recordTime.setText("1'07\"");
    EXPECT_EQ(saying<DigitView>("RecordTimeName").text().toStdString(), "1'07\"");
}

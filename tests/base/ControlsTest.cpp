#include "base/Controls.h"

#include <gtest/gtest.h>

namespace {
/// How often a control said that it changed.
struct Changes {
    explicit Changes(Control& control) {
        control.observe([this] { ++count; });
    }
    int count = 0;
};
} // namespace

TEST(Control, saysEachChangeOnce_andNothingThatStaysTheSame) {
    Button button;
    const Changes changes(button);
    button.setTitle("Record");
    button.setTitle("Record");
    EXPECT_EQ(changes.count, 1);
    button.setEnabled(true);
    EXPECT_EQ(changes.count, 1);
    button.setEnabled(false);
    EXPECT_EQ(changes.count, 2);
    button.setToolTip("Starts");
    button.setImage("RecordOn");
    button.setOn(true);
    EXPECT_EQ(changes.count, 5);
}

TEST(Control, tellsEveryObserver_theNewState) {
    TextField field;
    std::vector<std::string> seen;
    field.observe([&] { seen.push_back("first " + field.text()); });
    field.observe([&] { seen.push_back("second " + field.text()); });
    field.setText("0:00");
    EXPECT_EQ(seen, (std::vector<std::string>{"first 0:00", "second 0:00"}));
}

TEST(Control, letsAnObserverObserve) {
    Button button;
    int late = 0;
    button.observe([&] {
        for (int more = 0; more < 20; ++more)
            button.observe([&late] { ++late; });
    });
    button.setOn(true);
    late = 0;
    button.setTitle("again");
    EXPECT_EQ(late, 20); // those of the first change; the second's come with the third
}

TEST(Button, takesTheStateBeforeItActs) {
    Button button;
    std::vector<bool> seen;
    button.setAction([&] { seen.push_back(button.isOn()); });
    button.press(true);
    button.press(false);
    EXPECT_EQ(seen, (std::vector{true, false}));
}

TEST(Button, actsAtEveryPress_alsoWhenTheStateStays) {
    Button button;
    int actions = 0;
    button.setAction([&actions] { ++actions; });
    const Changes changes(button);
    button.press(true);
    button.press(true);
    EXPECT_EQ(actions, 2);
    EXPECT_EQ(changes.count, 1);
}

TEST(Button, ignoresAPress_whileDisabled) {
    Button button;
    int actions = 0;
    button.setAction([&actions] { ++actions; });
    button.setEnabled(false);
    const Changes changes(button);
    button.press(true);
    EXPECT_FALSE(button.isOn());
    EXPECT_EQ(actions, 0);
    EXPECT_EQ(changes.count, 0);
    button.setOn(true); // the program itself may
    EXPECT_TRUE(button.isOn());
    EXPECT_EQ(actions, 0);
}

TEST(Button, isPressedWithoutAnAction) {
    Button button;
    button.press(true);
    EXPECT_TRUE(button.isOn());
}

TEST(TextField, changesTextAndColor) {
    TextField field;
    const Changes changes(field);
    EXPECT_EQ(field.color(), TextColor::black);
    field.setColor(TextColor::red);
    field.setColor(TextColor::red);
    field.setText("late");
    EXPECT_EQ(changes.count, 2);
    EXPECT_EQ(field.color(), TextColor::red);
    EXPECT_EQ(field.text(), "late");
}

TEST(Popup, choosesAmongItsItemsOnly) {
    Popup popup;
    std::vector<int> chosen;
    popup.setAction([&chosen](int index) { chosen.push_back(index); });
    popup.choose(0); // there is none yet
    EXPECT_EQ(popup.selected(), -1);
    popup.setItems({"Microphone", "Line In"});
    popup.choose(1);
    popup.choose(2);
    popup.choose(-1);
    EXPECT_EQ(popup.selected(), 1);
    EXPECT_EQ(chosen, (std::vector{1}));
    popup.setEnabled(false);
    popup.choose(0);
    EXPECT_EQ(popup.selected(), 1);
    EXPECT_EQ(chosen.size(), 1U);
}

TEST(Popup, selectsWithoutActing) {
    Popup popup;
    int actions = 0;
    popup.setAction([&actions](int) { ++actions; });
    popup.setItems({"Microphone", "Line In"});
    const Changes changes(popup);
    popup.select(1);
    popup.select(1);
    EXPECT_EQ(popup.selected(), 1);
    EXPECT_EQ(actions, 0);
    EXPECT_EQ(changes.count, 1);
}

TEST(Slider, bringsAMoveToTheNearestBound) {
    Slider slider(2, 20);
    std::vector<int> moved;
    slider.setAction([&moved](int value) { moved.push_back(value); });
    EXPECT_EQ(slider.value(), 2);
    slider.move(21);
    slider.move(-5);
    slider.move(20);
    slider.move(2);
    slider.move(11);
    EXPECT_EQ(moved, (std::vector{20, 2, 20, 2, 11}));
    EXPECT_EQ(slider.value(), 11);
}

TEST(Slider, neverLeavesItsBounds_whateverItIsSetTo) {
    Slider slider(0, 20);
    slider.setValue(99);
    EXPECT_EQ(slider.value(), 20);
    slider.setValue(-1);
    EXPECT_EQ(slider.value(), 0);
}

TEST(Slider, ignoresAMove_whileDisabled) {
    Slider slider(0, 20);
    int actions = 0;
    slider.setAction([&actions](int) { ++actions; });
    slider.setEnabled(false);
    slider.move(7);
    EXPECT_EQ(slider.value(), 0);
    EXPECT_EQ(actions, 0);
    slider.setValue(7);
    EXPECT_EQ(slider.value(), 7);
    EXPECT_EQ(actions, 0);
}

TEST(Indicator, saysWhenItChanges) {
    Indicator indicator;
    const Changes changes(indicator);
    indicator.setAnimating(true);
    indicator.setAnimating(true);
    EXPECT_TRUE(indicator.isAnimating());
    EXPECT_EQ(changes.count, 1);
}

TEST(LampColumn, lightsEachLampAlone) {
    LampColumn lamps;
    const Changes changes(lamps);
    lamps.setLit(0, true);
    lamps.setLit(LampColumn::count - 1, true);
    lamps.setLit(0, true);
    EXPECT_EQ(changes.count, 2);
    for (int lamp = 0; lamp < LampColumn::count; ++lamp)
        EXPECT_EQ(lamps.isLit(lamp), lamp == 0 || lamp == LampColumn::count - 1) << lamp;
    lamps.redraw();
    EXPECT_EQ(changes.count, 3);
}

#include "base/NumberField.h"

#include "base/Drawer.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {
NumberField days() {
    return NumberField({.minimum = 1.0, .maximum = 30.0});
}
} // namespace

TEST(NumberField, beginsWithItsLeastValue) {
    EXPECT_DOUBLE_EQ(days().value(), 1.0);
}

TEST(NumberField, bringsAValueIntoItsBounds) {
    NumberField field = days();
    field.enter(31.0);
    EXPECT_DOUBLE_EQ(field.value(), 30.0);
    field.enter(-5.0);
    EXPECT_DOUBLE_EQ(field.value(), 1.0);
    field.enter(INFINITY);
    EXPECT_DOUBLE_EQ(field.value(), 30.0);
}

TEST(NumberField, staysAsItIs_forWhatIsNoNumber) {
    NumberField field = days();
    field.enter(7.0);
    field.enter(NAN);
    EXPECT_DOUBLE_EQ(field.value(), 7.0);
}

TEST(NumberField, roundsToItsDecimals) {
    NumberField field({.maximum = 1.0, .step = 0.01, .decimals = 2});
    field.enter(0.666);
    EXPECT_DOUBLE_EQ(field.value(), 0.67);
    field.stepBy(-2);
    EXPECT_DOUBLE_EQ(field.value(), 0.65);
}

TEST(NumberField, performsItsAction_atEveryEdit_butNotWhenItIsSet) {
    NumberField field = days();
    int edits = 0;
    field.setAction([&] { ++edits; });
    field.setValue(3.0);
    EXPECT_EQ(edits, 0);
    field.enter(3.0);
    field.stepBy(1);
    EXPECT_EQ(edits, 2);
    EXPECT_EQ(field.integerValue(), 4);
}

TEST(NumberField, ignoresAPerson_whileItIsDisabled) {
    NumberField field = days();
    field.setEnabled(false);
    field.enter(9.0);
    EXPECT_DOUBLE_EQ(field.value(), 1.0);
}

TEST(Drawer, saysWhenItOpensAndCloses) {
    Drawer drawer;
    int changes = 0;
    drawer.observe([&] { ++changes; });
    drawer.setOpen(true);
    drawer.setOpen(true);
    EXPECT_TRUE(drawer.isOpen());
    drawer.setOpen(false);
    EXPECT_EQ(changes, 2);
}

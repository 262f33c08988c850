#include "schedule/VmReserverElement.h"

#include "base/Texts.h"

#include <gtest/gtest.h>

namespace {
const Texts english = Texts::forLanguage("en");

QJsonArray fullValues() {
    return {"Morning news", 1, 3725, 86400, 2, 2, 2, 3, 12, 31, 7};
}
} // namespace

TEST(VmReserverElement, isADisabledUnnamedEntry_whenFresh) {
    const QJsonArray expected{QString::fromStdString(english("NoNamedTimer")), 0, 0, 0, 0, 1, 1, 0, 0, 0, 0};
    EXPECT_EQ(VmReserverElement(english).valueArray(), expected);
    EXPECT_NE(english("NoNamedTimer"), "NoNamedTimer");
}

TEST(VmReserverElement, readsEachFieldFromItsPlace) {
    const auto element = VmReserverElement::initWithValueArray(fullValues());
    ASSERT_TRUE(element);
    EXPECT_EQ(element->name(), "Morning news");
    EXPECT_EQ(element->enabled(), 1);
    EXPECT_EQ(element->start(), 3725);
    EXPECT_EQ(element->stop(), 86400);
    EXPECT_EQ(element->mode(), 2);
    EXPECT_EQ(element->sample(), 2);
    EXPECT_EQ(element->channels(), 2);
    EXPECT_EQ(element->device(), 3);
    EXPECT_EQ(element->month(), 12);
    EXPECT_EQ(element->day(), 31);
    EXPECT_EQ(element->week(), 7);
}

TEST(VmReserverElement, comesBackEqualFromItsValueArray) {
    const auto element = VmReserverElement::initWithValueArray(fullValues());
    ASSERT_TRUE(element);
    const auto again = VmReserverElement::initWithValueArray(element->valueArray());
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->isEqualElement(*element));
    EXPECT_EQ(again->sample(), element->sample());
    EXPECT_EQ(again->valueArray(), fullValues());
}

TEST(VmReserverElement, writesEnabledAsANumber) {
    VmReserverElement element(english);
    element.setEnabled(true);
    EXPECT_TRUE(element.valueArray().at(1).isDouble());
    EXPECT_EQ(element.valueArray().at(1).toInt(), 1);
}

TEST(VmReserverElement, keepsANameInAnyScript) {
    QJsonArray values = fullValues();
    values[0] = QStringLiteral("朝のニュース ☕");
    const auto element = VmReserverElement::initWithValueArray(values);
    ASSERT_TRUE(element);
    EXPECT_EQ(element->name(), "朝のニュース ☕");
    EXPECT_EQ(element->valueArray(), values);
}

TEST(VmReserverElement, rejectsAnArrayOfFewerThanElevenElements) {
    QJsonArray values = fullValues();
    while (!values.isEmpty()) {
        values.removeLast();
        EXPECT_FALSE(VmReserverElement::initWithValueArray(values)) << values.size();
    }
}

TEST(VmReserverElement, readsTheFirstElevenElementsOfALongerArray) {
    QJsonArray values = fullValues();
    values.append("more");
    ASSERT_TRUE(VmReserverElement::initWithValueArray(values));
    EXPECT_EQ(VmReserverElement::initWithValueArray(values)->valueArray(), fullValues());
}

TEST(VmReserverElement, rejectsAWrongTypeInAnyPlace) {
    for (int place = 0; place < 11; ++place)
        for (const QJsonValue& wrong : {QJsonValue(), QJsonValue(true), QJsonValue(QJsonArray{1}),
                                        place == 0 ? QJsonValue(1) : QJsonValue("1")}) {
            QJsonArray values = fullValues();
            values[place] = wrong;
            EXPECT_FALSE(VmReserverElement::initWithValueArray(values)) << place << " " << wrong.type();
        }
}

TEST(VmReserverElement, rejectsANumberThatItsFieldCannotHold) {
    for (int place = 1; place < 11; ++place)
        for (const double wrong : {2147483648.0, -2147483649.0, 1e300}) {
            QJsonArray values = fullValues();
            values[place] = wrong;
            EXPECT_FALSE(VmReserverElement::initWithValueArray(values)) << place << " " << wrong;
        }
    QJsonArray values = fullValues();
    values[1] = 256; // would read as disabled
    EXPECT_FALSE(VmReserverElement::initWithValueArray(values));
}

TEST(VmReserverElement, takesTheIntegerPartOfANumber) {
    QJsonArray values = fullValues();
    values[2] = 60.9;
    const auto element = VmReserverElement::initWithValueArray(values);
    ASSERT_TRUE(element);
    EXPECT_EQ(element->start(), 60);
}

TEST(VmReserverElement, checksNoRanges) {
    VmReserverElement element(english);
    element.setMonth(99);
    element.setDay(-4);
    element.setWeek(8);
    element.setStart(-1);
    const auto again = VmReserverElement::initWithValueArray(element.valueArray());
    ASSERT_TRUE(again);
    EXPECT_EQ(again->month(), 99);
    EXPECT_EQ(again->day(), -4);
    EXPECT_EQ(again->week(), 8);
    EXPECT_EQ(again->start(), -1);
}

TEST(VmReserverElement, equalsAnotherThatDiffersInTheRateOnly) {
    const auto element = VmReserverElement::initWithValueArray(fullValues());
    const auto other = element->clone();
    other->setSample(0);
    EXPECT_TRUE(element->isEqualElement(*other));
    EXPECT_NE(element->sample(), other->sample());
}

TEST(VmReserverElement, differsByEachFieldButTheRate) {
    const auto element = VmReserverElement::initWithValueArray(fullValues());
    for (int place = 0; place < 11; ++place) {
        QJsonArray values = fullValues();
        if (place == 0)
            values[place] = "Evening news";
        else
            values[place] = values.at(place).toInt() - 1;
        const auto other = VmReserverElement::initWithValueArray(values);
        ASSERT_TRUE(other);
        EXPECT_EQ(element->isEqualElement(*other), place == 5) << place;
    }
}

TEST(VmReserverElement, isIndependentOfItsClone) {
    VmReserverElement element(english);
    const auto copy = element.clone();
    element.setName("Changed");
    element.setStop(5);
    EXPECT_EQ(copy->name(), english("NoNamedTimer"));
    EXPECT_EQ(copy->stop(), 0);
}

TEST(VmReserverElement, splitsItsTimesIntoHoursMinutesAndSeconds) {
    VmReserverElement element(english);
    element.setStart(86400);
    EXPECT_EQ(element.startHour(), 24);
    EXPECT_EQ(element.startMinute(), 0);
    element.setStart(86399);
    EXPECT_EQ(element.startHour(), 23);
    EXPECT_EQ(element.startMinute(), 59);
    element.setStop(3725);
    EXPECT_EQ(element.stopHour(), 1);
    EXPECT_EQ(element.stopMinute(), 2);
    EXPECT_EQ(element.stopSecond(), 5);
}

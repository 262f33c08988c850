#include "dutylog/LogText.h"

#include "support/ManualClock.h"

#include <gtest/gtest.h>
#include <limits>

namespace {
struct LogTextTest : testing::Test {
    std::string period(const CalendarDate& from, const CalendarDate& to) const {
        return LogText::periodStringFrom(clock, clock.dateFromLocal(from), clock.dateFromLocal(to));
    }
    ManualClock clock{QTimeZone("Europe/Berlin")};
};

constexpr CalendarDate day(int year, int month, int dayOfMonth, int hour = 0, int minute = 0, int second = 0) {
    return {.year = year, .month = month, .day = dayOfMonth, .hour = hour, .minute = minute, .second = second};
}
} // namespace

TEST_F(LogTextTest, writesADateWithoutLeadingZerosInMonthAndDay) {
    EXPECT_EQ(LogText::dateString(clock, clock.dateFromLocal(day(2007, 3, 4, 5, 6, 7))), "2007.3.4 05:06:07");
    EXPECT_EQ(LogText::dateString(clock, clock.dateFromLocal(day(2026, 11, 20, 23, 59, 59))),
              "2026.11.20 23:59:59");
}

TEST_F(LogTextTest, writesAPeriodUnderADayAsAClock) {
    EXPECT_EQ(period(day(2007, 10, 24, 9, 30), day(2007, 10, 24, 9, 30)), "00:00'00\"");
    EXPECT_EQ(period(day(2007, 10, 24, 9, 30), day(2007, 10, 25, 9, 29, 59)), "23:59'59\"");
    EXPECT_EQ(period(day(2007, 10, 31, 23, 59, 58), day(2007, 11, 1, 0, 0, 1)), "00:00'03\"");
}

TEST_F(LogTextTest, writesYearsMonthsAndDaysOnlyWhenThereAreAny) {
    EXPECT_EQ(period(day(2007, 10, 24, 9, 30), day(2007, 10, 25, 9, 30)), "1days+00:00'00\"");
    EXPECT_EQ(period(day(2007, 1, 10), day(2007, 2, 10, 0, 0, 5)), "1months+00:00'05\"");
    EXPECT_EQ(period(day(2007, 1, 10), day(2009, 1, 10, 1)), "2years+01:00'00\"");
    EXPECT_EQ(period(day(2007, 1, 10, 1, 2, 3), day(2010, 6, 30, 5, 6, 8)), "3years+5months+20days+04:04'05\"");
    EXPECT_EQ(period(day(2007, 12, 31), day(2008, 1, 1)), "1days+00:00'00\"");
}

TEST_F(LogTextTest, countsToTheLastDayOfAShortMonth) {
    EXPECT_EQ(period(day(2007, 1, 31), day(2007, 2, 28)), "1months+00:00'00\"");
    EXPECT_EQ(period(day(2008, 1, 31), day(2008, 2, 28)), "28days+00:00'00\"");
    EXPECT_EQ(period(day(2008, 2, 29), day(2009, 2, 28)), "1years+00:00'00\"");
}

TEST_F(LogTextTest, tellsTrueTimeOnTheDaysOf23And25Hours) {
    // Clocks go back at 03:00 on 2026-10-25, and forward at 02:00 on 2026-03-29.
    EXPECT_EQ(period(day(2026, 10, 25, 0, 0), day(2026, 10, 25, 23, 30)), "24:30'00\"");
    EXPECT_EQ(period(day(2026, 10, 25, 0, 0), day(2026, 10, 26, 0, 0)), "1days+00:00'00\"");
    EXPECT_EQ(period(day(2026, 3, 29, 0, 0), day(2026, 3, 29, 23, 30)), "22:30'00\"");
    EXPECT_EQ(period(day(2026, 3, 28, 12, 0), day(2026, 3, 29, 12, 0)), "1days+00:00'00\"");
}

TEST_F(LogTextTest, writesNothing_whenTheClockWasSetBack) {
    EXPECT_EQ(period(day(2007, 10, 24, 9, 30), day(2007, 10, 24, 9, 29)), "00:00'00\"");
}

TEST_F(LogTextTest, doesNotLimitTheHoursOfSeconds) {
    EXPECT_EQ(LogText::periodStringFromSeconds(97200), "27:00'00\"");
    EXPECT_EQ(LogText::periodStringFromSeconds(0.999), "00:00'00\"");
    EXPECT_EQ(LogText::periodStringFromSeconds(3599.9), "00:59'59\"");
    EXPECT_EQ(LogText::periodStringFromSeconds(604800), "168:00'00\"");
    EXPECT_EQ(LogText::periodStringFromSeconds(-5), "00:00'00\"");
    EXPECT_EQ(LogText::periodStringFromSeconds(std::numeric_limits<double>::quiet_NaN()), "00:00'00\"");
}

TEST_F(LogTextTest, hasAWordForEveryValue) {
    EXPECT_EQ(LogText::channelsString(2), "stereo");
    EXPECT_EQ(LogText::channelsString(1), "monoral");
    EXPECT_EQ(LogText::channelsString(3), "monoral");
    EXPECT_EQ(LogText::recordModeString(0), "always");
    EXPECT_EQ(LogText::recordModeString(1), "auto");
    EXPECT_EQ(LogText::recordModeString(2), "standby");
    EXPECT_EQ(LogText::recordModeString(7), "always");
    const char* methods[] = {"manual", "internal", "timer", "manual", "emergency", "internal(sleep)", "manual"};
    for (int method = 0; method < 7; ++method)
        EXPECT_EQ(LogText::methodString(method), methods[method]) << method;
    const int minutes[] = {1, 3, 5, 15, 30, 1};
    for (int option = 0; option < 6; ++option)
        EXPECT_EQ(LogText::markerPeriodTime(option), minutes[option]) << option;
    EXPECT_EQ(LogText::markerPeriodTime(-1), 1);
}

TEST_F(LogTextTest, writesLostDataWithItsSecondsAndShare) {
    EXPECT_EQ(LogText::lostString(1000, 1000, 2, 44100.0), "0bytes(0.000000seconds, 0.000000%)");
    EXPECT_EQ(LogText::lostString(1764000, 1587600, 2, 44100.0), "176400bytes(1.000000seconds, 10.000000%)");
    EXPECT_EQ(LogText::lostString(88200, 88202, 1, 22050.0), "-2bytes(-0.000045seconds, -0.002268%)");
    EXPECT_EQ(LogText::lostString(0, 0, 1, 22050.0), "0bytes(0.000000seconds, 0.000000%)");
}

TEST_F(LogTextTest, readsTheStandardDateThatItWrites) {
    const Date date = clock.dateFromLocal(day(2007, 10, 4, 9, 5, 7));
    EXPECT_EQ(LogText::standardDate(clock, date), "2007-10-04 09:05:07 +0200");
    EXPECT_EQ(LogText::dateFromStandard("2007-10-04 09:05:07 +0200"), date);
    const ManualClock west{QTimeZone("America/St_Johns")};
    const std::string text = LogText::standardDate(west, date);
    EXPECT_EQ(text, "2007-10-04 04:35:07 -0230");
    EXPECT_EQ(LogText::dateFromStandard(text), date);
}

TEST_F(LogTextTest, readsNoOtherDate) {
    for (const char* text :
         {"", "yesterday", "2007-10-04", "2007-10-04 09:05:07", "2007-10-04 09:05:07 +02",
          "2007-13-04 09:05:07 +0200", "2007-02-30 09:05:07 +0200", "2007-10-04 24:05:07 +0200",
          "2007-10-04 09:60:07 +0200", "2007-10-04 09:05:07 *0200", "2007-10-04 09:05:07 +0200 again",
          "2007-10-04 -9:05:07 +0200"})
        EXPECT_FALSE(LogText::dateFromStandard(text)) << text;
}

TEST_F(LogTextTest, keepsANameOnOneLine) {
    EXPECT_EQ(LogText::onOneLine("two\nlines\tand\x7f"), "two lines and ");
    EXPECT_EQ(LogText::onOneLine("録音"), "録音");
    EXPECT_EQ(LogText::onOneLine("a\u2028b\u2029c\u0085d"), "a b c d");
    EXPECT_EQ(LogText::onOneLine("a\u202Ab\u202Ec\u2066d\u2069e"), "a b c d e");
    EXPECT_EQ(LogText::onOneLine("\u2027\u202F\u2065\u206A\u00A0\u00E9"),
              "\u2027\u202F\u2065\u206A\u00A0\u00E9");
    EXPECT_EQ(LogText::onOneLine("😀"), "😀");
}

TEST(LogText, replacesWhatIsNotUtf8) {
    EXPECT_EQ(LogText::onOneLine("a\xff\xfe"
                                 "b"),
              "a\uFFFD\uFFFDb");
    EXPECT_EQ(LogText::onOneLine("cut \xe9\x8c"), "cut \uFFFD\uFFFD");
    EXPECT_EQ(LogText::onOneLine("\xc0\x8a"), "\uFFFD\uFFFD");           // a line end, written too long
    EXPECT_EQ(LogText::onOneLine("\xe0\x80\x8a"), "\uFFFD\uFFFD\uFFFD"); // the same
    EXPECT_EQ(LogText::onOneLine("\xed\xa0\x80"), "\uFFFD\uFFFD\uFFFD"); // half a pair
    EXPECT_EQ(LogText::onOneLine("\xf4\x90\x80\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(LogText::onOneLine("\xe9\n"), "\uFFFD ");
}

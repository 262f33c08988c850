#include "base/Formatted.h"

#include <gtest/gtest.h>

TEST(Formatted, fillsInAsPrintfDoes) {
    EXPECT_EQ(formatted("%03d|%-5s|%.2f|%%", 7, "ab", 1.005), "007|ab   |1.00|%");
}

TEST(Formatted, givesNothingForNothing) {
    const char* const empty = "";
    EXPECT_EQ(formatted("%s", empty), "");
}

TEST(Formatted, cutsNoLongText) {
    const std::string text(100'000, 'x');
    EXPECT_EQ(formatted("<%s>", text.c_str()), "<" + text + ">");
}

TEST(Formatted, hasNoEndMarkInItsSize) {
    EXPECT_EQ(formatted("%d", 12345).size(), 5U);
}

#include "base/Formatted.h"

#include "support/TemporaryFolder.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
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

TEST(Formatted, writesNumbersWithAPoint_whateverTheLocale) {
    const TemporaryFolder folder;
    const std::string make = "localedef -i de_DE -f UTF-8 '" + folder.path() + "/de_DE.UTF-8' >/dev/null 2>&1";
    (void)std::system(make.c_str());
    setenv("LOCPATH", folder.path().c_str(), 1);
    const char* german = std::setlocale(LC_ALL, "de_DE.UTF-8");
    unsetenv("LOCPATH");
    if (german == nullptr)
        GTEST_SKIP() << "this system cannot make a German locale";
    char plain[16];
    std::snprintf(plain, sizeof plain, "%.1f", 0.5);
    EXPECT_STREQ(plain, "0,5"); // so this locale is one
    EXPECT_EQ(formatted("%fseconds, %.1f%c", 1.5, 12.25, '%'), "1.500000seconds, 12.2%");
    EXPECT_EQ(formatted("%g kHz 録音", 44.1), "44.1 kHz 録音");
    std::snprintf(plain, sizeof plain, "%.1f", 0.5);
    EXPECT_STREQ(plain, "0,5"); // left as it was
    std::setlocale(LC_ALL, "C");
}

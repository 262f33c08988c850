#include "storage/RecordingName.h"

#include <gtest/gtest.h>
#include <string>

namespace {
int lengthOf(const std::string& times) {
    const auto name = RecordingName::of("_Velmoratide_20071024_" + times + ".aif");
    return name ? name->length() : -1;
}
} // namespace

TEST(RecordingName, measuresWithBorrows) {
    EXPECT_EQ(lengthOf("093000~101500"), 2700);
    EXPECT_EQ(lengthOf("235950~000010"), 20);
    EXPECT_EQ(lengthOf("095958~100001"), 3);
    EXPECT_EQ(lengthOf("120001~120000"), 86399);
    EXPECT_EQ(lengthOf("120000~120000"), 0);
    EXPECT_EQ(lengthOf("000000~235959"), 86399);
}

TEST(RecordingName, tellsHiddenFromVisible) {
    EXPECT_TRUE(RecordingName::of(".Velmoratide_20071024_093000~101500.aif")->hidden);
    EXPECT_FALSE(RecordingName::of("_Velmoratide_20071024_093000~101500.aif")->hidden);
}

TEST(RecordingName, isNothing_whereTimesMakeNoSense) {
    for (const char* const times : {"240000~000000", "000000~240000", "006000~000000", "000060~000000",
                                    "000000~006000", "000000~000060", "-10000~000000", "00 000~000000"})
        EXPECT_EQ(lengthOf(times), -1) << times;
}

TEST(RecordingName, isNothing_whereTheDateMakesNoSense) {
    for (const char* const date : {"20070024", "20071324", "20071000", "20071032", "2007102x"})
        EXPECT_FALSE(RecordingName::of("_Velmoratide_" + std::string(date) + "_093000~101500.aif").has_value())
            << date;
}

TEST(RecordingName, isNothing_forOtherNames) {
    for (const char* const name :
         {"", "_Velmoratide_", "XVelmoratide_20071024_093000~101500.aif",
          "_Velmoratide_20071024_093000~101500+.aif", "_Velmoratide_20071024_093000~101500.tif",
          "_Velmoratide_20071024x093000~101500.aif", "_Velmoratide_20071024_093000-101500.aif",
          "below/_Velmoratide_20071024_093000~101500.aif", "_Velmoratide_2007/024_093000~101500.aif"})
        EXPECT_FALSE(RecordingName::of(name).has_value()) << name;
}

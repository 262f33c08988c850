#include "keeper/KeepName.h"

#include <gtest/gtest.h>

namespace {
const KeepName names("_Velmoratide_", "aif");
} // namespace

TEST(KeepName, knowsACompressedRecording) {
    EXPECT_EQ(names.headerLength(), 13u);
    EXPECT_TRUE(names.isKeepDataFile("_Velmoratide_20071024_093000~101500.aif.bz2"));
    EXPECT_TRUE(names.isKeepDataFile(".Velmoratide_20071024_093000~101500.aif.bz2"))
        << "the first one may differ";
    EXPECT_TRUE(names.isKeepDataFile("_Velmoratide_20071024_093000~101500+.aif.bz2"));
}

TEST(KeepName, passesOverWhatIsNone) {
    EXPECT_FALSE(names.isKeepDataFile("_Velmoratide_20071024_093000~101500.aif")) << "not compressed";
    EXPECT_FALSE(names.isKeepDataFile("_Velmoratide_20071024_093000~101500.b2")) << "too short by one";
    EXPECT_TRUE(names.isKeepDataFile("_Velmoratide_20071024_093000~101500.bz2")) << "just long enough";
    EXPECT_FALSE(names.isKeepDataFile("_Velmoratida_20071024_093000~101500.aif.bz2"));
    EXPECT_FALSE(names.isKeepDataFile("holiday pictures of the year before last.zip"));
    EXPECT_FALSE(names.isKeepDataFile(""));
}

TEST(KeepName, knowsARecordingThatWaits) {
    EXPECT_TRUE(names.isUncompressed("_Velmoratide_20071024_093000~101500.aif"));
    EXPECT_TRUE(names.isUncompressed("_Velmoratide_20071024_093000~101500+.aif"));
    EXPECT_FALSE(names.isUncompressed("_Velmoratide_20071024_093000~101500.aif.bz2"));
    EXPECT_FALSE(names.isUncompressed("_Velmoratide_a song that somebody keeps.aif"));
}

TEST(KeepName, counts20SecondsOverMidnight) {
    EXPECT_EQ(names.totalSecondOfFile("_Velmoratide_20071024_235950~000010.aif.bz2"), 20.0);
    EXPECT_EQ(names.totalSecondOfFile("_Velmoratide_20071024_093000~101500.aif.bz2"), 2700.0);
    EXPECT_EQ(names.totalSecondOfFile("_Velmoratide_20071024_095958~100001.aif.bz2"), 3.0);
    EXPECT_EQ(names.totalSecondOfFile("_Velmoratide_20071024_120000~115959.aif.bz2"), 86399.0);
}

TEST(KeepName, countsNothing_whereThereAreNoTimes) {
    EXPECT_EQ(names.totalSecondOfFile("_Velmoratide_notes on what was heard in it.txt"), 0.0);
    EXPECT_EQ(names.totalSecondOfFile("x"), 0.0);
}

TEST(KeepName, writesTheDateInPairs) {
    EXPECT_EQ(names.date("_Velmoratide_20071024_093000~101500.aif.bz2"), "07.10.24");
}

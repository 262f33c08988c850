#include "storage/SoundFileNames.h"

#include "storage/FileRate.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace {
std::string example() {
    return SoundFileNames::finalName(SoundFileNames::headerString, "20071024_093000", "101500", "aif");
}
} // namespace

TEST(SoundFileNames, composesTheNameOfARecording) {
    EXPECT_EQ(example(), "_Velmoratide_20071024_093000~101500.aif");
    EXPECT_EQ(SoundFileNames::whichHeaderString(false), "_Velmoratide_");
    EXPECT_EQ(SoundFileNames::whichHeaderString(true), ".Velmoratide_");
    EXPECT_EQ(SoundFileNames::finalName(".Velmoratide_", "20071024_093000", "101500", std::nullopt),
              ".Velmoratide_20071024_093000~101500");
}

TEST(SoundFileNames, putsAPlusBeforeTheExtension_whileTheNameIsTaken) {
    std::set<std::string> taken;
    const auto exists = [&](const std::string& name) { return taken.contains(name); };
    EXPECT_EQ(SoundFileNames::freeName(example(), exists), example());
    taken.insert(example());
    EXPECT_EQ(SoundFileNames::freeName(example(), exists), "_Velmoratide_20071024_093000~101500+.aif");
    taken.insert("_Velmoratide_20071024_093000~101500+.aif");
    EXPECT_EQ(SoundFileNames::freeName(example(), exists), "_Velmoratide_20071024_093000~101500++.aif");
    taken.insert(".Velmoratide_x");
    EXPECT_EQ(SoundFileNames::freeName(".Velmoratide_x", exists), ".Velmoratide_x+");
}

TEST(SoundFileNames, leavesANameAlone_thatNoFileCanHave) {
    const std::string tooLong = std::string(252, 'x') + ".aif";
    EXPECT_EQ(SoundFileNames::freeName(tooLong, [](const std::string&) { return false; }), tooLong);
}

TEST(SoundFileNames, putsANumberBehindThePlus_whenSoManyPlusesWouldBeTooLong) {
    std::set<std::string> taken;
    const auto exists = [&](const std::string& name) { return taken.contains(name); };
    std::size_t longest = 0;
    for (int count = 0; count < 1000; ++count) {
        const std::string free = SoundFileNames::freeName(example(), exists);
        ASSERT_TRUE(taken.insert(free).second) << free;
        ASSERT_FALSE(count > 0 && SoundFileNames::isSoundFile(free)) << free;
        longest = std::max(longest, free.size());
    }
    EXPECT_EQ(longest, SoundFileNames::longestName);
    EXPECT_TRUE(taken.contains("_Velmoratide_20071024_093000~101500" + std::string(216, '+') + ".aif"));
    EXPECT_TRUE(taken.contains("_Velmoratide_20071024_093000~101500+217.aif"));
    EXPECT_TRUE(taken.contains("_Velmoratide_20071024_093000~101500+999.aif"));
}

TEST(SoundFileNames, recognisesVisibleAndHiddenRecordings) {
    EXPECT_TRUE(SoundFileNames::isSoundFile("_Velmoratide_20071024_093000~101500.aif"));
    EXPECT_TRUE(SoundFileNames::isSoundFile(".Velmoratide_20071024_093000~101500.aif"));
    EXPECT_FALSE(SoundFileNames::isSoundFile("_Velmoratide_20071024_093000~101500.aiff"));
}

TEST(SoundFileNames, doesNotRecogniseANameMadeFreeByAPlus) {
    EXPECT_FALSE(SoundFileNames::isSoundFile("_Velmoratide_20071024_093000~101500+.aif"));
}

TEST(SoundFileNames, recognisesNoOtherNames) {
    for (const char* const name :
         {"", "a", "_Velmoratide_", ".VelmoratideTempFile", "_velmoratide_20071024_093000~101500.aif",
          "_Velmoratide_20071024_093000~101500.tif", "_Velmoratide_20071024_093000~1015000aif",
          "_Velmoratide_20071024_093000~101500.AIF", "_Velmoratide_20071024_093000~10150.aif"})
        EXPECT_FALSE(SoundFileNames::isSoundFile(name)) << name;
}

TEST(SoundFileNames, recognisesWaveformPictures) {
    EXPECT_TRUE(SoundFileNames::isImageFile("_Velmoratide_20071024_093000~101500.tif"));
    EXPECT_TRUE(SoundFileNames::isImageFile(".Velmoratide_20071024_093000~101500+.tif"));
    EXPECT_TRUE(SoundFileNames::isImageFile("_Velmoratide_.tif"));
    EXPECT_FALSE(SoundFileNames::isImageFile("_Velmoratide_20071024_093000~101500.aif"));
    EXPECT_FALSE(SoundFileNames::isImageFile("_Velmorati.tif"));
    EXPECT_FALSE(SoundFileNames::isImageFile("_Velmoratide_"));
    EXPECT_FALSE(SoundFileNames::isImageFile(".tif"));
}

TEST(FileRate, isAQuarterAHalfOrAllOfTheDevicesRate) {
    EXPECT_EQ(FileRate::of(44100.0, 0), 11025.0);
    EXPECT_EQ(FileRate::of(44100.0, 1), 22050.0);
    EXPECT_EQ(FileRate::of(44100.0, 2), 44100.0);
    EXPECT_EQ(FileRate::of(44100.0, 17), 44100.0);
    EXPECT_EQ(FileRate::decimation(0), 4u);
    EXPECT_EQ(FileRate::decimation(1), 2u);
    EXPECT_EQ(FileRate::decimation(2), 1u);
}

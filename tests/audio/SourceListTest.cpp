#include "audio/SourceList.h"

#include <gtest/gtest.h>

namespace {
using Names = std::vector<std::string>;

std::vector<AudioSource> sources() {
    return {{0, 1, "Desk", "Internal microphone"},
            {0, 1, "Desk", "Line In"},
            {1, 2, "USB headset", "USB headset"},
            {2, 3, "USB mixer", "USB mixer"},
            {3, 4, "3", "3"}};
}
} // namespace

TEST(SourceList, mergesTheExternalInputsWhereTheFirstOfThemStood) {
    EXPECT_EQ(representRecordNames({"Internal microphone", "Sound Input", "Digital In", "Line In"}),
              (Names{"Internal microphone", "Line In", "Digital In"}));
    EXPECT_EQ(representRecordNames({"External microphone/Line In"}), (Names{"Line In"}));
    EXPECT_EQ(representRecordNames({}), Names{});
}

TEST(SourceList, mergesHeadphonesAndInternalSpeakers) {
    EXPECT_EQ(representPlayNames({"Headphones", "Digital Out", "Internal speakers"}),
              (Names{"Internal speakers", "Digital Out"}));
}

TEST(SourceList, findsASourceByIndexNameDeviceOrPart) {
    EXPECT_EQ(indexOfAudioSource(sources(), "1"), 1);
    EXPECT_EQ(indexOfAudioSource(sources(), "3"), 3); // an index comes before a name
    EXPECT_EQ(indexOfAudioSource(sources(), "Line In"), 1);
    EXPECT_EQ(indexOfAudioSource(sources(), "USB mixer"), 3);
    EXPECT_EQ(indexOfAudioSource(sources(), "headset"), 2);
    EXPECT_EQ(indexOfAudioSource(sources(), "INTERNAL"), 0);
}

TEST(SourceList, findsNothingWhereItIsNotClearWhichIsMeant) {
    EXPECT_EQ(indexOfAudioSource(sources(), "USB"), -1);
    EXPECT_EQ(indexOfAudioSource(sources(), "Desk"), -1);
    EXPECT_EQ(indexOfAudioSource(sources(), "9"), -1);
    EXPECT_EQ(indexOfAudioSource(sources(), "-1"), -1);
    EXPECT_EQ(indexOfAudioSource({}, "0"), -1);
}

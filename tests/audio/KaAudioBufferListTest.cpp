#include "audio/KaAudioBufferList.h"

#include "audio/CrankedHardware.h"

#include <gtest/gtest.h>
#include <numeric>

namespace {
/// A list whose samples count up through all its buffers, from `first` on.
void number(TestList& list, float first = 1.0F) {
    for (std::vector<float>& samples : list.samples) {
        std::iota(samples.begin(), samples.end(), first);
        first += static_cast<float>(samples.size());
    }
}

using Samples = std::vector<float>;
} // namespace

TEST(KaAudioBufferListTest, makesOneBufferOfAllChannels_whenInterleaved) {
    const KaAudioBufferListPtr list(KaAudioBufferListNew(2, 512, true));
    ASSERT_TRUE(list);
    ASSERT_EQ(list->mNumberBuffers, 1U);
    EXPECT_EQ(list->mBuffers[0].mNumberChannels, 2U);
    EXPECT_EQ(list->mBuffers[0].mDataByteSize, 4096U);
    EXPECT_EQ(KaAudioBufferListChannelCount(*list), 2U);
    EXPECT_EQ(KaAudioBufferListFrameCount(*list), 512U);
    const auto* const samples = static_cast<const float*>(list->mBuffers[0].mData);
    EXPECT_EQ(Samples(samples, samples + 1024), Samples(1024, 0.0F));
}

TEST(KaAudioBufferListTest, makesOneBufferForEachChannel_whenNotInterleaved) {
    const KaAudioBufferListPtr list(KaAudioBufferListNew(3, 10, false));
    ASSERT_TRUE(list);
    ASSERT_EQ(list->mNumberBuffers, 3U);
    for (std::uint32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(list->mBuffers[i].mNumberChannels, 1U);
        EXPECT_EQ(list->mBuffers[i].mDataByteSize, 40U);
        const auto* const samples = static_cast<const float*>(list->mBuffers[i].mData);
        EXPECT_EQ(Samples(samples, samples + 10), Samples(10, 0.0F));
    }
    EXPECT_EQ(KaAudioBufferListChannelCount(*list), 3U);
    EXPECT_EQ(KaAudioBufferListFrameCount(*list), 10U);
}

TEST(KaAudioBufferListTest, makesNothing_withoutChannelsOrFramesOrBeyondTheSizeOfABuffer) {
    for (const bool interleaved : {true, false}) {
        EXPECT_EQ(KaAudioBufferListNew(0, 10, interleaved), nullptr);
        EXPECT_EQ(KaAudioBufferListNew(2, 0, interleaved), nullptr);
        EXPECT_EQ(KaAudioBufferListNew(1, 1U << 30, interleaved), nullptr);
    }
    EXPECT_EQ(KaAudioBufferListNew(1U << 16, 1U << 16, true), nullptr);
    KaAudioBufferListDispose(nullptr);
}

TEST(KaAudioBufferListTest, countsTheFramesOfTheFirstBufferOnly) {
    TestList list({2, 1}, 7);
    list.buffers[0].mDataByteSize = 5 * 8 + 4; // half a frame too many
    EXPECT_EQ(KaAudioBufferListFrameCount(list.list), 5U);
    EXPECT_EQ(KaAudioBufferListChannelCount(list.list), 3U);
    EXPECT_EQ(KaAudioBufferListFrameCount(AudioBufferList{}), 0U);
    EXPECT_EQ(KaAudioBufferListChannelCount(AudioBufferList{}), 0U);
}

TEST(KaAudioBufferListTest, copiesBuffersOfEqualLayoutAtTheirOffsets) {
    TestList src({2}, 4);
    TestList dst({2}, 5);
    number(src);
    EXPECT_EQ(KaAudioBufferListCopy(src.list, 1, dst.list, 2, 2), 2U);
    EXPECT_EQ(dst.samples[0], (Samples{0, 0, 0, 0, 3, 4, 5, 6, 0, 0}));
}

TEST(KaAudioBufferListTest, copiesNoFurtherThanBothListsReach) {
    TestList src({1}, 4);
    TestList dst({1}, 3);
    number(src);
    EXPECT_EQ(KaAudioBufferListCopy(src.list, 3, dst.list, 0, 100), 1U);
    EXPECT_EQ(KaAudioBufferListCopy(src.list, 0, dst.list, 1, 100), 2U);
    EXPECT_EQ(dst.samples[0], (Samples{4, 1, 2}));
    EXPECT_EQ(KaAudioBufferListCopy(src.list, 0, dst.list, 0, 0), 0U);
}

TEST(KaAudioBufferListTest, copiesNothing_fromOrToAnOffsetAtOrPastTheEnd) {
    TestList src({1}, 4, 1.0F);
    TestList dst({1}, 3, 2.0F);
    EXPECT_EQ(KaAudioBufferListCopy(src.list, 4, dst.list, 0, 1), 0U);
    EXPECT_EQ(KaAudioBufferListCopy(src.list, 5, dst.list, 0, 1), 0U);
    EXPECT_EQ(KaAudioBufferListCopy(src.list, 0, dst.list, 3, 1), 0U);
    EXPECT_EQ(KaAudioBufferListCopy(src.list, 0, dst.list, 4, 1), 0U);
    EXPECT_EQ(dst.samples[0], Samples(3, 2.0F));
}

TEST(KaAudioBufferListTest, copiesMonoIntoTheFirstOfTwoBuffers) {
    TestList mono({1}, 3);
    TestList stereo({1, 1}, 3, 9.0F);
    number(mono);
    EXPECT_EQ(KaAudioBufferListCopy(mono.list, 0, stereo.list, 0, 3), 3U);
    EXPECT_EQ(stereo.samples[0], (Samples{1, 2, 3}));
    EXPECT_EQ(stereo.samples[1], (Samples{0, 0, 0}));
}

TEST(KaAudioBufferListTest, copiesMonoIntoTheLeftOfInterleavedStereo) {
    TestList mono({1}, 3);
    TestList stereo({2}, 4, 9.0F);
    number(mono);
    EXPECT_EQ(KaAudioBufferListCopy(mono.list, 0, stereo.list, 1, 3), 3U);
    EXPECT_EQ(stereo.samples[0], (Samples{9, 9, 1, 0, 2, 0, 3, 0}));
}

TEST(KaAudioBufferListTest, keepsTheLeftOfStereo_whenTheDestinationIsMono) {
    TestList stereo({2}, 3);
    TestList mono({1}, 3);
    number(stereo);
    EXPECT_EQ(KaAudioBufferListCopy(stereo.list, 0, mono.list, 0, 3), 3U);
    EXPECT_EQ(mono.samples[0], (Samples{1, 3, 5}));
    TestList apart({1, 1}, 3);
    number(apart);
    EXPECT_EQ(KaAudioBufferListCopy(apart.list, 0, mono.list, 0, 3), 3U);
    EXPECT_EQ(mono.samples[0], (Samples{1, 2, 3}));
}

TEST(KaAudioBufferListTest, mapsInterleavedAndSeparateStereoSampleBySample) {
    TestList together({2}, 3);
    TestList apart({1, 1}, 3);
    number(together);
    EXPECT_EQ(KaAudioBufferListCopy(together.list, 0, apart.list, 0, 3), 3U);
    EXPECT_EQ(apart.samples[0], (Samples{1, 3, 5}));
    EXPECT_EQ(apart.samples[1], (Samples{2, 4, 6}));
    TestList back({2}, 3);
    EXPECT_EQ(KaAudioBufferListCopy(apart.list, 0, back.list, 0, 3), 3U);
    EXPECT_EQ(back.samples[0], together.samples[0]);
}

TEST(KaAudioBufferListTest, mapsUnlikeBuffersByTheOrderOfTheirChannels) {
    TestList src({1, 2}, 2);
    TestList dst({2, 2}, 2, 9.0F);
    number(src);
    EXPECT_EQ(KaAudioBufferListCopy(src.list, 0, dst.list, 0, 2), 2U);
    EXPECT_EQ(dst.samples[0], (Samples{1, 3, 2, 5}));
    EXPECT_EQ(dst.samples[1], (Samples{4, 0, 6, 0}));
}

TEST(KaAudioBufferListTest, ignoresSourceBuffersTooMany) {
    TestList src({1, 1, 1}, 2);
    TestList dst({1, 1}, 2);
    number(src);
    EXPECT_EQ(KaAudioBufferListCopy(src.list, 0, dst.list, 0, 2), 2U);
    EXPECT_EQ(dst.samples[1], (Samples{3, 4}));
}

TEST(KaAudioBufferListTest, clearsFramesOfEveryBuffer) {
    TestList list({1, 2}, 4, 1.0F);
    EXPECT_EQ(KaAudioBufferListClear(list.list, 1, 2), 2U);
    EXPECT_EQ(list.samples[0], (Samples{1, 0, 0, 1}));
    EXPECT_EQ(list.samples[1], (Samples{1, 1, 0, 0, 0, 0, 1, 1}));
    EXPECT_EQ(KaAudioBufferListClear(list.list, 3, 100), 1U);
    EXPECT_EQ(KaAudioBufferListClear(list.list, 4, 1), 0U);
    EXPECT_EQ(KaAudioBufferListClear(list.list, 5, 1), 0U);
}

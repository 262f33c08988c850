#include "audio/KaCoreAudioStreamDescription.h"

#include <gtest/gtest.h>

namespace {
KaCoreAudioStreamDescription native() {
    return KaCoreAudioStreamDescription::nativeStreamDescription();
}
} // namespace

TEST(KaCoreAudioStreamDescriptionTest, isCanonical_withPackedFloatsOfOneFrameAPacket) {
    EXPECT_TRUE(native().isCanonicalFormat());
    EXPECT_TRUE(native().setIsInterleaved(false).isCanonicalFormat());
    EXPECT_EQ(native().formatFlags(), 9U);
    EXPECT_EQ(native().setIsInterleaved(false).formatFlags(), 41U);
}

TEST(KaCoreAudioStreamDescriptionTest, isNotCanonical_withAnyOtherFormat) {
    EXPECT_FALSE(native().setIsInterleaved(false).setBitsPerChannel(16).isCanonicalFormat());
    EXPECT_FALSE(native().setFramesPerPacket(2).isCanonicalFormat());
    EXPECT_FALSE(native().setFormatFlags(11).isCanonicalFormat());
    EXPECT_FALSE(native().setFormatFlags(12).isCanonicalFormat());
    EXPECT_FALSE(native().setFormatID(0x61632D33).isCanonicalFormat());
    EXPECT_FALSE(KaCoreAudioStreamDescription().isCanonicalFormat());
}

TEST(KaCoreAudioStreamDescriptionTest, chainsItsSetters) {
    const auto description = native()
                                 .setSampleRate(8000.0)
                                 .setChannelsPerFrame(6)
                                 .setBytesPerFrame(24)
                                 .setBytesPerPacket(24)
                                 .setIsInterleaved(false)
                                 .setIsInterleaved(true);
    EXPECT_EQ(description.sampleRate(), 8000.0);
    EXPECT_EQ(description.channelsPerFrame(), 6U);
    EXPECT_EQ(description.bytesPerFrame(), 24U);
    EXPECT_EQ(description.bytesPerPacket(), 24U);
    EXPECT_TRUE(description.isInterleaved());
    EXPECT_NE(description, native());
}

TEST(KaCoreAudioStreamDescriptionTest, hasNoFlagsText_whenFloatsAreNativeAndPacked) {
    EXPECT_EQ(native().description(), "2ch-44100.00hz-32bit-'lpcm'");
}

TEST(KaCoreAudioStreamDescriptionTest, tellsOtherFlagsInWords) {
    const auto text = [](std::uint32_t flags) { return native().setFormatFlags(flags).description(); };
    EXPECT_EQ(text(41), "2ch-44100.00hz-32bit-'lpcm' floating-point little-endian packed");
    EXPECT_EQ(text(14), "2ch-44100.00hz-32bit-'lpcm' signed-integer big-endian packed");
    EXPECT_EQ(text(16), "2ch-44100.00hz-32bit-'lpcm' unsigned-integer little-endian aligned-high");
    EXPECT_EQ(text(0), "2ch-44100.00hz-32bit-'lpcm' unsigned-integer little-endian aligned-low");
}

TEST(KaCoreAudioStreamDescriptionTest, hasNoFlagsText_whenTheFormatIsNotLinearPCM) {
    EXPECT_EQ(native().setFormatID(0x61632D33).setFormatFlags(0).setSampleRate(7999.996).description(),
              "2ch-8000.00hz-32bit-'ac-3'");
}

TEST(KaCoreAudioStreamDescriptionTest, looksItsUnitsUp) {
    const auto shout = [](const std::string& unit) { return "<" + unit + ">"; };
    EXPECT_EQ(native().description(shout), "2<ch>-44100.00<hz>-32<bit>-'lpcm'");
}

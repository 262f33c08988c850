#include "storage/ExtendedFloat.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace {
std::string hex(const ExtendedFloat::Bytes& bytes) {
    std::string text;
    for (const std::byte byte : bytes) {
        constexpr const char* digits = "0123456789ABCDEF";
        text += digits[std::to_integer<unsigned>(byte) >> 4];
        text += digits[std::to_integer<unsigned>(byte) & 15];
    }
    return text;
}
} // namespace

TEST(ExtendedFloat, writesTheKnownPatterns) {
    EXPECT_EQ(hex(ExtendedFloat::fromDouble(44100.0)), "400EAC44000000000000");
    EXPECT_EQ(hex(ExtendedFloat::fromDouble(22050.0)), "400DAC44000000000000");
    EXPECT_EQ(hex(ExtendedFloat::fromDouble(48000.0)), "400EBB80000000000000");
    EXPECT_EQ(hex(ExtendedFloat::fromDouble(8000.0)), "400BFA00000000000000");
    EXPECT_EQ(hex(ExtendedFloat::fromDouble(1.0)), "3FFF8000000000000000");
}

TEST(ExtendedFloat, returnsEveryDoubleUnchanged) {
    for (const double value : {8000.0, 11025.0, 22050.0, 44100.0, 48000.0, 96000.0, 11025.0 / 4, 1.0 / 3.0,
                               1e-300, 1.7e308, 44099.999999999993})
        EXPECT_EQ(ExtendedFloat::toDouble(ExtendedFloat::fromDouble(value)), value);
}

TEST(ExtendedFloat, makesZero_ofWhatIsNoRate) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {0.0, -44100.0, infinity, std::nan("")})
        EXPECT_EQ(hex(ExtendedFloat::fromDouble(value)), "00000000000000000000");
    ExtendedFloat::Bytes notANumber{std::byte{0x7F}, std::byte{0xFF}, std::byte{0xC0}};
    EXPECT_EQ(ExtendedFloat::toDouble(notANumber), 0.0);
    ExtendedFloat::Bytes huge{std::byte{0x7F}, std::byte{0xFE}, std::byte{0x80}};
    EXPECT_EQ(ExtendedFloat::toDouble(huge), infinity);
    ExtendedFloat::Bytes negative{std::byte{0xBF}, std::byte{0xFF}, std::byte{0x80}};
    EXPECT_EQ(ExtendedFloat::toDouble(negative), -1.0);
}

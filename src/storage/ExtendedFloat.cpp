#include "storage/ExtendedFloat.h"

#include "storage/BigEndian.h"

#include <cmath>

namespace {
constexpr int bias = 16383;
constexpr unsigned notFinite = 0x7FFF;
} // namespace

ExtendedFloat::Bytes ExtendedFloat::fromDouble(double value) {
    Bytes bytes{};
    if (!std::isfinite(value) || value <= 0.0)
        return bytes;
    int exponent = 0;
    const double fraction = std::frexp(value, &exponent); // 0.5 <= fraction < 1
    const auto significand = static_cast<std::uint64_t>(std::ldexp(fraction, 64));
    BigEndian::put16(bytes.data(), static_cast<std::uint16_t>(exponent - 1 + bias));
    BigEndian::put32(bytes.data() + 2, static_cast<std::uint32_t>(significand >> 32));
    BigEndian::put32(bytes.data() + 6, static_cast<std::uint32_t>(significand));
    return bytes;
}

double ExtendedFloat::toDouble(std::span<const std::byte, 10> bytes) {
    const unsigned head = BigEndian::get16(bytes.data());
    const unsigned exponent = head & 0x7FFF;
    if (exponent == notFinite)
        return 0.0;
    const std::uint64_t significand =
        std::uint64_t{BigEndian::get32(bytes.data() + 2)} << 32 | BigEndian::get32(bytes.data() + 6);
    const double magnitude =
        std::ldexp(static_cast<double>(significand), static_cast<int>(exponent) - bias - 63);
    return (head & 0x8000) != 0 ? -magnitude : magnitude;
}

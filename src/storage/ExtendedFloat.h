// storage/ExtendedFloat.h — the 80-bit floating-point numbers of AIFF headers.
#pragma once
#include <array>
#include <cstddef>
#include <span>

/// The IEEE 754 double-extended format as AIFF stores it, big-endian: a sign bit, 15 exponent bits with the
/// bias 16383, and a 64-bit significand whose leading one is written out.
struct ExtendedFloat {
    using Bytes = std::array<std::byte, 10>;

    // Any thread
    /// A `value` that is no positive finite number becomes 0.
    static Bytes fromDouble(double value);
    /// Infinities and what is no number become 0; a value too large for a double, infinity.
    static double toDouble(std::span<const std::byte, 10> bytes);
};

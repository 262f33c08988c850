// storage/BigEndian.h — numbers as sound files store them.
#pragma once
#include <cstddef>
#include <cstdint>

/// Big-endian words and samples. Any thread.
struct BigEndian {
    static void put16(std::byte* at, std::uint16_t value) {
        at[0] = static_cast<std::byte>(value >> 8);
        at[1] = static_cast<std::byte>(value);
    }
    static void put32(std::byte* at, std::uint32_t value) {
        put16(at, static_cast<std::uint16_t>(value >> 16));
        put16(at + 2, static_cast<std::uint16_t>(value));
    }
    static std::uint16_t get16(const std::byte* at) {
        return static_cast<std::uint16_t>(std::to_integer<unsigned>(at[0]) << 8 |
                                          std::to_integer<unsigned>(at[1]));
    }
    static std::uint32_t get32(const std::byte* at) {
        return static_cast<std::uint32_t>(get16(at)) << 16 | get16(at + 2);
    }

    /// Copies `samples` 16-bit samples, changing between native and big-endian order. `from` and `to` may be
    /// the same, else they must not overlap.
    static void copySamples(void* to, const void* from, std::size_t samples);
};

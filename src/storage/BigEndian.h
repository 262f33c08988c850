// storage/BigEndian.h — numbers as sound files store them.
#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

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
    static void copySamples(void* to, const void* from, std::size_t samples) {
        if constexpr (std::endian::native == std::endian::big) {
            std::memmove(to, from, samples * 2);
        } else {
            auto* target = static_cast<std::byte*>(to);
            const auto* source = static_cast<const std::byte*>(from);
            // Four samples a step in one register: plain enough for any compiler to make it fast.
            for (; samples >= 4; samples -= 4, source += 8, target += 8) {
                std::uint64_t four = 0;
                std::memcpy(&four, source, 8);
                four = (four & 0x00FF00FF00FF00FFu) << 8 | (four >> 8 & 0x00FF00FF00FF00FFu);
                std::memcpy(target, &four, 8);
            }
            for (; samples > 0; --samples, source += 2, target += 2) {
                std::uint16_t one = 0;
                std::memcpy(&one, source, 2);
                put16(target, one);
            }
        }
    }
};

#include "storage/BigEndian.h"

#include "base/WidestVectors.h"

#include <bit>
#include <cstring>

namespace {
constexpr std::size_t blockSamples = 256; // a fixed number, so that every compiler makes vectors of the loop

KA_WIDEST_VECTORS
void copySwapped(std::byte* to, const std::byte* from, std::size_t samples) {
    std::uint16_t block[blockSamples];
    for (; samples >= blockSamples; samples -= blockSamples, from += sizeof block, to += sizeof block) {
        std::memcpy(block, from, sizeof block);
        for (std::uint16_t& sample : block)
            sample = static_cast<std::uint16_t>(sample << 8 | sample >> 8);
        std::memcpy(to, block, sizeof block);
    }
    for (; samples > 0; --samples, from += 2, to += 2) {
        std::uint16_t one = 0;
        std::memcpy(&one, from, 2);
        BigEndian::put16(to, one);
    }
}
} // namespace

void BigEndian::copySamples(void* to, const void* from, std::size_t samples) {
    if constexpr (std::endian::native == std::endian::big)
        std::memmove(to, from, samples * 2);
    else
        copySwapped(static_cast<std::byte*>(to), static_cast<const std::byte*>(from), samples);
}

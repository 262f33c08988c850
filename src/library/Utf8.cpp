#include "library/Utf8.h"

#include <cstddef>

namespace {
unsigned byteAt(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

bool isInside(unsigned byte) {
    return (byte & 0xC0U) == 0x80U;
}

/// Bytes of the character that begins with `first`; 0 for a byte that begins none.
std::size_t lengthOf(unsigned first) {
    if (first < 0x80)
        return 1;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    return first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
}

/// Too long a form, half of a pair, or beyond the last character.
bool isForbidden(unsigned first, unsigned second) {
    return (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
           (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
}
} // namespace

std::string_view Utf8::withoutCutEnd(std::string_view text) {
    constexpr std::size_t longest = 4;
    for (std::size_t back = 1; back <= longest && back <= text.size(); ++back) {
        const std::size_t at = text.size() - back;
        const unsigned first = byteAt(text, at);
        if (isInside(first))
            continue;
        return lengthOf(first) > back ? text.substr(0, at) : text;
    }
    return text;
}

bool Utf8::isPlainText(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const unsigned first = byteAt(text, at);
        const std::size_t length = lengthOf(first);
        if (length == 0 || at + length > text.size() || first < 0x20 || first == 0x7F)
            return false;
        for (std::size_t part = 1; part < length; ++part)
            if (!isInside(byteAt(text, at + part)))
                return false;
        if (length > 1 && isForbidden(first, byteAt(text, at + 1)))
            return false;
        at += length;
    }
    return true;
}

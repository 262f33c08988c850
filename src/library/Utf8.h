// library/Utf8.h — where the characters of a text begin and end.
#pragma once
#include <string_view>

/// Any thread.
struct Utf8 {
    /// Without the beginning of a character whose end is missing.
    static std::string_view withoutCutEnd(std::string_view text);
    /// Whole characters and no control characters among them.
    static bool isPlainText(std::string_view text);
};

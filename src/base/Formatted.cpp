#include "base/Formatted.h"

#include <cstdarg>
#include <cstdio>
#include <locale.h>

namespace {
/// Numbers with a point, on this thread, while it lives. A toolkit sets the locale of the person, who may write
/// numbers with a comma; files and logs are for programs too, and the texts around the numbers are not of that
/// locale anyway.
class PlainNumbers {
public:
    PlainNumbers() : m_before(uselocale(plain())) {}
    ~PlainNumbers() { uselocale(m_before); }
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;

private:
    static locale_t plain() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }

    const locale_t m_before;
};
} // namespace

std::string formatted(const char* format, ...) {
    const PlainNumbers numbers;
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

// base/Formatted.h — printf into a string.
#pragma once
#include <string>

/// `format` filled in as printf does. Any thread but an I/O thread.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...);

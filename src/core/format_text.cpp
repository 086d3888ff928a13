#include "core/format_text.h"

#include <cstdarg>
#include <cstdio>

std::string format_text(const char *format, ...) {
    char buffer[4096];
    std::va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    return length < 0 ? std::string() : std::string(buffer);
}

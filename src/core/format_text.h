#pragma once

#include <string>

/// A printf-style text through a buffer of 4096 bytes: longer results are cut to 4095 characters.
/// Text from outside is only ever an argument of "%s", never the format.
[[gnu::format(printf, 1, 2)]] std::string format_text(const char *format, ...);

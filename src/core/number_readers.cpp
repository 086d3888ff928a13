#include "core/number_readers.h"

#include <cstdlib>
#include <string>

std::int64_t read_decimal(std::string_view text) {
    return std::strtoll(std::string(text).c_str(), nullptr, 10);
}

std::uint64_t read_hexadecimal(std::string_view text) {
    return std::strtoull(std::string(text).c_str(), nullptr, 16);
}

std::string_view text_behind(std::string_view text, std::size_t position) {
    return position < text.size() ? text.substr(position) : std::string_view();
}

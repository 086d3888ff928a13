#include "fc/hba_conf.h"

#include <algorithm>

namespace {
bool belongs_to_path(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.' || c == '/';
}

template <std::size_t Size> void copy_cut(std::string_view text, char (&out)[Size]) {
    *std::copy_n(text.begin(), std::min(text.size(), Size - 1), out) = '\0';
}
} // namespace

bool read_hba_conf_line(std::string_view line, HBA_CONF_ENTRY &out) {
    line = line.substr(0, line.find('\n'));
    if (line.empty() || line.front() == '#') return false;

    // A tab anywhere wins over an earlier blank: a name may have blanks before a tab.
    std::size_t between = line.find('\t');
    if (between == std::string_view::npos) between = line.find(' ');
    if (between == std::string_view::npos) return false;
    const std::size_t path = line.find_first_not_of(" \t", between);
    if (between == 0 || path == std::string_view::npos) return false;

    out = {};
    copy_cut(line.substr(0, between), out.name);
    copy_cut(line.substr(path), out.path);
    std::fill(std::find_if_not(std::begin(out.path), std::end(out.path), belongs_to_path),
              std::end(out.path), '\0');
    return true;
}

#include "network/nic_list.h"

namespace {
constexpr std::size_t HEAD_LINES = 2;
constexpr std::string_view WHITE_SPACE = " \t\n\v\f\r";

/// Takes a line off the front of `text`. @return false at the end
bool take_line(std::string_view &text, std::string_view &line) {
    if (text.empty()) return false;
    const std::size_t end = text.find('\n');
    line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return true;
}

/// Takes a word off the front of `line`. @return false where none is left
bool take_word(std::string_view &line, std::string_view &word) {
    const std::size_t start = line.find_first_not_of(WHITE_SPACE);
    if (start == std::string_view::npos) return false;
    line.remove_prefix(start);
    word = line.substr(0, line.find_first_of(WHITE_SPACE));
    line.remove_prefix(word.size());
    return true;
}

std::vector<std::string> row_of(std::string_view line) {
    std::vector<std::string> row;
    for (std::string_view word; take_word(line, word);) {
        if (row.size() < NIC_FIELDS)
            row.emplace_back(word);
        else
            row.back().append(" ").append(word);
    }
    return row;
}
} // namespace

int read_nic_list(std::string_view text, std::vector<std::vector<std::string>> &rows) {
    rows.clear();
    std::string_view line;
    for (std::size_t number = 1; take_line(text, line); ++number) {
        if (number == 1 && line.find("Name") == std::string_view::npos) return -1;
        if (number <= HEAD_LINES) continue;
        std::vector<std::string> row = row_of(line);
        if (row.size() < NIC_FIELDS) return -2;
        rows.push_back(std::move(row));
    }
    return 0;
}

std::vector<std::pair<std::string, std::string>> read_link_table(std::string_view text) {
    std::vector<std::pair<std::string, std::string>> links;
    std::string_view line;
    for (std::size_t number = 1; take_line(text, line); ++number) {
        if (number <= HEAD_LINES) continue;
        std::string_view name, link, more;
        if (!take_word(line, name) || !take_word(line, link) || take_word(line, more)) continue;
        links.emplace_back(name, link);
    }
    return links;
}

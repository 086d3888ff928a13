#include "tools/tablegen/product_table.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <map>
#include <vector>

namespace {
constexpr std::size_t LONGEST_LIMIT = 4096; // of a text column

enum class CellType { HEX16, HEX32, NUMBER, TEXT };

struct COLUMN {
    std::string name;
    CellType type = CellType::TEXT;
    std::size_t limit = LONGEST_LIMIT; ///< bytes of a text
    bool mayBeEmpty = false;
    bool isKey = false;
};

bool is_lower(char character) {
    return character >= 'a' && character <= 'z';
}
bool is_digit(char character) {
    return character >= '0' && character <= '9';
}

/// A decimal number without sign and leading zeros. @return false where it is none or too large
bool read_number(std::string_view text, std::uint32_t &out) {
    if (text.empty() || !is_digit(text.front()) || (text.front() == '0' && text.size() > 1))
        return false;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), out);
    return fault == std::errc() && end == text.data() + text.size();
}

/// Takes the next cell off a line. @return why it is none; empty where it is one
std::string take_cell(std::string_view &line, std::string &cell, bool &more) {
    cell.clear();
    if (line.starts_with('"')) {
        line.remove_prefix(1);
        for (;;) {
            const std::size_t quote = line.find('"');
            if (quote == std::string_view::npos) return "a quote is not closed";
            cell += line.substr(0, quote);
            line.remove_prefix(quote + 1);
            if (!line.starts_with('"')) break;
            cell += '"';
            line.remove_prefix(1);
        }
        if (!line.empty() && line.front() != ',') return "text stands behind a closing quote";
    } else {
        const std::string_view plain = line.substr(0, line.find(','));
        if (plain.find('"') != std::string_view::npos) return "a quote stands within a cell";
        cell = plain;
        line.remove_prefix(plain.size());
    }
    more = !line.empty();
    if (more) line.remove_prefix(1);
    if (!is_plain_text(cell)) return "a cell is no plain UTF-8 text";
    if (cell.starts_with(' ') || cell.ends_with(' ')) return "a cell begins or ends with a blank";
    return {};
}

std::string split_line(std::string_view line, std::vector<std::string> &cells) {
    cells.clear();
    for (bool more = true; more;) {
        std::string cell;
        if (std::string why = take_cell(line, cell, more); !why.empty()) return why;
        cells.push_back(std::move(cell));
    }
    return {};
}

/// Reads a type such as "hex16", "text", "text40" or "text?".
bool read_type(std::string_view text, COLUMN &column) {
    if (text == "hex16" || text == "hex32" || text == "number") {
        column.type = text == "hex16"   ? CellType::HEX16
                      : text == "hex32" ? CellType::HEX32
                                        : CellType::NUMBER;
        return true;
    }
    if (!text.starts_with("text")) return false;
    text.remove_prefix(4);
    column.mayBeEmpty = text.ends_with('?');
    if (column.mayBeEmpty) text.remove_suffix(1);
    if (text.empty()) return true;
    std::uint32_t limit = 0;
    if (!read_number(text, limit) || limit == 0 || limit > LONGEST_LIMIT) return false;
    column.limit = limit;
    return true;
}

/// Reads a cell of the head line, "name:type" or "name:type:key".
std::string read_column(std::string_view cell, COLUMN &column) {
    const std::size_t colon = cell.find(':');
    column.name = cell.substr(0, colon);
    if (column.name.empty() || !is_lower(column.name.front()) ||
        !std::all_of(column.name.begin(), column.name.end(), [](char character) {
            return is_lower(character) || is_digit(character) ||
                   (character >= 'A' && character <= 'Z');
        }))
        return "\"" + std::string(cell) + "\" does not begin with a column's name";
    std::string_view type =
        colon == std::string_view::npos ? std::string_view() : cell.substr(colon + 1);
    const std::size_t second = type.find(':');
    column.isKey = second != std::string_view::npos && type.substr(second) == ":key";
    if ((second != std::string_view::npos && !column.isKey) ||
        !read_type(type.substr(0, second), column))
        return "\"" + std::string(cell) +
               "\" has no type: hex16, hex32, number, text, text40, text?, text40?, and perhaps "
               ":key behind it";
    return {};
}

std::string read_head(const std::vector<std::string> &cells, std::vector<COLUMN> &columns) {
    for (const std::string &cell : cells) {
        COLUMN column;
        if (std::string why = read_column(cell, column); !why.empty()) return why;
        if (std::any_of(columns.begin(), columns.end(),
                        [&column](const COLUMN &other) { return other.name == column.name; }))
            return "the column " + column.name + " comes twice";
        columns.push_back(std::move(column));
    }
    if (std::none_of(columns.begin(), columns.end(),
                     [](const COLUMN &column) { return column.isKey; }))
        return "no column is a key";
    return {};
}

/// The C++ value of a cell. @return why it is none; empty where it is one
std::string cell_value(const COLUMN &column, const std::string &cell, std::string &value) {
    if (cell.empty() && !column.mayBeEmpty) return column.name + " is empty";
    std::uint32_t number = 0;
    switch (column.type) {
    case CellType::HEX16:
    case CellType::HEX32: {
        const std::size_t digits = column.type == CellType::HEX16 ? 4 : 8;
        if (!cell.starts_with("0x") || !is_hexadecimal(std::string_view(cell).substr(2), digits))
            return column.name + " is not 0x and " + std::to_string(digits) + " lower-case digits";
        value = cell;
        break;
    }
    case CellType::NUMBER:
        if (!read_number(cell, number)) return column.name + " is no number of 32 bits";
        value = cell;
        break;
    case CellType::TEXT:
        if (cell.size() > column.limit)
            return column.name + " is longer than " + std::to_string(column.limit) + " bytes";
        value = string_literal(cell);
        break;
    }
    return {};
}

const char *cpp_type(CellType type) {
    switch (type) {
    case CellType::HEX16:
        return "std::uint16_t";
    case CellType::HEX32:
    case CellType::NUMBER:
        return "std::uint32_t";
    case CellType::TEXT:
        break;
    }
    return "std::string_view";
}

/// The rows of a table, one after the other.
class TableRows {
public:
    explicit TableRows(const std::vector<COLUMN> &tableColumns) : columns(tableColumns) {}

    /// @return why the cells are no row; empty where they are one
    std::string add(const std::vector<std::string> &cells, std::size_t line) {
        if (cells.size() != columns.size())
            return std::to_string(cells.size()) + " cells in place of " +
                   std::to_string(columns.size());
        std::string row;
        std::string key;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            std::string value;
            if (std::string why = cell_value(columns[i], cells[i], value); !why.empty()) return why;
            if (columns[i].isKey) key += value + ',';
            row += (i == 0 ? "    {" : ", ") + value;
        }
        const auto [known, isNew] = keys.emplace(std::move(key), line);
        if (!isNew) return "the same key as in line " + std::to_string(known->second);
        text += row + "},\n";
        return {};
    }
    const std::string &all() const { return text; }

private:
    const std::vector<COLUMN> &columns;
    std::map<std::string, std::size_t> keys; // with the line of each
    std::string text;
};

std::string header_text(std::string_view name, const std::vector<COLUMN> &columns,
                        const std::string &rows) {
    std::string upper(name);
    for (char &character : upper)
        if (is_lower(character)) character = static_cast<char>(character - 'a' + 'A');
    std::string text = "// Made by tablegen from " + std::string(name) +
                       ".csv; changes belong there.\n#pragma once\n\n#include <cstdint>\n"
                       "#include <string_view>\n\nstruct " +
                       upper + "_ROW {\n";
    for (const COLUMN &column : columns)
        text += std::string("    ") + cpp_type(column.type) + ' ' + column.name + ";\n";
    return text + "};\n\n// In the order of the file.\ninline constexpr " + upper + "_ROW " +
           upper + "[] = {\n" + rows + "};\n";
}
} // namespace

TABLE_FAULT make_product_table(std::string_view text, std::string_view name, std::string &header) {
    if (name.empty() || !is_lower(name.front()) ||
        !std::all_of(name.begin(), name.end(), [](char character) {
            return is_lower(character) || is_digit(character) || character == '_';
        }))
        return {0, "the table's name is not lower-case letters, digits and underscores"};
    std::vector<COLUMN> columns;
    TableRows rows(columns);
    TableLines lines(text);
    std::vector<std::string> cells;
    for (std::string_view line; lines.next(line);) {
        if (line.empty() || line.front() == '#') continue;
        std::string why = split_line(line, cells);
        if (why.empty())
            why = columns.empty() ? read_head(cells, columns) : rows.add(cells, lines.number());
        if (!why.empty()) return {lines.number(), std::move(why)};
    }
    if (columns.empty()) return {0, "no head line"};
    if (rows.all().empty()) return {0, "no rows"};
    header = header_text(name, columns, rows.all());
    return {};
}

#include "host/esxtop_memory.h"

#include <cstdlib>
#include <string>

namespace {
constexpr std::size_t PIECE_LIMIT = 4096;
constexpr char TOTAL_HEAD[] = "Machine MBytes";
constexpr char FREE_HEAD[] = "\\Memory\\Free MBytes";

/// The text up to the next comma, cut at PIECE_LIMIT; false at the end.
bool read_piece(std::istream &in, std::string &piece) {
    piece.clear();
    char character = '\0';
    if (!in.get(character)) return false;
    for (; in && character != ','; in.get(character))
        if (piece.size() < PIECE_LIMIT) piece += character;
    return true;
}

/// Stores the number behind a piece's quote; without one, `value` stays.
void read_value(const std::string &piece, std::int64_t &value) {
    if (piece.empty() || piece[0] != '"') return;
    const char *digits = piece.c_str() + 1;
    char *end = nullptr;
    const long long number = std::strtoll(digits, &end, 10);
    if (end != digits) value = number;
}
} // namespace

ORB_ESXTOP_MEMORY read_esxtop_memory(std::istream &in) {
    ORB_ESXTOP_MEMORY memory;
    std::size_t number = 0, totalAt = 0, freeAt = 0; // pieces count from 1
    bool inValues = false;

    std::string piece;
    while (read_piece(in, piece)) {
        ++number;
        if (!piece.empty() && piece[0] == '\n') {
            inValues = true;
            number = 1;
        }
        if (inValues) {
            if (number == totalAt) read_value(piece, memory.totalMBytes);
            if (number == freeAt) read_value(piece, memory.freeMBytes);
        } else {
            if (piece.find(TOTAL_HEAD) != std::string::npos) totalAt = number;
            if (piece.find(FREE_HEAD) != std::string::npos) freeAt = number;
        }
    }
    return memory;
}

#pragma once

#include <cstddef>
#include <string_view>

constexpr std::size_t HBA_LIBRARY_NAME_BYTES = 64, HBA_LIBRARY_PATH_BYTES = 256; ///< with the NUL

/// The room that a line of hba.conf is read into, its NUL included. What is longer goes on as a
/// line of its own.
constexpr int HBA_CONF_LINE_BYTES = 512;

/// A vendor library as hba.conf names it. Both texts end with a NUL and are filled up with NULs.
struct HBA_CONF_ENTRY {
    char name[HBA_LIBRARY_NAME_BYTES];
    char path[HBA_LIBRARY_PATH_BYTES];
};

/// Reads one line of hba.conf: a name, tabs or blanks, a path. Pure; any thread.
/// @param line  up to its newline, if there is one; what follows that is not looked at
/// @param out   written on success only. The path ends before its first character that is none of
///              A-Z a-z 0-9 _ - . and /, so it can be empty even where the line has one.
/// @return false where the line is empty, a comment ("#" first) or lacks a name or a path
bool read_hba_conf_line(std::string_view line, HBA_CONF_ENTRY &out);

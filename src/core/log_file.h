#pragma once

#include <string>
#include <string_view>

/// A file that lines are appended to, each by one write, so that lines of several writers stay
/// whole and a full disk costs the lines of that time only. Not synchronised.
class orbLogFile {
public:
    orbLogFile() = default;
    ~orbLogFile() { close(); }
    orbLogFile(const orbLogFile &) = delete;
    orbLogFile &operator=(const orbLogFile &) = delete;

    /// Opens for appending; the file is made where there is none, its directories are not.
    /// @param path  mapped already @return 0 or the error number
    int open(const std::string &path);
    void close();
    void write(std::string_view line); ///< lost without notice where the file isn't open or is full

private:
    int fd = -1;
};

/// Makes the directories of a path with mode 0700, from the first to the one before the last "/".
/// What follows that is the file's name and isn't touched. @return 0 or the first error number
int make_directories_of(const std::string &path);

/// What follows the last of the characters `separators`; the whole path without any.
std::string base_name(const std::string &path, const char *separators);

/// Copies a whole file, replacing a file `to`; a copy that fails half-way is removed.
/// @return 0 or the error number
int copy_file(const std::string &from, const std::string &to);

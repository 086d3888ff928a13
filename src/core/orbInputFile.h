#pragma once

#include <fcntl.h>

#include <istream>
#include <string>

#include <ext/stdio_filebuf.h>

/// A file to read, whose descriptor no command inherits.
class orbInputFile {
public:
    /// @param path  as it stands; the caller maps it
    explicit orbInputFile(const std::string &path)
        : buffer(::open(path.c_str(), O_RDONLY | O_CLOEXEC), std::ios::in | std::ios::binary),
          text(&buffer) {}
    bool isOpen() const { return buffer.is_open(); }
    std::istream &stream() { return text; } ///< gives nothing where the file isn't open

private:
    __gnu_cxx::stdio_filebuf<char> buffer; // closes the descriptor
    std::istream text;
};

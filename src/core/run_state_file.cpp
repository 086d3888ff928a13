#include "core/run_state_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>

#include <ext/stdio_filebuf.h>

#include "core/number_readers.h"
#include "hostaccess/orbHostFiles.h"

namespace {
constexpr std::size_t TOKEN_LIMIT = 4096; // a longer token is cut, and is neither key nor time
constexpr mode_t OWNER_ONLY = S_IRUSR | S_IWUSR;

using FileBuffer = __gnu_cxx::stdio_filebuf<char>;

/// Opens a regular file. @return the descriptor, or -1 with errno, ELOOP for a link of either kind
/// or a pipe
int open_regular(const std::string &path, int flags) {
    // Without O_NONBLOCK a pipe put there would hold up the caller until somebody writes to it.
    const int fd = ::open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, OWNER_ONLY);
    if (fd < 0) return -1;
    struct stat status = {};
    // A file of a second name is somebody else's: what is written here would change it there.
    if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink <= 1) return fd;
    ::close(fd);
    errno = ELOOP;
    return -1;
}

/// Opens a file for reading and appending; what is no file gives way to a new one.
int open_private(const std::string &path) {
    constexpr int FLAGS = O_RDWR | O_APPEND | O_CREAT;
    const int fd = open_regular(path, FLAGS);
    if (fd >= 0 || errno != ELOOP || ::unlink(path.c_str()) != 0) return fd;
    return open_regular(path, FLAGS);
}

/// The next token, cut at TOKEN_LIMIT; false at the end.
bool read_token(std::istream &in, std::string &token) {
    token.clear();
    for (char character; in.get(character);) {
        if (std::isspace(static_cast<unsigned char>(character)) == 0) {
            if (token.size() < TOKEN_LIMIT) token += character;
        } else if (!token.empty()) {
            break;
        }
    }
    return !token.empty();
}
} // namespace

std::optional<std::int64_t> read_run_state_value(std::istream &in, const std::string &key) {
    std::string token;
    while (read_token(in, token)) {
        if (token != key) continue;
        if (!read_token(in, token)) break;
        return read_decimal(token);
    }
    return std::nullopt;
}

bool read_run_state(const std::string &key, std::optional<std::int64_t> &value) {
    const int source = open_regular(IorbHostFiles::get().map(run_state_path()), O_RDONLY);
    if (source < 0) return false;
    FileBuffer buffer(source, std::ios::in | std::ios::binary);
    std::istream in(&buffer);
    value = read_run_state_value(in, key);
    return true;
}

void copy_run_state(std::istream &in, std::ostream &out, const std::string &key,
                    std::optional<std::int64_t> value) {
    for (std::string line; std::getline(in, line);) {
        if (value.has_value() && line.find(key) != std::string::npos)
            out << key << ' ' << *value << '\n';
        else
            out << line << '\n';
    }
}

int rewrite_run_state(const std::string &key, std::optional<std::int64_t> value) {
    IorbHostFiles &files = IorbHostFiles::get();
    const std::string path = files.map(run_state_path());
    const std::string twinPath = files.map(run_state_temporary_path());

    const int source = open_regular(path, O_RDONLY);
    if (source < 0) return -1;
    FileBuffer sourceBuffer(source, std::ios::in | std::ios::binary);
    std::istream in(&sourceBuffer);

    const int twin = open_private(twinPath);
    if (twin < 0) return -2;
    FileBuffer twinBuffer(twin, std::ios::out | std::ios::app);
    std::ostream out(&twinBuffer);
    copy_run_state(in, out, key, value);

    const bool written = !in.bad() && out.flush().good() && twinBuffer.close() != nullptr;
    if (written && std::rename(twinPath.c_str(), path.c_str()) == 0) return 0;
    ::unlink(twinPath.c_str());
    return -2;
}

bool ensure_private_file(const std::string &path) {
    const int fd = open_private(path);
    if (fd < 0) return false;
    ::close(fd);
    return true;
}

#include "core/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <vector>

namespace {
constexpr mode_t DIRECTORY_MODE = 0700, FILE_MODE = 0666; // the umask takes from it
constexpr std::size_t COPY_STEP_BYTES = 256 * 1024;

/// Writes all, through interruptions and short writes. @return 0 or the error number
int write_all(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t done = ::write(fd, bytes.data(), bytes.size());
        if (done < 0 && errno != EINTR) return errno;
        if (done > 0) bytes.remove_prefix(static_cast<std::size_t>(done));
    }
    return 0;
}

int copy_bytes(int from, int to) {
    std::vector<char> step(COPY_STEP_BYTES);
    for (;;) {
        const ssize_t got = ::read(from, step.data(), step.size());
        if (got == 0) return 0;
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return errno;
        if (const int err = write_all(to, {step.data(), static_cast<std::size_t>(got)}); err != 0)
            return err;
    }
}
} // namespace

int orbLogFile::open(const std::string &path) {
    close();
    fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, FILE_MODE);
    return fd < 0 ? errno : 0;
}

void orbLogFile::close() {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

void orbLogFile::write(std::string_view line) {
    if (fd >= 0) static_cast<void>(write_all(fd, line)); // there is no better place to tell it
}

int make_directories_of(const std::string &path) {
    for (std::size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1))
        if (::mkdir(path.substr(0, at).c_str(), DIRECTORY_MODE) < 0 && errno != EEXIST)
            return errno;
    return 0;
}

std::string base_name(const std::string &path, const char *separators) {
    const std::size_t at = path.find_last_of(separators);
    return at == std::string::npos ? path : path.substr(at + 1);
}

int copy_file(const std::string &from, const std::string &to) {
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return errno;
    const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, FILE_MODE);
    int err = out < 0 ? errno : copy_bytes(in, out);
    ::close(in);
    if (out < 0) return err;
    if (::close(out) < 0 && err == 0) err = errno; // some file systems tell of a full disk here
    if (err != 0) ::unlink(to.c_str());
    return err;
}

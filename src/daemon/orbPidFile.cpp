#include "daemon/orbPidFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "daemon/daemon_texts.h"
#include "hostaccess/orbHostFiles.h"

namespace {
constexpr char PID_FILE[] = "/run/orbd.pid";
constexpr mode_t READABLE_BY_ALL = 0644;

/// Whether the path still names the open file: an instance that just ended removes its own.
bool is_same_file(int fd, const std::string &path) {
    struct stat open = {}, named = {};
    return ::fstat(fd, &open) == 0 && ::stat(path.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

/// The process id in the file, as text; "" where it holds none.
std::string read_pid(int fd) {
    char text[32] = {};
    const ssize_t got = ::pread(fd, text, sizeof text - 1, 0);
    const long pid = got > 0 ? std::strtol(text, nullptr, 10) : 0;
    return pid > 0 ? std::to_string(pid) : "";
}
} // namespace

void orbPidFile::release() {
    if (fd < 0) return;
    // Removed while the lock is held, so that nobody else's file is.
    (void)::unlink(path.c_str()); // one that stays behind is taken over by the next start
    ::close(fd);
    fd = -1;
}

bool orbPidFile::take(std::string &why) {
    path = IorbHostFiles::get().map(PID_FILE);
    std::error_code ignored; // a directory that can't be made fails the open
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    while (true) {
        const int file =
            ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, READABLE_BY_ALL);
        if (file < 0) {
            why = errno_text(errno);
            return false;
        }
        if (::flock(file, LOCK_EX | LOCK_NB) != 0) {
            const int err = errno;
            const std::string pid = read_pid(file);
            ::close(file);
            why = err != EWOULDBLOCK ? errno_text(err)
                  : pid.empty()      ? "another orbd is starting"
                                     : "orbd is already running with process id " + pid;
            return false;
        }
        if (is_same_file(file, path)) {
            fd = file;
            break;
        }
        ::close(file);
    }
    if (write()) return true;
    why = errno_text(errno);
    return false;
}

bool orbPidFile::write() {
    const std::string text = std::to_string(::getpid()) + "\n";
    return ::ftruncate(fd, 0) == 0 &&
           ::pwrite(fd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
}

void orbPidFile::disown() {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

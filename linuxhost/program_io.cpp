#include "program_io.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

bool prepare_standard_streams() {
    const bool outputOpen = ::fcntl(STDOUT_FILENO, F_GETFD) != -1;
    // open() takes the lowest free number, hence from 0 upwards; closed output gets a read-only
    // descriptor, on which writes fail.
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(fd, F_GETFD) == -1)
            static_cast<void>(::open("/dev/null", fd == STDERR_FILENO ? O_WRONLY : O_RDONLY));
    ::signal(SIGPIPE, SIG_IGN);
    return outputOpen;
}

void complain(std::string_view program, std::string_view what, std::string_view why) {
    std::string line;
    line.append(program).append(": ").append(what).append(": ").append(why).append("\n");
    // Nothing is left to tell where standard error itself fails.
    static_cast<void>(write_all(STDERR_FILENO, line));
}

void complain(std::string_view program, std::string_view what, int errorNumber) {
    complain(program, what, std::generic_category().message(errorNumber));
}

int refuse_usage(std::string_view program, std::string_view usage, std::string_view what,
                 std::string_view why) {
    complain(program, what, why);
    static_cast<void>(write_all(STDERR_FILENO, usage)); // the status tells it all the same
    return EXIT_USAGE;
}

int refuse_option(std::string_view program, std::string_view usage, char **argv,
                  const option *longOptions) {
    if (optopt == 0) return refuse_usage(program, usage, argv[optind - 1], "unknown option");
    for (; longOptions->name != nullptr; ++longOptions)
        if (longOptions->val == optopt)
            return refuse_usage(program, usage, argv[optind - 1], "takes no value");
    return refuse_usage(program, usage, std::string{'-', static_cast<char>(optopt)},
                        "unknown option");
}

int write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

int print_result(std::string_view program, std::string_view text) {
    const int error = write_all(STDOUT_FILENO, text);
    if (error == 0) return EXIT_OK;
    complain(program, "standard output", error);
    return EXIT_FAILED;
}

int read_file(const std::string &path, std::size_t limit, std::string &text) {
    text.clear();
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd == -1) return errno;
    int error = 0;
    constexpr std::size_t STEP = 64 * 1024;
    while (text.size() < limit) {
        const std::size_t before = text.size();
        const std::size_t wanted = limit - before < STEP ? limit - before : STEP;
        text.resize(before + wanted);
        const ssize_t got = ::read(fd, text.data() + before, wanted);
        if (got < 0) error = errno;
        text.resize(before + static_cast<std::size_t>(got > 0 ? got : 0));
        if (got < 0 && error == EINTR) {
            error = 0;
            continue;
        }
        if (got <= 0) break;
    }
    ::close(fd);
    return error;
}

std::string without_end_slashes(std::string path) {
    while (!path.empty() && path.back() == '/') path.pop_back();
    return path;
}

std::string root_from_environment() {
    const char *root = std::getenv("ORB_ROOT");
    return root == nullptr ? std::string() : without_end_slashes(root);
}

namespace {
/// Makes the folders above a file. @return 0 or errno
int make_folders_above(const std::string &path) {
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        if (::mkdir(path.substr(0, slash).c_str(), 0755) != 0 && errno != EEXIST) return errno;
    }
    return 0;
}

int write_and_close(int fd, std::string_view bytes) {
    const int error = write_all(fd, bytes);
    // A full disk may show only here.
    if (::close(fd) != 0 && error == 0) return errno;
    return error;
}
} // namespace

int replace_file(const std::string &path, std::string_view bytes) {
    struct stat there {};
    if (::stat(path.c_str(), &there) == 0 && !S_ISREG(there.st_mode)) {
        const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        return fd == -1 ? errno : write_and_close(fd, bytes);
    }
    if (const int error = make_folders_above(path)) return error;
    std::string temporary = path + ".XXXXXX"; // mkostemp creates it with mode 0600
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd == -1) return errno;
    int error = write_and_close(fd, bytes);
    if (error == 0 && ::rename(temporary.c_str(), path.c_str()) != 0) error = errno;
    if (error != 0) ::unlink(temporary.c_str());
    return error;
}

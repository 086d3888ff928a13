#include "daemon/orbBackground.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "daemon/daemon_texts.h"
#include "daemon/exit_status.h"

namespace {
void replace_stream(int from, int stream) {
    if (from >= 0 && from != stream) ::dup2(from, stream);
}

int open_null() {
    return ::open("/dev/null", O_RDWR | O_CLOEXEC);
}

/// In the process that the user started: waits for the daemon's word.
int wait_for_report(int fd, pid_t child) {
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    unsigned char status = 0;
    ssize_t got;
    while ((got = ::read(fd, &status, 1)) < 0 && errno == EINTR) {
    }
    ::close(fd);
    if (got == 1) return status;
    print_error("start", "the daemon ended before it was ready");
    return ORB_EXIT_FAILED;
}
} // namespace

orbBackground::orbBackground() : inner(replace(this)) {}

orbBackground::~orbBackground() {
    replace(inner);
    if (reportFd >= 0) ::close(reportFd);
}

std::optional<int> orbBackground::enter() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        print_error("start", "no pipe: " + errno_text(errno));
        return ORB_EXIT_FAILED;
    }
    const pid_t child = ::fork();
    if (child < 0) {
        print_error("start", "no process: " + errno_text(errno));
        ::close(ends[0]);
        ::close(ends[1]);
        return ORB_EXIT_FAILED;
    }
    if (child > 0) {
        ::close(ends[1]);
        // Whoever waits at a terminal may give up; the daemon goes on.
        sigset_t none;
        sigemptyset(&none);
        ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
        return wait_for_report(ends[0], child);
    }
    ::close(ends[0]);
    reportFd = ends[1];
    ::setsid();
    // The leader of a session could get a controlling terminal; its child can't.
    const pid_t daemon = ::fork();
    if (daemon < 0) {
        print_error("start", "no process: " + errno_text(errno));
        report(ORB_EXIT_FAILED);
    }
    if (daemon != 0) ::_exit(ORB_EXIT_DONE);

    if (::chdir("/") != 0) print_error("start", "working directory: " + errno_text(errno));
    const int null = open_null();
    replace_stream(null, STDIN_FILENO);
    if (null > STDERR_FILENO) ::close(null);
    return std::nullopt;
}

void orbBackground::ready() {
    if (reportFd < 0) return;
    const int null = open_null();
    replace_stream(null, STDOUT_FILENO);
    replace_stream(null, STDERR_FILENO);
    if (null > STDERR_FILENO) ::close(null);
    report(ORB_EXIT_DONE);
}

void orbBackground::exitNow(int status) {
    report(status);
    inner->exitNow(status);
    __builtin_unreachable();
}

void orbBackground::report(int status) {
    if (reportFd < 0) return;
    const auto byte = static_cast<unsigned char>(status);
    [[maybe_unused]] const ssize_t written = ::write(reportFd, &byte, 1); // the user may be gone
    ::close(reportFd);
    reportFd = -1;
}

#include "VmProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace {
constexpr int CANNOT_EXECUTE = 127;

/// Behind fork() in a process with threads: system calls alone.
[[noreturn]] void become(char *const *arguments, int output, const std::vector<int> &kept,
                         pid_t owner) {
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != owner) ::_exit(CANNOT_EXECUTE); // the owner was gone before the line above
    const int nothing = ::open("/dev/null", O_RDONLY);
    if (nothing < 0 || ::dup2(nothing, STDIN_FILENO) < 0 || ::dup2(output, STDOUT_FILENO) < 0 ||
        ::dup2(output, STDERR_FILENO) < 0)
        ::_exit(CANNOT_EXECUTE);
    for (const int fd : kept)
        if (::fcntl(fd, F_SETFD, 0) < 0) ::_exit(CANNOT_EXECUTE);
    ::execvp(arguments[0], arguments);
    static constexpr char WHY[] = ": cannot be executed\n";
    // Nobody is left to hear of a failed write.
    (void)!::write(STDERR_FILENO, arguments[0], std::strlen(arguments[0]));
    (void)!::write(STDERR_FILENO, WHY, sizeof WHY - 1);
    ::_exit(CANNOT_EXECUTE);
}
} // namespace

bool VmProcess::start(const std::vector<std::string> &command, const std::string &output,
                      const std::vector<int> &kept, std::string &error) {
    kill();
    const int file = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0) {
        error = output + ": " + std::strerror(errno);
        return false;
    }
    std::vector<std::string> texts = command;
    std::vector<char *> arguments;
    for (std::string &text : texts) arguments.push_back(text.data());
    arguments.push_back(nullptr);
    const pid_t owner = ::getpid();
    child = ::fork();
    if (child == 0) become(arguments.data(), file, kept, owner);
    const int err = errno;
    ::close(file);
    if (child < 0) {
        error = command.front() + ": " + std::strerror(err);
        return false;
    }
    ::setpgid(child, child); // whoever of the two comes first
    status.reset();
    // The C library declares its own call for C alone.
    handle = static_cast<int>(::syscall(SYS_pidfd_open, child, 0));
    if (handle < 0) {
        error = std::string("pidfd_open: ") + std::strerror(errno);
        kill();
        return false;
    }
    return true;
}

std::optional<int> VmProcess::wait(std::chrono::milliseconds limit) {
    if (child <= 0) return status;
    pollfd end{handle, POLLIN, 0};
    if (handle >= 0 && ::poll(&end, 1, static_cast<int>(limit.count())) <= 0) return std::nullopt;
    int raw = 0;
    if (::waitpid(child, &raw, 0) == child)
        status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -WTERMSIG(raw);
    else
        status = -1;
    child = -1;
    if (handle >= 0) ::close(handle);
    handle = -1;
    return status;
}

void VmProcess::kill() {
    if (child <= 0) return;
    ::kill(-child, SIGKILL);
    if (handle >= 0) ::close(handle);
    handle = -1; // so that the wait is for the child alone
    (void)wait(std::chrono::milliseconds(0));
}

#include "world/LabSignals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

bool LabSignals::take(std::string &error) {
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) sigaddset(&wanted, signal);
    std::signal(SIGCHLD, SIG_DFL); // ignored children could not be waited for
    fd = ::signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK);
    if (fd < 0) {
        error = std::string("signals: ") + std::strerror(errno);
        return false;
    }
    sigaddset(&wanted, SIGPIPE);
    sigaddset(&wanted, SIGTTIN); // a read in the background fails instead of stopping the lab
    ::sigprocmask(SIG_BLOCK, &wanted, &former);
    return true;
}

LabSignals::~LabSignals() {
    if (fd < 0) return;
    ::close(fd);
    // A reader that went away has been told of; its signal must not end the process now.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    const timespec atOnce{};
    while (::sigtimedwait(&pipe, nullptr, &atOnce) == SIGPIPE) {
    }
    ::sigprocmask(SIG_SETMASK, &former, nullptr);
}

bool LabSignals::isAskedToEnd() {
    bool asked = false;
    signalfd_siginfo signal{};
    while (::read(fd, &signal, sizeof signal) == sizeof signal)
        asked = asked || signal.ssi_signo != SIGCHLD;
    return asked;
}

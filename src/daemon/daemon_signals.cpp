#include "daemon/daemon_signals.h"

#include <signal.h>

#include <ctime>

namespace {
constexpr int FAULTS[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS};
constexpr int WAITED_FOR[] = {SIGTERM, SIGINT, SIGHUP};
} // namespace

void block_signals() {
    sigset_t all;
    sigfillset(&all);
    for (const int signal : FAULTS) sigdelset(&all, signal);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);

    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, nullptr);
}

ORB_WAKE wait_for_signal(std::int64_t realMs) {
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int signal : WAITED_FOR) sigaddset(&wanted, signal);
    const std::timespec limit = {realMs / 1000, static_cast<long>(realMs % 1000) * 1000000};
    switch (::sigtimedwait(&wanted, nullptr, &limit)) {
    case SIGTERM:
    case SIGINT:
        return ORB_WAKE_STOP;
    case SIGHUP:
        return ORB_WAKE_HANGUP;
    default:
        return ORB_WAKE_TIMEOUT; // also where the wait was cut short: the caller looks at the time
    }
}

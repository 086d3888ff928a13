#include "hostaccess/orbHostProcess.h"

#include <signal.h>
#include <unistd.h>

#include <cstdio>

#include "hostaccess/orbSeam.h"

namespace {
class HostProcess final : public IorbHostProcess {
public:
    int createThread(pthread_t *out, void *(*entry)(void *), void *arg) override {
        return ::pthread_create(out, nullptr, entry, arg);
    }
    int joinThread(pthread_t thread, const char *) override {
        return ::pthread_join(thread, nullptr);
    }
    void writeStandardOutput(std::string_view text) override {
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout);
    }
    [[noreturn]] void exitNow(int status) override {
        // Not every stream: a thread that waits for a command's output has that stream locked, and
        // flushing it would wait as long.
        std::fflush(stdout);
        ::_exit(status);
    }
    void raiseDefault(int signal) override {
        struct sigaction action = {};
        action.sa_handler = SIG_DFL;
        ::sigaction(signal, &action, nullptr);
        // The daemon's threads run with signals blocked; this one is meant to arrive.
        sigset_t only;
        sigemptyset(&only);
        sigaddset(&only, signal);
        ::pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
        ::raise(signal);
    }
};
constinit orbImmortal<HostProcess> host;
constinit orbSeam<IorbHostProcess> seam{host.value};
} // namespace

IorbHostProcess &IorbHostProcess::get() {
    return seam.get();
}
IorbHostProcess *IorbHostProcess::replace(IorbHostProcess *next) {
    return seam.replace(next);
}

#include "bmc/BmcServer.h"

#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

bool BmcServer::start(std::uint16_t port, std::string &error) {
    stop();
    std::lock_guard<std::mutex> held(lock);
    if (!socket.open(port, error)) return false;
    wakeUp = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeUp < 0) {
        error = std::string("eventfd: ") + std::strerror(errno);
        socket.close();
        return false;
    }
    stopping = false;
    // Signals are the owner's.
    sigset_t all, former;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &former);
    try {
        thread = std::thread([this] { run(); });
    } catch (const std::system_error &failure) {
        error = std::string("thread: ") + failure.what();
        socket.close();
    }
    ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
    if (thread.joinable()) return true;
    ::close(wakeUp);
    wakeUp = -1;
    return false;
}

std::uint16_t BmcServer::port() const {
    std::lock_guard<std::mutex> held(lock);
    return socket.port();
}

void BmcServer::stop() {
    if (!thread.joinable()) return;
    {
        std::lock_guard<std::mutex> held(lock);
        stopping = true;
        wake();
    }
    thread.join();
    std::lock_guard<std::mutex> held(lock);
    socket.close();
    ::close(wakeUp);
    wakeUp = -1;
}

void BmcServer::wake() {
    if (wakeUp >= 0) static_cast<void>(::eventfd_write(wakeUp, 1)); // fails only when it is full
}

void BmcServer::run() {
    std::vector<pollfd> wanted;
    for (;;) {
        int timeoutMs = -1;
        {
            std::lock_guard<std::mutex> held(lock);
            if (stopping) return;
            wanted.assign(1, {wakeUp, POLLIN, 0});
            socket.addTo(wanted);
            timeoutMs = socket.timeoutMs();
        }
        ::poll(wanted.data(), wanted.size(), timeoutMs);
        eventfd_t ignored = 0;
        if (wanted[0].revents != 0) static_cast<void>(::eventfd_read(wakeUp, &ignored));
        {
            std::lock_guard<std::mutex> held(lock);
            socket.serve(wanted);
        }
        served.notify_all();
    }
}

void BmcServer::use(const std::function<void(Rmc &)> &work) {
    {
        std::lock_guard<std::mutex> held(lock);
        work(rackController);
        wake();
    }
    served.notify_all();
}

bool BmcServer::waitFor(std::chrono::milliseconds limit, const std::function<bool(Rmc &)> &holds) {
    std::unique_lock<std::mutex> held(lock);
    return served.wait_for(held, limit, [&] { return holds(rackController); });
}

BMC_STATISTICS BmcServer::statistics() {
    std::lock_guard<std::mutex> held(lock);
    return socket.controller().statistics();
}

void BmcServer::resetStatistics() {
    std::lock_guard<std::mutex> held(lock);
    socket.controller().resetStatistics();
}

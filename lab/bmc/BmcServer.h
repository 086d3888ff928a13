#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "bmc/BmcPort.h"

/// The controller on a loopback port with a thread of its own, for a test that drives a machine
/// beside it.
///
/// Threads: its own serves the wire; start(), stop() and the destructor are the owner's thread, the
///          rest any thread but its own.
/// Locks:   `lock`, held while bytes are taken and while a caller's work runs; a leaf.
class BmcServer {
public:
    /// @param rmc  outlives the server and is used under its lock alone while it runs
    explicit BmcServer(Rmc &rmc) : rackController(rmc), socket(rmc) {}
    ~BmcServer() { stop(); }
    BmcServer(const BmcServer &) = delete;
    BmcServer &operator=(const BmcServer &) = delete;

    /// Listens on 127.0.0.1 and serves.
    /// @param port  0: any free one @param error  takes "what: why"
    bool start(std::uint16_t port, std::string &error);
    std::uint16_t port() const; ///< 0 while it doesn't serve
    void stop();                ///< ends the connection, the listener and the thread

    /// Runs `work` between two messages. What was withheld goes out where the RMC behaves again.
    /// `work` must not call the server.
    void use(const std::function<void(Rmc &)> &work);
    /// Waits until `holds` says so, which is asked at once, after each message and after each use;
    /// it must not call the server. @return false: time is over
    bool waitFor(std::chrono::milliseconds limit, const std::function<bool(Rmc &)> &holds);

    BMC_STATISTICS statistics();
    void resetStatistics();

private:
    void run();
    void wake();

    Rmc &rackController; // guarded by lock
    mutable std::mutex lock;
    std::condition_variable served;
    BmcPort socket;        // guarded by lock
    bool stopping = false; // guarded by lock
    int wakeUp = -1;       // set before the thread starts, closed after its end
    std::thread thread;
};

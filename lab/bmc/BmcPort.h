#pragma once

#include <poll.h>

#include <cstdint>
#include <string>
#include <vector>

#include "bmc/Bmc.h"

/// The controller's place on the loopback interface, for somebody's poll: one listener, one
/// connection at a time, of which a new one replaces the former. Nothing here waits. One thread.
class BmcPort {
public:
    explicit BmcPort(Rmc &rmc) : bmc(rmc) {} ///< the RMC outlives it
    ~BmcPort() { close(); }
    BmcPort(const BmcPort &) = delete;
    BmcPort &operator=(const BmcPort &) = delete;

    /// Listens on 127.0.0.1. @param wanted  0: any free port @param error  takes "what: why"
    bool open(std::uint16_t wanted, std::string &error);
    void close();
    std::uint16_t port() const { return number; } ///< 0 while it doesn't listen

    void addTo(std::vector<pollfd> &wanted) const;
    int timeoutMs() const; ///< until an answer is due; -1: none waits for its time
    /// Takes what the poll found, and sends what is due.
    void serve(const std::vector<pollfd> &found);

    Bmc &controller() { return bmc; }

private:
    void accept();
    void read();
    void write();
    void drop();

    Bmc bmc;
    int listener = -1, connection = -1;
    std::uint16_t number = 0;
    std::vector<std::uint8_t> unsent;
};

#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "bmc/BmcServer.h"
#include "rmc/Rmc.h"

/// The rack management controller behind the machine's emulated interface: the lab's, on a loopback
/// port, with all that it received since it was last told to forget. One thread beside its own.
class VmRmc {
public:
    using SECONDS = std::chrono::seconds;

    explicit VmRmc(const std::string &schemaFolder); ///< throws VmFailure where it can't serve

    std::uint16_t port() const { return number; }
    BmcServer &server() { return link; }

    void ring(); ///< the door bell
    /// Rings the door bell and waits until it is read. @return false: time is over
    bool awaitPoll(SECONDS limit);
    void behave(const RMC_BEHAVIOUR &behaviour);
    /// Rings the door bell and changes its behaviour behind the first message of what comes.
    /// @return false: no transfer began in time
    bool behaveWithin(const RMC_BEHAVIOUR &behaviour, SECONDS limit);
    void forget(); ///< documents and broken rules so far
    void cut();    ///< the line to the machine
    void mend();   ///< the machine finds it again within a second or so

    bool awaitInventories(std::size_t count, SECONDS limit); ///< that many in all
    bool awaitEvents(std::size_t count, SECONDS limit);
    std::vector<RMC_DOCUMENT> inventories();
    std::vector<RMC_DOCUMENT> events();
    std::vector<int> eventIds(); ///< in order of arrival
    /// What came, in order: "inventory", or an event's number.
    std::vector<std::string> order();
    std::vector<std::string> violations();

private:
    void collect(Rmc &from); // under the server's lock
    bool await(SECONDS limit, const std::function<bool()> &holds);

    Rmc rmc;
    BmcServer link{rmc};
    std::uint16_t number = 0;
    // Written and read under the server's lock.
    std::vector<RMC_DOCUMENT> receivedInventories, receivedEvents;
    std::vector<std::string> receivedOrder, brokenRules;
};

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "bmc/BmcWatchdog.h"
#include "bmc/BmcWire.h"
#include "rmc/Rmc.h"

/// What has gone over the wire.
struct BMC_STATISTICS {
    std::size_t connections = 0;
    std::size_t requests = 0; ///< in all: of the driver for the controller, and for the RMC
    std::size_t byDriver = 0; ///< answered by the controller itself
    std::size_t toRmc = 0;
    std::size_t givenUp = 0;          ///< requests whose answer the interface did not wait for
    std::size_t brokenRules = 0;      ///< of the wire
    std::size_t transferMessages = 0; ///< of those to the RMC
    /// When the first and the last transfer message came, monotonic clock; 0 without one.
    std::int64_t firstTransferNs = 0, lastTransferNs = 0;
};

/// A management controller as a system interface driver expects it: device id, global enables,
/// message flags, channels, watchdog timer. What the RMC knows goes to the RMC, whose delays are
/// kept in real time and whose withheld answers go out when it behaves again. Pure: bytes and times
/// in, bytes out. One thread.
///
/// An interface has one request under way. It answers for a controller that takes 4 seconds and
/// asks on, so a request that comes before the former one's answer shows that the former is lost
/// to its sender; so is an answer that goes out after that time. A transfer that loses an answer
/// is forgotten without a reproach.
class Bmc {
public:
    static constexpr std::int64_t INTERFACE_PATIENCE_NS = 4'000'000'000;
    /// Bits of the global enables after a reset: the event log alone.
    static constexpr std::uint8_t ENABLES_AT_RESET = 0x08;

    explicit Bmc(Rmc &rackController) : rmc(rackController) {} ///< the RMC outlives it

    /// Called for each request to the RMC, before its answer goes out.
    std::function<void(const BMC_REQUEST &, const RMC_REPLY &)> observer;

    void connect(); ///< a new stream begins; the former one's open transfer is forgotten
    /// @param nowNs  of the monotonic clock
    void take(std::span<const std::uint8_t> bytes, std::int64_t nowNs);
    /// Moves an answer that is due to the output, and what the watchdog does to the machine.
    void sendDue(std::int64_t nowNs);
    /// @return when sendDue() has something to do; empty where nothing waits for its time alone
    std::optional<std::int64_t> dueNs() const;
    std::vector<std::uint8_t> takeOutput(); ///< bytes for the machine since the last call

    std::uint8_t globalEnables() const { return enables; }
    const BMC_STATISTICS &statistics() const { return counts; }
    void resetStatistics() { counts = {}; }

private:
    struct PENDING {
        BMC_REQUEST request;
        RMC_ANSWER answer;
        std::int64_t askedNs = 0, dueNs = 0;
        bool withheld = false;
    };
    void takeControl(const BMC_CONTROL &control);
    void takeRequest(BMC_REQUEST request, std::int64_t nowNs);
    RMC_ANSWER answerDriver(const BMC_REQUEST &request, std::int64_t nowNs);
    void askRmc(BMC_REQUEST request, std::int64_t nowNs);
    void giveUp(const BMC_REQUEST &request);
    void machineWasReset();
    void runWatchdog(std::int64_t nowNs);
    void sendInterruptState();
    void send(const std::vector<std::uint8_t> &bytes);
    void violate(const std::string &text);

    Rmc &rmc;
    BmcWireReader reader;
    std::optional<PENDING> pending;
    std::uint8_t enables = ENABLES_AT_RESET;
    BmcWatchdog watchdog;
    std::vector<std::uint8_t> output;
    BMC_STATISTICS counts;
};

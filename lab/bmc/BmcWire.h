#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "rmc/RmcDecoder.h"

/// One request of the machine's interface to its controller.
struct BMC_REQUEST {
    std::uint8_t sequence = 0; ///< the answer carries it back
    std::uint8_t netfn = 0, lun = 0, cmd = 0;
    std::vector<std::uint8_t> data;
};

/// One word between the emulator and the controller, outside IPMI.
struct BMC_CONTROL {
    std::uint8_t code = 0;
    std::vector<std::uint8_t> data;
};

/// Cuts a byte stream into requests and controls. What breaks a rule of the wire is named, left
/// out, and survived: the next end byte begins anew. Pure: no clock, no descriptor. One thread.
class BmcWireReader {
public:
    /// Bytes of one message or control, checksum included, escapes and end byte not.
    static constexpr std::size_t MESSAGE_LIMIT = 300;
    /// Items kept for next(); what comes beyond is named and lost.
    static constexpr std::size_t ITEM_LIMIT = 4096;

    void take(std::span<const std::uint8_t> bytes);
    std::optional<std::variant<BMC_REQUEST, BMC_CONTROL>> next(); ///< in order of arrival
    void reset(); ///< another stream begins: forgets a half message, items and violations stay

    std::vector<std::string> takeViolations(); ///< since the last call; at most 1000 are kept
    std::size_t violationCount() const { return violationsInAll; }

private:
    void takeByte(std::uint8_t byte);
    void endFrame(bool isMessage);
    void spoil(const std::string &why); // the frame is left out; only its first fault is named
    void violate(const std::string &text);

    std::vector<std::uint8_t> frame;
    bool escaped = false, spoiled = false;
    std::deque<std::variant<BMC_REQUEST, BMC_CONTROL>> items;
    std::vector<std::string> violations;
    std::size_t violationsInAll = 0;
};

/// The answer to a request, ready for the wire.
std::vector<std::uint8_t> encode_bmc_answer(const BMC_REQUEST &request, const RMC_ANSWER &answer);
/// A control, ready for the wire.
std::vector<std::uint8_t> encode_bmc_control(std::uint8_t code,
                                             std::span<const std::uint8_t> data = {});

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// One answer as it goes back over the wire.
struct RMC_ANSWER {
    std::uint8_t completionCode = 0;
    std::vector<std::uint8_t> data; ///< behind the completion code
};

/// A command whose argument has arrived whole.
struct RMC_COMMAND {
    std::string name;     ///< "WriteInventory" or "MPEventGen"
    std::string argument; ///< without its terminating NUL
};

/// How an answer departs from the one that the message deserves. An empty field changes nothing.
struct RMC_FORCE {
    std::optional<std::uint8_t> transferStatus; ///< above 2 the transfer is refused with it
    std::optional<std::uint8_t> exitStatus;
    std::optional<std::uint8_t> completionCode; ///< not 0: the message is refused, nothing follows
    std::optional<std::uint16_t> handle;        ///< given in place of the transfer's own
    std::optional<std::size_t> shortTo;         ///< bytes that are left of the data
};

/// The RMC's end of the wire, strict: it knows every byte rule of a transfer, puts arguments back
/// together, and names each rule that a message breaks. Pure: bytes in, answer, commands and
/// violations out; no clock, no descriptor. One thread.
///
/// The sender keeps a 4-byte response buffer of its own through a transfer, into which a short
/// answer writes only its first bytes; the next message's handle is taken from there. The decoder
/// follows that buffer, so it knows which handle must come however an answer was bent.
class RmcDecoder {
public:
    static constexpr std::size_t MESSAGE_BYTES = 60, NAME_BYTES = 20, FIRST_BYTES = 33,
                                 NEXT_BYTES = 57, ANSWER_BYTES = 4;
    /// The longest argument taken, NUL included; a longer one is refused with status 8.
    static constexpr std::size_t ARGUMENT_LIMIT = 64u << 20;

    /// Whether it is a message of a transfer; every other one stands alone.
    static bool isTransfer(std::uint8_t netfn, std::uint8_t cmd) {
        return netfn == NETFN_OEM && cmd == CMD_TRANSFER;
    }
    /// Takes one message and gives its answer.
    RMC_ANSWER message(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data,
                       const RMC_FORCE &force = {});

    void ringDoorBell() { inventoryWanted = true; } ///< asked for with the next door-bell read
    void ringGenericDoorBell() { genericWanted = true; }
    bool isDoorBellRung() const { return inventoryWanted; }
    /// The sender is gone: what was open is forgotten without a reproach.
    void forgetTransfer();

    bool isTransferOpen() const { return open.has_value(); }
    std::size_t messagesOfTransfer() const { return messages; } ///< taken of the open or last one
    std::vector<RMC_COMMAND> takeCommands();   ///< what has arrived since the last call
    std::vector<std::string> takeViolations(); ///< likewise; at most 1000 are kept
    const std::string &lastMeaning() const { return meaning; } ///< the last message, for a reader

private:
    static constexpr std::uint8_t NETFN_OEM = 0x3A, CMD_TRANSFER = 0x80;

    struct TRANSFER {
        std::string name;
        std::size_t total = 0; // NUL included
        std::string text;      // what has come of it
        std::uint16_t handle = 0;
    };
    RMC_ANSWER transferMessage(std::span<const std::uint8_t> data, const RMC_FORCE &force);
    std::uint8_t takeFirst(std::span<const std::uint8_t> data);
    std::uint8_t takeNext(std::span<const std::uint8_t> data);
    std::uint8_t takeChunk(std::span<const std::uint8_t> area, const char *where);
    std::uint8_t refuse(std::uint8_t status, const std::string &violation);
    RMC_ANSWER plainAnswer(const char *what, std::span<const std::uint8_t> data,
                           std::vector<std::uint8_t> answer);
    void violate(const std::string &text);
    void remember(const RMC_ANSWER &answer);

    std::optional<TRANSFER> open;
    std::uint8_t sendersBuffer[ANSWER_BYTES] = {};
    std::uint16_t lastHandle = 0; // of the transfer opened last
    std::size_t messages = 0;
    bool excused = false; // the RMC itself broke the transfer off; its messages may still come
    bool inventoryWanted = false, genericWanted = false;
    std::vector<RMC_COMMAND> commands;
    std::vector<std::string> violations;
    std::string meaning;
};

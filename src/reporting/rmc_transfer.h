#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

constexpr std::uint8_t RMC_NETFN = 0x3A;
constexpr std::uint8_t RMC_CMD_TRANSFER = 0x80; ///< one message of a CLI command's transfer
constexpr std::uint8_t RMC_CMD_DOOR_BELL = 0x81;
constexpr std::uint8_t RMC_CMD_DOOR_BELL_2 = 0x82;

constexpr std::size_t RMC_MESSAGE_BYTES = 60, RMC_RESPONSE_BYTES = 4;
constexpr std::size_t RMC_NAME_AT = 3, RMC_NAME_BYTES = 20;
constexpr std::size_t RMC_LENGTH_AT = 23;
constexpr std::size_t RMC_FIRST_AT = 27, RMC_FIRST_BYTES = 33; ///< argument in the first message
constexpr std::size_t RMC_NEXT_AT = 3, RMC_NEXT_BYTES = 57;    ///< argument in the following ones

using RMC_MESSAGE = std::array<std::uint8_t, RMC_MESSAGE_BYTES>;

/// What the controller answers to each message, behind the completion code.
struct RMC_RESPONSE {
    std::uint8_t transferStatus = 0;
    std::uint16_t handle = 0;
    std::uint8_t exitStatus = 0;
};
RMC_RESPONSE decode_rmc_response(std::span<const std::uint8_t, RMC_RESPONSE_BYTES> bytes);

/// Cuts a CLI command with its text argument into messages. Pure: it reads the argument where it
/// lies, allocates nothing, and each message is complete in itself, zero where nothing is written.
///
///     orbRmcTransfer transfer(command, argument);
///     while (!transfer.done()) transfer.next(handle, message);
class orbRmcTransfer {
public:
    /// Both texts stay the caller's and must outlive the object. The argument is sent with a zero
    /// byte behind its last character, so there is always at least one message.
    /// @param command  its first 19 characters are sent
    orbRmcTransfer(std::string_view command, std::string_view argument);

    bool done() const { return remaining == 0; }
    /// Builds the next message; not to be called when done().
    /// @param handle  the one of the last response, 0 for the first message
    void next(std::uint16_t handle, RMC_MESSAGE &message);

private:
    void copyArgument(std::uint8_t *to, std::size_t count);

    std::string_view command;
    std::string_view argument;
    std::size_t remaining; // bytes still to be sent, the zero at the end included
    bool first = true;
};

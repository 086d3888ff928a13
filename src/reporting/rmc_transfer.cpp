#include "reporting/rmc_transfer.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "core/byte_order.h"

namespace {
struct MESSAGE_HEAD {
    le_field<2> handle;
    std::uint8_t nameSize; // of the name field; 0 in the messages that follow the first
    std::uint8_t name[RMC_NAME_BYTES];
    le_field<4> length; // of the whole argument with its zero
};
static_assert(offsetof(MESSAGE_HEAD, name) == RMC_NAME_AT);
static_assert(offsetof(MESSAGE_HEAD, length) == RMC_LENGTH_AT);
static_assert(sizeof(MESSAGE_HEAD) == RMC_FIRST_AT && alignof(MESSAGE_HEAD) == 1);
static_assert(RMC_FIRST_AT + RMC_FIRST_BYTES == RMC_MESSAGE_BYTES);
static_assert(RMC_NEXT_AT + RMC_NEXT_BYTES == RMC_MESSAGE_BYTES);
} // namespace

RMC_RESPONSE decode_rmc_response(std::span<const std::uint8_t, RMC_RESPONSE_BYTES> bytes) {
    const le_field<2> handle{{bytes[1], bytes[2]}};
    return {bytes[0], static_cast<std::uint16_t>(handle.value()), bytes[3]};
}

orbRmcTransfer::orbRmcTransfer(std::string_view commandName, std::string_view argumentText)
    : command(commandName.substr(0, RMC_NAME_BYTES - 1)), argument(argumentText),
      remaining(argumentText.size() + 1) {}

void orbRmcTransfer::next(std::uint16_t handle, RMC_MESSAGE &message) {
    assert(!done());
    MESSAGE_HEAD head{};
    head.handle.set(handle);
    if (first) {
        if (handle == 0) head.nameSize = RMC_NAME_BYTES;
        std::memcpy(head.name, command.data(), command.size());
        head.length.set(remaining);
    }
    message.fill(0);
    std::memcpy(message.data(), &head, sizeof head);

    // An argument that fits one message lies over the command name, and what the name and the
    // length have behind it stays; the controller is never sent so short a one.
    if (remaining <= RMC_NEXT_BYTES)
        copyArgument(message.data() + RMC_NEXT_AT, remaining);
    else if (first)
        copyArgument(message.data() + RMC_FIRST_AT, RMC_FIRST_BYTES);
    else
        copyArgument(message.data() + RMC_NEXT_AT, RMC_NEXT_BYTES);
    first = false;
}

void orbRmcTransfer::copyArgument(std::uint8_t *to, std::size_t count) {
    const std::size_t offset = argument.size() + 1 - remaining;
    const std::size_t text = std::min(count, argument.size() - offset);
    std::memcpy(to, argument.data() + offset, text);
    if (text < count) to[text] = 0;
    remaining -= count;
}

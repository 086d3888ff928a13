#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "rmc/RmcDecoder.h"

/// A row of messages of any bytes with forced answers in between. One message is a byte that says
/// what is forced, netfn, cmd, the length, and as many bytes. Whatever comes, an answer is no
/// longer than the wire allows, a finished argument holds no NUL, and an answer that refuses leaves
/// no transfer open.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    std::span<const std::uint8_t> input(bytes, size);
    RmcDecoder decoder;
    while (input.size() >= 4) {
        const std::uint8_t how = input[0], netfn = input[1], cmd = input[2];
        const std::size_t length = std::min<std::size_t>(input[3], input.size() - 4);
        const auto data = input.subspan(4, length);
        input = input.subspan(4 + length);

        RMC_FORCE force;
        if ((how & 1) != 0) force.transferStatus = static_cast<std::uint8_t>(how >> 4);
        if ((how & 2) != 0) force.completionCode = static_cast<std::uint8_t>(how >> 4);
        if ((how & 4) != 0) force.handle = static_cast<std::uint16_t>(how * 257);
        if ((how & 8) != 0) force.shortTo = how >> 4;
        if (how == 0xFF) decoder.forgetTransfer();
        if (how == 0xFE) decoder.ringDoorBell();

        const RMC_ANSWER answer = decoder.message(netfn, cmd, data, force);
        const bool isTransfer = netfn == 0x3A && cmd == 0x80;
        if (answer.data.size() > (isTransfer ? 4u : 254u)) std::abort();
        if (answer.completionCode != 0 && !answer.data.empty()) std::abort();
        if (isTransfer && !answer.data.empty() && answer.data[0] > 2 && decoder.isTransferOpen())
            std::abort();
        for (const RMC_COMMAND &command : decoder.takeCommands()) {
            if (command.name != "WriteInventory" && command.name != "MPEventGen") std::abort();
            if (command.argument.find('\0') != std::string::npos) std::abort();
            if (command.argument.size() < 57 ||
                command.argument.size() >= RmcDecoder::ARGUMENT_LIMIT)
                std::abort();
        }
        if (decoder.takeViolations().size() > 1000) std::abort();
    }
    return 0;
}

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <variant>
#include <vector>

#include "bmc/Bmc.h"

namespace {
using Bytes = std::vector<std::uint8_t>;
constexpr std::uint8_t END_OF_MESSAGE = 0xA0, END_OF_CONTROL = 0xA1, ESCAPE = 0xAA;
constexpr std::int64_t STEP_NS = 300'000'000;

void require(bool holds) {
    if (!holds) std::abort();
}

bool is_end(std::uint8_t byte) {
    return byte == END_OF_MESSAGE || byte == END_OF_CONTROL;
}

/// What a reader gives, as bytes that can be compared.
Bytes read_in_pieces(std::span<const std::uint8_t> stream, std::size_t pieceBytes) {
    BmcWireReader reader;
    Bytes all;
    std::size_t items = 0;
    for (std::size_t at = 0; at < stream.size(); at += pieceBytes) {
        reader.take(stream.subspan(at, std::min(pieceBytes, stream.size() - at)));
        while (const auto item = reader.next()) {
            ++items;
            const Bytes *data = nullptr;
            if (const auto *control = std::get_if<BMC_CONTROL>(&*item)) {
                all.insert(all.end(), {END_OF_CONTROL, control->code});
                data = &control->data;
            } else {
                const auto &request = std::get<BMC_REQUEST>(*item);
                require(request.netfn % 2 == 0 && request.lun < 4);
                all.insert(all.end(), {END_OF_MESSAGE, request.sequence, request.netfn, request.lun,
                                       request.cmd});
                data = &request.data;
            }
            require(data->size() < BmcWireReader::MESSAGE_LIMIT);
            all.insert(all.end(), data->begin(), data->end());
        }
    }
    // Each frame becomes an item or one reproach; the last may be without its end.
    const auto ends = std::count_if(stream.begin(), stream.end(), is_end);
    const std::size_t frames = items + reader.violationCount();
    require(frames == static_cast<std::size_t>(ends) ||
            frames == static_cast<std::size_t>(ends) + 1);
    all.push_back(static_cast<std::uint8_t>(reader.violationCount()));
    return all;
}

/// Checks that a controller's output is whole frames, and messages' sums are 0. @return messages
std::size_t messages_in(const Bytes &output) {
    std::size_t messages = 0;
    unsigned sum = 0;
    bool escaped = false;
    for (const std::uint8_t byte : output) {
        if (is_end(byte)) {
            require(!escaped && (byte == END_OF_CONTROL || (sum & 0xFF) == 0));
            if (byte == END_OF_MESSAGE) ++messages;
            sum = 0;
        } else if (byte == ESCAPE) {
            require(!escaped);
            escaped = true;
        } else {
            sum += escaped ? byte & ~0x10u : byte;
            escaped = false;
        }
    }
    require(output.empty() || is_end(output.back()));
    return messages;
}
} // namespace

/// Any bytes as a machine's stream, behind one byte that says how the RMC behaves. A stream gives
/// the same however it is cut, and a controller that takes it answers in whole frames, each request
/// at most once.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    if (size == 0) return 0;
    const std::uint8_t how = bytes[0];
    const std::span<const std::uint8_t> stream(bytes + 1, size - 1);
    const Bytes whole = read_in_pieces(stream, std::max<std::size_t>(stream.size(), 1));
    require(whole == read_in_pieces(stream, 1));
    require(whole == read_in_pieces(stream, 7));

    Rmc rmc;
    Bmc bmc(rmc);
    RMC_BEHAVIOUR behaviour;
    behaviour.silent = (how & 1) != 0;
    behaviour.delayMs = (how & 2) != 0 ? 500 : 0;
    behaviour.times = how >> 4;
    rmc.behave(behaviour);
    bmc.connect();
    std::int64_t nowNs = 1;
    std::size_t answers = 0;
    constexpr std::size_t PIECE = 64;
    for (std::size_t at = 0; at < stream.size(); at += PIECE) {
        bmc.take(stream.subspan(at, std::min(PIECE, stream.size() - at)), nowNs);
        nowNs += STEP_NS;
        bmc.sendDue(nowNs);
        answers += messages_in(bmc.takeOutput());
        if ((how & 4) != 0 && at == PIECE) bmc.connect();
    }
    rmc.behave({});
    bmc.sendDue(nowNs + STEP_NS * 10);
    answers += messages_in(bmc.takeOutput());
    const BMC_STATISTICS counts = bmc.statistics();
    require(answers <= counts.requests && counts.requests == counts.byDriver + counts.toRmc);
    return 0;
}

#include "bmc/BmcWire.h"

#include <numeric>
#include <utility>

#include "core/format_text.h"

namespace {
constexpr std::uint8_t END_OF_MESSAGE = 0xA0, END_OF_CONTROL = 0xA1, ESCAPE = 0xAA,
                       ESCAPED_BIT = 0x10;
constexpr std::uint8_t RESPONSE_BIT = 0x01; // of the network function
constexpr std::size_t HEAD_BYTES = 3, SHORTEST_MESSAGE = HEAD_BYTES + 1;
constexpr std::size_t VIOLATION_LIMIT = 1000;

bool is_special(std::uint8_t byte) {
    return byte == END_OF_MESSAGE || byte == END_OF_CONTROL || byte == ESCAPE;
}

std::uint8_t sum_of(std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0u));
}

std::vector<std::uint8_t> framed(std::span<const std::uint8_t> bytes, std::uint8_t end) {
    std::vector<std::uint8_t> sent;
    sent.reserve(bytes.size() + 8);
    for (const std::uint8_t byte : bytes) {
        if (is_special(byte)) sent.push_back(ESCAPE);
        sent.push_back(is_special(byte) ? static_cast<std::uint8_t>(byte | ESCAPED_BIT) : byte);
    }
    sent.push_back(end);
    return sent;
}
} // namespace

void BmcWireReader::take(std::span<const std::uint8_t> bytes) {
    for (const std::uint8_t byte : bytes) takeByte(byte);
}

void BmcWireReader::takeByte(std::uint8_t byte) {
    if (byte == END_OF_MESSAGE || byte == END_OF_CONTROL) {
        if (escaped) spoil("an escape before the end");
        if (!spoiled) endFrame(byte == END_OF_MESSAGE);
        reset();
        return;
    }
    if (byte == ESCAPE) {
        if (escaped) spoil("an escape behind an escape");
        escaped = true;
        return;
    }
    if (std::exchange(escaped, false)) {
        const auto plain = static_cast<std::uint8_t>(byte & ~ESCAPED_BIT);
        if (plain == byte || !is_special(plain))
            spoil(format_text("0x%02x behind an escape", unsigned{byte}));
        byte = plain;
    }
    if (frame.size() == MESSAGE_LIMIT) spoil(format_text("more than %zu bytes", MESSAGE_LIMIT));
    if (!spoiled) frame.push_back(byte);
}

void BmcWireReader::endFrame(bool isMessage) {
    if (items.size() == ITEM_LIMIT) return spoil("more than are taken");
    if (!isMessage) {
        if (frame.empty()) return spoil("a control without its code");
        items.push_back(BMC_CONTROL{frame[0], {frame.begin() + 1, frame.end()}});
        return;
    }
    if (frame.size() < SHORTEST_MESSAGE)
        return spoil(format_text("a message of %zu bytes, not 4 or more", frame.size()));
    if (sum_of(frame) != 0) return spoil("wrong checksum");
    const auto netfn = static_cast<std::uint8_t>(frame[1] >> 2);
    if ((netfn & RESPONSE_BIT) != 0)
        return spoil(
            format_text("a response, netfn 0x%02x, where a request belongs", unsigned{netfn}));
    items.push_back(BMC_REQUEST{frame[0],
                                netfn,
                                static_cast<std::uint8_t>(frame[1] & 3),
                                frame[2],
                                {frame.begin() + HEAD_BYTES, frame.end() - 1}});
}

std::optional<std::variant<BMC_REQUEST, BMC_CONTROL>> BmcWireReader::next() {
    if (items.empty()) return std::nullopt;
    std::optional<std::variant<BMC_REQUEST, BMC_CONTROL>> item;
    // Not moved as a whole: g++ 12 then warns of uninitialised bytes of the other alternative.
    std::visit([&](auto &each) { item.emplace(std::move(each)); }, items.front());
    items.pop_front();
    return item;
}

void BmcWireReader::reset() {
    frame.clear();
    escaped = spoiled = false;
}

void BmcWireReader::spoil(const std::string &why) {
    if (!std::exchange(spoiled, true)) violate("controller's wire: " + why);
}

void BmcWireReader::violate(const std::string &text) {
    ++violationsInAll;
    if (violations.size() < VIOLATION_LIMIT) violations.push_back(text);
}

std::vector<std::string> BmcWireReader::takeViolations() {
    return std::exchange(violations, {});
}

std::vector<std::uint8_t> encode_bmc_answer(const BMC_REQUEST &request, const RMC_ANSWER &answer) {
    const unsigned netfn = request.netfn | unsigned{RESPONSE_BIT};
    std::vector<std::uint8_t> bytes{request.sequence,
                                    static_cast<std::uint8_t>(netfn << 2 | request.lun),
                                    request.cmd, answer.completionCode};
    bytes.insert(bytes.end(), answer.data.begin(), answer.data.end());
    bytes.push_back(static_cast<std::uint8_t>(0x100 - sum_of(bytes)));
    return framed(bytes, END_OF_MESSAGE);
}

std::vector<std::uint8_t> encode_bmc_control(std::uint8_t code,
                                             std::span<const std::uint8_t> data) {
    std::vector<std::uint8_t> bytes{code};
    bytes.insert(bytes.end(), data.begin(), data.end());
    return framed(bytes, END_OF_CONTROL);
}

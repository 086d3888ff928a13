#include "rmc/RmcDecoder.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/byte_order.h"
#include "core/format_text.h"

namespace {
constexpr std::uint8_t CMD_DOOR_BELL = 0x81, CMD_GENERIC_DOOR_BELL = 0x82; // of NETFN_OEM
constexpr std::uint8_t NETFN_APP = 0x06, CMD_DEVICE_ID = 0x01, CMD_BT_CAPABILITIES = 0x36;
constexpr std::uint8_t NETFN_PARTITION = 0x34, CMD_PARTITION = 0x08;
constexpr std::uint8_t INVALID_COMMAND = 0xC1, WRONG_LENGTH = 0xC7;
constexpr std::uint8_t STATUS_INDEX = 3, STATUS_UNKNOWN_COMMAND = 5, STATUS_TOO_LONG = 8;
constexpr std::uint8_t LAST_BENIGN_STATUS = 2;
constexpr std::uint8_t FIRST_MARK = 0x14;
constexpr std::size_t VIOLATION_LIMIT = 1000;

struct FIRST_MESSAGE {
    le_field<2> handle;
    std::uint8_t mark;
    char name[RmcDecoder::NAME_BYTES];
    le_field<4> total;
    std::uint8_t argument[RmcDecoder::FIRST_BYTES];
};
static_assert(sizeof(FIRST_MESSAGE) == RmcDecoder::MESSAGE_BYTES);

struct NEXT_MESSAGE {
    le_field<2> handle;
    std::uint8_t mark;
    std::uint8_t argument[RmcDecoder::NEXT_BYTES];
};
static_assert(sizeof(NEXT_MESSAGE) == RmcDecoder::MESSAGE_BYTES);

bool all_zero(std::span<const std::uint8_t> bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

/// Bytes from outside as text that can be shown.
std::string shown(std::span<const char> bytes) {
    std::string text;
    for (const char c : bytes) {
        if (c == '\0') break;
        text += c >= 0x20 && c < 0x7F ? c : '.';
    }
    return text;
}
} // namespace

RMC_ANSWER RmcDecoder::message(std::uint8_t netfn, std::uint8_t cmd,
                               std::span<const std::uint8_t> data, const RMC_FORCE &force) {
    RMC_ANSWER answer;
    if (isTransfer(netfn, cmd)) return transferMessage(data, force);
    if (netfn == NETFN_OEM && cmd == CMD_DOOR_BELL) {
        static constexpr char WANTED[] = "WriteInventory";
        std::vector<std::uint8_t> text{0};
        if (inventoryWanted) text.assign(WANTED, WANTED + sizeof WANTED);
        answer = plainAnswer(inventoryWanted ? "door bell: inventory wanted" : "door bell: nothing",
                             data, std::move(text));
        // A read that fails leaves the wish standing.
        if (answer.completionCode == 0 && force.completionCode.value_or(0) == 0)
            inventoryWanted = false;
    } else if (netfn == NETFN_OEM && cmd == CMD_GENERIC_DOOR_BELL) {
        const std::uint8_t first = genericWanted ? 1 : 0;
        answer = plainAnswer("generic door bell", data, {first});
        genericWanted = false;
    } else if (netfn == NETFN_APP && cmd == CMD_DEVICE_ID) {
        answer = plainAnswer("device id", data,
                             {0x20, 0x01, 0x01, 0x00, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    } else if (netfn == NETFN_APP && cmd == CMD_BT_CAPABILITIES) {
        answer = plainAnswer("BT interface capabilities", data, {1, 63, 63, 5, 3});
    } else if (netfn == NETFN_PARTITION && cmd == CMD_PARTITION) {
        answer = plainAnswer("partition", data, {1, 0, 0, 0, 0, 0, 0, 0});
    } else {
        meaning = format_text("unknown: netfn 0x%02x, cmd 0x%02x", unsigned{netfn}, unsigned{cmd});
        violate(meaning);
        answer.completionCode = INVALID_COMMAND;
    }
    if (force.completionCode.value_or(0) != 0) answer = {*force.completionCode, {}};
    if (force.shortTo && answer.data.size() > *force.shortTo) answer.data.resize(*force.shortTo);
    return answer;
}

RMC_ANSWER RmcDecoder::plainAnswer(const char *what, std::span<const std::uint8_t> data,
                                   std::vector<std::uint8_t> answer) {
    meaning = what;
    if (data.empty()) return {0, std::move(answer)};
    violate(format_text("%s: %zu request bytes where none belong", what, data.size()));
    return {WRONG_LENGTH, {}};
}

RMC_ANSWER RmcDecoder::transferMessage(std::span<const std::uint8_t> data, const RMC_FORCE &force) {
    if (data.size() != MESSAGE_BYTES) {
        meaning = format_text("transfer of %zu bytes", data.size());
        violate(format_text("transfer: a message of %zu bytes, not 60", data.size()));
        return {WRONG_LENGTH, {}};
    }
    // Only a transfer's first message carries the mark; the handle can be 0 throughout.
    const bool isFirst = data[2] != 0;
    if (isFirst) {
        if (open)
            violate(format_text("transfer: a new one begins with %zu of %zu bytes of %s open",
                                open->total - open->text.size(), open->total, open->name.c_str()));
        open.reset();
        excused = false;
        messages = 0;
        std::memset(sendersBuffer, 0, sizeof sendersBuffer);
    }
    ++messages;

    RMC_ANSWER answer;
    if (force.completionCode.value_or(0) != 0) {
        meaning = "transfer message, refused by completion code";
        open.reset();
        excused = true;
        answer.completionCode = *force.completionCode;
        remember(answer);
        return answer;
    }
    std::uint8_t status = 0;
    if (force.transferStatus.value_or(0) > LAST_BENIGN_STATUS) {
        meaning = "transfer message, refused by transfer status";
        open.reset();
        excused = true;
        status = *force.transferStatus;
    } else {
        status = isFirst ? takeFirst(data) : takeNext(data);
        if (status == 0) status = force.transferStatus.value_or(0);
    }
    const std::uint16_t handle = force.handle.value_or(lastHandle);
    answer.data = {status, static_cast<std::uint8_t>(handle),
                   static_cast<std::uint8_t>(handle >> 8), force.exitStatus.value_or(0)};
    if (force.shortTo && answer.data.size() > *force.shortTo) answer.data.resize(*force.shortTo);
    remember(answer);
    return answer;
}

std::uint8_t RmcDecoder::takeFirst(std::span<const std::uint8_t> data) {
    FIRST_MESSAGE first{};
    read_record(data, 0, first);
    const std::string name = shown(first.name);
    const std::uint64_t total = first.total.value();
    meaning = format_text("%s: first 33 of %llu bytes", name.c_str(),
                          static_cast<unsigned long long>(total));

    if (first.mark != FIRST_MARK)
        return refuse(STATUS_INDEX, format_text("first message: name field size 0x%02x, not 0x14",
                                                unsigned{first.mark}));
    if (first.handle.value() != 0)
        return refuse(STATUS_INDEX, format_text("first message: handle 0x%04x, not 0",
                                                static_cast<unsigned>(first.handle.value())));
    const auto *end = static_cast<const char *>(std::memchr(first.name, '\0', NAME_BYTES));
    if (end == nullptr) return refuse(STATUS_UNKNOWN_COMMAND, "first message: name without NUL");
    if (name != "WriteInventory" && name != "MPEventGen")
        return refuse(STATUS_UNKNOWN_COMMAND,
                      format_text("first message: unknown command \"%s\"", name.c_str()));
    if (std::any_of(end, static_cast<const char *>(first.name) + NAME_BYTES,
                    [](char c) { return c != '\0'; }))
        violate("first message: name field not zero behind the name");
    if (total <= NEXT_BYTES)
        return refuse(
            STATUS_INDEX,
            format_text("first message: length %llu, but up to 57 bytes come in a message "
                        "without a name",
                        static_cast<unsigned long long>(total)));
    if (total > ARGUMENT_LIMIT) {
        excused = true;
        open.reset();
        return STATUS_TOO_LONG;
    }
    lastHandle =
        lastHandle == 0xFFFF ? std::uint16_t{1} : static_cast<std::uint16_t>(lastHandle + 1);
    open = TRANSFER{name, static_cast<std::size_t>(total), {}, lastHandle};
    return takeChunk(first.argument, "first message");
}

std::uint8_t RmcDecoder::takeNext(std::span<const std::uint8_t> data) {
    NEXT_MESSAGE next{};
    read_record(data, 0, next);
    if (!open) {
        meaning = "a following message of no open transfer";
        if (excused) return STATUS_INDEX;
        return refuse(STATUS_INDEX, "following message: no transfer is open");
    }
    const auto wanted = static_cast<unsigned>(sendersBuffer[1] | sendersBuffer[2] << 8);
    const auto came = static_cast<unsigned>(next.handle.value());
    meaning = format_text("%s: bytes from %zu of %zu", open->name.c_str(), open->text.size(),
                          open->total);
    if (came != wanted)
        return refuse(STATUS_INDEX,
                      format_text("following message: handle 0x%04x, not 0x%04x", came, wanted));
    return takeChunk(next.argument, "following message");
}

std::uint8_t RmcDecoder::takeChunk(std::span<const std::uint8_t> area, const char *where) {
    const std::size_t left = open->total - open->text.size();
    const auto used = area.first(std::min(left, area.size()));
    open->text.append(reinterpret_cast<const char *>(used.data()), used.size());
    if (!all_zero(area.subspan(used.size())))
        violate(format_text("%s: not zero behind the argument's end", where));
    const bool isLast = used.size() == left;
    const auto text = isLast ? used.first(used.size() - 1) : used;
    if (std::find(text.begin(), text.end(), 0) != text.end())
        return refuse(STATUS_INDEX, format_text("%s: NUL within the argument", where));
    if (!isLast) return 0;
    if (used.back() != 0)
        return refuse(STATUS_INDEX, format_text("%s: argument without NUL at its end", where));
    meaning += ", complete";
    open->text.pop_back();
    commands.push_back({std::move(open->name), std::move(open->text)});
    open.reset();
    return 0;
}

std::uint8_t RmcDecoder::refuse(std::uint8_t status, const std::string &violation) {
    violate(violation);
    open.reset();
    // The sender may have more of the refused transfer on its way; one reproach is enough.
    excused = true;
    return status;
}

void RmcDecoder::remember(const RMC_ANSWER &answer) {
    // The sender asks for 4 bytes and takes as many as were received with the completion code
    // counted, so one byte behind a short answer's end reads 0.
    const std::size_t count = std::min(ANSWER_BYTES, answer.data.size() + 1);
    for (std::size_t i = 0; i < count; ++i)
        sendersBuffer[i] = i < answer.data.size() ? answer.data[i] : std::uint8_t{0};
    if (sendersBuffer[0] > LAST_BENIGN_STATUS) {
        open.reset();
        excused = true;
    }
}

void RmcDecoder::violate(const std::string &text) {
    if (violations.size() < VIOLATION_LIMIT) violations.push_back(text);
}

void RmcDecoder::forgetTransfer() {
    open.reset();
    excused = true;
}

std::vector<RMC_COMMAND> RmcDecoder::takeCommands() {
    return std::exchange(commands, {});
}

std::vector<std::string> RmcDecoder::takeViolations() {
    return std::exchange(violations, {});
}

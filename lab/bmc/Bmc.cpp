#include "bmc/Bmc.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/format_text.h"

namespace {
// Controls of the emulator, and those for it.
constexpr std::uint8_t CONTROL_VERSION = 0xFF, CONTROL_CAPABILITIES = 0x08, CONTROL_RESET = 0x04;
constexpr std::uint8_t CONTROL_INTERRUPTS_ON = 0x05, CONTROL_INTERRUPTS_OFF = 0x06,
                       CONTROL_POWER_OFF = 0x03;
constexpr std::uint8_t WIRE_VERSION = 1;

// Network functions and commands, IPMI 2.0 appendix G.
constexpr std::uint8_t NETFN_APP = 0x06, NETFN_OEM = 0x3A, NETFN_PARTITION = 0x34;
constexpr std::uint8_t CMD_DEVICE_ID = 0x01, CMD_DEVICE_GUID = 0x08, CMD_RESTART_WATCHDOG = 0x22,
                       CMD_SET_WATCHDOG = 0x24, CMD_GET_WATCHDOG = 0x25, CMD_SET_ENABLES = 0x2E,
                       CMD_GET_ENABLES = 0x2F, CMD_CLEAR_FLAGS = 0x30, CMD_GET_FLAGS = 0x31,
                       CMD_GET_MESSAGE = 0x33, CMD_READ_EVENT = 0x35, CMD_BT_CAPABILITIES = 0x36,
                       CMD_SYSTEM_GUID = 0x37, CMD_CHANNEL_INFO = 0x42;

constexpr std::uint8_t NOTHING_THERE = 0x80, INVALID_COMMAND = 0xC1, INVALID_FOR_LUN = 0xC2,
                       WRONG_LENGTH = 0xC7, INVALID_FIELD = 0xCC;
constexpr std::uint8_t RECEIVE_INTERRUPT = 0x01; // of the global enables
constexpr std::uint8_t SYSTEM_CHANNEL = 0x0F, PRESENT_CHANNEL = 0x0E;

struct DRIVER_COMMAND {
    std::uint8_t cmd;
    std::size_t requestBytes;
};
constexpr DRIVER_COMMAND DRIVER_COMMANDS[] = {
    {CMD_SET_ENABLES, 1},  {CMD_GET_ENABLES, 0},      {CMD_CLEAR_FLAGS, 1},  {CMD_GET_FLAGS, 0},
    {CMD_GET_MESSAGE, 0},  {CMD_READ_EVENT, 0},       {CMD_DEVICE_GUID, 0},  {CMD_SYSTEM_GUID, 0},
    {CMD_CHANNEL_INFO, 1}, {CMD_RESTART_WATCHDOG, 0}, {CMD_SET_WATCHDOG, 6}, {CMD_GET_WATCHDOG, 0},
};

bool is_for_rmc(const BMC_REQUEST &request) {
    return request.netfn == NETFN_OEM || request.netfn == NETFN_PARTITION ||
           (request.netfn == NETFN_APP &&
            (request.cmd == CMD_DEVICE_ID || request.cmd == CMD_BT_CAPABILITIES));
}

bool is_transfer(const BMC_REQUEST &request) {
    return RmcDecoder::isTransfer(request.netfn, request.cmd);
}

/// The system interface is the only channel: medium 0x0C, protocol KCS, no sessions, defined by the
/// IPMI forum (0x001BF2), interrupts not told.
RMC_ANSWER channel_info(std::uint8_t wanted) {
    const unsigned channel = wanted & 0x0Fu;
    if (channel != SYSTEM_CHANNEL && channel != PRESENT_CHANNEL) return {INVALID_FIELD, {}};
    return {0, {SYSTEM_CHANNEL, 0x0C, 0x05, 0x00, 0xF2, 0x1B, 0x00, 0xFF, 0xFF}};
}

/// A UUID of version 4, least significant byte first.
RMC_ANSWER guid() {
    return {0,
            {0x4F, 0x52, 0x42, 0x4C, 0x41, 0x42, 0x42, 0x83, 0x10, 0x40, 0x00, 0x01, 0x00, 0x00,
             0x00, 0x01}};
}
} // namespace

void Bmc::connect() {
    ++counts.connections;
    reader.reset();
    output.clear();
    if (pending) giveUp(pending->request);
    pending.reset();
    rmc.wire().forgetTransfer();
    // It may be the same machine, whose driver counts on interrupts, or another one, which must not
    // be reset for the former's sake.
    watchdog.stop();
    if ((enables & RECEIVE_INTERRUPT) != 0) sendInterruptState();
}

void Bmc::take(std::span<const std::uint8_t> bytes, std::int64_t nowNs) {
    reader.take(bytes);
    for (const std::string &text : reader.takeViolations()) violate(text);
    while (auto item = reader.next()) {
        if (const auto *control = std::get_if<BMC_CONTROL>(&*item)) {
            takeControl(*control);
        } else {
            takeRequest(std::get<BMC_REQUEST>(std::move(*item)), nowNs);
        }
    }
}

void Bmc::takeControl(const BMC_CONTROL &control) {
    switch (control.code) {
    case CONTROL_VERSION:
        if (control.data != std::vector<std::uint8_t>{WIRE_VERSION})
            violate("controller's wire: a version other than 1");
        return;
    case CONTROL_CAPABILITIES:
        return;
    case CONTROL_RESET:
        return machineWasReset();
    default:
        violate(format_text("controller's wire: unknown control 0x%02x", unsigned{control.code}));
    }
}

void Bmc::machineWasReset() {
    if (pending) giveUp(pending->request);
    pending.reset();
    rmc.wire().forgetTransfer();
    enables = ENABLES_AT_RESET;
    watchdog.stop();
    sendInterruptState();
}

void Bmc::takeRequest(BMC_REQUEST request, std::int64_t nowNs) {
    ++counts.requests;
    if (pending) giveUp(pending->request);
    pending.reset();
    const bool forRmc = is_for_rmc(request);
    if (forRmc && request.lun == 0) return askRmc(std::move(request), nowNs);
    if (forRmc) violate(format_text("address: lun %u", unsigned{request.lun}));
    ++counts.byDriver;
    const RMC_ANSWER answer =
        request.lun == 0 ? answerDriver(request, nowNs) : RMC_ANSWER{INVALID_FOR_LUN, {}};
    send(encode_bmc_answer(request, answer));
}

RMC_ANSWER Bmc::answerDriver(const BMC_REQUEST &request, std::int64_t nowNs) {
    const auto *known =
        std::find_if(std::begin(DRIVER_COMMANDS), std::end(DRIVER_COMMANDS),
                     [&](const DRIVER_COMMAND &each) { return each.cmd == request.cmd; });
    if (request.netfn != NETFN_APP || known == std::end(DRIVER_COMMANDS))
        return {INVALID_COMMAND, {}};
    if (request.data.size() != known->requestBytes) return {WRONG_LENGTH, {}};
    switch (request.cmd) {
    case CMD_SET_ENABLES:
        enables = request.data[0];
        sendInterruptState(); // before the answer, which then comes by interrupt already
        return {};
    case CMD_GET_ENABLES:
        return {0, {enables}};
    case CMD_GET_FLAGS:
        return {0, {0}};
    case CMD_GET_MESSAGE:
    case CMD_READ_EVENT:
        return {NOTHING_THERE, {}};
    case CMD_DEVICE_GUID:
    case CMD_SYSTEM_GUID:
        return guid();
    case CMD_CHANNEL_INFO:
        return channel_info(request.data[0]);
    case CMD_RESTART_WATCHDOG:
        return watchdog.restart(nowNs);
    case CMD_SET_WATCHDOG:
        return watchdog.set(request.data, nowNs);
    case CMD_GET_WATCHDOG:
        return watchdog.get(nowNs);
    default: // the flags, of which none is ever set, are cleared
        return {};
    }
}

void Bmc::askRmc(BMC_REQUEST request, std::int64_t nowNs) {
    ++counts.toRmc;
    if (is_transfer(request)) {
        ++counts.transferMessages;
        if (counts.firstTransferNs == 0) counts.firstTransferNs = nowNs;
        counts.lastTransferNs = nowNs;
    }
    const RMC_REPLY reply = rmc.message(request.netfn, request.cmd, request.data);
    if (observer) observer(request, reply);
    pending = {std::move(request), reply.answer, nowNs, nowNs + reply.delayMs * 1'000'000,
               reply.withheld};
    sendDue(nowNs);
}

void Bmc::sendDue(std::int64_t nowNs) {
    runWatchdog(nowNs);
    if (!pending) return;
    if (pending->withheld && !rmc.currentBehaviour().silent) pending->withheld = false;
    if (pending->withheld || pending->dueNs > nowNs) return;
    if (nowNs - pending->askedNs >= INTERFACE_PATIENCE_NS) giveUp(pending->request);
    send(encode_bmc_answer(pending->request, pending->answer));
    pending.reset();
}

void Bmc::runWatchdog(std::int64_t nowNs) {
    switch (watchdog.expire(nowNs)) {
    case BmcWatchdog::Action::NOTHING:
        return;
    case BmcWatchdog::Action::POWER_DOWN:
        return send(encode_bmc_control(CONTROL_POWER_OFF));
    case BmcWatchdog::Action::RESET:
    case BmcWatchdog::Action::POWER_CYCLE: // the wire has no other word for it
        machineWasReset();
        return send(encode_bmc_control(CONTROL_RESET));
    }
}

std::optional<std::int64_t> Bmc::dueNs() const {
    std::optional<std::int64_t> due = watchdog.dueNs();
    if (pending && !pending->withheld) due = std::min(due.value_or(pending->dueNs), pending->dueNs);
    return due;
}

void Bmc::giveUp(const BMC_REQUEST &request) {
    ++counts.givenUp;
    if (is_transfer(request)) rmc.wire().forgetTransfer();
}

void Bmc::sendInterruptState() {
    const bool on = (enables & RECEIVE_INTERRUPT) != 0;
    send(encode_bmc_control(on ? CONTROL_INTERRUPTS_ON : CONTROL_INTERRUPTS_OFF));
}

void Bmc::send(const std::vector<std::uint8_t> &bytes) {
    output.insert(output.end(), bytes.begin(), bytes.end());
}

std::vector<std::uint8_t> Bmc::takeOutput() {
    return std::exchange(output, {});
}

void Bmc::violate(const std::string &text) {
    ++counts.brokenRules;
    rmc.violate(text);
}

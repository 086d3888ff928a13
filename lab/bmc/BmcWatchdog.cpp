#include "bmc/BmcWatchdog.h"

#include <algorithm>

#include "core/byte_order.h"

namespace {
constexpr std::int64_t STEP_NS = 100'000'000;
constexpr std::uint8_t NEVER_SET = 0x80, INVALID_FIELD = 0xCC;
constexpr std::uint8_t KEEP_RUNNING = 0x40, DO_NOT_LOG = 0x80, USE = 0x07;
constexpr std::uint8_t INTERRUPT = 0x70, ACTION = 0x07;
constexpr std::uint8_t FIRST_USE = 1, LAST_USE = 5, LAST_ACTION = 3;

struct SET_REQUEST {
    std::uint8_t use, actions, pretimeoutSeconds, expiredToClear;
    le_field<2> countdown;
};
static_assert(sizeof(SET_REQUEST) == 6);
} // namespace

RMC_ANSWER BmcWatchdog::set(std::span<const std::uint8_t> request, std::int64_t nowNs) {
    SET_REQUEST wanted{};
    const std::uint8_t invalid = INVALID_FIELD;
    if (!read_record(request, 0, wanted)) return {invalid, {}};
    const unsigned wantedUse = wanted.use & unsigned{USE};
    if (wantedUse < FIRST_USE || wantedUse > LAST_USE || (wanted.actions & INTERRUPT) != 0 ||
        (wanted.actions & ACTION) > LAST_ACTION)
        return {invalid, {}};
    use = wanted.use & (DO_NOT_LOG | USE);
    actions = wanted.actions & ACTION;
    pretimeoutSeconds = wanted.pretimeoutSeconds;
    expired = static_cast<std::uint8_t>(expired & ~wanted.expiredToClear);
    countdown = static_cast<std::uint16_t>(wanted.countdown.value());
    isSet = true;
    const bool goesOn = deadlineNs && (wanted.use & KEEP_RUNNING) != 0;
    deadlineNs.reset();
    if (goesOn) deadlineNs = nowNs + countdown * STEP_NS;
    return {};
}

RMC_ANSWER BmcWatchdog::restart(std::int64_t nowNs) {
    if (!isSet) return {NEVER_SET, {}};
    deadlineNs = nowNs + countdown * STEP_NS;
    return {};
}

RMC_ANSWER BmcWatchdog::get(std::int64_t nowNs) const {
    const std::int64_t left =
        deadlineNs ? (std::max<std::int64_t>(*deadlineNs - nowNs, 0) + STEP_NS - 1) / STEP_NS
                   : countdown;
    const auto running = static_cast<std::uint8_t>(deadlineNs ? KEEP_RUNNING : 0);
    return {0,
            {static_cast<std::uint8_t>(use | running), actions, pretimeoutSeconds, expired,
             static_cast<std::uint8_t>(countdown), static_cast<std::uint8_t>(countdown >> 8),
             static_cast<std::uint8_t>(left), static_cast<std::uint8_t>(left >> 8)}};
}

BmcWatchdog::Action BmcWatchdog::expire(std::int64_t nowNs) {
    if (!deadlineNs || *deadlineNs > nowNs) return Action::NOTHING;
    deadlineNs.reset();
    expired = static_cast<std::uint8_t>(expired | 1u << (use & USE));
    return static_cast<Action>(actions);
}

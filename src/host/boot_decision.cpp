#include "host/boot_decision.h"

ORB_BOOT_CASE decide_boot_case(std::int64_t boot, std::int64_t lastStart, std::int64_t lastStop) {
    if (lastStart == 0) return ORB_BOOT_CASE::FIRST_RUN;
    if (lastStart < lastStop)
        return boot > lastStop ? ORB_BOOT_CASE::GRACEFUL_SHUTDOWN : ORB_BOOT_CASE::RESTARTED;
    if (lastStart == lastStop) return ORB_BOOT_CASE::NOTHING_TO_TELL;
    return boot > lastStart ? ORB_BOOT_CASE::UNGRACEFUL_SHUTDOWN : ORB_BOOT_CASE::CRASHED;
}

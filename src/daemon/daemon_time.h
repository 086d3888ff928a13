#pragma once

#include <cstdint>

/// The entry program's own time: the minutes between two looks at the log files and the limit on a
/// stop. It is steady, so that setting the host's clock neither starves nor triggers either.

std::int64_t daemon_time_ms(); ///< steady milliseconds since some moment

/// How long the process has to wait, in real milliseconds, for some milliseconds of daemon time to
/// pass; at least 1.
std::int64_t daemon_wait_ms(std::int64_t durationMs);

/// Makes daemon time run faster than real time. For the lab, before the daemon starts.
/// @param speed  1 is real time; larger is faster
void set_daemon_speed(double speed);

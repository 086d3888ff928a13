#pragma once

#include <cstdint>

/// What wakes the main thread.
enum ORB_WAKE {
    ORB_WAKE_STOP,    ///< SIGTERM or SIGINT
    ORB_WAKE_HANGUP,  ///< SIGHUP
    ORB_WAKE_TIMEOUT, ///< none came in time
};

/// Blocks every signal but those that a fault of the program itself raises, and ignores SIGPIPE.
/// Call before the first thread, which then inherits it, as commands do.
void block_signals();

/// Waits for one of the signals above. Only one thread may wait.
/// @param realMs  real milliseconds; 0 takes what has come already
ORB_WAKE wait_for_signal(std::int64_t realMs);

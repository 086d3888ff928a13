#pragma once

/// How the program ends. 245 and 246 come from the logger, when its directories can't be made.
enum ORB_EXIT_STATUS : int {
    ORB_EXIT_DONE = 0,
    ORB_EXIT_FAILED = 1, ///< the start failed, or a stop ran out of time
    ORB_EXIT_USAGE = 2,
    ORB_EXIT_NOT_AS_WRITTEN = 3, ///< --check-config: a value isn't used as it was written
};

#include "reporting/orbStopPipe.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

#include "core/Logger.h"
#include "core/orbUtils.h"

namespace {
constexpr int WAKE_TRIES = 3;
constexpr char WAKE_BYTE = 'S';
} // namespace

bool orbStopPipe::open() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return false;
    fds[0] = ends[0];
    fds[1] = ends[1];
    return true;
}

void orbStopPipe::close() {
    const std::lock_guard<std::mutex> lock(writing);
    for (std::atomic<int> &fd : fds)
        if (const int end = fd.exchange(-1); end >= 0) (void)::close(end); // nothing left in it
}

bool orbStopPipe::wake() {
    const std::lock_guard<std::mutex> lock(writing);
    const int fd = writeEnd();
    if (fd < 0) {
        ORB_LOG_ERROR(ORB_SERVER, "Invalid file descriptor");
        return false;
    }
    for (int attempt = 0; attempt < WAKE_TRIES; ++attempt) {
        const auto written = ::write(fd, &WAKE_BYTE, sizeof WAKE_BYTE);
        if (written == sizeof WAKE_BYTE) return true;
        const int error = errno;
        ORB_LOG_ERROR(ORB_SERVER, format_text("Unable to write to pipe fd, result: %d, Error: %s",
                                              static_cast<int>(written),
                                              orbUtils::getErrorDescription(error).c_str()));
    }
    ORB_LOG_ERROR(ORB_SERVER, "Unable to write to pipe fd");
    return false;
}

void orbStopPipe::waitForWake() {
    while (true) {
        pollfd wanted{readEnd(), POLLIN, 0};
        const int ready = ::poll(&wanted, 1, -1);
        ORB_LOG_DEBUG(ORB_SERVER, format_text("value of n = %d", ready));
        if (ready > 0) return;
        ORB_LOG_DEBUG(ORB_SERVER, "select returned -1.");
        std::this_thread::yield();
    }
}

#pragma once

#include <atomic>
#include <mutex>

/// The anonymous pipe whose one byte ends the control server's thread: its only way out of a wait
/// without a time limit.
///
/// Threads: one thread opens and wakes, another waits and closes, in this order.
class orbStopPipe {
public:
    bool open();  ///< false where no pipe can be had; both ends are then -1
    void close(); ///< both ends

    /// Writes the byte, in up to three tries; logs what goes wrong.
    /// @return false where there is no pipe or no try succeeded
    bool wake();
    /// Returns when there is a byte to be read.
    void waitForWake();

    int readEnd() const { return fds[0]; } ///< -1 while there is no pipe
    int writeEnd() const { return fds[1]; }

private:
    std::mutex writing; // leaf but for the log: keeps the ends open while the byte is written
    std::atomic<int> fds[2] = {-1, -1}; // read end first
};

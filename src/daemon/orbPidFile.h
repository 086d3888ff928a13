#pragma once

#include <string>

/// "/run/orbd.pid": holds the daemon's process id and, by its lock, tells that the daemon runs. The
/// lock goes with the process, however it ends, and passes to a forked child; the file is removed
/// by release().
class orbPidFile {
public:
    orbPidFile() = default;
    ~orbPidFile() { release(); }
    orbPidFile(const orbPidFile &) = delete;
    orbPidFile &operator=(const orbPidFile &) = delete;

    /// Makes and locks the file and writes this process's id.
    /// @param why  takes the reason of a failure, with the id of the daemon that runs already
    /// @return false where it can't be had
    bool take(std::string &why);
    bool write();   ///< writes the id again, after a fork. @return false on failure
    void disown();  ///< leaves lock and file to the child that inherited them
    void release(); ///< removes the file and gives the lock up, where this object still has them

    const std::string &getPath() const { return path; } ///< where it is, known from take() on

private:
    std::string path; // mapped
    int fd = -1;
};

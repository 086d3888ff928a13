#pragma once

#include <functional>
#include <initializer_list>
#include <mutex>
#include <string>
#include <vector>

#include "hostaccess/orbHostDevices.h"

/// Answers ioctls from a list, in order. A call out of turn fails the test where it happens, steps
/// that never came fail it at the end. open() and datagramSocket() give descriptors from 1000 on,
/// or a failure that was announced; waitReadable() says readable at once unless told otherwise. Any
/// thread; calls of several threads have to be put in order by who makes them.
class ScriptedHostDevices final : public IorbHostDevices {
public:
    struct Step {
        unsigned long request; ///< the request code that must come now
        ORB_SYSCALL_RESULT result;
        /// Checks the request, writes the reply; on the thread that asks and with no lock held.
        std::function<void(void *arg)> answer = {};
    };

    ScriptedHostDevices(std::initializer_list<Step> list);
    ~ScriptedHostDevices() override;
    ScriptedHostDevices(const ScriptedHostDevices &) = delete;
    ScriptedHostDevices &operator=(const ScriptedHostDevices &) = delete;

    void add(Step step);
    void failOpen(int times, int errorNumber);     ///< the next `times` opens of either kind fail
    void setWaitResult(ORB_SYSCALL_RESULT result); ///< of every waitReadable() from now on
    std::vector<std::string>
    opened() const;        ///< what was opened or tried, in order; "datagram socket" for one
    int stillOpen() const; ///< descriptors opened and not closed
    std::size_t stepsLeft() const;

    ORB_SYSCALL_RESULT open(const char *path, int flags) override;
    ORB_SYSCALL_RESULT datagramSocket() override;
    ORB_SYSCALL_RESULT close(int fd) override;
    ORB_SYSCALL_RESULT ioctl(int fd, unsigned long request, void *arg) override;
    ORB_SYSCALL_RESULT waitReadable(int fd) override;

private:
    mutable std::mutex mutex; // guards all below
    std::vector<Step> steps;
    std::size_t next = 0;
    int failures = 0;
    int failureError = 0;
    ORB_SYSCALL_RESULT waitResult{1, 0};
    std::vector<std::string> paths;
    std::vector<int> descriptors; // open ones
    int lastDescriptor = 999;
    IorbHostDevices *outer;
};

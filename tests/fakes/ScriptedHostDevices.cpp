#include "fakes/ScriptedHostDevices.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <gtest/gtest.h>

ScriptedHostDevices::ScriptedHostDevices(std::initializer_list<Step> list)
    : steps(list), outer(replace(this)) {}

ScriptedHostDevices::~ScriptedHostDevices() {
    replace(outer);
    EXPECT_EQ(next, steps.size()) << "ioctls that never came";
}

void ScriptedHostDevices::add(Step step) {
    const std::lock_guard<std::mutex> lock(mutex);
    steps.push_back(std::move(step));
}

void ScriptedHostDevices::failOpen(int times, int errorNumber) {
    const std::lock_guard<std::mutex> lock(mutex);
    failures = times;
    failureError = errorNumber;
}

void ScriptedHostDevices::setWaitResult(ORB_SYSCALL_RESULT result) {
    const std::lock_guard<std::mutex> lock(mutex);
    waitResult = result;
}

std::vector<std::string> ScriptedHostDevices::opened() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return paths;
}

int ScriptedHostDevices::stillOpen() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return static_cast<int>(descriptors.size());
}

std::size_t ScriptedHostDevices::stepsLeft() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return steps.size() - next;
}

ORB_SYSCALL_RESULT ScriptedHostDevices::open(const char *path, int) {
    const std::lock_guard<std::mutex> lock(mutex);
    paths.emplace_back(path);
    if (failures > 0) {
        --failures;
        return {-1, failureError};
    }
    descriptors.push_back(++lastDescriptor);
    return {lastDescriptor, 0};
}

ORB_SYSCALL_RESULT ScriptedHostDevices::datagramSocket() {
    return open("datagram socket", 0);
}

ORB_SYSCALL_RESULT ScriptedHostDevices::close(int fd) {
    const std::lock_guard<std::mutex> lock(mutex);
    const auto found = std::find(descriptors.begin(), descriptors.end(), fd);
    if (found == descriptors.end()) {
        ADD_FAILURE() << "close of descriptor " << fd << ", which is not open";
        return {-1, EBADF};
    }
    descriptors.erase(found);
    return {0, 0};
}

ORB_SYSCALL_RESULT ScriptedHostDevices::ioctl(int fd, unsigned long request, void *arg) {
    Step step{};
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (std::find(descriptors.begin(), descriptors.end(), fd) == descriptors.end())
            ADD_FAILURE() << "ioctl on descriptor " << fd << ", which is not open";
        if (next == steps.size() || steps[next].request != request) {
            ADD_FAILURE() << "ioctl 0x" << std::hex << request << " out of turn at step "
                          << std::dec << next;
            return {-1, ENOSYS};
        }
        step = steps[next++];
    }
    if (step.answer) step.answer(arg);
    return step.result;
}

ORB_SYSCALL_RESULT ScriptedHostDevices::waitReadable(int) {
    const std::lock_guard<std::mutex> lock(mutex);
    return waitResult;
}

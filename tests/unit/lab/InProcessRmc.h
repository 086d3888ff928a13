#pragma once

#include <linux/ipmi.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <optional>

#include <gtest/gtest.h>

#include "hostaccess/orbHostClock.h"
#include "hostaccess/orbHostDevices.h"
#include "rmc/Rmc.h"

/// An IPMI device with an RMC right behind it, and a clock on which sleeps take no time. In place
/// from construction to destruction. Any thread may call; the RMC itself is the test's while no
/// message is under way.
class InProcessRmc final : public IorbHostDevices, public IorbHostClock {
public:
    Rmc rmc;
    std::atomic<std::int64_t> sleptMs{0};

    InProcessRmc()
        : outerDevices(IorbHostDevices::replace(this)), outerClock(IorbHostClock::replace(this)) {}
    ~InProcessRmc() override {
        IorbHostDevices::replace(outerDevices);
        IorbHostClock::replace(outerClock);
    }

    ORB_SYSCALL_RESULT open(const char *path, int) override {
        EXPECT_STREQ(path, "/dev/ipmi0");
        return {7, 0};
    }
    ORB_SYSCALL_RESULT datagramSocket() override { return {-1, EAFNOSUPPORT}; }
    ORB_SYSCALL_RESULT close(int) override { return {0, 0}; }
    ORB_SYSCALL_RESULT waitReadable(int) override {
        const std::lock_guard<std::mutex> guard(lock);
        return {answer ? 1 : 0, 0};
    }
    ORB_SYSCALL_RESULT ioctl(int, unsigned long request, void *arg) override {
        const std::lock_guard<std::mutex> guard(lock);
        if (request == IPMICTL_SEND_COMMAND) {
            const auto *sent = static_cast<ipmi_req *>(arg);
            const std::span<const std::uint8_t> data(sent->msg.data, sent->msg.data_len);
            answer = rmc.message(sent->msg.netfn, sent->msg.cmd, data).answer;
            return {0, 0};
        }
        if (request != IPMICTL_RECEIVE_MSG_TRUNC || !answer) return {-1, EINVAL};
        auto *received = static_cast<ipmi_recv *>(arg);
        received->msg.data[0] = answer->completionCode;
        std::copy(answer->data.begin(), answer->data.end(), received->msg.data + 1);
        received->msg.data_len = static_cast<unsigned short>(answer->data.size() + 1);
        answer.reset();
        return {0, 0};
    }

    std::time_t now() override { return 1'767'427'449; }
    ORB_SYSCALL_RESULT realTime(std::timespec *out) override {
        *out = {now(), 0};
        return {0, 0};
    }
    bool localTime(std::time_t second, std::tm *out) override {
        return ::gmtime_r(&second, out) != nullptr;
    }
    void sleepMs(std::int64_t durationMs) override { sleptMs += durationMs; }
    std::cv_status waitUntil(std::condition_variable &, std::unique_lock<std::mutex> &,
                             const std::timespec &) override {
        return std::cv_status::timeout;
    }

private:
    std::mutex lock;                  // one call at a time
    std::optional<RMC_ANSWER> answer; // guarded by lock
    IorbHostDevices *outerDevices;
    IorbHostClock *outerClock;
};

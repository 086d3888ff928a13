#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "hostaccess/orbHostDevices.h"

/// A rack management controller behind "/dev/ipmi0", as the driver's ioctls show it. It checks the
/// form of every request and keeps it; unless told otherwise it accepts everything, with handle 0
/// and an empty door bell. Any thread; two exchanges at once fail the test.
class FakeRmc final : public IorbHostDevices {
public:
    struct Sent {
        std::uint8_t netfn;
        std::uint8_t cmd;
        std::vector<std::uint8_t> data;
    };
    struct Answer {
        std::vector<std::uint8_t> bytes; ///< from the completion code on
        int sendError = 0;               ///< errno of a failing send, 0 for none; so below
        int receiveError = 0;
        long waitResult = 1;
        int claimedLength = -1; ///< what the driver says it received; -1: the truth
    };
    /// Called on the thread that sends, one call at a time because exchanges never overlap, and
    /// with no lock held, so it may wait. @param index  of the request, from 0
    using Responder = std::function<Answer(const Sent &request, std::size_t index)>;

    explicit FakeRmc(Responder answers = {});
    ~FakeRmc() override;
    FakeRmc(const FakeRmc &) = delete;
    FakeRmc &operator=(const FakeRmc &) = delete;

    /// The answer to one transfer message.
    static Answer transferAnswer(std::uint8_t status, std::uint16_t handle = 0,
                                 std::uint8_t exitStatus = 0);
    /// A door bell that holds this text.
    static Answer doorBellAnswer(const std::string &text);

    void failOpen(int times); ///< the next `times` open() calls fail with ENOENT

    std::vector<Sent> sent() const;
    std::size_t count(std::uint8_t cmd) const; ///< requests with this command
    /// Command and argument of all transfers that came complete, in order. Only for arguments of
    /// more than 56 characters.
    std::vector<std::pair<std::string, std::string>> transfers() const;
    int opens() const;     ///< open() calls, failed ones included
    int stillOpen() const; ///< descriptors opened and not closed

    ORB_SYSCALL_RESULT open(const char *path, int flags) override;
    ORB_SYSCALL_RESULT datagramSocket() override;
    ORB_SYSCALL_RESULT close(int fd) override;
    ORB_SYSCALL_RESULT ioctl(int fd, unsigned long request, void *arg) override;
    ORB_SYSCALL_RESULT waitReadable(int fd) override;

private:
    ORB_SYSCALL_RESULT send(void *arg);
    ORB_SYSCALL_RESULT receive(void *arg);

    const Responder responder;
    mutable std::mutex mutex; // guards all below
    std::vector<Sent> requests;
    Answer current; // to the last request; one exchange at a time
    bool answered = true;
    int openCalls = 0;
    int openFailures = 0;
    int openDescriptors = 0;
    IorbHostDevices *outer;
};

#include "fakes/FakeRmc.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <gtest/gtest.h>

#include "reporting/ipmi_wire.h"

namespace {
constexpr int DESCRIPTOR = 1000;

FakeRmc::Answer accept_everything(const FakeRmc::Sent &request, std::size_t) {
    return request.cmd == 0x80 ? FakeRmc::transferAnswer(0) : FakeRmc::doorBellAnswer("");
}
} // namespace

FakeRmc::FakeRmc(Responder answers)
    : responder(answers ? std::move(answers) : accept_everything), outer(replace(this)) {}

FakeRmc::~FakeRmc() {
    replace(outer);
    EXPECT_EQ(openDescriptors, 0) << "the device was left open";
}

FakeRmc::Answer FakeRmc::transferAnswer(std::uint8_t status, std::uint16_t handle,
                                        std::uint8_t exitStatus) {
    return {{0, status, static_cast<std::uint8_t>(handle), static_cast<std::uint8_t>(handle >> 8),
             exitStatus}};
}

FakeRmc::Answer FakeRmc::doorBellAnswer(const std::string &text) {
    Answer answer{{0}};
    answer.bytes.insert(answer.bytes.end(), text.begin(), text.end());
    return answer;
}

void FakeRmc::failOpen(int times) {
    const std::lock_guard<std::mutex> lock(mutex);
    openFailures = times;
}

std::vector<FakeRmc::Sent> FakeRmc::sent() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return requests;
}

std::size_t FakeRmc::count(std::uint8_t cmd) const {
    const std::lock_guard<std::mutex> lock(mutex);
    return static_cast<std::size_t>(std::count_if(
        requests.begin(), requests.end(), [cmd](const Sent &one) { return one.cmd == cmd; }));
}

std::vector<std::pair<std::string, std::string>> FakeRmc::transfers() const {
    std::vector<std::pair<std::string, std::string>> complete;
    std::string command, argument;
    std::size_t missing = 0;
    for (const Sent &one : sent()) {
        if (one.cmd != 0x80 || one.data.size() != 60) continue;
        const char *text = reinterpret_cast<const char *>(one.data.data());
        std::size_t at = 3;
        if (missing == 0) {
            command = text + 3;
            argument.clear();
            for (std::size_t i = 27; i-- > 23;) missing = missing << 8 | one.data[i];
            at = 27;
        }
        const std::size_t taken = std::min(missing, 60 - at);
        argument.append(text + at, taken);
        missing -= taken;
        if (missing == 0) complete.emplace_back(command, argument.c_str());
    }
    return complete;
}

int FakeRmc::opens() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return openCalls;
}

int FakeRmc::stillOpen() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return openDescriptors;
}

ORB_SYSCALL_RESULT FakeRmc::open(const char *path, int flags) {
    const std::lock_guard<std::mutex> lock(mutex);
    EXPECT_STREQ(path, "/dev/ipmi0");
    EXPECT_EQ(flags, O_RDWR);
    ++openCalls;
    if (openFailures > 0) {
        --openFailures;
        return {-1, ENOENT};
    }
    ++openDescriptors;
    return {DESCRIPTOR, 0};
}

ORB_SYSCALL_RESULT FakeRmc::datagramSocket() {
    ADD_FAILURE() << "nobody asks a network interface";
    return {-1, EAFNOSUPPORT};
}

ORB_SYSCALL_RESULT FakeRmc::close(int fd) {
    const std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(fd, DESCRIPTOR);
    --openDescriptors;
    return {0, 0};
}

ORB_SYSCALL_RESULT FakeRmc::ioctl(int fd, unsigned long request, void *arg) {
    EXPECT_EQ(fd, DESCRIPTOR);
    if (request == 0x8028690D) return send(arg);
    if (request == 0xC030690B) return receive(arg);
    ADD_FAILURE() << "ioctl 0x" << std::hex << request;
    return {-1, ENOTTY};
}

ORB_SYSCALL_RESULT FakeRmc::send(void *arg) {
    const auto *request = static_cast<const ORB_IPMI_REQUEST *>(arg);
    EXPECT_EQ(request->addressLength, 8u);
    EXPECT_EQ(request->address->type, 0x0C);
    EXPECT_EQ(request->address->channel, 0x0F);
    EXPECT_EQ(request->address->lun, 0);
    EXPECT_EQ(request->messageId, 0);
    EXPECT_EQ(request->message.data == nullptr, request->message.dataLength == 0);
    Sent kept{request->message.netfn, request->message.cmd, {}};
    if (request->message.data != nullptr)
        kept.data.assign(request->message.data,
                         request->message.data + request->message.dataLength);

    std::size_t index = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        EXPECT_TRUE(answered) << "a request before the last one's answer was taken";
        answered = false; // also while the responder makes up its mind
        index = requests.size();
        requests.push_back(kept);
    }
    Answer next = responder(kept, index);
    const std::lock_guard<std::mutex> lock(mutex);
    current = std::move(next);
    answered = current.sendError != 0 || current.waitResult != 1;
    if (current.sendError != 0) return {-1, current.sendError};
    return {0, 0};
}

ORB_SYSCALL_RESULT FakeRmc::waitReadable(int fd) {
    const std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(fd, DESCRIPTOR);
    return {current.waitResult, current.waitResult < 0 ? EIO : 0};
}

ORB_SYSCALL_RESULT FakeRmc::receive(void *arg) {
    const std::lock_guard<std::mutex> lock(mutex);
    auto *received = static_cast<ORB_IPMI_RECEIVED *>(arg);
    EXPECT_EQ(received->message.dataLength, 272);
    EXPECT_EQ(received->addressLength, 40u);
    EXPECT_NE(received->address, nullptr);
    EXPECT_FALSE(answered) << "nothing to receive";
    answered = true;
    if (current.receiveError != 0) return {-1, current.receiveError};
    const std::size_t room = received->message.dataLength;
    const std::size_t copied = std::min(room, current.bytes.size());
    if (copied != 0) std::memcpy(received->message.data, current.bytes.data(), copied);
    received->message.dataLength = static_cast<std::uint16_t>(
        current.claimedLength >= 0 ? static_cast<std::size_t>(current.claimedLength) : copied);
    return {0, 0};
}

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "hostaccess/orbHostDevices.h"
#include "reporting/ipmi_wire.h"
#include "reporting/orbipmi.h"
#include "support/quiet_world.h"

namespace {
/// Reads the fuzzer's bytes; zeros behind their end.
class Input {
public:
    Input(const std::uint8_t *bytes, std::size_t count) : data(bytes, count) {}
    bool empty() const { return data.empty(); }
    std::uint8_t byte() {
        if (data.empty()) return 0;
        const std::uint8_t value = data.front();
        data = data.subspan(1);
        return value;
    }
    std::span<const std::uint8_t> bytes(std::size_t count) {
        const auto taken = data.first(std::min(count, data.size()));
        data = data.subspan(taken.size());
        return taken;
    }

private:
    std::span<const std::uint8_t> data;
};

/// Answers with what the input says: how the exchange fails, what the driver claims to have
/// received, and the bytes. It checks the form of every request.
class FuzzedDevice final : public IorbHostDevices {
public:
    explicit FuzzedDevice(Input &answers) : input(answers), outer(replace(this)) {}
    ~FuzzedDevice() override { replace(outer); }

    ORB_SYSCALL_RESULT open(const char *, int) override { return {7, 0}; }
    ORB_SYSCALL_RESULT datagramSocket() override { return {-1, EAFNOSUPPORT}; }
    ORB_SYSCALL_RESULT close(int) override { return {0, 0}; }
    ORB_SYSCALL_RESULT waitReadable(int) override {
        if (kind == 2) return failed(-1);
        return kind == 3 ? failed(0) : ORB_SYSCALL_RESULT{1, 0};
    }
    ORB_SYSCALL_RESULT ioctl(int, unsigned long request, void *arg) override {
        if (request == IPMICTL_SEND_COMMAND) {
            const auto *sent = static_cast<const ORB_IPMI_REQUEST *>(arg);
            if (sent->message.cmd == 0x80) {
                if (sent->message.dataLength != 60) std::abort();
                collect(sent->message.data);
            } else if (sent->message.dataLength != 0) {
                std::abort();
            }
            kind = input.empty() ? 0 : input.byte() % 16; // most exchanges go well
            return kind == 1 ? failed(-1) : ORB_SYSCALL_RESULT{0, 0};
        }
        if (request != IPMICTL_RECEIVE_MSG_TRUNC) std::abort();
        if (kind == 4) return failed(-1);
        auto *received = static_cast<ORB_IPMI_RECEIVED *>(arg);
        const auto bytes = input.bytes(kind == 5 ? 272 : std::size_t{input.byte()});
        if (bytes.size() > received->message.dataLength) std::abort();
        std::copy(bytes.begin(), bytes.end(), received->message.data);
        received->message.dataLength = static_cast<std::uint16_t>(
            kind == 6 ? input.byte() << 8 | input.byte() : static_cast<int>(bytes.size()));
        return {0, 0};
    }

    bool anyFailed() const { return failures; }
    std::size_t messages() const { return count; }
    const std::string &argument() const { return collected; } // as it came, zeros behind it

private:
    ORB_SYSCALL_RESULT failed(long rc) {
        failures = true;
        return {rc, 5};
    }
    void collect(const std::uint8_t *message) {
        const std::size_t at = count++ == 0 ? 27 : 3;
        collected.append(reinterpret_cast<const char *>(message) + at, 60 - at);
    }

    Input &input;
    IorbHostDevices *outer;
    int kind = 0;
    bool failures = false;
    std::size_t count = 0;
    std::string collected;
};

void transfer(Input &input) {
    const std::string argument(57 + input.byte() * 4u, 'a');
    FuzzedDevice device(input);
    unsigned char transferStatus = 0, exitStatus = 0;
    const int rc = ipmi::IPMIUtils().RMC_CLI_Exec("WriteInventory", argument.c_str(),
                                                  &transferStatus, &exitStatus);
    const std::size_t all = 1 + (argument.size() + 1 - 33 + 56) / 57;
    if (rc != 0 && rc != 1) std::abort();
    if ((rc == 0) != device.anyFailed()) std::abort();
    if (rc == 0 && transferStatus > 2) std::abort();
    if (rc == 1 && (transferStatus == 1 || transferStatus == 2)) std::abort();
    if (device.messages() > all) std::abort();
    const bool whole = rc == 1 && transferStatus == 0;
    if (whole != (device.messages() == all) && !(rc == 0 || transferStatus > 2)) std::abort();
    if (whole && device.argument().compare(0, argument.size() + 1, argument.c_str(),
                                           argument.size() + 1) != 0)
        std::abort();
}

void execution(Input &input) {
    const std::string argument(57 + input.byte() * 4u, 'a');
    FuzzedDevice device(input);
    const int rc = ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("MPEventGen", argument);
    if (rc != 0 && rc != 1) std::abort();
    if (device.anyFailed() && rc != 1) std::abort();
}

void door_bell(Input &input, int type) {
    FuzzedDevice device(input);
    const int rc = ipmi::IPMIUtils().checkIPMIDBGenericRequest(type);
    if (rc < 0 || rc > 2) std::abort();
    if (type == 1 && rc == 2) std::abort();
    if (device.anyFailed() && rc != 0) std::abort();
}

void records(Input &input) {
    FuzzedDevice device(input);
    ipmi::_GET_DEVICE_ID id{};
    ipmi::_GET_BMC_CAPABILITIES capabilities{};
    if (ipmi::GetDeviceIdInfo(id) > 1 || ipmi::GetCapabilities(capabilities) > 1) std::abort();
    const int partition = ipmi::GetPartitionId(0);
    if (partition != 0 && partition != 1) std::abort();
}
} // namespace

/// Any answers of the controller and of its driver, to a transfer, the door bell and the records.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static QuietWorld world;
    Input input(data, size);
    switch (input.byte() % 5) {
    case 0:
        transfer(input);
        break;
    case 1:
        execution(input);
        break;
    case 2:
        door_bell(input, 1);
        break;
    case 3:
        door_bell(input, 2);
        break;
    default:
        records(input);
        break;
    }
    return 0;
}

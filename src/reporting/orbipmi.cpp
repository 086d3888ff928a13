#include "reporting/orbipmi.h"

#include <fcntl.h>

#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "core/Logger.h"
#include "core/orbMutexLocker.h"
#include "hostaccess/orbHostClock.h"
#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostDevices.h"
#include "reporting/ipmi_wire.h"
#include "reporting/rmc_status.h"
#include "reporting/rmc_transfer.h"

namespace {
constexpr int OPEN_TRIES = 2;
constexpr std::int64_t DRIVER_WAIT_MS = 3000, TRANSFER_END_WAIT_MS = 500;

// What brings the driver and its device node up on a host that has not loaded them.
const char *const DRIVER_LINES[] = {
    "modprobe ipmi_msghandler > /dev/null 2>&1",
    "modprobe ipmi_si > /dev/null 2>&1",
    "modprobe ipmi_devintf > /dev/null 2>&1",
    "modprobe ipmi_watchdog > /dev/null 2>&1",
    "modprobe ipmi_ssif > /dev/null 2>&1",
    ("mknod -m 0600 /dev/ipmi0 c `cat /proc/devices | grep ipmidev |cut -d \" \" -f 1` 0 "
     "> /dev/null 2>&1"),
};

constexpr unsigned char NETFN_APP = 0x06, CMD_GET_DEVICE_ID = 0x01, CMD_GET_BT_CAPABILITIES = 0x36;
constexpr unsigned char NETFN_PARTITION = 0x34, CMD_PARTITION_QUERY = 0x08;
constexpr unsigned char PARTITION_RESPONSE_BYTES = 8;
constexpr std::size_t PARTITION_BUFFER_BYTES = 512;

constexpr unsigned char DOOR_BELL_BYTES = 254;
constexpr std::string_view INVENTORY_REQUEST = "WriteInventory";

/// A door bell's response with a zero behind its last byte, so that it can be read as a text.
struct DOOR_BELL_BUFFER {
    unsigned char bytes[DOOR_BELL_BYTES + 1] = {};
    const char *text() const { return reinterpret_cast<const char *>(bytes); }
};

unsigned char read_door_bell(ipmi::IPMIUtils &ipmi, unsigned char cmd, DOOR_BELL_BUFFER &buffer) {
    unsigned char requestLength = 0, responseLength = DOOR_BELL_BYTES;
    return ipmi.execute(RMC_NETFN, cmd, 0, nullptr, requestLength, buffer.bytes, responseLength);
}

bool is_inventory_request(const unsigned char *buffer) {
    const char *text = reinterpret_cast<const char *>(buffer);
    return std::string_view(text, ::strnlen(text, DOOR_BELL_BYTES)).find(INVENTORY_REQUEST) !=
           std::string_view::npos;
}

unsigned char ask_controller(unsigned char netfn, unsigned char cmd, unsigned char *response,
                             unsigned char responseLength) {
    ipmi::IPMIUtils ipmi;
    unsigned char requestLength = 0;
    return ipmi.execute(netfn, cmd, 0, nullptr, requestLength, response, responseLength);
}
} // namespace

namespace ipmi {

std::mutex IPMIUtils::mlock;

IPMIUtils::IPMIUtils() {
    for (int attempt = 0; attempt < OPEN_TRIES; ++attempt) {
        fd = static_cast<int>(IorbHostDevices::get().open(IPMI_DEVICE, O_RDWR).rc);
        if (fd >= 0) return;
        // Only whether the device opens afterwards tells if the lines helped.
        for (const char *line : DRIVER_LINES) (void)IorbHostCommands::get().system(line);
        IorbHostClock::get().sleepMs(DRIVER_WAIT_MS);
    }
}

IPMIUtils::~IPMIUtils() {
    // Nothing is buffered in the descriptor, so a failed close loses nothing.
    if (fd >= 0) (void)IorbHostDevices::get().close(fd);
}

unsigned char IPMIUtils::execute(unsigned char netfn, unsigned char cmd, unsigned char,
                                 unsigned char *request, unsigned char &requestLength,
                                 unsigned char *response, unsigned char &responseLength) {
    if (fd < 0) return 0;
    IorbHostDevices &devices = IorbHostDevices::get();

    ORB_IPMI_SYSTEM_ADDRESS address;
    ORB_IPMI_REQUEST sent = ipmi_request(address, netfn, cmd, request, requestLength);
    const ORB_SYSCALL_RESULT sending = devices.ioctl(fd, IPMICTL_SEND_COMMAND, &sent);
    if (sending.rc < 0) {
        ORB_LOG_DEBUG(IPMI, format_text("Request ioctl failure with error code : %d", sending.err));
        return 0;
    }

    if (devices.waitReadable(fd).rc != 1) return 0;

    std::uint8_t data[IPMI_RECEIVE_BYTES + 1] = {};
    std::uint8_t from[IPMI_ADDRESS_BYTES] = {};
    ORB_IPMI_RECEIVED received{0, from, sizeof from, 0, {0, 0, IPMI_RECEIVE_BYTES, data}};
    if (devices.ioctl(fd, IPMICTL_RECEIVE_MSG_TRUNC, &received).rc < 0) {
        ORB_LOG_DEBUG(IPMI, "Response ioctl failure");
        return 0;
    }
    copy_ipmi_answer(data, received.message.dataLength, response, responseLength);
    return 1;
}

int IPMIUtils::RMC_CLI_Exec(const char *command, const char *argument,
                            unsigned char *transferStatus, unsigned char *exitStatus) {
    if (command == nullptr || argument == nullptr || transferStatus == nullptr ||
        exitStatus == nullptr) {
        ORB_LOG_ERROR(IPMI, "Provided command / arguments is not valid");
        return 1;
    }

    // A short answer leaves the former response's bytes, so they last through the transfer.
    std::array<unsigned char, RMC_RESPONSE_BYTES> response{};
    RMC_MESSAGE message;
    orbRmcTransfer transfer(command, argument);
    while (!transfer.done()) {
        transfer.next(decode_rmc_response(response).handle, message);
        unsigned char requestLength = message.size(), responseLength = response.size();
        const unsigned char exchanged = execute(RMC_NETFN, RMC_CMD_TRANSFER, 0, message.data(),
                                                requestLength, response.data(), responseLength);
        const RMC_RESPONSE answer = decode_rmc_response(response);
        if (exchanged == 0 || answer.transferStatus > 2) {
            *transferStatus = answer.transferStatus;
            *exitStatus = answer.exitStatus;
            return exchanged == 0 ? 0 : 1;
        }
    }
    IorbHostClock::get().sleepMs(TRANSFER_END_WAIT_MS);
    return 1;
}

int IPMIUtils::RMC_CLI_Cmd_Execution(const std::string &command, const std::string &argument) {
    const orbMutexLocker<std::mutex> oneTransfer(mlock);
    IPMIUtils ipmi;
    unsigned char transferStatus = 0, exitStatus = 0;
    ORB_LOG_DEBUG(IPMI, "Command to be executed on RMC : " + command + " " + argument);
    const int rc =
        ipmi.RMC_CLI_Exec(command.c_str(), argument.c_str(), &transferStatus, &exitStatus);
    const RMC_CLI_OUTCOME outcome =
        rmc_cli_outcome(rc, transferStatus, exitStatus, argument.size());
    if (!outcome.text.empty()) ORB_LOG_ERROR(IPMI, outcome.text);
    return outcome.result;
}

bool IPMIUtils::checkIPMIDBRequest() {
    return checkIPMIDBGenericRequest(1) == 1;
}

int IPMIUtils::checkIPMIDBGenericRequest(int type) {
    ORB_LOG_DEBUG(IPMI, "Checking IPMI door bell request");
    DOOR_BELL_BUFFER buffer;
    unsigned char exchanged = 0;
    if (type == 1 || type == 2) {
        const orbMutexLocker<std::mutex> oneTransfer(mlock);
        exchanged =
            read_door_bell(*this, type == 1 ? RMC_CMD_DOOR_BELL : RMC_CMD_DOOR_BELL_2, buffer);
    }
    if (exchanged == 0) {
        ORB_LOG_ERROR(IPMI, "An error occurred in checking RMC request via IPMI");
        return 0;
    }
    ORB_LOG_DEBUG(IPMI, format_text("Return buffer from door bell: %s", buffer.text()));
    return checkIPMIBuffer(type, buffer.bytes);
}

int IPMIUtils::checkIPMIBuffer(int type, unsigned char *buffer) {
    switch (type) {
    case 1:
        return is_inventory_request(buffer) ? 1 : 0;
    case 2:
        return buffer[0] == 1 ? 1 : 2;
    default:
        return 0;
    }
}

unsigned char GetDeviceIdInfo(_GET_DEVICE_ID &record) {
    return ask_controller(NETFN_APP, CMD_GET_DEVICE_ID, record.bytes, sizeof record.bytes);
}

unsigned char GetCapabilities(_GET_BMC_CAPABILITIES &record) {
    return ask_controller(NETFN_APP, CMD_GET_BT_CAPABILITIES, record.bytes, sizeof record.bytes);
}

int GetPartitionId(unsigned int) {
    const std::unique_ptr<unsigned char[]> buffer(
        new (std::nothrow) unsigned char[PARTITION_BUFFER_BYTES]());
    if (buffer == nullptr) {
        ORB_LOG_ERROR(IPMI, "Unable to malloc enough memory for responseBuffer.");
        return 0;
    }
    const unsigned char exchanged = ask_controller(NETFN_PARTITION, CMD_PARTITION_QUERY,
                                                   buffer.get(), PARTITION_RESPONSE_BYTES);
    return exchanged != 0 && (buffer[0] & 1) != 0 ? 1 : 0;
}

} // namespace ipmi

#pragma once

#include <cstddef>
#include <cstdint>

/// The records and request codes of the OpenIPMI character device on a 64-bit host.

/// One message, or its answer: for an answer the first data byte is the completion code.
struct ORB_IPMI_MESSAGE {
    std::uint8_t netfn;
    std::uint8_t cmd;
    std::uint16_t dataLength; ///< on receipt the room before the call, the bytes received after it
    std::uint8_t *data;
};
static_assert(sizeof(ORB_IPMI_MESSAGE) == 16 && offsetof(ORB_IPMI_MESSAGE, data) == 8);

/// Where a message goes when the controller on the system interface is meant.
struct ORB_IPMI_SYSTEM_ADDRESS {
    std::int32_t type;
    std::int16_t channel;
    std::uint8_t lun;
};
static_assert(sizeof(ORB_IPMI_SYSTEM_ADDRESS) == 8 && offsetof(ORB_IPMI_SYSTEM_ADDRESS, lun) == 6);

struct ORB_IPMI_REQUEST {
    ORB_IPMI_SYSTEM_ADDRESS *address;
    std::uint32_t addressLength;
    std::int64_t messageId;
    ORB_IPMI_MESSAGE message;
};
static_assert(sizeof(ORB_IPMI_REQUEST) == 40 && offsetof(ORB_IPMI_REQUEST, message) == 24);

struct ORB_IPMI_RECEIVED {
    std::int32_t receiveType;
    std::uint8_t *address;
    std::uint32_t addressLength; ///< the room before the call, the bytes filled after it
    std::int64_t messageId;
    ORB_IPMI_MESSAGE message;
};
static_assert(sizeof(ORB_IPMI_RECEIVED) == 48 && offsetof(ORB_IPMI_RECEIVED, message) == 32);

constexpr char IPMI_DEVICE[] = "/dev/ipmi0";
constexpr unsigned long IPMICTL_SEND_COMMAND = 0x8028690D;
constexpr unsigned long IPMICTL_RECEIVE_MSG_TRUNC = 0xC030690B;

constexpr std::int32_t IPMI_SYSTEM_INTERFACE_ADDRESS = 0x0C;
constexpr std::int16_t IPMI_BMC_CHANNEL = 0x0F;
constexpr std::size_t IPMI_RECEIVE_BYTES = 272; ///< room offered for one answer
constexpr std::size_t IPMI_ADDRESS_BYTES = 40;  ///< room offered for an answer's address

/// A request to the controller on the system interface. Both arguments stay the caller's and must
/// outlive the record.
/// @param data  null or `length` 0 sends no data
ORB_IPMI_REQUEST ipmi_request(ORB_IPMI_SYSTEM_ADDRESS &address, std::uint8_t netfn,
                              std::uint8_t cmd, std::uint8_t *data, std::uint8_t length);

/// Hands an answer on without its completion code: copies min(`wanted`, `received`) bytes, counted
/// as if they began with that code, from the second byte on. So an answer that is no longer than
/// `wanted` brings one zero behind its last byte, and a bare completion code brings one zero; bytes
/// beyond stay as they were.
/// @param buffer    IPMI_RECEIVE_BYTES + 1 bytes, zero where nothing was received
/// @param received  what the device said; may be anything
void copy_ipmi_answer(const std::uint8_t *buffer, std::size_t received, std::uint8_t *response,
                      std::uint8_t wanted);

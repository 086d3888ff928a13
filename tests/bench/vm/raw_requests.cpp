#include "bench/vm/raw_requests.h"

#include "core/format_text.h"

namespace {
// One adapter, whose model is as long as the document has to be.
constexpr std::string_view DOCUMENT_HEAD =
    R"({"HostDataCollection":{"EthernetDevices":[{"FirmwareVersion":"",)"
    R"("MACAddress":"02:00:00:00:00:01","Manufacturer":"",)"
    R"("Oem":{"Description":"PCI 0000:00:00.0 ","DeviceName":"bench",)"
    R"("PhysicalLocation":"FFFFFFFFFFFFFFFF"},"PartNumber":"","SerialNumber":"",)"
    R"("SpeedMbps":0,"Status":{"Health":"OK","State":"Running"},"Model":")";
constexpr std::string_view DOCUMENT_TAIL = R"("}]}})";
static_assert(DOCUMENT_HEAD.size() + DOCUMENT_TAIL.size() <
              RMC_FIRST_BYTES + (BENCH_FEWEST_MESSAGES - 1) * RMC_NEXT_BYTES);

std::string list_of(const std::vector<RMC_MESSAGE> &messages, const char *head,
                    const char *before) {
    std::string list;
    for (const RMC_MESSAGE &message : messages) {
        list += head;
        for (const std::uint8_t byte : message)
            list += format_text("%s%02x", before, unsigned{byte});
        list += '\n';
    }
    return list;
}
} // namespace

std::string bench_document(std::size_t messages) {
    // The final NUL is part of what is sent.
    const std::size_t length = RMC_FIRST_BYTES + (messages - 1) * RMC_NEXT_BYTES - 1;
    std::string document(DOCUMENT_HEAD);
    for (std::size_t i = 0; document.size() + DOCUMENT_TAIL.size() < length; ++i)
        document += static_cast<char>('A' + i % 26);
    document += DOCUMENT_TAIL;
    return document;
}

std::vector<RMC_MESSAGE> bench_messages(std::string_view document) {
    std::vector<RMC_MESSAGE> messages;
    orbRmcTransfer transfer(BENCH_COMMAND, document);
    while (!transfer.done()) {
        const std::uint16_t handle = messages.empty() ? std::uint16_t{0} : BENCH_HANDLE;
        transfer.next(handle, messages.emplace_back());
    }
    return messages;
}

std::string ipmitool_list(const std::vector<RMC_MESSAGE> &messages) {
    return list_of(messages, "raw 0x3a 0x80", " 0x");
}

std::string freeipmi_list(const std::vector<RMC_MESSAGE> &messages) {
    return list_of(messages, "00 3a 80", " ");
}

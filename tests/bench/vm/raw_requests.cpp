#include "bench/vm/raw_requests.h"

#include "core/format_text.h"

namespace {
constexpr std::string_view DOCUMENT_HEAD =
                               R"({"HostDataCollection":{"EthernetDevices":[{"Description":")",
                           DOCUMENT_TAIL = R"("}]}})";

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

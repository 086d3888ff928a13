#pragma once

#include <cstddef>
#include <string>

/// A vendor library's handlers by their position in the table of entry points, without the word
/// "Handler" at their end.
constexpr const char *HBA_HANDLER_NAMES[] = {
    "GetVersion",
    "LoadLibrary",
    "FreeLibrary",
    "GetNumberOfAdapters",
    "GetAdapterName",
    "OpenAdapter",
    "CloseAdapter",
    "GetAdapterAttributes",
    "GetAdapterPortAttributes",
    "GetPortStatistics",
    "GetDiscoveredPortAttributes",
    "GetPortAttributesByWWN",
    "SendCTPassThru",
    "RefreshInformation",
    "ResetStatistics",
    "GetFcpTargetMapping",
    "GetFcpPersistentBinding",
    "GetEventBuffer",
    "SetRNIDMgmtInfo",
    "GetRNIDMgmtInfo",
    "SendRNID",
    "ScsiInquiry",
    "ReportLUNs",
    "ReadCapacity",
};
constexpr std::size_t HBA_HANDLERS = sizeof HBA_HANDLER_NAMES / sizeof HBA_HANDLER_NAMES[0];
static_assert(HBA_HANDLERS == 24);

/// The entry that fills the table; it has no place in it.
constexpr const char HBA_REGISTRATION[] = "RegisterLibrary";

/// What a port may be, as the lab's files and commands write it; the place plus 1 is its number.
constexpr const char *HBA_STATE_WORDS[] = {"unknown",     "online",   "offline", "bypassed",
                                           "diagnostics", "linkdown", "error",   "loopback"};

/// Something a library can be told to fail in: the name of a handler, or the registration.
inline bool is_hba_call(const std::string &text) {
    for (const char *each : HBA_HANDLER_NAMES)
        if (text == each) return true;
    return text == HBA_REGISTRATION;
}

inline bool is_hba_state(const std::string &text) {
    for (const char *each : HBA_STATE_WORDS)
        if (text == each) return true;
    return false;
}

/// Eight pairs of hexadecimal digits with colons between. @param bytes  written on success only
inline bool read_wwn(const std::string &text, unsigned char (&bytes)[8]) {
    unsigned char read[8] = {};
    if (text.size() != 23) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (i % 3 == 2) {
            if (c != ':') return false;
            continue;
        }
        const bool isDigit = c >= '0' && c <= '9', isLetter = c >= 'a' && c <= 'f';
        if (!isDigit && !isLetter) return false;
        const int value = isDigit ? c - '0' : c - 'a' + 10;
        read[i / 3] = static_cast<unsigned char>(read[i / 3] << 4 | value);
    }
    for (std::size_t i = 0; i < 8; ++i) bytes[i] = read[i];
    return true;
}

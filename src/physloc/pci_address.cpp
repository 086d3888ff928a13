#include "physloc/pci_address.h"

#include <cstdio>

#include "core/format_text.h"

namespace {
constexpr std::size_t ADDRESS_SIZE = 12;
}

std::string pci_address_text(std::uint16_t segment, std::uint8_t bus, std::uint8_t devFunc) {
    return format_text("%04x:%02x:%02x.%x", unsigned{segment}, unsigned{bus}, devFunc >> 3u,
                       devFunc & 7u);
}

bool is_pci_address_text(const std::string &text) {
    unsigned domain = 0, bus = 0, device = 0, function = 0;
    if (text.size() != ADDRESS_SIZE) return false;
    // NOLINTNEXTLINE(cert-err34-c): how many fields there are counts, and none can overflow
    return std::sscanf(text.c_str(), "%04x:%02x:%02x.%x", &domain, &bus, &device, &function) == 4;
}

bool is_safe_address_word(std::string_view text) {
    return !text.empty() &&
           text.find_first_not_of("0123456789abcdefABCDEF:.") == std::string_view::npos;
}

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "linuxhost/pci_ids.h"

/// Any bytes as a pci.ids file. A name is never empty and stays within its line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    PCI_NAMES names;
    names.want(0x8086, 0x1521, 0x0200);
    names.want(0x1077, 0x2031, 0x0c04);
    names.read(std::string_view(reinterpret_cast<const char *>(data), size));
    for (const std::string &name :
         {names.vendorName(0x8086), names.deviceName(0x1077, 0x2031), names.className(0x0200)})
        if (name.empty() || name.find('\n') != std::string::npos) std::abort();
    return 0;
}

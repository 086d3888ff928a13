#include "platform/orbPCIVendorsMap.h"

#include "tables/pci_vendors.h"

namespace {
std::map<std::string, std::string> all_vendors() {
    std::map<std::string, std::string> vendors;
    // The rows rise, so that each one's place is the end.
    for (const PCI_VENDORS_ROW &row : PCI_VENDORS)
        vendors.emplace_hint(vendors.end(), row.id, row.name);
    return vendors;
}
} // namespace

const std::map<std::string, std::string> orbPCIVendorsMap = all_vendors();

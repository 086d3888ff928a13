#include "pci_access.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <system_error>
#include <tuple>

extern "C" {
#include <pci/pci.h>
}

#include "plain_text.h"
#include "program_io.h"

namespace {
constexpr unsigned WIRELESS = 0x0D;          // base class
constexpr std::size_t IDS_LIMIT = 64u << 20; // bytes; the published file has under 2 MiB

/// libpci's callbacks carry no pointer of the caller's.
const COMPLAINT *complaintInForce = nullptr;

std::string formatted(const char *format, std::va_list arguments) {
    std::array<char, 1024> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    return one_line(text.data());
}

[[gnu::format(printf, 1, 2)]] void on_warning(char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    (*complaintInForce)("PCI", formatted(format, arguments));
    va_end(arguments);
}

[[gnu::noreturn, gnu::format(printf, 1, 2)]] void on_error(char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    (*complaintInForce)("PCI", formatted(format, arguments));
    va_end(arguments);
    std::exit(EXIT_FAILED); // libpci doesn't allow a return
}

[[gnu::format(printf, 1, 2)]] void on_debug(char *, ...) {}

struct CLOSE_FOLDER {
    void operator()(DIR *folder) const { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CLOSE_FOLDER>;

/// Of the names in a folder that a test accepts the first in natural order: "host2" before
/// "host10". Empty where there is none.
template <typename Test> std::string first_entry(const std::string &path, Test accepts) {
    std::string first;
    const Folder folder(::opendir(path.c_str()));
    if (!folder) return first;
    while (const dirent *entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == ".." || !accepts(name)) continue;
        if (first.empty() ||
            std::pair(name.size(), name) < std::pair(first.size(), std::string_view(first)))
            first = name;
    }
    return first;
}

/// "host12" for the stem "host".
bool is_numbered(std::string_view name, std::string_view stem) {
    return name.size() > stem.size() && name.starts_with(stem) &&
           name.find_first_not_of("0123456789", stem.size()) == std::string_view::npos;
}

std::string first_numbered(const std::string &path, std::string_view stem) {
    return first_entry(path, [&](std::string_view name) { return is_numbered(name, stem); });
}

/// The name that the kernel gave to what a function drives: network interface, SCSI or Fibre
/// Channel host, NVMe controller.
std::string kernel_name(const std::string &path, const ORB_PCI_FUNCTION &function) {
    const auto any = [](std::string_view) { return true; };
    if (function.driver.empty()) return {};
    const unsigned base = function.classCode >> 8;
    const bool network = base == PCI_BASE_CLASS_NETWORK || base == WIRELESS;
    if (network)
        if (std::string name = first_entry(path + "/net", any); !name.empty()) return name;
    if (function.driver == "virtio-pci") {
        const std::string inner = path + "/" + first_numbered(path, "virtio");
        if (std::string name = first_entry(inner + "/net", any); !name.empty()) return name;
        return first_numbered(inner, "host");
    }
    if (base != PCI_BASE_CLASS_STORAGE && !network && function.classCode != PCI_CLASS_SERIAL_FIBER)
        return {};
    if (std::string name = first_numbered(path, "host"); !name.empty()) return name;
    if (std::string name = first_numbered(path + "/nvme", "nvme"); !name.empty()) return name;
    // libata puts a port between the function and the host.
    const std::string port = first_numbered(path, "ata");
    return port.empty() ? std::string() : first_numbered(path + "/" + port, "host");
}

std::string link_target(const std::string &path) {
    std::array<char, 4096> target{};
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    return length <= 0 ? std::string()
                       : std::string(target.data(), static_cast<std::size_t>(length));
}

/// The last name of a link's target, which needn't exist; empty where there is no link.
std::string linked_name(const std::string &path) {
    const std::string target = link_target(path);
    return target.substr(target.rfind('/') + 1);
}

/// A function's folder is a link into the tree of devices; the folder above is its bridge.
void read_parent(const std::string &path, ORB_PCI_FUNCTION &function) {
    const std::string target = link_target(path);
    const std::size_t last = target.rfind('/');
    if (last == std::string::npos || last == 0) return;
    const std::size_t before = target.rfind('/', last - 1);
    const std::size_t from = before == std::string::npos ? 0 : before + 1;
    function.hasParent =
        parse_pci_address(std::string_view(target).substr(from, last - from), function.parent);
}

std::string small_attribute(const std::string &path) {
    std::string text;
    if (read_file(path, 4096, text) != 0) return {};
    return one_line(text);
}

void read_registers(pci_dev *device, ORB_PCI_FUNCTION &function) {
    std::array<std::uint8_t, 64> registers{};
    if (pci_read_block(device, 0, registers.data(), static_cast<int>(registers.size())) == 0)
        return;
    function.command =
        static_cast<std::uint16_t>(registers[PCI_COMMAND + 1] << 8 | registers[PCI_COMMAND]);
    function.headerType = registers[PCI_HEADER_TYPE] & 0x7F;
    if (function.headerType == PCI_HEADER_TYPE_BRIDGE ||
        function.headerType == PCI_HEADER_TYPE_CARDBUS)
        function.secondaryBus = registers[PCI_SECONDARY_BUS];
    function.interruptLine = registers[PCI_INTERRUPT_LINE];
    function.interruptPin = registers[PCI_INTERRUPT_PIN];
}

ORB_PCI_FUNCTION read_function(pci_dev *device, const std::string &folder) {
    const int known = pci_fill_info(device, PCI_FILL_IDENT | PCI_FILL_CLASS | PCI_FILL_CLASS_EXT |
                                                PCI_FILL_SUBSYS | PCI_FILL_IRQ |
                                                PCI_FILL_PHYS_SLOT | PCI_FILL_LABEL);
    ORB_PCI_FUNCTION function;
    function.address = {static_cast<std::uint32_t>(device->domain), device->bus, device->dev,
                        device->func};
    function.vendor = device->vendor_id;
    function.device = device->device_id;
    function.classCode = device->device_class;
    if ((known & PCI_FILL_CLASS_EXT) != 0) {
        function.programmingInterface = device->prog_if;
        function.revision = device->rev_id;
    }
    if ((known & PCI_FILL_SUBSYS) != 0) {
        function.subVendor = device->subsys_vendor_id;
        function.subDevice = device->subsys_id;
    }
    function.irq = device->irq;
    if (const char *label = pci_get_string_property(device, PCI_FILL_LABEL))
        function.label = one_line(label);
    if (device->phy_slot != nullptr) function.slotName = device->phy_slot;
    read_registers(device, function);

    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "/%04x:%02x:%02x.%x", function.address.segment,
                  unsigned{device->bus}, unsigned{device->dev}, unsigned{device->func});
    const std::string path = folder + name.data();
    function.driver = linked_name(path + "/driver");
    function.iommuGroup = linked_name(path + "/iommu_group");
    function.kernelName = kernel_name(path, function);
    read_parent(path, function);
    function.resetMethods = small_attribute(path + "/reset_method");
    return function;
}

struct END_ACCESS {
    void operator()(pci_access *access) const { pci_cleanup(access); }
};
} // namespace

bool read_pci_functions(const std::string &root, const COMPLAINT &complain,
                        std::vector<ORB_PCI_FUNCTION> &functions) {
    std::string bus = root + "/sys/bus/pci";
    const std::string folder = bus + "/devices";
    if (struct stat there{};
        ::stat(folder.c_str(), &there) != 0 || ::access(folder.c_str(), R_OK | X_OK) != 0) {
        complain(folder, std::generic_category().message(errno));
        return false;
    }
    complaintInForce = &complain;
    const std::unique_ptr<pci_access, END_ACCESS> access(pci_alloc());
    access->method = PCI_ACCESS_SYS_BUS_PCI;
    access->error = on_error;
    access->warning = on_warning;
    access->debug = on_debug;
    std::string parameter = "sysfs.path";
    pci_set_param(access.get(), parameter.data(), bus.data());
    pci_init(access.get());
    pci_scan_bus(access.get());
    for (pci_dev *device = access->devices; device != nullptr; device = device->next)
        functions.push_back(read_function(device, folder));

    const auto key = [](const ORB_PCI_FUNCTION &function) {
        const ORB_PCI_ADDRESS &at = function.address;
        return std::tuple(at.segment, at.bus, at.device, at.function);
    };
    std::sort(functions.begin(), functions.end(),
              [&](const auto &left, const auto &right) { return key(left) < key(right); });
    return true;
}

void read_pci_names(const std::string &root, const COMPLAINT &complain, PCI_NAMES &names) {
    int firstError = 0;
    for (const char *path : {"/usr/share/misc/pci.ids", "/usr/share/hwdata/pci.ids",
                             "/usr/share/pci.ids", "/var/lib/pciutils/pci.ids"}) {
        std::string text;
        const int error = read_file(root + path, IDS_LIMIT, text);
        if (error == 0) {
            names.read(text);
            return;
        }
        if (firstError == 0 || firstError == ENOENT) firstError = error;
    }
    complain("pci.ids", std::generic_category().message(firstError) + "; numbers stand for names");
}

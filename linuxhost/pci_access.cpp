#include "pci_access.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <map>
#include <memory>
#include <string_view>
#include <system_error>
#include <tuple>

#include "pci_decode.h"
#include "plain_text.h"
#include "program_io.h"
#include "sysfs_folder.h"

namespace {
constexpr unsigned CLASS_STORAGE = 0x01, CLASS_NETWORK = 0x02, CLASS_WIRELESS = 0x0D; // base
constexpr unsigned CLASS_FIBRE_CHANNEL = 0x0C04;
constexpr std::string_view HOST_STEM = "host";
constexpr unsigned long long MOST_ADAPTERS = 1000000; // far above the kernel's numbers of hosts
constexpr std::size_t IDS_LIMIT = 64u << 20;          // bytes; the published file has under 2 MiB

bool is_network(const ORB_PCI_FUNCTION &function) {
    const unsigned base = function.classCode >> 8;
    return base == CLASS_NETWORK || base == CLASS_WIRELESS;
}

/// The host's adapters are called vmhba, and the daemon knows a Fibre Channel adapter by a name
/// that begins so: "vmhba3" for "host3".
std::string adapter_name(std::string_view hostName) {
    const std::string_view number = number_behind(hostName, HOST_STEM);
    return number.empty() ? std::string() : std::string(PCI_ADAPTER_STEM).append(number);
}

/// Whether a SCSI host is a Fibre Channel port.
bool is_fibre_channel_host(const SYSFS_FOLDER &folder, const std::string &host) {
    return SYSFS_FOLDER(folder, (host + "/fc_host/" + host).c_str()).isOpen();
}

/// What a function drives, by the kernel's name for it: network interface, SCSI or Fibre Channel
/// host, NVMe controller. A network function that is a Fibre Channel adapter too goes by the
/// latter, for which no other list tells the address.
std::string kernel_name(const SYSFS_FOLDER &folder, const ORB_PCI_FUNCTION &function) {
    if (function.driver.empty()) return {};
    const bool network = is_network(function);
    if (!network && function.classCode >> 8 != CLASS_STORAGE &&
        function.classCode != CLASS_FIBRE_CHANNEL && function.driver != "virtio-pci")
        return {};
    if (network)
        if (std::string name = SYSFS_FOLDER(folder, "net").firstOfAll(); !name.empty()) {
            const std::string host = folder.firstNumbered(HOST_STEM);
            return !host.empty() && is_fibre_channel_host(folder, host) ? adapter_name(host) : name;
        }
    if (function.driver == "virtio-pci") {
        const SYSFS_FOLDER inner(folder, folder.firstNumbered("virtio").c_str());
        if (std::string name = SYSFS_FOLDER(inner, "net").firstOfAll(); !name.empty()) return name;
        return adapter_name(inner.firstNumbered(HOST_STEM));
    }
    if (const std::string host = folder.firstNumbered(HOST_STEM); !host.empty())
        return adapter_name(host);
    if (std::string name = SYSFS_FOLDER(folder, "nvme").firstNumbered("nvme"); !name.empty())
        return name;
    // libata puts a port between the function and the host.
    const std::string port = folder.firstNumbered("ata");
    return port.empty() ? std::string()
                        : adapter_name(SYSFS_FOLDER(folder, port.c_str()).firstNumbered(HOST_STEM));
}

/// A function's folder is a link into the tree of devices; the folder above is its bridge.
void read_parent(const std::string &target, ORB_PCI_FUNCTION &function) {
    const std::size_t last = target.rfind('/');
    if (last == std::string::npos || last == 0) return;
    const std::size_t before = target.rfind('/', last - 1);
    const std::size_t from = before == std::string::npos ? 0 : before + 1;
    function.hasParent =
        parse_pci_address(std::string_view(target).substr(from, last - from), function.parent);
}

/// Driver and numbers from one file each, for a tree without the one that tells all.
bool read_attributes(const SYSFS_FOLDER &folder, ORB_PCI_FUNCTION &function) {
    const auto number = [&](const char *name) { return pci_attribute_number(folder.text(name)); };
    const auto number16 = [&](const char *name) {
        return static_cast<std::uint16_t>(number(name));
    };
    if (folder.text("vendor").empty()) return false;
    function.vendor = number16("vendor");
    function.device = number16("device");
    function.subVendor = number16("subsystem_vendor");
    function.subDevice = number16("subsystem_device");
    const std::uint32_t classCode = number("class");
    function.classCode = static_cast<std::uint16_t>(classCode >> 8);
    function.programmingInterface = static_cast<std::uint8_t>(classCode);
    function.driver = folder.linkedName("driver");
    return true;
}

} // namespace

bool read_pci_function(const SYSFS_FOLDER &devices, const char *name, ORB_PCI_FUNCTION &function) {
    const SYSFS_FOLDER folder(devices, name);
    if (!folder.isOpen()) return false;
    std::array<char, SYSFS_FOLDER::TEXT_LIMIT> room;
    std::size_t read = 0;
    const bool told = folder.bytes("uevent", room, read) == 0 &&
                      decode_pci_uevent(std::string_view(room.data(), read), function);
    if (!told && !read_attributes(folder, function)) return false;
    function.revision = static_cast<std::uint8_t>(pci_attribute_number(folder.text("revision")));
    const std::string irq = folder.text("irq");
    std::from_chars(irq.data(), irq.data() + irq.size(), function.irq);
    // Registers that can't be read cost their own fields only.
    if (folder.bytes("config", std::span(room).first(PCI_REGISTERS_SIZE), read) == 0)
        decode_pci_registers(std::string_view(room.data(), read), function);
    function.label = folder.text("label");
    function.iommuGroup = folder.linkedName("iommu_group");
    function.resetMethods = folder.text("reset_method");
    function.kernelName = kernel_name(folder, function);
    read_parent(devices.linkTarget(name), function);
    return true;
}

namespace {
auto sort_key(const ORB_PCI_ADDRESS &at) {
    return std::tuple(at.segment, at.bus, at.device, at.function);
}

/// Gives each function the name of its physical slot, whose file tells the address without the
/// function's number: one slot holds all functions of a device.
void read_slots(const std::string &path, std::vector<ORB_PCI_FUNCTION> &functions) {
    const SYSFS_FOLDER slots(path);
    std::map<std::tuple<std::uint32_t, std::uint8_t, std::uint8_t>, std::string> bySlot;
    // Many machines have no such folder.
    static_cast<void>(slots.list([&](const char *name) {
        ORB_PCI_ADDRESS at;
        const std::string address = SYSFS_FOLDER(slots, name).text("address");
        if (parse_pci_address(address + ".0", at))
            bySlot.try_emplace({at.segment, at.bus, at.device}, name);
    }));
    if (bySlot.empty()) return;
    for (ORB_PCI_FUNCTION &function : functions) {
        const ORB_PCI_ADDRESS &at = function.address;
        if (const auto slot = bySlot.find({at.segment, at.bus, at.device}); slot != bySlot.end())
            function.slotName = slot->second;
    }
}

/// The daemon passes over a Fibre Channel adapter without a name: those that no driver has named
/// get the numbers behind the highest one in use.
void name_the_unnamed(const std::string &hostsPath, std::vector<ORB_PCI_FUNCTION> &functions) {
    const auto unnamed = [](const ORB_PCI_FUNCTION &function) {
        return function.classCode == CLASS_FIBRE_CHANNEL && function.kernelName.empty();
    };
    if (std::none_of(functions.begin(), functions.end(), unnamed)) return;
    unsigned long long next = 0, number = 0;
    const auto use = [&](std::string_view name, std::string_view stem) {
        if (leading_number(number_behind(name, stem), number) && number < MOST_ADAPTERS)
            next = std::max(next, number + 1);
    };
    // Without the folder the names in the list are all there are.
    static_cast<void>(
        SYSFS_FOLDER(hostsPath).list([&](std::string_view name) { use(name, HOST_STEM); }));
    for (const ORB_PCI_FUNCTION &function : functions) use(function.kernelName, PCI_ADAPTER_STEM);
    for (ORB_PCI_FUNCTION &function : functions)
        if (unnamed(function))
            function.kernelName = std::string(PCI_ADAPTER_STEM) + std::to_string(next++);
}
} // namespace

bool read_pci_functions(const std::string &root, const COMPLAINT &complain,
                        std::vector<ORB_PCI_FUNCTION> &functions) {
    const std::string path = root + "/sys/bus/pci/devices";
    const SYSFS_FOLDER devices(path);
    const int error = devices.list([&](const char *name) {
        ORB_PCI_FUNCTION function;
        if (!parse_pci_address(name, function.address))
            complain(path + "/" + one_line(name), "no PCI address; passed over");
        else if (read_pci_function(devices, name, function))
            functions.push_back(std::move(function));
    });
    if (error != 0) {
        complain(path, std::generic_category().message(error));
        return false;
    }
    std::sort(functions.begin(), functions.end(), [](const auto &left, const auto &right) {
        return sort_key(left.address) < sort_key(right.address);
    });
    read_slots(root + "/sys/bus/pci/slots", functions);
    name_the_unnamed(root + "/sys/class/scsi_host", functions);
    return true;
}

namespace {
struct CLOSE_FILE {
    int fd;
    ~CLOSE_FILE() { ::close(fd); }
};

/// Passes a file on in pieces of whole lines: it is much longer than what is wanted of it, and a
/// piece stays in the processor's cache. Lines that don't fit a piece are left out.
/// @return 0 or errno; what had been read before an error has been passed on
int read_lines(const std::string &path, PCI_NAMES &names) {
    const CLOSE_FILE file{::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
    if (file.fd < 0) return errno;
    constexpr std::size_t PIECE = 128 * 1024;
    const auto room = std::make_unique_for_overwrite<char[]>(PIECE);
    std::size_t filled = 0, total = 0;
    bool lineIsTooLong = false;
    while (total < IDS_LIMIT && !names.complete()) {
        const ssize_t got = ::read(file.fd, room.get() + filled, PIECE - filled);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return errno;
        if (got == 0) break;
        total += static_cast<std::size_t>(got);
        filled += static_cast<std::size_t>(got);
        std::string_view text(room.get(), filled);
        if (lineIsTooLong) {
            const std::size_t end = text.find('\n');
            if (end == std::string_view::npos) {
                filled = 0;
                continue;
            }
            text.remove_prefix(end + 1);
            lineIsTooLong = false;
        }
        const std::size_t whole = text.rfind('\n') + 1; // 0 where there is no newline
        names.read(text.substr(0, whole));
        text.remove_prefix(whole);
        lineIsTooLong = text.size() == PIECE;
        filled = lineIsTooLong ? 0 : text.size();
        std::memmove(room.get(), text.data(), filled);
    }
    if (!lineIsTooLong) names.read(std::string_view(room.get(), filled));
    return 0;
}
} // namespace

void read_pci_names(const std::string &root, const COMPLAINT &complain, PCI_NAMES &names) {
    int firstError = 0;
    for (const char *path : {"/usr/share/misc/pci.ids", "/usr/share/hwdata/pci.ids",
                             "/usr/share/pci.ids", "/var/lib/pciutils/pci.ids"}) {
        const int error = read_lines(root + path, names);
        if (error == 0) return;
        if (firstError == 0 || firstError == ENOENT) firstError = error;
    }
    complain("pci.ids", std::generic_category().message(firstError) + "; numbers stand for names");
}

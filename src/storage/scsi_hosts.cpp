#include "storage/scsi_hosts.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "core/sysfs_readers.h"
#include "hostaccess/orbHostFiles.h"

namespace {
struct CLOSE_FOLDER {
    void operator()(DIR *folder) const { ::closedir(folder); }
};

// The kernel follows the link before it takes the step up, so the texts stay as they are.
constexpr std::string_view CARD_OF_HOST = "/device/../", CARD_OF_PARENT = "/device/../../";

bool is_readable(const std::string &path) {
    return ::access(path.c_str(), R_OK) == 0;
}

/// The device's id above the vendor's, modulo 2^32.
std::uint32_t join_ids(std::uint32_t device, std::uint32_t vendor) {
    return (device << 16) + vendor;
}
} // namespace

std::vector<std::string> list_scsi_hosts() {
    std::vector<std::string> names;
    const std::string path = IorbHostFiles::get().map(SCSI_HOST_CLASS + std::string("/"));
    const std::unique_ptr<DIR, CLOSE_FOLDER> folder(::opendir(path.c_str()));
    if (folder == nullptr) return names;
    while (const dirent *const entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

HEAP_TEXT read_host_attribute(const std::string &hostPath, const std::string &name) {
    return HEAP_TEXT(get_sysfs_str((IorbHostFiles::get().map(hostPath) + "/" + name).c_str()));
}

bool read_pci_card_ids(const std::string &hostPath, ORB_PCI_CARD_IDS &out) {
    const std::string path = IorbHostFiles::get().map(hostPath);
    std::string card = path;
    if (is_readable(path + "/device/../device")) {
        card += CARD_OF_HOST;
    } else if (is_readable(path + "/device/../../vendor")) {
        card += CARD_OF_PARENT;
    } else {
        return false;
    }
    const auto number = [&card](const char *name) { return get_sysfs_ihex((card + name).c_str()); };
    const std::uint32_t device = number("device"), vendor = number("vendor");
    const std::uint32_t subDevice = number("subsystem_device");
    const std::uint32_t subVendor = number("subsystem_vendor");
    out = {join_ids(device, vendor), join_ids(subDevice, subVendor)};
    return true;
}

bool read_device_link(const std::string &hostPath, std::string &out) {
    std::array<char, DEVICE_LINK_SIZE> text;
    const ssize_t length = ::readlink((IorbHostFiles::get().map(hostPath) + "/device").c_str(),
                                      text.data(), text.size());
    if (length < 0) return false;
    out.assign(text.data(), static_cast<std::size_t>(length));
    return true;
}

std::string pci_location_of_host(const std::string &hostPath, const std::string &link) {
    std::string location = last_pci_location(link.c_str());
    if (!location.empty()) return location;
    IorbHostFiles &files = IorbHostFiles::get();
    const HEAP_TEXT path(::realpath((files.map(hostPath) + "/device").c_str(), nullptr));
    if (path == nullptr) return {};
    // What lies above the host's own tree is no place of its devices.
    const HEAP_TEXT tree(::realpath(files.map("/sys").c_str(), nullptr));
    const std::string_view whole = path.get();
    const bool isBelow = tree != nullptr && whole.starts_with(tree.get());
    return last_pci_location(path.get() + (isBelow ? std::string_view(tree.get()).size() : 0));
}

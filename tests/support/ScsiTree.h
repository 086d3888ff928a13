#pragma once

#include <filesystem>
#include <string>

#include "core/format_text.h"
#include "fakes/TemporaryRoot.h"

/// Builds SCSI hosts and their PCI cards below a temporary root, with relative links as the kernel
/// makes them. A device is named by its path below "/sys/devices". One thread.
class ScsiTree {
public:
    explicit ScsiTree(TemporaryRoot &host) : root(host) {
        root.makeDirectory("/sys/class/scsi_host");
        root.makeDirectory("/sys/class/scsi_device");
    }

    static std::string hostPath(const std::string &name) { return "/sys/class/scsi_host/" + name; }

    /// The four files of a PCI device, with ids as they go together: device above vendor.
    void addCard(const std::string &device, unsigned chipset, unsigned board) {
        const std::string folder = "/sys/devices/" + device + "/";
        root.write(folder + "device", format_text("0x%04x\n", chipset >> 16));
        root.write(folder + "vendor", format_text("0x%04x\n", chipset & 0xFFFF));
        root.write(folder + "subsystem_device", format_text("0x%04x\n", board >> 16));
        root.write(folder + "subsystem_vendor", format_text("0x%04x\n", board & 0xFFFF));
    }

    /// A host as present kernels have it: the class has a link, and the host's "device" is a short
    /// one without an address. @param parent  the card, or "<card>/ata1"
    void addHost(const std::string &name, const std::string &parent) {
        const std::string below = parent + "/" + name;
        makeHost(name, below, "../../../" + name);
    }
    /// The same, with a "device" link that goes by the card's address.
    void addHostWithLongLink(const std::string &name, const std::string &parent) {
        const std::string below = parent + "/" + name;
        makeHost(name, below, climb(below + "/scsi_host/" + name) + below);
    }
    /// A host as old kernels had it: a folder in the class with a long "device" link.
    void addOldHost(const std::string &name, const std::string &parent) {
        root.makeDirectory("/sys/devices/" + parent + "/" + name);
        root.makeDirectory(hostPath(name));
        link("../../../devices/" + parent + "/" + name, hostPath(name) + "/device");
    }
    void removeHost(const std::string &name) {
        std::filesystem::remove_all(root.map(hostPath(name)));
    }
    void link(const std::string &target, const std::string &path) {
        std::filesystem::create_symlink(target, root.map(path));
    }

private:
    void makeHost(const std::string &name, const std::string &below, const std::string &device) {
        const std::string folder = "/sys/devices/" + below + "/scsi_host/" + name;
        root.makeDirectory(folder);
        if (!std::filesystem::is_symlink(root.map(folder + "/device")))
            link(device, folder + "/device");
        link("../../devices/" + below + "/scsi_host/" + name, hostPath(name));
    }
    /// From a folder below "/sys/devices" up to that.
    static std::string climb(const std::string &below) {
        std::string up = "../";
        for (const char c : below)
            if (c == '/') up += "../";
        return up;
    }

    TemporaryRoot &root;
};

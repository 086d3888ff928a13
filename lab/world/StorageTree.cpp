#include "world/StorageTree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/format_text.h"

namespace fs = std::filesystem;

namespace {
constexpr const char *CLASSES[] = {"scsi_device", "scsi_host"};
/// What a class folder is called while the class's own name is a link to it: such a link keeps its
/// times whatever happens in the folder.
constexpr const char *BEHIND_LINK = ".entries-of-";

/// One change of the tree; the first failure ends it.
class TreeChange {
public:
    TreeChange(std::string folder, const SCENARIO_STORAGE &wanted, std::string &failure)
        : sys(std::move(folder)), storage(wanted), error(failure) {}

    bool clear();
    bool makeClasses();
    bool makeController(const SCENARIO_STORAGE_CONTROLLER &controller);
    bool setTime(std::int64_t now); ///< of a class folder whose entries changed

private:
    std::string classFolder(const std::string &name) const {
        return sys + "/class/" + (storage.foldersKeepTimes ? BEHIND_LINK : "") + name;
    }
    bool fail(const std::string &path, const std::string &why) {
        error = path + ": " + why;
        return false;
    }
    bool folder(const std::string &path);
    bool file(const std::string &path, const std::string &text);
    bool attribute(const std::string &path, const std::string &text);
    bool link(const std::string &path, const std::string &target);
    bool remove(const std::string &path);
    bool removeHost(const std::string &entry, const std::string &device);
    bool makeHost(const SCENARIO_STORAGE_CONTROLLER &controller, const SCENARIO_STORAGE_HOST &host,
                  const std::string &pciPath);

    const std::string sys;
    const SCENARIO_STORAGE &storage;
    std::string &error;
    bool hasMoved = false; // an entry of a class came or went
};

bool TreeChange::folder(const std::string &path) {
    std::error_code failure;
    fs::create_directories(path, failure);
    return failure ? fail(path, failure.message()) : true;
}

bool TreeChange::remove(const std::string &path) {
    std::error_code failure;
    fs::remove_all(path, failure);
    return failure ? fail(path, failure.message()) : true;
}

/// Leaves a file that holds the text already as it is; else replaces it as one step.
bool TreeChange::file(const std::string &path, const std::string &text) {
    std::ifstream former(path, std::ios::binary);
    if (former.is_open() && std::string(std::istreambuf_iterator<char>(former), {}) == text)
        return true;
    const std::string fresh = path + ".new";
    std::ofstream out(fresh, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out || ::rename(fresh.c_str(), path.c_str()) != 0) return fail(path, "can't be written");
    return true;
}

/// An attribute that a driver has only where there is something to tell.
bool TreeChange::attribute(const std::string &path, const std::string &text) {
    return text.empty() ? remove(path) : file(path, text + "\n");
}

bool TreeChange::link(const std::string &path, const std::string &target) {
    std::error_code failure;
    if (fs::read_symlink(path, failure) == target) return true;
    failure.clear();
    fs::create_symlink(target, path, failure);
    return failure ? fail(path, failure.message()) : true;
}

bool TreeChange::clear() {
    return remove(sys + "/class") && remove(sys + "/devices");
}

bool TreeChange::makeClasses() {
    for (const std::string name : CLASSES) {
        if (!folder(classFolder(name))) return false;
        if (storage.foldersKeepTimes && !link(sys + "/class/" + name, BEHIND_LINK + name))
            return false;
    }
    return folder(sys + "/devices");
}

bool TreeChange::removeHost(const std::string &entry, const std::string &device) {
    std::error_code failure;
    hasMoved = hasMoved || fs::exists(fs::symlink_status(entry, failure));
    return remove(entry) && remove(device);
}

bool TreeChange::makeHost(const SCENARIO_STORAGE_CONTROLLER &controller,
                          const SCENARIO_STORAGE_HOST &host, const std::string &pciPath) {
    const std::string name = format_text("host%u", host.number);
    const std::string between = host.ata ? format_text("/ata%u", *host.ata) : "";
    const std::string device = pciPath + between + "/" + name; // below devices
    const std::string entry = classFolder("scsi_host") + "/" + name;
    const bool isFolder = storage.links == "folder";
    const std::string attributes =
        isFolder ? entry : sys + "/devices/" + device + "/scsi_host/" + name;
    if (!controller.present || !host.present) return removeHost(entry, sys + "/devices/" + device);
    std::error_code failure;
    hasMoved = hasMoved || !fs::exists(fs::symlink_status(entry, failure));
    // From the folder of the attributes up to that of all devices.
    std::string up = "../../../devices/";
    if (!isFolder) {
        up = "../../"; // the two below the host's own
        for (const char c : device) up += c == '/' ? "../" : "";
        up += "../";
    }
    return folder(sys + "/devices/" + device) && folder(attributes) &&
           link(attributes + "/device",
                storage.links == "short" ? "../../../" + name : up + device) &&
           attribute(attributes + "/proc_name", controller.driver) &&
           attribute(attributes + "/firmware_revision", controller.firmware) &&
           attribute(attributes + "/board_tracer", controller.tracer) &&
           attribute(attributes + "/unique_id", std::to_string(host.number)) &&
           attribute(attributes + "/state", host.state == "unreadable" ? "" : host.state) &&
           (isFolder || link(entry, "../../devices/" + device + "/scsi_host/" + name));
}

bool TreeChange::makeController(const SCENARIO_STORAGE_CONTROLLER &controller) {
    const std::string &first = controller.bridge.empty() ? controller.address : controller.bridge;
    std::string pciPath = "pci" + first.substr(0, 7) + "/" + first;
    if (!controller.bridge.empty()) pciPath += "/" + controller.address;
    const std::string device = sys + "/devices/" + pciPath;
    if (controller.present &&
        !(folder(device) &&
          attribute(device + "/vendor", format_text("0x%04x", controller.vendor)) &&
          attribute(device + "/device", format_text("0x%04x", controller.device)) &&
          attribute(device + "/subsystem_vendor", format_text("0x%04x", controller.subVendor)) &&
          attribute(device + "/subsystem_device", format_text("0x%04x", controller.subDevice)) &&
          attribute(device + "/class", format_text("0x%04x00", controller.deviceClass))))
        return false;
    for (const SCENARIO_STORAGE_HOST &each : controller.hosts)
        if (!makeHost(controller, each, pciPath)) return false;
    return controller.present || remove(device);
}

bool TreeChange::setTime(std::int64_t now) {
    if (!hasMoved) return true;
    const timespec times[2] = {{now, 0}, {now, 0}};
    const std::string path = classFolder("scsi_host");
    if (::utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) return fail(path, "time not set");
    return true;
}
} // namespace

bool StorageTree::make(const SCENARIO_STORAGE &storage, std::int64_t now,
                       std::string &error) const {
    TreeChange tree(sys, storage, error);
    return tree.clear() && tree.makeClasses() && change(storage, now, error);
}

bool StorageTree::change(const SCENARIO_STORAGE &storage, std::int64_t now,
                         std::string &error) const {
    TreeChange tree(sys, storage, error);
    for (const SCENARIO_STORAGE_CONTROLLER &each : storage.controllers)
        if (!tree.makeController(each)) return false;
    return tree.setTime(now);
}

#include <cerrno>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "fc_access.h"
#include "fc_report.h"
#include "nic_access.h"
#include "nic_report.h"
#include "os_release.h"
#include "pci_access.h"
#include "plain_text.h"
#include "program_io.h"
#include "system_version.h"

namespace {
constexpr std::string_view PROGRAM = "localcli";
constexpr std::size_t SMALL_FILE = 64 * 1024;
constexpr std::string_view USAGE =
    "usage: localcli [--root DIR] system version get\n"
    "       localcli [--root DIR] hardware pci list\n"
    "       localcli [--root DIR] network nic list\n"
    "       localcli [--root DIR] network nic get -n|--nic-name NAME\n"
    "       localcli [--root DIR] storage san fc list\n"
    "       localcli --help | --version\n";

int system_version_get(const std::string &root) {
    std::string release, text;
    int error = read_file(root + "/etc/os-release", SMALL_FILE, release);
    if (error == ENOENT) error = read_file(root + "/usr/lib/os-release", SMALL_FILE, release);
    if (error != 0) complain(PROGRAM, root + "/etc/os-release", error);
    const auto values = parse_os_release(release);
    if (error == 0 && values.empty())
        complain(PROGRAM, root + "/etc/os-release", "holds no assignment");

    const std::string kernelPath = root + "/proc/sys/kernel/osrelease";
    const int kernelError = read_file(kernelPath, SMALL_FILE, text);
    const ORB_SYSTEM_VERSION version = choose_system_version(values, text);
    if (version.version.empty()) {
        if (kernelError != 0)
            complain(PROGRAM, kernelPath, kernelError);
        else
            complain(PROGRAM, "system version get", "neither os-release nor the kernel tells one");
        return EXIT_FAILED;
    }
    return print_result(PROGRAM, format_system_version(version));
}

void report(const std::string &what, const std::string &why) {
    complain(PROGRAM, what, why);
}

int hardware_pci_list(const std::string &root) {
    std::vector<ORB_PCI_FUNCTION> functions;
    if (!read_pci_functions(root, report, functions)) return EXIT_FAILED;
    PCI_NAMES names;
    for (const ORB_PCI_FUNCTION &function : functions)
        names.want(function.vendor, function.device, function.classCode);
    if (!functions.empty()) read_pci_names(root, report, names);
    return print_result(PROGRAM, format_pci_list(functions, names));
}

int network_nic_list(const std::string &root) {
    std::vector<ORB_NIC> nics;
    if (const int error = read_nics(root, nics)) {
        complain(PROGRAM, root + "/sys/class/net", error);
        return EXIT_FAILED;
    }
    PCI_NAMES names;
    for (const ORB_NIC &nic : nics)
        if (!nic.pciAddress.empty()) names.want(nic.vendor, nic.device);
    if (!names.complete()) read_pci_names(root, report, names);
    for (ORB_NIC &nic : nics)
        if (!nic.pciAddress.empty())
            nic.description =
                names.vendorName(nic.vendor) + " " + names.deviceName(nic.vendor, nic.device);
    return print_result(PROGRAM, format_nic_list(nics));
}

int network_nic_get(const std::string &root, const std::string &name) {
    ORB_NIC nic;
    if (const int error = read_nic(root, name, nic)) {
        complain(PROGRAM, one_line(name), error);
        return EXIT_FAILED;
    }
    // This machine's drivers know nothing of another one's adapters.
    const ORB_ETHTOOL_FACTS facts =
        root.empty() ? read_ethtool_facts(ethtool_of_this_machine(name)) : ORB_ETHTOOL_FACTS();
    return print_result(PROGRAM, format_nic_details(nic, facts));
}

int storage_san_fc_list(const std::string &root) {
    std::vector<ORB_FC_PORT> ports;
    if (const int error = read_fc_ports(root, ports)) {
        complain(PROGRAM, root + "/sys/class/fc_host", error);
        return EXIT_FAILED;
    }
    PCI_NAMES names;
    const auto wants_name = [](const ORB_FC_PORT &port) {
        return port.modelDescription.empty() && !port.pciAddress.empty();
    };
    for (const ORB_FC_PORT &port : ports)
        if (wants_name(port)) names.want(port.vendor, port.device);
    if (!names.complete()) read_pci_names(root, report, names);
    for (ORB_FC_PORT &port : ports) {
        if (wants_name(port))
            port.modelDescription =
                names.vendorName(port.vendor) + " " + names.deviceName(port.vendor, port.device);
        else if (port.modelDescription.empty())
            port.modelDescription = port.symbolicName;
    }
    return print_result(PROGRAM, format_fc_list(ports));
}

int usage_error(std::string_view what, std::string_view why) {
    return refuse_usage(PROGRAM, USAGE, what, why);
}
} // namespace

int main(int argc, char **argv) {
    if (!prepare_standard_streams()) {
        complain(PROGRAM, "standard output", EBADF);
        return EXIT_FAILED;
    }
    std::string root = root_from_environment();
    std::string command;
    std::optional<std::string> nicName;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        // Whether it is that option; takes its value from behind "=" or from the next word.
        const char *value = nullptr;
        bool valueMissing = false;
        const auto takes_value = [&](std::string_view option) {
            if (word == option) {
                value = i + 1 < argc ? argv[++i] : nullptr;
                valueMissing = value == nullptr;
                return true;
            }
            if (!option.starts_with("--") || !word.starts_with(option) ||
                word.substr(option.size(), 1) != "=")
                return false;
            value = word.data() + option.size() + 1;
            return true;
        };
        if (word == "--help" || word == "-h") return print_result(PROGRAM, USAGE);
        if (word == "--version") return print_result(PROGRAM, "localcli " ORB_VERSION "\n");
        if (takes_value("--root")) {
            if (valueMissing) return usage_error(word, "needs a folder");
            root = without_end_slashes(value);
        } else if (takes_value("-n") || takes_value("--nic-name")) {
            if (valueMissing) return usage_error(word, "needs a name");
            nicName = value;
        } else if (word.starts_with("-")) {
            return usage_error(word, "unknown option");
        } else {
            if (!command.empty()) command += ' ';
            command += word;
        }
    }
    if (command == "network nic get")
        return nicName ? network_nic_get(root, *nicName) : usage_error("-n", "missing");
    if (nicName) return usage_error("-n", "only network nic get takes a name");
    if (command == "system version get") return system_version_get(root);
    if (command == "hardware pci list") return hardware_pci_list(root);
    if (command == "network nic list") return network_nic_list(root);
    if (command == "storage san fc list") return storage_san_fc_list(root);
    return command.empty() ? usage_error("command", "missing")
                           : usage_error(one_line(command), "unknown command");
}

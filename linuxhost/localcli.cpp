#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "os_release.h"
#include "pci_access.h"
#include "plain_text.h"
#include "program_io.h"
#include "system_version.h"

namespace {
constexpr std::string_view PROGRAM = "localcli";
constexpr std::size_t SMALL_FILE = 64 * 1024;
constexpr std::string_view USAGE = "usage: localcli [--root DIR] system version get\n"
                                   "       localcli [--root DIR] hardware pci list\n"
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

int hardware_pci_list(const std::string &root) {
    const COMPLAINT report = [](const std::string &what, const std::string &why) {
        complain(PROGRAM, what, why);
    };
    std::vector<ORB_PCI_FUNCTION> functions;
    if (!read_pci_functions(root, report, functions)) return EXIT_FAILED;
    PCI_NAMES names;
    for (const ORB_PCI_FUNCTION &function : functions)
        names.want(function.vendor, function.device, function.classCode);
    if (!functions.empty()) read_pci_names(root, report, names);
    return print_result(PROGRAM, format_pci_list(functions, names));
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
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--help" || word == "-h") return print_result(PROGRAM, USAGE);
        if (word == "--version") return print_result(PROGRAM, "localcli " ORB_VERSION "\n");
        if (word == "--root" || word.starts_with("--root=")) {
            if (word == "--root" && i + 1 == argc) return usage_error("--root", "needs a folder");
            root = without_end_slashes(word == "--root" ? argv[++i]
                                                        : argv[i] + std::strlen("--root="));
        } else if (word.starts_with("-")) {
            return usage_error(word, "unknown option");
        } else {
            if (!command.empty()) command += ' ';
            command += word;
        }
    }
    if (command == "system version get") return system_version_get(root);
    if (command == "hardware pci list") return hardware_pci_list(root);
    return command.empty() ? usage_error("command", "missing")
                           : usage_error(one_line(command), "unknown command");
}

/// How long localcli takes for its lists beside lspci -vmm, each as a whole process: on this
/// machine and on a made-up tree of 1000 functions. The two run in turns, so that both meet the
/// same load.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {
constexpr int ROUNDS = 41, FUNCTIONS = 1000;

/// A child's time in milliseconds, its output thrown away. Negative where it fails.
double run(const std::vector<std::string> &words) {
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string &word : words) arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    int status = -1;
    if (::posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0)
        ::waitpid(child, &status, 0);
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    ::posix_spawn_file_actions_destroy(&actions);
    return status == 0 ? time.count() : -1;
}

double median(std::vector<double> &times) {
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

bool compare(const char *what, const std::vector<std::string> &ours,
             const std::vector<std::string> &reference) {
    std::vector<double> times, others;
    for (int i = 0; i < ROUNDS; ++i) {
        times.push_back(run(ours));
        others.push_back(run(reference));
        if (times.back() < 0 || others.back() < 0) {
            std::fprintf(stderr, "localcli_bench: %s: %s fails\n", what,
                         (times.back() < 0 ? ours : reference)[0].c_str());
            return false;
        }
    }
    const double time = median(times), other = median(others);
    std::printf("%-38s %8.2f ms   lspci -vmm %8.2f ms   ratio %.2f\n", what, time, other,
                time / other);
    return true;
}

void write(const std::filesystem::path &path, const std::string &text) {
    std::ofstream(path, std::ios::binary) << text;
}

std::string hexadecimal(int number, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*x", digits, static_cast<unsigned>(number));
    return text;
}

/// A machine of network adapters, Fibre Channel adapters and bridges, with the files that the
/// kernel has for each.
void make_machine(const std::filesystem::path &root) {
    namespace fs = std::filesystem;
    fs::create_directories(root / "sys/bus/pci/devices");
    fs::create_directories(root / "sys/bus/pci/slots");
    fs::create_directories(root / "usr/share/misc");
    fs::create_symlink("/usr/share/misc/pci.ids", root / "usr/share/misc/pci.ids");
    constexpr const char *CLASSES[] = {"020000", "0c0400", "060400"};
    for (int i = 0; i < FUNCTIONS; ++i) {
        const std::string bus = "0000:" + hexadecimal(i / 32, 2);
        const std::string address = bus + ":" + hexadecimal(i / 4 % 8, 2) + "." + char('0' + i % 4);
        const std::string place = "devices/pci" + bus + "/" + address, number = std::to_string(i);
        const std::string id = hexadecimal(0x1000 + i, 4), classCode = CLASSES[i % 3];
        const fs::path folder = root / "sys" / place;
        fs::create_directories(folder);
        std::string registers(64, '\0');
        registers[0x0E] = i % 3 == 2 ? 1 : 0;
        write(folder / "config", registers);
        write(folder / "vendor", "0x8086\n");
        write(folder / "device", "0x" + id + "\n");
        write(folder / "subsystem_vendor", "0x8086\n");
        write(folder / "subsystem_device", "0x0001\n");
        write(folder / "class", "0x" + classCode + "\n");
        write(folder / "revision", "0x01\n");
        write(folder / "irq", number + "\n");
        write(folder / "numa_node", "0\n");
        write(folder / "reset_method", "flr bus\n");
        std::string resources;
        for (int line = 0; line < 7; ++line)
            resources += "0x0000000000000000 0x0000000000000000 0x0000000000000000\n";
        write(folder / "resource", resources);
        write(folder / "uevent", "DRIVER=example\nPCI_CLASS=" + classCode.substr(1) +
                                     "\nPCI_ID=8086:" + id + "\nPCI_SUBSYS_ID=8086:0001\n" +
                                     "PCI_SLOT_NAME=" + address + "\n");
        fs::create_symlink("/sys/bus/pci/drivers/example", folder / "driver");
        fs::create_symlink("../../../kernel/iommu_groups/" + number, folder / "iommu_group");
        if (i % 3 == 0) fs::create_directories(folder / ("net/eth" + number));
        if (i % 3 == 1) fs::create_directories(folder / ("host" + number));
        fs::create_symlink("../../../" + place, root / "sys/bus/pci/devices" / address);
    }
}
} // namespace

int main() {
    ::unsetenv("ORB_ROOT"); // a machine that the caller has in mind
    const std::string program = ORB_LOCALCLI;
    bool good = compare("network nic list", {program, "network", "nic", "list"}, {"lspci", "-vmm"});
    good = compare("hardware pci list", {program, "hardware", "pci", "list"}, {"lspci", "-vmm"}) &&
           good;
    std::string root = (std::filesystem::temp_directory_path() / "orb-bench.XXXXXX").string();
    if (::mkdtemp(root.data()) == nullptr) {
        std::perror("localcli_bench: mkdtemp");
        return 1;
    }
    make_machine(root);
    good = compare("hardware pci list, 1000 functions",
                   {program, "--root", root, "hardware", "pci", "list"},
                   {"lspci", "-A", "linux-sysfs", "-O", "sysfs.path=" + root + "/sys/bus/pci",
                    "-vmm"}) &&
           good;
    std::filesystem::remove_all(root);
    return good ? 0 : 1;
}

// In the virtual machine: our own end of the comparison. Uses liborb's transport as the daemon
// does, on the machine's own device, and writes what the reference tools send.
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "bench/vm/raw_requests.h"
#include "core/Logger.h"
#include "reporting/orbipmi.h"

namespace {
int fail(const std::string &what) {
    std::cerr << "vm_transfer: " << what << '\n';
    return 1;
}

bool write_file(const std::string &path, const std::string &content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    return !file.fail();
}

/// Writes `document`, `ipmitool.list` and `freeipmi.list`.
int write_lists(std::size_t count, const std::string &folder) {
    const std::string document = bench_document(count);
    const std::vector<RMC_MESSAGE> messages = bench_messages(document);
    if (!write_file(folder + "/document", document) ||
        !write_file(folder + "/ipmitool.list", ipmitool_list(messages)) ||
        !write_file(folder + "/freeipmi.list", freeipmi_list(messages)))
        return fail(folder + ": can't be written");
    return 0;
}

int send(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return fail(path + ": can't be read");
    const std::string document{std::istreambuf_iterator<char>(file), {}};
    if (ipmi::IPMIUtils().RMC_CLI_Cmd_Execution(std::string(BENCH_COMMAND), document) != 0)
        return fail("the transfer failed");
    return 0;
}
} // namespace

int main(int argc, char **argv) {
    CPlusPlusLogging::log_after_main_began();
    const std::string what = argc > 1 ? argv[1] : "";
    if (argc == 4 && what == "write")
        return write_lists(std::strtoul(argv[2], nullptr, 10), argv[3]);
    if (argc == 3 && what == "send") return send(argv[2]);
    std::cerr << "usage: vm_transfer write MESSAGES FOLDER | vm_transfer send FILE\n";
    return 2;
}

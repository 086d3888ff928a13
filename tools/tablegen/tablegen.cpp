// tablegen product FILE.csv OUTPUT, tablegen pci-vendors FILE OUTPUT: makes a header with a
// constant table. Status 0, 1 where no table could be made (the output is then left as it was), 2
// for usage.
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "tools/tablegen/pci_vendors.h"
#include "tools/tablegen/product_table.h"

namespace {
constexpr std::size_t LARGEST_INPUT = std::size_t{64} << 20;

using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

File open_file(const std::string &path, const char *mode) {
    return {std::fopen(path.c_str(), mode), &std::fclose};
}

int fail(const std::string &what, const std::string &why) {
    std::fprintf(stderr, "tablegen: %s: %s\n", what.c_str(), why.c_str());
    return 1;
}
int fail_errno(const std::string &what) {
    return fail(what, std::generic_category().message(errno));
}

/// @return 0, else the program's status, with the reason told
int read_input(const std::string &path, std::string &text) {
    const File file = open_file(path, "rbe");
    if (!file) return fail_errno(path);
    char piece[65536];
    for (std::size_t count = 0; (count = std::fread(piece, 1, sizeof piece, file.get())) > 0;) {
        if (text.size() + count > LARGEST_INPUT) return fail(path, "too large for a table");
        text.append(piece, count);
    }
    return std::ferror(file.get()) != 0 ? fail_errno(path) : 0;
}

/// Writes beside the output and renames, so that a table is there whole or not at all.
int write_output(const std::string &path, const std::string &text) {
    const std::string beside = path + ".new";
    File file = open_file(beside, "wbe");
    if (!file) return fail_errno(beside);
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    if (std::fclose(file.release()) != 0 || !isWritten ||
        std::rename(beside.c_str(), path.c_str()) != 0) {
        const int status = fail_errno(path);
        (void)std::remove(beside.c_str()); // it is of no use; the failure has been told
        return status;
    }
    return 0;
}

int usage(std::FILE *to, int status) {
    std::fputs("usage: tablegen product FILE.csv OUTPUT\n"
               "       tablegen pci-vendors FILE OUTPUT\n"
               "Makes a C++ header with a constant table out of a product table, or out of the\n"
               "vendors of a pci.ids file.\n",
               to);
    return status;
}
} // namespace

int main(int argc, char **argv) {
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "--help") return usage(stdout, 0);
    if (argc != 4 || (command != "product" && command != "pci-vendors")) return usage(stderr, 2);
    const std::string input = argv[2];
    std::string text;
    if (const int status = read_input(input, text); status != 0) return status;
    std::string header;
    const TABLE_FAULT fault =
        command == "product"
            ? make_product_table(text, std::filesystem::path(input).stem().string(), header)
            : make_pci_vendors(text, header);
    if (!fault.why.empty())
        return fail(fault.line == 0 ? input : input + ":" + std::to_string(fault.line), fault.why);
    return write_output(argv[3], header);
}

#include <getopt.h>
#include <sys/stat.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "program_io.h"
#include "smbios_image.h"

namespace {
constexpr std::string_view PROGRAM = "orb-smbios-image";
constexpr std::size_t ENTRY_LIMIT = 4096, TABLE_LIMIT = 16u << 20; // bytes
constexpr std::string_view USAGE =
    "usage: orb-smbios-image [--root DIR] [--tables DIR] [--output FILE]\n"
    "       orb-smbios-image --help | --version\n";

int usage_error(std::string_view what, std::string_view why) {
    return refuse_usage(PROGRAM, USAGE, what, why);
}

std::span<const std::uint8_t> bytes_of(const std::string &text) {
    return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}

int make_image(const std::string &tables, const std::string &output) {
    const std::string entryPath = tables + "/smbios_entry_point", tablePath = tables + "/DMI";
    std::string entry, table;
    if (const int error = read_file(entryPath, ENTRY_LIMIT, entry)) {
        complain(PROGRAM, entryPath, error);
        return EXIT_FAILED;
    }
    if (const int error = read_file(tablePath, TABLE_LIMIT, table)) {
        complain(PROGRAM, tablePath, error);
        return EXIT_FAILED;
    }
    const ORB_SMBIOS_IMAGE image = pack_smbios_image(bytes_of(entry), bytes_of(table));
    if (!image.error.empty()) {
        complain(PROGRAM, tables, image.error);
        return EXIT_FAILED;
    }
    if (image.cutOff)
        complain(PROGRAM, tablePath,
                 "breaks off behind structure " + std::to_string(image.structures + image.leftOut));
    if (image.leftOut != 0)
        complain(PROGRAM, tablePath, std::to_string(image.leftOut) + " structures have no room");
    const std::string_view bytes(reinterpret_cast<const char *>(image.bytes.data()),
                                 image.bytes.size());
    if (const int error = replace_file(output, bytes)) {
        complain(PROGRAM, output, error);
        return EXIT_FAILED;
    }
    return EXIT_OK;
}
} // namespace

int main(int argc, char **argv) {
    prepare_standard_streams(); // closed output matters to --help alone, where the write fails
    enum { ROOT = 256, TABLES, OUTPUT, VERSION };
    const option longOptions[] = {{"root", required_argument, nullptr, ROOT},
                                  {"tables", required_argument, nullptr, TABLES},
                                  {"output", required_argument, nullptr, OUTPUT},
                                  {"version", no_argument, nullptr, VERSION},
                                  {"help", no_argument, nullptr, 'h'},
                                  {}};
    std::string root = root_from_environment(), tables, output;
    opterr = 0; // the messages below have this program's form
    for (int letter; (letter = ::getopt_long(argc, argv, ":h", longOptions, nullptr)) != -1;) {
        switch (letter) {
        case ROOT:
            root = without_end_slashes(optarg);
            break;
        case TABLES:
            tables = without_end_slashes(optarg);
            break;
        case OUTPUT:
            output = optarg;
            break;
        case VERSION:
            return print_result(PROGRAM, "orb-smbios-image " ORB_VERSION "\n");
        case 'h':
            return print_result(PROGRAM, USAGE);
        case ':':
            return usage_error(argv[optind - 1], "needs a value");
        default:
            return refuse_option(PROGRAM, USAGE, argv, longOptions);
        }
    }
    if (optind < argc) return usage_error(argv[optind], "unexpected argument");

    if (tables.empty()) tables = root + "/sys/firmware/dmi/tables";
    if (output.empty()) {
        output = root + "/vmfs/devices/char/mem/smbios";
        // A host that has this device needs no image.
        struct stat there {};
        if (::stat(output.c_str(), &there) == 0 && S_ISCHR(there.st_mode)) return EXIT_OK;
    }
    return make_image(tables, output);
}

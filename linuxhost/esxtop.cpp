#include <getopt.h>

#include <cerrno>
#include <ctime>
#include <string>
#include <string_view>

#include "esxtop_report.h"
#include "plain_text.h"
#include "program_io.h"

namespace {
constexpr std::string_view PROGRAM = "esxtop";
constexpr std::size_t SMALL_FILE = 64 * 1024, STATISTICS_FILE = 4u << 20;
constexpr std::string_view USAGE = "usage: esxtop [--root DIR] [-c FILE] -b -n 1\n"
                                   "       esxtop --help | --version\n";

int usage_error(std::string_view what, std::string_view why) {
    return refuse_usage(PROGRAM, USAGE, what, why);
}

/// One sample of the machine below a root.
int print_sample(const std::string &root) {
    ORB_ESXTOP_SAMPLE sample;
    std::string text;
    const std::string memoryPath = root + "/proc/meminfo";
    if (const int error = read_file(memoryPath, SMALL_FILE, text)) {
        complain(PROGRAM, memoryPath, error);
        return EXIT_FAILED;
    }
    const auto memory = parse_memory_info(text);
    if (!memory) {
        complain(PROGRAM, memoryPath, "doesn't tell total and free memory");
        return EXIT_FAILED;
    }
    sample.memory = *memory;

    // What follows costs its own columns only.
    if (read_file(root + "/proc/sys/kernel/hostname", SMALL_FILE, text) == 0)
        sample.hostName = text;
    ORB_PROCESSOR_TIMES times;
    if (read_file(root + "/proc/stat", STATISTICS_FILE, text) == 0)
        times = parse_processor_times(text);
    sample.cpuBusyPercent = times.busyPercent;
    if (times.processors > 0 && read_file(root + "/proc/loadavg", SMALL_FILE, text) == 0)
        if (const auto load = parse_load_average(text)) sample.cpuLoad = *load / times.processors;

    const std::time_t now = std::time(nullptr);
    ::gmtime_r(&now, &sample.utc);
    return print_result(PROGRAM, format_esxtop_sample(sample));
}
} // namespace

int main(int argc, char **argv) {
    if (!prepare_standard_streams()) {
        complain(PROGRAM, "standard output", EBADF);
        return EXIT_FAILED;
    }
    enum { ROOT = 256, VERSION };
    const option longOptions[] = {{"root", required_argument, nullptr, ROOT},
                                  {"version", no_argument, nullptr, VERSION},
                                  {"help", no_argument, nullptr, 'h'},
                                  {}};
    std::string root = root_from_environment(), configuration, samples;
    bool batch = false;
    opterr = 0; // the messages below have this program's form
    for (int letter; (letter = ::getopt_long(argc, argv, ":c:bn:h", longOptions, nullptr)) != -1;) {
        switch (letter) {
        case 'c':
            configuration = optarg;
            break;
        case 'b':
            batch = true;
            break;
        case 'n':
            samples = optarg;
            break;
        case ROOT:
            root = without_end_slashes(optarg);
            break;
        case VERSION:
            return print_result(PROGRAM, "esxtop " ORB_VERSION "\n");
        case 'h':
            return print_result(PROGRAM, USAGE);
        case ':':
            return usage_error(argv[optind - 1], "needs a value");
        default:
            return refuse_option(PROGRAM, USAGE, argv, longOptions);
        }
    }
    if (optind < argc) return usage_error(one_line(argv[optind]), "unexpected argument");
    if (!batch) return usage_error("-b", "missing, there is no interactive mode");
    if (samples != "1") return usage_error("-n", "must be 1, one sample is what there is");

    // The file says which columns are wanted; those of memory are always among them.
    if (!configuration.empty()) {
        std::string text;
        if (const int error = read_file(configuration, SMALL_FILE, text)) {
            complain(PROGRAM, configuration, error);
            return EXIT_FAILED;
        }
    }
    return print_sample(root);
}

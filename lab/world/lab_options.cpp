#include "world/lab_options.h"

#include <getopt.h>

#include <charconv>
#include <cstring>

const char LAB_USAGE[] =
    "Usage: orblab [OPTION...]\n"
    "       orblab --bmc PORT [--output DIR] [--commands FIFO] [--data DIR] [--quiet] [--json]\n"
    "       orblab --decode-location CODE [--json]\n"
    "Runs the daemon on a simulated rack server and shows what its RMC receives.\n"
    "\n"
    "  --scenario NAME|FILE  the server and what happens to it (default: first-generation)\n"
    "  --list-scenarios      name the scenarios that are there\n"
    "  --host linux          this machine's own name, version, memory, addresses and\n"
    "                        SCSI hosts\n"
    "  --speed N             run time N times as fast (default: 20)\n"
    "  --once                end when everything that the scenario expects has come; status 0 "
    "then\n"
    "  --output DIR          where files go (default: lab-out)\n"
    "  --keep                go on with the server's files of the former run\n"
    "  --commands FIFO       read commands from FIFO, as from standard input; \"help\" lists them\n"
    "  --data DIR            take scenarios, schemas and commands from DIR\n"
    "  --quiet               print errors only\n"
    "  --json                print one JSON object a line\n"
    "  --bmc PORT            serve the RMC alone, as the controller of a virtual machine, on\n"
    "                        127.0.0.1:PORT (0: any, which is told)\n"
    "  --decode-location CODE\n"
    "                        tell which place the lab's encoders write as CODE\n"
    "  --version, --help\n";

namespace {
bool read_speed(const char *text, double &speed) {
    const char *end = text + std::strlen(text);
    double value = 0;
    const auto [at, fault] = std::from_chars(text, end, value);
    if (fault != std::errc() || at != end || !(value >= 0.1 && value <= 1e6)) return false;
    speed = value;
    return true;
}

std::optional<std::uint16_t> read_port(const char *text) {
    const char *end = text + std::strlen(text);
    std::uint16_t value = 0;
    const auto [at, fault] = std::from_chars(text, end, value);
    if (fault != std::errc() || at != end) return std::nullopt;
    return value;
}
} // namespace

bool parse_lab_options(int argc, char **argv, LAB_OPTIONS &options, std::string &error) {
    enum Option {
        SCENARIO = 256,
        LIST,
        HOST,
        SPEED,
        ONCE,
        OUTPUT,
        KEEP,
        COMMANDS,
        DATA,
        QUIET,
        JSON,
        BMC,
        LOCATION,
        VERSION,
        HELP
    };
    static constexpr option TABLE[] = {{"scenario", required_argument, nullptr, SCENARIO},
                                       {"list-scenarios", no_argument, nullptr, LIST},
                                       {"host", required_argument, nullptr, HOST},
                                       {"speed", required_argument, nullptr, SPEED},
                                       {"once", no_argument, nullptr, ONCE},
                                       {"output", required_argument, nullptr, OUTPUT},
                                       {"keep", no_argument, nullptr, KEEP},
                                       {"commands", required_argument, nullptr, COMMANDS},
                                       {"data", required_argument, nullptr, DATA},
                                       {"quiet", no_argument, nullptr, QUIET},
                                       {"json", no_argument, nullptr, JSON},
                                       {"bmc", required_argument, nullptr, BMC},
                                       {"decode-location", required_argument, nullptr, LOCATION},
                                       {"version", no_argument, nullptr, VERSION},
                                       {"help", no_argument, nullptr, HELP},
                                       {nullptr, 0, nullptr, 0}};
    ::optind = 0; // starts anew, whoever parsed before
    ::opterr = 0;
    const char *aboutServer = nullptr; // an option that the RMC alone has no use for
    for (int found = 0; (found = ::getopt_long(argc, argv, ":", TABLE, nullptr)) != -1;) {
        switch (found) {
        case SCENARIO:
            aboutServer = "--scenario";
            options.scenario = ::optarg;
            break;
        case LIST:
            aboutServer = "--list-scenarios";
            options.listScenarios = true;
            break;
        case HOST:
            aboutServer = "--host";
            if (std::strcmp(::optarg, "linux") != 0) {
                error = std::string("--host ") + ::optarg + ": only linux is known";
                return false;
            }
            options.linuxHost = true;
            break;
        case SPEED:
            aboutServer = "--speed";
            if (!read_speed(::optarg, options.speed)) {
                error =
                    std::string("--speed ") + ::optarg + ": must be a number from 0.1 to 1000000";
                return false;
            }
            break;
        case ONCE:
            aboutServer = "--once";
            options.once = true;
            break;
        case OUTPUT:
            options.output = ::optarg;
            break;
        case KEEP:
            aboutServer = "--keep";
            options.keep = true;
            break;
        case COMMANDS:
            options.commands = ::optarg;
            if (!options.commands.empty()) break;
            error = "--commands: needs a FIFO";
            return false;
        case DATA:
            options.data = ::optarg;
            if (!options.data.empty()) break;
            error = "--data: needs a folder";
            return false;
        case QUIET:
            options.quiet = true;
            break;
        case JSON:
            options.json = true;
            break;
        case BMC:
            options.bmcPort = read_port(::optarg);
            if (options.bmcPort) break;
            error = std::string("--bmc ") + ::optarg + ": must be a port from 0 to 65535";
            return false;
        case LOCATION:
            options.location = ::optarg;
            break;
        case VERSION:
            options.version = true;
            break;
        case HELP:
            options.help = true;
            break;
        case ':':
            error = std::string(argv[::optind - 1]) + ": needs a value";
            return false;
        default:
            if (::optopt == 0)
                error = std::string(argv[::optind - 1]) + ": unknown option, or not unique";
            else if (::optopt >= SCENARIO)
                error = std::string(argv[::optind - 1]) + ": takes no value";
            else
                error = std::string("-") + static_cast<char>(::optopt) + ": unknown option";
            return false;
        }
    }
    if (::optind < argc) {
        error = std::string(argv[::optind]) + ": unexpected argument";
        return false;
    }
    if (options.bmcPort && aboutServer != nullptr) {
        error = std::string("--bmc: has no simulated server, so ") + aboutServer +
                " means nothing with it";
        return false;
    }
    if (options.output.empty() || options.scenario.empty()) {
        error = options.output.empty() ? "--output: needs a folder" : "--scenario: needs a name";
        return false;
    }
    return true;
}

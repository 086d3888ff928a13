#include "daemon/daemon_options.h"

#include <getopt.h>

#include <charconv>
#include <cstring>

#include "core/format_text.h"

const char DAEMON_HELP[] =
    "Usage: orbd [--foreground] [--stop-timeout N] [--no-generic-storage]\n"
    "       orbd --print-inventory [--compact] [--no-generic-storage]\n"
    "       orbd --check-config [FILE]\n"
    "Reports this host's hardware inventory and events to its rack management controller.\n"
    "\n"
    "  --foreground         stay in the foreground and tell the service manager when ready;\n"
    "                       without it the daemon goes to the background\n"
    "  --stop-timeout N     end by force when a stop makes no progress for N seconds (1 to 900,\n"
    "                       180 if not given)\n"
    "  --print-inventory    build the inventory once, print it and end; sends nothing and leaves\n"
    "                       a running daemon alone\n"
    "  --compact            with --print-inventory: the document on one line\n"
    "  --no-generic-storage leave out storage controllers that only their SCSI hosts tell of\n"
    "  --check-config [FILE]  print for each key what the daemon will use and why\n"
    "  --version            print the version and end\n"
    "  --help               print this help and end\n"
    "\n"
    "SIGTERM and SIGINT stop the daemon in order, SIGHUP checks its log files for rotation.\n"
    "Exit status: 0 clean end; 1 start failed or stop timed out; 2 usage; 3 --check-config found\n"
    "something that isn't used as written; 245, 246 log directories can't be made.\n";

namespace {
constexpr int COMPACT = 256, STOP_TIMEOUT = 257, NO_GENERIC_STORAGE = 258;
constexpr int MODE_OPTION = 259; // plus the mode

const option LONG_OPTIONS[] = {
    {"foreground", no_argument, nullptr, MODE_OPTION + ORB_DAEMON_OPTIONS::FOREGROUND},
    {"print-inventory", no_argument, nullptr, MODE_OPTION + ORB_DAEMON_OPTIONS::PRINT_INVENTORY},
    {"check-config", optional_argument, nullptr, MODE_OPTION + ORB_DAEMON_OPTIONS::CHECK_CONFIG},
    {"version", no_argument, nullptr, MODE_OPTION + ORB_DAEMON_OPTIONS::VERSION},
    {"help", no_argument, nullptr, MODE_OPTION + ORB_DAEMON_OPTIONS::HELP},
    {"compact", no_argument, nullptr, COMPACT},
    {"stop-timeout", required_argument, nullptr, STOP_TIMEOUT},
    {"no-generic-storage", no_argument, nullptr, NO_GENERIC_STORAGE},
    {nullptr, 0, nullptr, 0},
};

bool read_timeout(const char *text, long &out) {
    const char *const end = text + std::strlen(text);
    long value = 0;
    const auto [stop, error] = std::from_chars(text, end, value);
    if (error != std::errc() || stop != end || value < 1 || value > STOP_TOTAL_S) return false;
    out = value;
    return true;
}
} // namespace

bool parse_options(int argc, char **argv, ORB_DAEMON_OPTIONS &out, std::string &fault) {
    out = ORB_DAEMON_OPTIONS();
    bool modeGiven = false, timeoutGiven = false, fileGiven = false;
    const char *modeText = nullptr;

    optind = 0; // starts anew, also where the process has read a command line before
    opterr = 0;
    for (int code; (code = ::getopt_long(argc, argv, ":", LONG_OPTIONS, nullptr)) != -1;) {
        const char *const given = argv[optind - 1];
        switch (code) {
        case ':':
            fault = std::string(given) + ": a value is missing";
            return false;
        case '?':
            if (optopt == 0) {
                fault = std::string(given) + ": no such option, or not unique";
            } else if (optopt >= COMPACT) {
                fault = std::string(given) + ": takes no value";
            } else {
                fault = format_text("-%c: no such option", optopt);
            }
            return false;
        case COMPACT:
            out.compact = true;
            break;
        case NO_GENERIC_STORAGE:
            out.genericStorage = false;
            break;
        case STOP_TIMEOUT:
            timeoutGiven = true;
            if (read_timeout(optarg, out.stopTimeoutS)) break;
            fault = std::string("--stop-timeout ") + optarg + ": not a number from 1 to 900";
            return false;
        default:
            if (modeGiven) {
                fault = std::string(given) + ": can't be combined with " + modeText;
                return false;
            }
            modeGiven = true;
            modeText = given;
            out.mode = static_cast<ORB_DAEMON_OPTIONS::MODE>(code - MODE_OPTION);
            fileGiven = optarg != nullptr;
            if (fileGiven) out.configFile = optarg;
            break;
        }
    }
    if (out.mode == ORB_DAEMON_OPTIONS::CHECK_CONFIG && !fileGiven && optind < argc) {
        fileGiven = true;
        out.configFile = argv[optind++];
    }
    if (out.mode == ORB_DAEMON_OPTIONS::CHECK_CONFIG && fileGiven && out.configFile.empty()) {
        fault = "--check-config: the name of the file is empty";
        return false;
    }
    if (optind < argc) {
        fault = std::string(argv[optind]) + ": not expected here";
        return false;
    }
    if (out.compact && out.mode != ORB_DAEMON_OPTIONS::PRINT_INVENTORY) {
        fault = "--compact: only with --print-inventory";
        return false;
    }
    const bool runs =
        out.mode == ORB_DAEMON_OPTIONS::BACKGROUND || out.mode == ORB_DAEMON_OPTIONS::FOREGROUND;
    if (timeoutGiven && !runs) {
        fault = "--stop-timeout: only where the daemon runs";
        return false;
    }
    if (!out.genericStorage && !runs && out.mode != ORB_DAEMON_OPTIONS::PRINT_INVENTORY) {
        fault = "--no-generic-storage: only where an inventory is built";
        return false;
    }
    return true;
}

#include "daemon/orb_main.h"

#include <cstdio>
#include <string>

#include "core/Logger.h"
#include "daemon/check_config.h"
#include "daemon/daemon_life.h"
#include "daemon/daemon_options.h"
#include "daemon/daemon_texts.h"
#include "daemon/exit_status.h"
#include "daemon/print_inventory.h"
#include "hostaccess/orbHostProcess.h"

namespace {
/// What a one-shot mode printed may have failed to reach its reader.
int checked_output(int status) {
    if (std::ferror(stdout) == 0) return status;
    print_error("standard output", "can't be written");
    return ORB_EXIT_FAILED;
}
} // namespace

int orb_main(int argc, char **argv) {
    CPlusPlusLogging::log_after_main_began();
    ORB_DAEMON_OPTIONS options;
    if (std::string fault; !parse_options(argc, argv, options, fault)) {
        const std::size_t what = fault.find(": ");
        print_error(fault.substr(0, what), fault.substr(what + 2) + " (see orbd --help)");
        return ORB_EXIT_USAGE;
    }
    switch (options.mode) {
    case ORB_DAEMON_OPTIONS::HELP:
        IorbHostProcess::get().writeStandardOutput(DAEMON_HELP);
        return checked_output(ORB_EXIT_DONE);
    case ORB_DAEMON_OPTIONS::VERSION:
        IorbHostProcess::get().writeStandardOutput("orbd " ORB_VERSION "\n");
        return checked_output(ORB_EXIT_DONE);
    case ORB_DAEMON_OPTIONS::CHECK_CONFIG:
        return checked_output(print_config_check(options.configFile));
    case ORB_DAEMON_OPTIONS::PRINT_INVENTORY:
        return checked_output(print_inventory(options));
    case ORB_DAEMON_OPTIONS::BACKGROUND:
    case ORB_DAEMON_OPTIONS::FOREGROUND:
        break;
    }
    return run_daemon(options);
}

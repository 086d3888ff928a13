#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "core/format_text.h"
#include "world/RmcAlone.h"
#include "world/World.h"
#include "world/lab_options.h"
#include "world/location_report.h"
#include "world/summary.h"

namespace fs = std::filesystem;

namespace {
constexpr int GOOD = 0, FAILED = 1, USAGE = 2;
constexpr std::size_t SHOWN_CODE = 40; // characters of a text that is no code

bool read_wanted_scenario(const LAB_OPTIONS &options, const LAB_PLACES &places, SCENARIO &scenario,
                          std::string &error) {
    const std::string &name = options.scenario;
    if (name.find('/') != std::string::npos || name.ends_with(".json"))
        return read_scenario(name, scenario, error);
    const std::string file = places.scenarios + "/" + name + ".json";
    std::error_code failure;
    if (fs::exists(file, failure) || failure) return read_scenario(file, scenario, error);
    error = "--scenario " + name + ": not in " + places.scenarios +
            ", --list-scenarios names those that are";
    return false;
}

bool is_server_command(const std::string &line) {
    LAB_COMMAND command;
    std::string error;
    return parse_lab_command(line, command, error) && is_about_server(command);
}

int list_scenarios(const LAB_PLACES &places) {
    std::error_code failure;
    std::vector<std::string> files;
    for (const fs::directory_entry &entry : fs::directory_iterator(places.scenarios, failure))
        if (entry.path().extension() == ".json") files.push_back(entry.path());
    if (failure) {
        LabOutputs::complain(places.scenarios + ": " + failure.message());
        return FAILED;
    }
    std::sort(files.begin(), files.end());
    int result = GOOD;
    std::vector<SCENARIO> scenarios;
    std::size_t width = 0;
    for (const std::string &file : files) {
        SCENARIO scenario;
        std::string error;
        if (!read_scenario(file, scenario, error)) {
            LabOutputs::complain(error);
            result = FAILED;
            continue;
        }
        width = std::max(width, scenario.name.size());
        scenarios.push_back(std::move(scenario));
    }
    for (const SCENARIO &scenario : scenarios)
        std::printf("%-*s %s\n", static_cast<int>(width), scenario.name.c_str(),
                    scenario.title.c_str());
    return result;
}

int decode(const std::string &code, bool asJson) {
    PHYSICAL_LOCATION location;
    std::string error;
    if (!decode_location(code, location, error)) {
        LabOutputs::complain("--decode-location " + printable(code.substr(0, SHOWN_CODE)) + ": " +
                             error);
        return FAILED;
    }
    std::fputs(location_report(location, asJson).c_str(), stdout);
    return GOOD;
}

/// Closed standard streams get numbers that nothing else may then take; writes to a closed output
/// fail.
void open_standard_streams() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(fd, F_GETFD) == -1)
            static_cast<void>(::open("/dev/null", fd == STDERR_FILENO ? O_WRONLY : O_RDONLY));
}

/// @return the exit status of a program that has told all that it was asked
int told(int status) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
    LabOutputs::complain(std::string("standard output: ") + std::strerror(errno));
    return FAILED;
}
} // namespace

int main(int argc, char **argv) {
    open_standard_streams();
    LAB_OPTIONS options;
    std::string error;
    if (!parse_lab_options(argc, argv, options, error)) {
        LabOutputs::complain(error);
        std::fputs("Try orblab --help.\n", stderr);
        return USAGE;
    }
    if (options.help) {
        std::fputs(LAB_USAGE, stdout);
        return told(GOOD);
    }
    if (options.version) {
        std::puts("orblab " ORB_VERSION);
        return told(GOOD);
    }
    if (options.location) return told(decode(*options.location, options.json));

    const LAB_PLACES places = find_lab_places(options.data);
    if (options.listScenarios) return told(list_scenarios(places));

    LabOutputs::STYLE style;
    style.quiet = options.quiet;
    style.json = options.json;
    style.progress = ::isatty(STDOUT_FILENO) == 1;
    if (options.bmcPort)
        return RmcAlone({*options.bmcPort, places.schemas, options.output, options.commands, style})
            .run();

    WORLD_SETTINGS settings;
    if (!read_wanted_scenario(options, places, settings.scenario, error)) {
        LabOutputs::complain(error);
        return FAILED;
    }
    if (options.linuxHost) {
        // The server is this machine; nothing is made to happen to it.
        settings.scenario.name = "linux";
        settings.scenario.title = "this machine";
        settings.scenario.timeline.clear();
        std::erase_if(settings.scenario.commands, is_server_command);
        settings.scenario.lastStartAgo.reset();
        settings.scenario.host.fc = {};
        settings.scenario.host.fc.hasConf = false;
        settings.scenario.host.storage = {};
    }
    settings.places = places;
    settings.outputFolder = options.output;
    settings.speed = options.speed;
    settings.once = options.once;
    settings.keep = options.keep;
    settings.realHost = options.linuxHost;
    settings.readStandardInput = !options.once;
    settings.commandFifo = options.commands;
    settings.style = style;
    return World(std::move(settings)).run();
}

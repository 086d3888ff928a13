#include "world/lab_places.h"

#include <filesystem>

namespace fs = std::filesystem;

LAB_PLACES find_lab_places_beside(const std::string &executable, const std::string &dataFolder) {
    LAB_PLACES places{ORB_LAB_SCENARIOS, ORB_LAB_SCHEMAS, ORB_LAB_COMMANDS, ORB_LAB_VENDOR,
                      ORB_LAB_LIBEXEC};
    std::error_code failure;
    const fs::path prefix = fs::path(executable).parent_path().parent_path();
    if (fs::is_directory(prefix / "share/scenarios", failure)) {
        places.scenarios = prefix / "share/scenarios";
        places.schemas = prefix / "share/schemas";
        places.commands = prefix / "lib/lab/commands";
        places.vendor = prefix / "lib/lab";
        places.libexec = prefix / "libexec";
    }
    if (!dataFolder.empty()) {
        const fs::path data = fs::absolute(dataFolder, failure);
        places.scenarios = data / "scenarios";
        places.schemas = data / "schemas";
        places.commands = data / "commands";
        places.vendor = data / "vendor";
    }
    return places;
}

LAB_PLACES find_lab_places(const std::string &dataFolder) {
    std::error_code failure;
    return find_lab_places_beside(fs::read_symlink("/proc/self/exe", failure), dataFolder);
}

#include "daemon/command_path.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace {
constexpr char DEFAULT_PATH[] = "/usr/sbin:/usr/bin:/sbin:/bin";
}

std::string own_program() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

void append_commands_to_path(const std::string &program) {
    const std::filesystem::path folder = std::filesystem::path(program).parent_path();
    const std::filesystem::path commands = folder.parent_path() / "libexec";
    std::error_code ignored;
    if (!commands.is_absolute() || !std::filesystem::is_directory(commands, ignored)) return;
    const char *const path = std::getenv("PATH");
    const std::string former = path != nullptr && *path != '\0' ? path : DEFAULT_PATH;
    ::setenv("PATH", (former + ":" + commands.string()).c_str(), 1);
}

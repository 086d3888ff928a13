#include "daemon/orbPrivateHost.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "daemon/daemon_texts.h"

namespace fs = std::filesystem;

namespace {
constexpr char DATA_FOLDER[] = "/opt/vantor/orb/data";
constexpr char ESXTOP_SETTINGS[] = "/esxtopconf";
constexpr char LOG_LINKS[] = "/opt/vantor/orb/log";
constexpr char LOG_BACKUPS[] = "/scratch/log/vantor/orb/backup_log";
constexpr char TEMPORARY[] = "/tmp";
constexpr int REMOVALS = 3; // a command that still runs may make one more file
} // namespace

orbPrivateHost::orbPrivateHost() : inner(replace(this)) {}

orbPrivateHost::~orbPrivateHost() {
    remove();
    replace(inner);
}

bool orbPrivateHost::make(std::string &fault) {
    std::string name = inner->map(TEMPORARY) + "/orb-inventory-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        fault = name + ": " + errno_text(errno);
        return false;
    }
    folder = name;
    moved = {{DATA_FOLDER, folder + "/data"},
             {LOG_LINKS, folder + "/links"},
             {LOG_BACKUPS, folder + "/backup"}};
    std::error_code error;
    for (const auto &[from, to] : moved) {
        if (!fs::create_directory(to, error)) {
            fault = to + ": " + error.message();
            return false;
        }
    }
    // Without it the memory's size is missing, as it would be for the daemon.
    fs::copy_file(inner->map(DATA_FOLDER) + ESXTOP_SETTINGS, moved[DATA_FOLDER] + ESXTOP_SETTINGS,
                  error);
    return true;
}

void orbPrivateHost::keepLog(const std::string &hostPath, const std::string &name) {
    moved[hostPath] = folder + "/" + name;
}

void orbPrivateHost::remove() {
    const std::lock_guard<std::mutex> lock(mutex);
    if (folder.empty()) return;
    std::error_code error;
    for (int left = REMOVALS; left > 0; --left) {
        fs::remove_all(folder, error);
        if (!error) break;
    }
}

std::string orbPrivateHost::map(const std::string &hostPath) {
    for (const auto &[from, to] : moved)
        if (hostPath == from || hostPath.starts_with(from + "/"))
            return to + hostPath.substr(from.size());
    return inner->map(hostPath);
}

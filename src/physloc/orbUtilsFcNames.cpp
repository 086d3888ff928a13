#include <filesystem>
#include <functional>
#include <system_error>

#include "core/Logger.h"
#include "core/orbInputFile.h"
#include "core/orbUtils.h"
#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostFiles.h"
#include "physloc/fc_names.h"

std::map<std::string, std::pair<std::string, std::string>> orbUtils::fcGeoIDMap;
std::map<std::string, std::string> orbUtils::fcNameMap;

namespace {
constexpr char NOT_AVAILABLE[] = "NotAvailable";

/// One host command and the file that its output goes through.
struct FC_COMMAND {
    const char *line; ///< ends in ">> "; the file's path follows
    const char *file;
    FC_LINES lines;
    const char *failureText; ///< error
    const char *foreignText; ///< debug; null for silence
};
constexpr FC_COMMAND TOPOLOGY{
    "localcli hardware pci list | grep -e 'Address: ' -e 'VMkernel Name:'>> ",
    "/opt/vantor/orb/data/fc_topology.txt", FC_LINES_TOPOLOGY,
    "Error occurred in gathering FC topology information.", nullptr};
constexpr FC_COMMAND NODES{"localcli storage san fc list | grep -e 'Adapter: ' -e 'Node Name:'>> ",
                           "/opt/vantor/orb/data/fc_name.txt", FC_LINES_NODES,
                           "Error occurred in gathering localcli storage SAN information",
                           "Unable to find localcli storage SAN information."};

using STORE = void(const std::string &first, const std::string &second);

void store_pairs(std::istream &text, const FC_COMMAND &command, const std::function<STORE> &store) {
    orbFcPairReader reader(command.lines);
    for (std::string line; read_fc_line(text, line);) {
        switch (reader.read(line)) {
        case orbFcPairReader::FOREIGN:
            if (command.foreignText != nullptr) ORB_LOG_DEBUG(ORB_UTILS, command.foreignText);
            return;
        case orbFcPairReader::PART:
            ORB_LOG_DEBUG(ORB_UTILS, "Unable to find FC topology information.");
            break;
        case orbFcPairReader::PAIR:
            store(reader.first(), reader.second());
            break;
        }
    }
}

/// Runs the command, stores what it tells and removes its file, which it would only add to.
/// @return false where the command or its file failed
bool gather(const FC_COMMAND &command, const std::function<STORE> &store) {
    const std::string path = IorbHostFiles::get().map(command.file);
    const std::string line = command.line + shell_path(command.file);
    bool gathered = false;
    // A filter that finds nothing fails too: a host without adapters logs an error.
    if (IorbHostCommands::get().system(line).status == 0) {
        orbInputFile file(path);
        gathered = file.isOpen();
        if (gathered) store_pairs(file.stream(), command, store);
    }
    if (!gathered) ORB_LOG_ERROR(ORB_UTILS, command.failureText);
    std::error_code ignored; // a file that was never made can't be removed
    std::filesystem::remove(path, ignored);
    return gathered;
}
} // namespace

void orbUtils::initFcInfoMap() {
    const auto store = [](const std::string &address, const std::string &name) {
        fcGeoIDMap[name] = {address, name};
    };
    if (gather(TOPOLOGY, store)) printFcInfoMap();
}

void orbUtils::initFcNameMap() {
    const auto store = [](const std::string &adapter, const std::string &nodeName) {
        if (OsNameInHardwarePciList(adapter)) fcNameMap[nodeName] = adapter;
    };
    if (gather(NODES, store)) printFcNameMap();
}

void orbUtils::printFcInfoMap() {
    ORB_LOG_DEBUG(ORB_UTILS, "-----Printing FcGEoID PCIe location map-----");
    for (const auto &[name, place] : fcGeoIDMap)
        ORB_LOG_DEBUG(ORB_UTILS, name + "       " + place.first + "        " + place.second);
}

void orbUtils::printFcNameMap() {
    ORB_LOG_DEBUG(ORB_UTILS, "-----Printing FcNameMap-----");
    for (const auto &[nodeName, adapter] : fcNameMap)
        ORB_LOG_DEBUG(ORB_UTILS, nodeName + "       " + adapter);
}

bool orbUtils::OsNameInHardwarePciList(const std::string &name) {
    return fcGeoIDMap.contains(name);
}

std::pair<std::string, std::string> orbUtils::getFcGeoIDPciStr(const std::string &name) {
    const auto found = fcGeoIDMap.find(name);
    if (found == fcGeoIDMap.end()) return {NOT_AVAILABLE, NOT_AVAILABLE};
    return found->second;
}

std::string orbUtils::getFcPciStr(const std::string &name) {
    return getFcGeoIDPciStr(name).first;
}

std::string orbUtils::getFcOsDevicename(const std::string &nodeName) {
    const auto found = fcNameMap.find(nodeName);
    return found != fcNameMap.end() ? found->second : NOT_AVAILABLE;
}

std::vector<std::string> orbUtils::getFcGeoIDInfo(const std::string &name) {
    const std::string text = getFcGeoIDPciStr(name).second;
    if (text == NOT_AVAILABLE) return {};
    const std::size_t slot = text.find('s');
    return {getSubStr("r", "i", text), getSubStr("i", "s", text),
            slot == std::string::npos ? text : text.substr(slot + 1)};
}

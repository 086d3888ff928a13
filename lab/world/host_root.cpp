#include "world/host_root.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "core/format_text.h"
#include "core/json_text.h"
#include "fc/hba_loader.h"
#include "world/fc_facts.h"
#include "world/host_facts.h"
#include "world/nic_facts.h"
#include "world/smbios_table.h"

namespace fs = std::filesystem;

namespace {
constexpr const char *MARK = "/lab/made-by-orblab";
constexpr const char *FOLDERS[] = {"/dev",
                                   "/etc/config/vantor/orb",
                                   "/lab/host",
                                   "/opt/vantor/orb/data",
                                   "/opt/vantor/orb/log",
                                   "/run",
                                   "/scratch/log",
                                   "/sys",
                                   "/tmp",
                                   "/var/log/vantor/orb",
                                   "/var/run",
                                   "/var/tmp",
                                   "/vmfs/devices/char/mem"};
/// Shows host memory alone, as interactive esxtop saves it.
constexpr const char ESXTOP_CONFIG[] = "abcdefghij\nABCDEFGHIJKLMNOPQ\nabcdefghijkl\n"
                                       "abcdefghijklmnop\nabcdefghijkl\nabcdefghijklmnopq\n"
                                       "abcdef\nabcde\nabcd\n5m\n";
} // namespace

bool HostRoot::write(const std::string &hostPath, const std::string &text,
                     std::string &error) const {
    const std::string path = root + hostPath, fresh = path + ".new";
    {
        std::ofstream file(fresh, std::ios::binary | std::ios::trunc);
        file << text;
        file.close();
        if (!file) {
            error = path + ": can't be written";
            return false;
        }
    }
    if (::rename(fresh.c_str(), path.c_str()) == 0) return true;
    error = path + ": " + std::strerror(errno);
    return false;
}

bool HostRoot::prepare(bool keep, std::string &error) const {
    std::error_code failure;
    const bool there = fs::exists(root, failure);
    const bool ours = fs::exists(root + MARK, failure);
    if (there && !ours && !fs::is_empty(root, failure)) {
        error = root + ": is there already and was not made by orblab";
        return false;
    }
    if (ours && !keep && !clear(error)) return false;
    // The mark comes first, and clearing leaves it: what a run that was cut off leaves behind can
    // be taken over by the next one.
    fs::create_directories(root + "/lab", failure);
    if (failure) {
        error = root + "/lab: " + failure.message();
        return false;
    }
    if (!ours && !write(MARK, "", error)) return false;
    for (const char *folder : FOLDERS) {
        fs::create_directories(root + folder, failure);
        if (failure) {
            error = root + folder + ": " + failure.message();
            return false;
        }
    }
    return true;
}

bool HostRoot::clear(std::string &error) const {
    const std::string mark = root + MARK, markFolder = fs::path(mark).parent_path();
    for (const std::string &folder : {root, markFolder}) {
        std::error_code failure;
        std::vector<fs::path> all;
        for (const fs::directory_entry &entry : fs::directory_iterator(folder, failure))
            if (entry.path() != mark && entry.path() != markFolder) all.push_back(entry.path());
        for (const fs::path &each : all)
            if (!failure) fs::remove_all(each, failure);
        if (!failure) continue;
        error = folder + ": " + failure.message();
        return false;
    }
    return true;
}

bool HostRoot::writeAnswer(const std::string &name, const COMMAND_ANSWER &answer,
                           std::string &error) const {
    const std::string path = "/lab/host/" + name;
    // The daemon may ask at any moment: the way of answering is there before the answer, and an
    // answer that goes well needs none.
    const std::string way = path + ".way";
    const bool isPlain = answer.status == 0 && answer.delaySeconds == 0;
    if (!isPlain &&
        !write(way, format_text("%d %.3f\n", answer.status, answer.delaySeconds / speed), error))
        return false;
    if (!write(path, answer.output, error)) return false;
    if (isPlain) ::unlink((root + way).c_str());
    return true;
}

bool HostRoot::writeFacts(const SCENARIO &scenario, std::string &error) const {
    const std::string mode = scenario.esxtop;
    for (const SCENARIO_NIC &each : scenario.host.nics) {
        const std::string name = "localcli-network-nic-get--n-" + each.name;
        const COMMAND_ANSWER details{each.present ? nic_details_text(each, scenario.nicList) : "",
                                     each.present ? 0 : 1};
        if (!writeAnswer(name, details, error)) return false;
    }
    Json::Value world;
    world["encoder"] = scenario.encoder;
    world["hba"] = hba_world(scenario.host.fc);
    return writeAnswer("localcli-network-nic-list",
                       nic_list_answer(scenario.host.nics, scenario.nicList), error) &&
           write("/lab/host/vendor.json", compact_json(world) + "\n", error) &&
           write("/lab/host/localcli-storage-san-fc-list", fc_list_text(scenario.host.fc), error) &&
           write("/lab/host/localcli-system-version-get", system_version_text(scenario.host),
                 error) &&
           write("/lab/host/localcli-hardware-pci-list", pci_list_text(scenario), error) &&
           write("/lab/host/esxtop", esxtop_text(scenario.host, mode), error) &&
           write("/lab/host/esxtop-status", mode == "fails" ? "1\n" : "0\n", error);
}

bool HostRoot::writeHost(const SCENARIO &scenario, bool keep, std::string &error) const {
    const std::vector<std::uint8_t> image = smbios_table(scenario.machine);
    const std::string config = "/etc/config/vantor/orb/orb.conf";
    std::error_code failure;
    fs::remove(root + HBA_CONF_FILE, failure);
    if (scenario.host.fc.hasConf && !write(HBA_CONF_FILE, hba_conf_text(scenario.host.fc), error))
        return false;
    if (scenario.config.isNull()) {
        fs::remove(root + config, failure);
    } else if (!(keep && fs::exists(root + config, failure)) &&
               !write(config, config_text(scenario.config), error)) {
        return false;
    }
    return write("/vmfs/devices/char/mem/smbios", {image.begin(), image.end()}, error) &&
           write("/opt/vantor/orb/data/esxtopconf", ESXTOP_CONFIG, error) &&
           writeFacts(scenario, error) && setIpmiDevice(scenario.ipmiDevice, error);
}

bool HostRoot::writeIdentity(const SCENARIO_HOST &host, std::int64_t bootTime, bool real,
                             std::string &error) const {
    return write("/lab/host/identity.json", identity_text(host, bootTime, real), error);
}

bool HostRoot::writeRunState(const SCENARIO &scenario, std::int64_t now, std::string &error) const {
    if (!scenario.lastStartAgo) return true;
    const long long start = now - *scenario.lastStartAgo;
    const long long stop = *scenario.lastStopAgo != 0 ? now - *scenario.lastStopAgo : 0;
    return write("/var/tmp/vantorORBStartup.txt",
                 format_text("last_start %lld\nlast_stop %lld\ncurrent_start %lld\n", start, stop,
                             stop >= start ? 0 : start),
                 error);
}

bool HostRoot::setIpmiDevice(bool there, std::string &error) const {
    if (there) return write("/dev/ipmi0", "", error);
    ::unlink((root + "/dev/ipmi0").c_str());
    return true;
}

void HostRoot::forgetVolatileFiles() const {
    for (const char *folder : {"/run", "/var/run", "/tmp"}) {
        std::error_code failure; // what can't be removed now is removed at the next start
        for (const fs::directory_entry &entry : fs::directory_iterator(root + folder, failure))
            fs::remove_all(entry.path(), failure);
    }
}

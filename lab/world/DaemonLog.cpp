#include "world/DaemonLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "core/format_text.h"
#include "core/json_text.h"
#include "core/number_readers.h"
#include "core/orbModuleTags.h"
#include "world/ethernet_report.h"
#include "world/fc_report.h"
#include "world/storage_report.h"
#include "world/summary.h"

namespace {
constexpr std::size_t LINE_LIMIT = 64 * 1024, UNIT_LIMIT = 1000;

/// The text behind `mark`, none where the line doesn't hold it.
std::optional<std::string> behind(const std::string &line, const char *mark) {
    const std::size_t at = line.find(mark);
    if (at == std::string::npos) return std::nullopt;
    return line.substr(at + std::char_traits<char>::length(mark));
}

/// The module tag: the word before the first ": ".
std::string tag_of(const std::string &line) {
    const std::size_t colon = line.find(": ");
    if (colon == std::string::npos) return {};
    const std::size_t blank = line.rfind(' ', colon - 1);
    return blank == std::string::npos ? line.substr(0, colon)
                                      : line.substr(blank + 1, colon - blank - 1);
}

const char *manager_of(const std::string &id) {
    switch (read_decimal(id)) {
    case 0:
        return "FibreChannelDevices";
    case 1:
        return "HostOSInfo";
    case 2:
        return "StorageControllers";
    case 3:
        return "EthernetDevices";
    default:
        return "?";
    }
}
std::string manager_with(const std::string &tag) {
    if (tag == HOST_RM) return "HostOSInfo";
    if (tag == FC_RM) return "FibreChannelDevices";
    if (tag == SAS_RM) return "StorageControllers";
    return tag == NIC_RM ? "EthernetDevices" : tag;
}
} // namespace

std::vector<std::string> LogTail::newLines() {
    std::vector<std::string> lines;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return lines;
    struct stat now {};
    if (::fstat(fd, &now) == 0 && (now.st_ino != inode || now.st_size < offset)) {
        inode = now.st_ino;
        offset = 0;
        partial.clear();
    }
    char piece[16384];
    for (ssize_t got = 0; (got = ::pread(fd, piece, sizeof piece, offset)) > 0;) {
        offset += got;
        for (const char c : std::string_view(piece, static_cast<std::size_t>(got))) {
            if (c == '\n') {
                lines.push_back(std::move(partial));
                partial.clear();
                tooLong = false;
            } else if (!tooLong) {
                partial += c;
                tooLong = partial.size() >= LINE_LIMIT;
            }
        }
    }
    ::close(fd);
    return lines;
}

std::optional<std::string> DaemonProgress::unit(const std::string &line, const char *keyPath,
                                                const char *kind,
                                                std::string (*textOf)(const Json::Value &)) {
    const std::size_t brace = line.find('{');
    Json::Value object;
    if (brace == std::string::npos || !parse_json(line.substr(brace), object)) return std::nullopt;
    const Json::Value name = member_at(object, keyPath);
    if (!name.isString()) return std::nullopt;
    std::string text = kind + textOf(object);
    const auto known = units.find(name.asString());
    if (known == units.end()) {
        if (units.size() == UNIT_LIMIT) return std::nullopt;
        units.emplace(name.asString(), text);
        return text;
    }
    if (known->second == text) return std::nullopt;
    known->second = text;
    return text;
}

std::optional<std::string> DaemonProgress::firstCache(const std::string &tag) {
    if (std::find(cached.begin(), cached.end(), tag) != cached.end()) return std::nullopt;
    cached.push_back(tag);
    return "manager " + manager_with(tag) + ": first cache built";
}

std::optional<std::string> DaemonProgress::read(const std::string &line) {
    if (const auto name = behind(line, "Creating thread for "))
        return "manager " + *name + ": started";
    if (line.find("Resource manager ") != std::string::npos && line.ends_with(" is disabled."))
        return "manager " + *behind(line, "Resource manager ");
    if (const auto number = behind(line, "iteration no. ")) return "readiness pass " + *number;
    if (const auto rest = behind(line, "RM ");
        rest && rest->ends_with(" not ready with inventory")) {
        // The passes are told in the debug log and their findings in the main log, which come here
        // in no order of their own. Every pass asks every manager, until it is ready for good.
        const std::string manager = manager_of(*rest);
        return format_text("readiness pass %d: %s not ready", ++unready[manager], manager.c_str());
    }
    if (line.find("Printing Ethernet Instance ") != std::string::npos)
        return unit(line, "Oem.DeviceName", "adapter ", adapter_text);
    if (line.find("FC_RM: {") != std::string::npos)
        return unit(line, "WWNN", "adapter ", fc_adapter_text);
    if (line.find("Printing controller instance ") != std::string::npos)
        return unit(line, "Oem.Description", "controller ", controller_text);
    if (line.find("Exiting CacheBuild") != std::string::npos) return firstCache(tag_of(line));
    if (line.find("FC cache status 1") != std::string::npos) return firstCache(FC_RM);
    if (line.find("SAS RM cache status 1") != std::string::npos) return firstCache(SAS_RM);
    if (line.find("Success in delivering inventory string to RMC!") != std::string::npos)
        return "inventory delivered";
    if (line.find("An Error occurred in delivering inventory string to RMC!") != std::string::npos)
        return "inventory not delivered";
    if (line.find("FAILURE in logging event to RMC") != std::string::npos)
        return "event not delivered";
    if (const auto status = behind(line, "Transfer Status is ")) return "RMC refused: " + *status;
    if (line.find("ORB Exiting Gracefully!") != std::string::npos) return "daemon ends in order";
    return std::nullopt;
}

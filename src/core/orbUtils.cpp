#include "core/orbUtils.h"

#include <arpa/inet.h>
#include <dirent.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <istream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "core/Logger.h"
#include "core/host_addresses.h"
#include "core/host_texts.h"
#include "core/number_readers.h"
#include "core/orbInputFile.h"
#include "core/orbMutexLocker.h"
#include "hostaccess/orbHostClock.h"
#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostIdentity.h"

std::string orbUtils::primaryIPv4Address;
std::string orbUtils::auxIPv4Address;
constinit std::mutex orbUtils::mutex_lock;
constinit std::atomic<long> orbUtils::systemCurrentBootTime{0};
constinit std::atomic<long> orbUtils::cacheRefreshTimeInterval{0};

namespace {
constexpr char LOOPBACK_ADDRESS[] = "127.0.0.1";
constexpr int OS_TYPE = 104; // the RMC's number for this family of hosts
constexpr char SUMMARY_LOG[] = "/var/log/vmksummary.log";
constexpr char BOOT_LOG[] = "/tmp/orbboot.log";
constexpr std::size_t PIECE_BYTES = 40, ANSWER_LIMIT_BYTES = 64 * 1024;
constexpr const char *MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// Held through the command as well, so that two threads never run it twice. Leaf but for the log.
constinit std::mutex versionLock;
std::string OSName, OSVersion; // guarded by versionLock; once filled never changed

/// Runs a line whose answer is "key: value" once and keeps a value that isn't empty.
std::string read_version(std::string &kept, const char *line, const char *failureText) {
    const orbMutexLocker<std::mutex> lock(versionLock);
    if (!kept.empty()) return kept;
    IorbHostCommands &commands = IorbHostCommands::get();
    int err = 0;
    std::FILE *const answer = commands.popen(line, &err);
    if (answer == nullptr) {
        ORB_LOG_ERROR(ORB_UTILS, failureText);
        return {};
    }
    std::string text;
    char piece[PIECE_BYTES];
    while (text.size() < ANSWER_LIMIT_BYTES && std::fgets(piece, sizeof piece, answer) != nullptr)
        text += piece;
    (void)commands.pclose(answer); // what was printed counts, not how the line ended
    kept = decode_version_answer(text);
    return kept;
}

std::tm local_time() {
    IorbHostClock &clock = IorbHostClock::get();
    std::tm local{};
    if (!clock.localTime(clock.now(), &local)) {
        local = std::tm{};
        local.tm_mday = 1;
    }
    return local;
}

std::string time_text(const char *format) {
    const std::tm local = local_time();
    char text[64];
    return {text, std::strftime(text, sizeof text, format, &local)};
}

/// The times of the stamps that a filter over the host's summary log gives, in its order.
std::vector<long> fetch_log_times(const std::string &pattern, int count) {
    const std::string path = IorbHostFiles::get().map(BOOT_LOG);
    const std::string line = "grep \"" + pattern + "\" " + shell_path(SUMMARY_LOG) + " | tail -" +
                             std::to_string(count) + " | awk '{print $1}' >> " +
                             shell_path(BOOT_LOG);
    std::vector<long> times;
    if (IorbHostCommands::get().system(line).status == 0) {
        orbInputFile stamps(path);
        times = decode_stamp_lines(stamps.stream());
    }
    std::error_code ignored; // a file that was never made can't be removed
    std::filesystem::remove(path, ignored);
    return times;
}

/// Entries of a directory whose names are wanted, as path/name in byte order.
int list_directory(const std::string &path, std::vector<std::string> &names,
                   bool (*wanted)(std::string_view name)) {
    names.clear();
    DIR *const directory = ::opendir(path.c_str());
    if (directory == nullptr) return -1;
    while (const dirent *const entry = ::readdir(directory)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != ".." && wanted(name))
            names.push_back(path + "/" + std::string(name));
    }
    ::closedir(directory);
    std::sort(names.begin(), names.end());
    return 0;
}

/// Skips decimal digits; false where there is none.
bool skip_digits(std::string_view &text) {
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    text.remove_prefix(digits);
    return digits > 0;
}
bool skip_text(std::string_view &text, std::string_view expected) {
    if (!text.starts_with(expected)) return false;
    text.remove_prefix(expected.size());
    return true;
}
bool is_pci_address(std::string_view name) {
    return name.size() > 10 && name[4] == ':' && name[7] == ':' && name[10] == '.' &&
           name.find(":pcie") == std::string_view::npos;
}
bool is_nvme_namespace(std::string_view name) {
    return skip_text(name, "nvme") && skip_digits(name) && skip_text(name, "n") &&
           skip_digits(name) && name.empty();
}

// strerror_r() comes in two shapes; the overload that fits the one at hand is taken.
[[maybe_unused]] const char *error_text(int rc, const char *buffer) {
    return rc == 0 ? buffer : "Unknown error";
}
[[maybe_unused]] const char *error_text(const char *text, const char *) {
    return text;
}
} // namespace

// -- Host identity ------------------------------------------------------------------------------

std::string orbUtils::readHostName() {
    utsname names{};
    const ORB_SYSCALL_RESULT result = IorbHostIdentity::get().uname(&names);
    if (result.rc != 0) {
        ORB_LOG_ERROR(ORB_UTILS, format_text("uname failed with error = %d", result.err));
        return " ";
    }
    return names.nodename;
}

std::string orbUtils::readHostOSName() {
    return read_version(OSName, "localcli system version get | grep -i Product",
                        "Error occurred in identifying OS Name.");
}

std::string orbUtils::readHostOSVersion() {
    return read_version(OSVersion, "localcli system version get | grep -i Version:",
                        "Error occurred in identifying OS version.");
}

std::string orbUtils::readHostOSDescription() {
    utsname names{};
    if (IorbHostIdentity::get().uname(&names).rc != 0) names = utsname{};
    return std::string(names.sysname) + " " + names.nodename + " " + names.release + " " +
           names.version + " " + names.machine;
}

int orbUtils::getOSType(int *type) {
    *type = OS_TYPE;
    return 1;
}

// -- Addresses ----------------------------------------------------------------------------------

std::vector<std::string> orbUtils::getIPAddresses() {
    std::vector<std::string> addresses;
    for (const auto &[name, address] : host_ipv4_addresses()) {
        if (address == LOOPBACK_ADDRESS) continue;
        ORB_LOG_DEBUG(ORB_UTILS, format_text("%s IP Address %s\n", name.c_str(), address.c_str()));
        addresses.push_back(address);
    }
    const orbMutexLocker<std::mutex> lock(mutex_lock);
    if (std::find(addresses.begin(), addresses.end(), auxIPv4Address) == addresses.end())
        auxIPv4Address = addresses.empty() ? LOOPBACK_ADDRESS : addresses.front();
    return addresses;
}

int orbUtils::setPrimaryIPAddress(const std::vector<std::string> &addresses) {
    const orbMutexLocker<std::mutex> lock(mutex_lock);
    primaryIPv4Address = addresses.empty() ? LOOPBACK_ADDRESS : addresses.front();
    return 1;
}

std::vector<std::string> orbUtils::updateAndFetchIPAddresses() {
    std::vector<std::string> addresses = getIPAddresses();
    (void)setPrimaryIPAddress(addresses); // always 1
    return addresses;
}

std::string orbUtils::getPrimaryIPAddress() {
    bool missing = false;
    {
        const orbMutexLocker<std::mutex> lock(mutex_lock);
        missing = primaryIPv4Address.empty() && auxIPv4Address.empty();
    }
    if (missing) {
        (void)getIPAddresses(); // takes the lock itself; fills auxIPv4Address
        ORB_LOG_DEBUG(ORB_UTILS, "Get aux IPv4 address populated");
    }
    std::string primary, aux;
    {
        const orbMutexLocker<std::mutex> lock(mutex_lock);
        if (primaryIPv4Address.empty()) primaryIPv4Address = auxIPv4Address;
        primary = primaryIPv4Address;
        aux = auxIPv4Address;
    }
    ORB_LOG_DEBUG(ORB_UTILS, format_text("primaryIPv4Address= %s auxIPv4Address=%s tempIP=%s",
                                         primary.c_str(), aux.c_str(), primary.c_str()));
    return primary;
}

bool orbUtils::is_ipv4_address(const std::string &text) {
    in_addr address{};
    return ::inet_pton(AF_INET, text.c_str(), &address) == 1;
}

// -- Time ---------------------------------------------------------------------------------------

std::string orbUtils::getDateTime() {
    const std::tm local = local_time();
    const auto month = static_cast<std::size_t>(std::clamp(local.tm_mon, 0, 11));
    return format_text("%s %d %02d:%02d:%02d", MONTHS[month], local.tm_mday, local.tm_hour,
                       local.tm_min, local.tm_sec);
}

std::string orbUtils::getTime() {
    return time_text("%F %T");
}

std::string orbUtils::getTimeZone() {
    return time_text("%Z");
}

long orbUtils::toEpoc(const std::string &stamp) {
    if (stamp.empty()) {
        ORB_LOG_DEBUG(ORB_UTILS, "Invalid time stamp format.");
        return 0;
    }
    const auto field = [&stamp](std::size_t position, std::size_t length) {
        if (stamp.size() < position + length) throw std::out_of_range("toEpoc");
        return static_cast<int>(read_decimal(std::string_view(stamp).substr(position, length)));
    };
    std::tm local{};
    local.tm_year = field(0, 4) - 1900;
    local.tm_mon = field(5, 2) - 1;
    local.tm_mday = field(8, 2);
    local.tm_hour = field(11, 2);
    local.tm_min = field(14, 2);
    local.tm_sec = field(17, 2);
    local.tm_isdst = -1; // whether daylight saving was in force is for the zone to tell
    return std::mktime(&local);
}

void orbUtils::diffTimespec(const std::timespec &start, const std::timespec &stop,
                            std::timespec &result) {
    constexpr long NANOSECONDS = 1'000'000'000;
    std::timespec difference{};
    difference.tv_sec = stop.tv_sec - start.tv_sec;
    difference.tv_nsec = stop.tv_nsec - start.tv_nsec;
    if (difference.tv_nsec < 0) {
        difference.tv_sec -= 1;
        difference.tv_nsec += NANOSECONDS;
    }
    result = difference;
}

void orbUtils::setSystemCurrentBootTime(long seconds) {
    systemCurrentBootTime = seconds;
}
long orbUtils::getSystemCurrentBootTime() {
    return systemCurrentBootTime;
}
void orbUtils::setCacheRefreshTimeInterval(long seconds) {
    cacheRefreshTimeInterval = seconds;
}
long orbUtils::getCacheRefreshTimeInterval() {
    return cacheRefreshTimeInterval;
}

void orbUtils::fetchSystemBootTime(long &boot, long &previous) {
    const std::vector<long> times = fetch_log_times("Host has booted", 2);
    boot = times.empty() ? 0 : times.back();
    previous = times.size() < 2 ? 0 : times[times.size() - 2];
    if (times.empty())
        ORB_LOG_ERROR(ORB_UTILS, "Error occurred in gathering system boot time information.");
}

void orbUtils::fetchSystemShutdownTime(long &time) {
    const std::vector<long> times = fetch_log_times("Host is rebooting", 1);
    time = times.empty() ? 0 : times.back();
    if (times.empty())
        ORB_LOG_ERROR(ORB_UTILS,
                      "Error occurred in gathering system last shutdown time information.");
}

// -- Directories and texts ----------------------------------------------------------------------

int orbUtils::dirList(const std::string &path, std::vector<std::string> &names) {
    return list_directory(path, names, [](std::string_view) { return true; });
}
int orbUtils::dirPciList(const std::string &path, std::vector<std::string> &names) {
    return list_directory(path, names, is_pci_address);
}
int orbUtils::dirListIB(const std::string &path, std::vector<std::string> &names) {
    return list_directory(path, names,
                          [](std::string_view name) { return name.starts_with("ib"); });
}
int orbUtils::dirListNvmeNameSpaces(const std::string &path, std::vector<std::string> &names) {
    return list_directory(path, names, is_nvme_namespace);
}

std::string orbUtils::getLineFromFile(const std::string &path, const std::string &text) {
    orbInputFile file(path);
    for (std::string line; std::getline(file.stream(), line);)
        if (line.find(text) != std::string::npos) return line;
    return {};
}

void orbUtils::trimLeadingTrailingSpaces(std::string &in, std::string &out) {
    const auto isInk = [](unsigned char character) { return std::isspace(character) == 0; };
    in.erase(std::find_if(in.rbegin(), in.rend(), isInk).base(), in.end());
    // A text of its own first: `in` and `out` may be one object.
    std::string trimmed(std::find_if(in.begin(), in.end(), isInk), in.end());
    out = std::move(trimmed);
}

std::string orbUtils::getSubStr(const std::string &from, const std::string &to,
                                const std::string &text) {
    const std::size_t marker = text.find(from);
    const std::size_t start = marker == std::string::npos ? 0 : marker + from.size();
    const std::size_t end = text.find(to);
    return end != std::string::npos && start <= end ? text.substr(start, end - start)
                                                    : text.substr(start);
}

std::string orbUtils::getErrorDescription(int errorNumber) {
    char buffer[256] = "";
    return error_text(::strerror_r(errorNumber, buffer, sizeof buffer), buffer);
}

#pragma once

#include <regex.h>

#include <atomic>
#include <cstdint>
#include <ctime>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

class orbExpression;

/// Host identity, addresses, time texts, directory lists, small text helpers, and the tables that
/// tell where devices are. All static; any thread may call unless a function says otherwise.
class orbUtils {
public:
    // -- Host identity --------------------------------------------------------------------------
    static std::string readHostName(); ///< node name; " " on failure
    /// Product name of the host OS, without any white space. A non-empty answer is kept.
    static std::string readHostOSName();
    /// Version of the host OS, without any white space. A non-empty answer is kept.
    static std::string readHostOSVersion();
    static std::string readHostOSDescription(); ///< the five fields of uname, joined by blanks
    static int getOSType(int *type);            ///< stores 104, returns 1

    // -- Addresses ------------------------------------------------------------------------------
    /// The host's IPv4 addresses, without those of "lo" and without 127.0.0.1.
    static std::vector<std::string> getIPAddresses();
    static int setPrimaryIPAddress(const std::vector<std::string> &addresses); ///< returns 1
    static std::vector<std::string> updateAndFetchIPAddresses();
    static std::string getPrimaryIPAddress(); ///< "127.0.0.1" where the host has none
    static bool is_ipv4_address(const std::string &text);

    // -- Time -----------------------------------------------------------------------------------
    static std::string getDateTime(); ///< local, as "Jan 3 08:04:09"; never logs, takes no lock
    static std::string getTime();     ///< local, as "2026-01-03 08:04:09"
    static std::string getTimeZone(); ///< abbreviation, as "CET"
    /// Seconds of a stamp "YYYY?MM?DD?hh?mm?ss", read as local time; 0 for an empty text.
    /// Throws std::out_of_range for a text that ends before a field does.
    static long toEpoc(const std::string &stamp);
    /// stop minus start
    static void diffTimespec(const std::timespec &start, const std::timespec &stop,
                             std::timespec &result);
    static void setSystemCurrentBootTime(long seconds);
    static long getSystemCurrentBootTime(); ///< seconds since the epoch, 0 while unknown
    static void setCacheRefreshTimeInterval(long seconds);
    static long getCacheRefreshTimeInterval();
    /// Boot times from the host's summary log: of the last boot and of the one before; 0 where not
    /// told. Both run a shell line.
    static void fetchSystemBootTime(long &boot, long &previous);
    static void fetchSystemShutdownTime(long &time); ///< of the last reboot request; 0 if not told

    // -- Directories and texts ------------------------------------------------------------------
    // Paths are used as they stand; the caller maps them.
    /// Replaces `names` by the entries of a directory as path/name in byte order, without "." and
    /// "..". The three others keep part of them.
    /// @return 0, -1 where the directory can't be read
    static int dirList(const std::string &path, std::vector<std::string> &names);
    static int dirPciList(const std::string &path,
                          std::vector<std::string> &names); ///< PCI addresses
    static int dirListIB(const std::string &path, std::vector<std::string> &names); ///< "ib..."
    static int dirListNvmeNameSpaces(const std::string &path,
                                     std::vector<std::string> &names); ///< "nvme0n1"
    /// First line of a file that contains a text, without its newline; "" where there is none.
    static std::string getLineFromFile(const std::string &path, const std::string &text);
    /// Cuts trailing white space from `in`; `out` takes it from the first non-blank on.
    static void trimLeadingTrailingSpaces(std::string &in, std::string &out);
    /// The part of `text` from behind the first `from`, or from its start where there is none, to
    /// the first `to`; to its end where `to` is missing or comes earlier.
    static std::string getSubStr(const std::string &from, const std::string &to,
                                 const std::string &text);
    static std::string getErrorDescription(int errorNumber); ///< as strerror

    // -- Where devices are (implemented in physloc) ---------------------------------------------
    // A GeoID names the place of a PCI device: "r001u01p0i03" or, on the second generation of
    // machines, "r001i01s03". PCI addresses are texts such as "0000:c3:00.1".
    static void initializeSMBIOS(); ///< starts the SMBIOS reader
    /// Builds the table of places, then stops the SMBIOS reader. Once, before other threads run.
    static void initGeoIDMap();
    static void printGeoIDMap(); ///< to the debug log, as the two others
    /// The machine's family by SMBIOS, such as "PLATFORM-ID-A01"; read once, empty where unknown.
    static std::string getPlatformFamily();
    static std::string getGeoIDStr(const std::string &address); ///< "NotAvailable" where unknown
    /// The GeoID of a PCI address in its elements, decimal digits: rack, unit, partition and slot,
    /// or rack, I/O element and slot. Empty where there is no usable GeoID.
    static std::vector<std::string> getGeoIDInfo(const std::string &address);
    /// The GeoID of the first generation that a designation holds as a word of its own; or "".
    static std::string getGeoIDFromDesignation(const std::string &designation);

    // -- Names of Fibre Channel adapters (implemented in physloc) -------------------------------
    // For the Fibre Channel thread alone. "NotAvailable" stands for whatever isn't known.
    /// Build the tables of adapters and of node names, in this order. Each runs a shell line.
    static void initFcInfoMap();
    static void initFcNameMap();
    static void printFcInfoMap();
    static void printFcNameMap();
    /// Whether the host's PCI list has an adapter of this name, such as "vmhba3".
    static bool OsNameInHardwarePciList(const std::string &name);
    /// PCI address and name of an adapter.
    static std::pair<std::string, std::string> getFcGeoIDPciStr(const std::string &name);
    static std::string getFcPciStr(const std::string &name); ///< its PCI address
    /// The adapter with a node name, such as "20:00:02:00:5e:00:00:a1".
    static std::string getFcOsDevicename(const std::string &nodeName);
    /// The name of an adapter, cut as if it were a GeoID of the second generation: between "r" and
    /// "i", between "i" and "s", behind the first "s". Empty for an unknown adapter.
    static std::vector<std::string> getFcGeoIDInfo(const std::string &name);

private:
    static void setPlatformFamily();
    static std::string findGeoID(const std::string &designation, const orbExpression &expression);
    static bool compileGeoIDSplitLocked(const std::string &geoID); // holds geoIDSplitMutex
    template <typename Records>
    static void enterGeoIDs(const Records &records, std::size_t longestGeoID,
                            const orbExpression &expression);

    static std::string primaryIPv4Address, auxIPv4Address; // guarded by mutex_lock
    static std::mutex mutex_lock;
    static std::atomic<long> systemCurrentBootTime, cacheRefreshTimeInterval; // any thread

    static std::atomic<bool> smbiosVmwareInit;          // set by initializeSMBIOS, never cleared
    static std::map<std::string, std::string> geoIDMap; // written before other threads run

    // The platform's expression that splits a GeoID. Written under geoIDSplitMutex before
    // geoIDSplitRegexCompiled is set, read only after that.
    static regex_t geoIDSplitExp;
    static std::string geoIDSplitExpression;
    static std::atomic<bool> geoIDSplitRegexCompiled;
    static std::mutex geoIDSplitMutex;

    // Both belong to the Fibre Channel thread.
    static std::map<std::string, std::pair<std::string, std::string>> fcGeoIDMap;
    static std::map<std::string, std::string> fcNameMap;
};

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <json/json.h>

/// One entry of the machine's slot or on-board device table.
struct SCENARIO_DEVICE {
    std::string designation;
    std::optional<std::string> address; ///< "0000:24:00.0"; none for an empty slot
    std::uint8_t type = 0;              ///< slot type, or kind of on-board device
    std::uint8_t width = 0x0D;          ///< data bus width of a slot, x16
    std::uint16_t id = 0;               ///< of a slot; 0: its place in the list, counted from 1
    bool isShort = false;               ///< a slot's length
    std::uint8_t instance = 1;          ///< of an on-board device
    bool enabled = true;                ///< of an on-board device
    /// In place of the structure's right length, its fields cut or padded with zeros to it.
    std::optional<std::uint8_t> length;
};

struct SCENARIO_MACHINE {
    std::string manufacturer, product, version, serial, uuid, sku, family;
    std::vector<SCENARIO_DEVICE> slots, onboard;
    std::optional<std::size_t> imageBytes; ///< where the SMBIOS image breaks off
};

struct SCENARIO_PCI {
    std::string address, vendorName, deviceName, kernelName, className;
    std::uint16_t vendor = 0, device = 0, subVendor = 0, subDevice = 0, deviceClass = 0;
    std::string moduleName = "None";
};

/// An Ethernet adapter, in the list of adapters and in that of PCI devices.
struct SCENARIO_NIC {
    std::string name, address; ///< "vmnic0"; "0000:c3:00.0", or "Pseudo" for one without a device
    std::string driver, driverVersion = "1.0.0.0", mac, description, firmware, cable;
    std::string vendorName, deviceName;
    std::uint16_t vendor = 0, device = 0, subVendor = 0, subDevice = 0;
    std::string link = "Up"; ///< Up, Down, Unknown
    bool adminUp = true, present = true;
    int speedMbps = 1000, mtu = 1500; ///< the speed while the link is up
};

struct SCENARIO_FC_PORT {
    std::string wwn;              ///< the port's name, "21:00:02:00:5e:00:00:a1"
    std::string state = "online"; ///< a word of HBA_STATE_WORDS
    std::uint32_t id = 0;         ///< in its fabric, 24 bits; told while it is online
    /// Where the port is a device of its own: its name and PCI address in place of the adapter's.
    std::string name, address;
};

/// A Fibre Channel adapter, in its library's list, in that of the host and in that of PCI devices.
struct SCENARIO_FC_ADAPTER {
    std::string name, address; ///< "vmhba3"; "0000:24:00.0"
    std::string wwn;           ///< the node's name, "20:00:02:00:5e:00:00:a1"
    std::string model, description, serial, hardware, rom, firmware, driver, driverVersion;
    std::string vendorName, deviceName;
    std::uint16_t vendor = 0, device = 0, subVendor = 0, subDevice = 0;
    int speedGbps = 16; ///< while a port is online
    bool present = true;
    std::vector<SCENARIO_FC_PORT> ports;
};

/// A vendor's library as hba.conf names it.
struct SCENARIO_FC_LIBRARY {
    std::string name, path; ///< "com.example.fabric"; "/usr/lib64/libexamplefabric.so"
    std::vector<SCENARIO_FC_ADAPTER> adapters;
    std::vector<std::string> fails; ///< calls that fail, each one of is_hba_call

    std::string file() const { return path.substr(path.rfind('/') + 1); }
};

struct SCENARIO_FC {
    std::vector<SCENARIO_FC_LIBRARY> libraries;
    bool hasConf = true;             ///< false: there is no hba.conf
    std::optional<std::string> conf; ///< its text, in place of a line for each library
};

/// A SCSI host, the port of a storage controller.
struct SCENARIO_STORAGE_HOST {
    unsigned number = 0;           ///< of host0
    std::optional<unsigned> ata;   ///< its ATA device's number, where it has one
    std::string state = "running"; ///< a word of is_storage_state
    bool present = true;
};

/// A storage controller, in the host's sysfs tree and in the list of PCI devices.
struct SCENARIO_STORAGE_CONTROLLER {
    std::string name, address; ///< "vmhba1"; "0000:51:00.0"
    std::string bridge;        ///< the bridge's address, where it stands behind one
    std::string driver, firmware, tracer, className = "Serial Attached SCSI controller";
    std::string vendorName, deviceName;
    std::uint16_t vendor = 0, device = 0, subVendor = 0, subDevice = 0, deviceClass = 0x0107;
    bool present = true;
    std::vector<SCENARIO_STORAGE_HOST> hosts;
};

struct SCENARIO_STORAGE {
    std::string links = "long"; ///< a word of is_storage_link
    /// The class folders keep their times when hosts come and go, as in present-day kernels.
    bool foldersKeepTimes = false;
    std::vector<SCENARIO_STORAGE_CONTROLLER> controllers;
};

struct SCENARIO_ADDRESS {
    std::string interface, address;
};

struct SCENARIO_HOST {
    std::string name, osName, osVersion, build, update, patch;
    std::string kernelName, kernelRelease, kernelVersion, kernelMachine;
    std::int64_t memoryMBytes = 0, freeMBytes = 0, uptimeSeconds = 3600;
    std::vector<SCENARIO_ADDRESS> addresses;
    std::vector<SCENARIO_PCI> pci;
    std::vector<SCENARIO_NIC> nics;
    SCENARIO_FC fc;
    SCENARIO_STORAGE storage;
};

/// When a step of the timeline is due: all that it names must hold, then `wait` seconds pass.
struct SCENARIO_STEP {
    double at = 0;                           ///< seconds since the lab's start
    std::size_t inventories = 0, events = 0; ///< received so far, at least
    std::string log;    ///< text that has come up in the daemon's log; empty: none
    std::string newLog; ///< the same, but since the step before was done; empty: none
    double wait = 0;
    std::string command; ///< as on standard input
};

struct SCENARIO_EXPECTATION {
    std::size_t inventories = 1;     ///< at least
    std::vector<Json::Value> events; ///< in order; each an object whose members must equal
    /// Member of the latest document, by a path below its root such as "Oem.HostOSInfo.OSName".
    std::vector<std::pair<std::string, Json::Value>> facts;
    std::vector<std::string> log; ///< texts that must come up in the daemon's log files
};

/// A simulated server and what happens to it.
struct SCENARIO {
    std::string name, title;
    SCENARIO_MACHINE machine;
    SCENARIO_HOST host;
    std::string esxtop = "works";  ///< works, fails, empty, garbled
    std::string nicList = "works"; ///< a mode of is_nic_list_mode
    std::string encoder = "works"; ///< a mode of is_encoder_mode
    bool ipmiDevice = true;
    /// Seconds of the previous run, counted back from the lab's start; none without such a run.
    std::optional<std::int64_t> lastStartAgo, lastStopAgo;
    Json::Value config; ///< members that replace those of the lab's orb.conf; null: no file at all
    std::vector<std::string> commands; ///< run before the daemon starts
    std::vector<SCENARIO_STEP> timeline;
    SCENARIO_EXPECTATION expect;
    std::int64_t limitSeconds = 60; ///< real time that a run may take with --once
};

/// Reads a scenario and the one it is based on.
/// @param path    file; its base is looked up beside it
/// @param error   takes "file: place: what is wrong" on failure
bool read_scenario(const std::string &path, SCENARIO &scenario, std::string &error);

/// The same from a parsed text that names no base. @param error  takes "place: what is wrong"
bool read_scenario_json(const Json::Value &root, SCENARIO &scenario, std::string &error);

/// Bus address as it stands in SMBIOS. @return false where the text is none
bool read_pci_address(const std::string &text, std::uint16_t &segment, std::uint8_t &bus,
                      std::uint8_t &deviceFunction);

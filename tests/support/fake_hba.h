#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fc/hba_api.h"

/// A port of a made-up adapter.
struct FAKE_HBA_PORT {
    HBA_PORTSTATE state = HBA_PORTSTATE_ONLINE;
    std::uint8_t wwnEnd = 0xA0; ///< last byte of its name 10:00:02:00:5e:00:00:..
    bool readable = true;       ///< whether its attributes can be read
};

/// A made-up adapter. Texts may fill their fields.
struct FAKE_HBA_ADAPTER {
    std::string name = "com.example-FC900X-0";
    std::string model = "FC900X";
    std::string description = "Vantor Fabric 900X 16Gb 2P FC HBA";
    std::string serial = "FC0000001";
    std::string firmware = "8.05.61";
    std::string rom = "3.54";
    std::uint8_t wwnEnd = 0xA1; ///< last byte of its node name 20:00:02:00:5e:00:00:..
    std::vector<FAKE_HBA_PORT> ports{FAKE_HBA_PORT()};
    bool named = true, opens = true, readable = true;
    std::uint32_t claimedPorts = 0; ///< 0: as many as there are
};

/// A vendor library in this process. Its entry points are plain functions, so there is one state
/// for all. Handles are one more than the adapter's index. Any thread may change the adapters while
/// the manager's asks about them.
class FakeHba {
public:
    static FakeHba &get() {
        static FakeHba one;
        return one;
    }

    void setAdapters(std::vector<FAKE_HBA_ADAPTER> now) {
        const std::lock_guard<std::mutex> lock(mutex);
        adapters = std::move(now);
    }
    /// Done within each reading of an adapter's attributes, with nothing locked.
    void onAttributes(std::function<void()> action) {
        const std::lock_guard<std::mutex> lock(mutex);
        during = std::move(action);
    }
    /// "load", "count", "name I", "open NAME", "close H", "attributes H", "port H I", in order.
    std::vector<std::string> takeCalls() {
        const std::lock_guard<std::mutex> lock(mutex);
        return std::exchange(calls, {});
    }
    /// Whether calls are kept; set before another thread runs.
    void keepCalls(bool on) { keeping = on; }

    static HBA_STATUS registerLibrary(HBA_ENTRYPOINTS *table) {
        table->GetVersionHandler = [] { return HBA_UINT32{1}; };
        table->LoadLibraryHandler = [] { return get().load(); };
        table->GetNumberOfAdaptersHandler = [] { return get().count(); };
        table->GetAdapterNameHandler = [](HBA_UINT32 index, char *name) {
            return get().nameOf(index, name);
        };
        table->OpenAdapterHandler = [](char *name) { return get().open(name); };
        table->CloseAdapterHandler = [](HBA_HANDLE handle) { get().close(handle); };
        table->GetAdapterAttributesHandler = [](HBA_HANDLE handle, HBA_ADAPTERATTRIBUTES *out) {
            return get().attributes(handle, *out);
        };
        table->GetAdapterPortAttributesHandler = [](HBA_HANDLE handle, HBA_UINT32 port,
                                                    HBA_PORTATTRIBUTES *out) {
            return get().portAttributes(handle, port, *out);
        };
        return HBA_STATUS_OK;
    }

private:
    void note(const char *what, const std::string &more = "") {
        if (keeping) calls.push_back(more.empty() ? what : what + (" " + more));
    }
    template <std::size_t N> static void fill(char (&field)[N], std::string_view text) {
        std::memcpy(field, text.data(), std::min(N, text.size()));
    }
    static void fill(HBA_WWN &wwn, std::uint8_t first, std::uint8_t last) {
        wwn = {{first, 0, 2, 0, 0x5e, 0, 0, last}};
    }

    HBA_STATUS load() {
        const std::lock_guard<std::mutex> lock(mutex);
        note("load");
        return HBA_STATUS_OK;
    }
    HBA_UINT32 count() {
        const std::lock_guard<std::mutex> lock(mutex);
        note("count");
        return static_cast<HBA_UINT32>(adapters.size());
    }
    HBA_STATUS nameOf(HBA_UINT32 index, char *name) {
        const std::lock_guard<std::mutex> lock(mutex);
        note("name", std::to_string(index));
        if (index >= adapters.size() || !adapters[index].named) return HBA_STATUS_ERROR;
        const std::string &text = adapters[index].name;
        std::memcpy(name, text.data(), std::min<std::size_t>(text.size(), 256));
        return HBA_STATUS_OK;
    }
    HBA_HANDLE open(const char *name) {
        const std::lock_guard<std::mutex> lock(mutex);
        note("open", name);
        for (std::size_t i = 0; i < adapters.size(); ++i)
            if (adapters[i].name == name && adapters[i].opens)
                return static_cast<HBA_HANDLE>(i + 1);
        return 0;
    }
    void close(HBA_HANDLE handle) {
        const std::lock_guard<std::mutex> lock(mutex);
        note("close", std::to_string(handle));
    }
    HBA_STATUS attributes(HBA_HANDLE handle, HBA_ADAPTERATTRIBUTES &out) {
        std::unique_lock<std::mutex> lock(mutex);
        note("attributes", std::to_string(handle));
        if (during) {
            const std::function<void()> action = during;
            lock.unlock();
            action();
            lock.lock();
        }
        const FAKE_HBA_ADAPTER &adapter = adapters.at(handle - 1);
        if (!adapter.readable) return HBA_STATUS_ERROR;
        fill(out.Model, adapter.model);
        fill(out.ModelDescription, adapter.description);
        fill(out.SerialNumber, adapter.serial);
        fill(out.FirmwareVersion, adapter.firmware);
        fill(out.OptionROMVersion, adapter.rom);
        fill(out.NodeWWN, 0x20, adapter.wwnEnd);
        out.NumberOfPorts = adapter.claimedPorts != 0
                                ? adapter.claimedPorts
                                : static_cast<HBA_UINT32>(adapter.ports.size());
        return HBA_STATUS_OK;
    }
    HBA_STATUS portAttributes(HBA_HANDLE handle, HBA_UINT32 port, HBA_PORTATTRIBUTES &out) {
        const std::lock_guard<std::mutex> lock(mutex);
        note("port", std::to_string(handle) + " " + std::to_string(port));
        const FAKE_HBA_ADAPTER &adapter = adapters.at(handle - 1);
        if (port >= adapter.ports.size() || !adapter.ports[port].readable)
            return HBA_STATUS_ERROR_ILLEGAL_INDEX;
        fill(out.PortWWN, 0x10, adapter.ports[port].wwnEnd);
        out.PortState = adapter.ports[port].state;
        return HBA_STATUS_OK;
    }

    std::mutex mutex; // guards all below
    std::vector<FAKE_HBA_ADAPTER> adapters{FAKE_HBA_ADAPTER()};
    std::function<void()> during;
    std::vector<std::string> calls;
    bool keeping = true; // set before a thread runs
};

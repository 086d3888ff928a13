#include "fc/hba_loader.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <type_traits>

#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostLibraries.h"

constinit std::array<HBA_LIBRARY_ROW, HBA_LIBRARIES + 1> librarytable{};
constinit std::array<HBA_ADAPTER_ROW, HBA_ADAPTERS> adaptertable{};
constinit HBA_UINT32 number_of_total_adapters = 0;

namespace {
constexpr HBA_UINT32 INTERFACE_VERSION = 1;
constexpr unsigned LIBRARY_SHIFT = 16; // of a handle: above the library's row, below its handle
constexpr HBA_HANDLE VENDOR_MASK = 0xFFFF;

struct FILE_CLOSER {
    void operator()(std::FILE *file) const { (void)std::fclose(file); } // it was only read
};

/// What all ends of a library have in common: nothing is left that leads into it.
void let_go(HBA_LIBRARY_ROW &row) {
    row.status = HBA_LIBRARY_LET_GO;
    row.entryPoints = {};
    // A failed close leaves the library in memory, which harms nobody.
    if (row.handle != nullptr) (void)IorbHostLibraries::get().close(row.handle);
    row.handle = nullptr;
}

/// Loads the library that a row names. What fails leaves the row as the steps before made it.
void load_row(HBA_LIBRARY_ROW &row) {
    IorbHostLibraries &libraries = IorbHostLibraries::get();
    row.handle = libraries.open(row.path, RTLD_LAZY);
    if (row.handle == nullptr) return;
    const auto registerLibrary =
        reinterpret_cast<HBA_REGISTERLIBRARY>(libraries.symbol(row.handle, "HBA_RegisterLibrary"));
    if (registerLibrary == nullptr) return; // stays open, unused

    row.entryPoints = {};
    HBA_ENTRYPOINTS &entries = row.entryPoints;
    if (registerLibrary(&entries) != HBA_STATUS_OK) {
        let_go(row);
    } else if (entries.GetVersionHandler != nullptr) {
        if (entries.GetVersionHandler() == 0) {
            let_go(row);
        } else if (entries.LoadLibraryHandler != nullptr) {
            if (entries.LoadLibraryHandler() == HBA_STATUS_OK)
                row.status = HBA_LIBRARY_LOADED;
            else
                let_go(row);
        }
    }
    row.vendorHandle = 0;
}

/// Calls a library's handler with the library's own handle in place of ours.
template <typename Handler, typename... Arguments>
HBA_STATUS pass_on(HBA_HANDLE handle, Handler HBA_ENTRYPOINTS::*member, Arguments... arguments) {
    HBA_UINT32 library = 0;
    HBA_HANDLE vendorHandle = 0;
    const HBA_STATUS status = HBA_CheckLibrary(handle, &library, &vendorHandle);
    if (status != HBA_STATUS_OK) return status;
    const Handler handler = librarytable[library].entryPoints.*member;
    if (handler == nullptr) return status;
    if constexpr (std::is_void_v<std::invoke_result_t<Handler, HBA_HANDLE, Arguments...>>) {
        handler(vendorHandle, arguments...);
        return status;
    } else {
        return handler(vendorHandle, arguments...);
    }
}
} // namespace

// -- The libraries ------------------------------------------------------------------------------

HBA_STATUS HBA_LoadLibrary() {
    const std::unique_ptr<std::FILE, FILE_CLOSER> conf(
        std::fopen(IorbHostFiles::get().map(HBA_CONF_FILE).c_str(), "re"));
    if (conf == nullptr) return HBA_STATUS_ERROR;

    std::size_t next = 0;
    char line[HBA_CONF_LINE_BYTES];
    while (next < HBA_LIBRARIES && std::fgets(line, sizeof line, conf.get()) != nullptr) {
        HBA_CONF_ENTRY entry;
        if (!read_hba_conf_line(line, entry)) continue;
        HBA_LIBRARY_ROW &row = librarytable[next++];
        std::memcpy(row.name, entry.name, sizeof row.name);
        std::memcpy(row.path, entry.path, sizeof row.path);
        load_row(row);
    }
    return HBA_STATUS_OK;
}

HBA_STATUS HBA_FreeLibrary() {
    HBA_STATUS status = HBA_STATUS_OK;
    for (std::size_t index = 0; index < HBA_LIBRARIES; ++index) {
        HBA_LIBRARY_ROW &row = librarytable[index];
        if (row.status != HBA_LIBRARY_LOADED) continue;
        if (row.entryPoints.FreeLibraryHandler != nullptr)
            status = row.entryPoints.FreeLibraryHandler();
        let_go(row);
    }
    return status;
}

HBA_UINT32 HBA_GetVersion() {
    return INTERFACE_VERSION;
}

// -- The adapters -------------------------------------------------------------------------------

HBA_UINT32 HBA_GetNumberOfAdapters() {
    number_of_total_adapters = 0;
    for (HBA_UINT32 library = 0; library < HBA_LIBRARIES; ++library) {
        const HBA_LIBRARY_ROW &row = librarytable[library];
        if (row.status != HBA_LIBRARY_LOADED) continue;
        const HBA_ENTRYPOINTS &entries = row.entryPoints;
        if (entries.GetNumberOfAdaptersHandler == nullptr) continue;
        const auto count = static_cast<HBA_INT32>(entries.GetNumberOfAdaptersHandler());
        if (entries.GetAdapterNameHandler == nullptr) continue;
        for (HBA_INT32 index = 0; index < count; ++index) {
            if (number_of_total_adapters == HBA_ADAPTERS) return number_of_total_adapters;
            HBA_ADAPTER_ROW &adapter = adaptertable[number_of_total_adapters];
            adapter = {};
            // An adapter that its library won't name still counts: what others call adapter 3
            // stays adapter 3.
            (void)entries.GetAdapterNameHandler(static_cast<HBA_UINT32>(index), adapter.name);
            adapter.name[HBA_ADAPTER_NAME_BYTES - 1] = '\0';
            adapter.library = library;
            ++number_of_total_adapters;
        }
    }
    return number_of_total_adapters;
}

HBA_STATUS HBA_GetAdapterName(HBA_UINT32 index, char *name) {
    if (index >= number_of_total_adapters) return HBA_STATUS_ERROR_ILLEGAL_INDEX;
    std::memcpy(name, adaptertable[index].name, HBA_ADAPTER_NAME_BYTES);
    return HBA_STATUS_OK;
}

HBA_HANDLE HBA_OpenAdapter(const char *name) {
    if (name == nullptr) return 0;
    const auto end = adaptertable.begin() + number_of_total_adapters;
    const auto adapter = std::find_if(adaptertable.begin(), end, [name](const auto &candidate) {
        return std::strcmp(candidate.name, name) == 0;
    });
    if (adapter == end) return 0;
    HBA_LIBRARY_ROW &row = librarytable[adapter->library];
    if (row.entryPoints.OpenAdapterHandler == nullptr) return 0;
    HBA_ADAPTER_ROW copy = *adapter; // the handler may write to its argument
    row.vendorHandle = row.entryPoints.OpenAdapterHandler(copy.name);
    return adapter->library << LIBRARY_SHIFT | (row.vendorHandle & VENDOR_MASK);
}

HBA_STATUS HBA_CheckLibrary(HBA_HANDLE handle, HBA_UINT32 *library, HBA_HANDLE *vendorHandle) {
    *library = handle >> LIBRARY_SHIFT;
    if (*library >= librarytable.size()) return HBA_STATUS_ERROR_INVALID_HANDLE;
    const HBA_LIBRARY_ROW &row = librarytable[*library];
    if (row.status != HBA_LIBRARY_LOADED) return HBA_STATUS_ERROR;
    *vendorHandle = row.vendorHandle;
    return HBA_STATUS_OK;
}

void *HBA_GetLibraryPath(HBA_UINT32 adapterIndex, char *path, HBA_HANDLE *vendorHandle) {
    if (adapterIndex >= number_of_total_adapters) return nullptr;
    const HBA_LIBRARY_ROW &row = librarytable[adaptertable[adapterIndex].library];
    std::memcpy(path, row.path, sizeof row.path);
    *vendorHandle = row.vendorHandle;
    return row.handle;
}

// -- Calls that go through ----------------------------------------------------------------------

void HBA_CloseAdapter(HBA_HANDLE handle) {
    (void)pass_on(handle, &HBA_ENTRYPOINTS::CloseAdapterHandler); // nobody could do more
}

HBA_STATUS HBA_GetAdapterAttributes(HBA_HANDLE handle, HBA_ADAPTERATTRIBUTES *out) {
    return pass_on(handle, &HBA_ENTRYPOINTS::GetAdapterAttributesHandler, out);
}

HBA_STATUS HBA_GetAdapterPortAttributes(HBA_HANDLE handle, HBA_UINT32 port,
                                        HBA_PORTATTRIBUTES *out) {
    return pass_on(handle, &HBA_ENTRYPOINTS::GetAdapterPortAttributesHandler, port, out);
}

HBA_STATUS HBA_GetPortStatistics(HBA_HANDLE handle, HBA_UINT32 port, HBA_PORTSTATISTICS *out) {
    return pass_on(handle, &HBA_ENTRYPOINTS::GetPortStatisticsHandler, port, out);
}

HBA_STATUS HBA_GetDiscoveredPortAttributes(HBA_HANDLE handle, HBA_UINT32 port,
                                           HBA_UINT32 discovered, HBA_PORTATTRIBUTES *out) {
    return pass_on(handle, &HBA_ENTRYPOINTS::GetDiscoveredPortAttributesHandler, port, discovered,
                   out);
}

HBA_STATUS HBA_GetPortAttributesByWWN(HBA_HANDLE handle, HBA_WWN port, HBA_PORTATTRIBUTES *out) {
    return pass_on(handle, &HBA_ENTRYPOINTS::GetPortAttributesByWWNHandler, port, out);
}

HBA_STATUS HBA_SendCTPassThru(HBA_HANDLE handle, void *request, HBA_UINT32 requestSize,
                              void *response, HBA_UINT32 responseSize) {
    return pass_on(handle, &HBA_ENTRYPOINTS::SendCTPassThruHandler, request, requestSize, response,
                   responseSize);
}

HBA_STATUS HBA_RefreshInformation(HBA_HANDLE handle) {
    return pass_on(handle, &HBA_ENTRYPOINTS::RefreshInformationHandler);
}

HBA_STATUS HBA_ResetStatistics(HBA_HANDLE handle, HBA_UINT32 port) {
    return pass_on(handle, &HBA_ENTRYPOINTS::ResetStatisticsHandler, port);
}

HBA_STATUS HBA_GetFcpTargetMapping(HBA_HANDLE handle, HBA_FCPTARGETMAPPING *inOut) {
    return pass_on(handle, &HBA_ENTRYPOINTS::GetFcpTargetMappingHandler, inOut);
}

HBA_STATUS HBA_GetFcpPersistentBinding(HBA_HANDLE handle, HBA_FCPBINDING *inOut) {
    return pass_on(handle, &HBA_ENTRYPOINTS::GetFcpPersistentBindingHandler, inOut);
}

HBA_STATUS HBA_GetEventBuffer(HBA_HANDLE handle, HBA_EVENTINFO *out, HBA_UINT32 *countInOut) {
    return pass_on(handle, &HBA_ENTRYPOINTS::GetEventBufferHandler, out, countInOut);
}

HBA_STATUS HBA_SetRNIDMgmtInfo(HBA_HANDLE handle, HBA_MGMTINFO *info) {
    return pass_on(handle, &HBA_ENTRYPOINTS::SetRNIDMgmtInfoHandler, info);
}

HBA_STATUS HBA_GetRNIDMgmtInfo(HBA_HANDLE handle, HBA_MGMTINFO *out) {
    return pass_on(handle, &HBA_ENTRYPOINTS::GetRNIDMgmtInfoHandler, out);
}

HBA_STATUS HBA_SendRNID(HBA_HANDLE handle, HBA_WWN wwn, HBA_WWNTYPE type, void *response,
                        HBA_UINT32 *responseSizeInOut) {
    return pass_on(handle, &HBA_ENTRYPOINTS::SendRNIDHandler, wwn, type, response,
                   responseSizeInOut);
}

HBA_STATUS HBA_SendScsiInquiry(HBA_HANDLE handle, HBA_WWN port, HBA_UINT64 lun, HBA_UINT8 evpd,
                               HBA_UINT32 page, void *response, HBA_UINT32 responseSize,
                               void *sense, HBA_UINT32 senseSize) {
    return pass_on(handle, &HBA_ENTRYPOINTS::ScsiInquiryHandler, port, lun, evpd, page, response,
                   responseSize, sense, senseSize);
}

HBA_STATUS HBA_SendReportLUNs(HBA_HANDLE handle, HBA_WWN port, void *response,
                              HBA_UINT32 responseSize, void *sense, HBA_UINT32 senseSize) {
    return pass_on(handle, &HBA_ENTRYPOINTS::ReportLUNsHandler, port, response, responseSize, sense,
                   senseSize);
}

HBA_STATUS HBA_SendReadCapacity(HBA_HANDLE handle, HBA_WWN port, HBA_UINT64 lun, void *response,
                                HBA_UINT32 responseSize, void *sense, HBA_UINT32 senseSize) {
    return pass_on(handle, &HBA_ENTRYPOINTS::ReadCapacityHandler, port, lun, response, responseSize,
                   sense, senseSize);
}

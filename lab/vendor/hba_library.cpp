// A vendor's library of the FC HBA API, version 1, over the adapters that the simulated world names
// for its file.

#include <cstring>
#include <optional>

#include "fc/hba_api.h"
#include "vendor/HbaWorld.h"

#ifndef ORB_LAB_HBA_FILE
#error "which library this is"
#endif

namespace {
constexpr HBA_UINT32 VERSION = 1;
constexpr std::size_t NAME_BYTES = 256; // of the buffer that a caller has for an adapter's name
constexpr HBA_INT64 NOT_COUNTED = -1;

enum POSITION : std::size_t {
    GET_VERSION,
    LOAD_LIBRARY,
    FREE_LIBRARY,
    GET_NUMBER_OF_ADAPTERS,
    GET_ADAPTER_NAME,
    OPEN_ADAPTER,
    CLOSE_ADAPTER,
    GET_ADAPTER_ATTRIBUTES,
    GET_ADAPTER_PORT_ATTRIBUTES,
    GET_PORT_STATISTICS,
    GET_DISCOVERED_PORT_ATTRIBUTES,
    GET_PORT_ATTRIBUTES_BY_WWN,
    SEND_CT_PASS_THRU,
    REFRESH_INFORMATION,
    RESET_STATISTICS,
    GET_FCP_TARGET_MAPPING,
    GET_FCP_PERSISTENT_BINDING,
    GET_EVENT_BUFFER,
    SET_RNID_MGMT_INFO,
    GET_RNID_MGMT_INFO,
    SEND_RNID,
    SCSI_INQUIRY,
    REPORT_LUNS,
    READ_CAPACITY
};
static_assert(READ_CAPACITY + 1 == HBA_HANDLERS);

HbaWorld &world() {
    static HbaWorld instance(ORB_LAB_HBA_FILE);
    return instance;
}

/// Counts a call. @return whether the world wants it to fail
bool begin(POSITION position) {
    world().calls().handler(position);
    return world().fails(HBA_HANDLER_NAMES[position]);
}

// A handle is the adapter's place counted from 1. So a caller that never closes costs nothing here,
// and a handle of an adapter that went away and came back is good again.
HBA_HANDLE handle_of(std::size_t index) {
    return static_cast<HBA_HANDLE>(index + 1);
}
std::size_t index_of(HBA_HANDLE handle) {
    return std::size_t{handle} - 1;
}

/// @param status  takes why there is none
std::optional<HBA_WORLD_ADAPTER> opened(POSITION position, HBA_HANDLE handle, HBA_STATUS &status) {
    if (begin(position)) {
        status = HBA_STATUS_ERROR;
        return std::nullopt;
    }
    status = handle == 0 ? HBA_STATUS_ERROR_INVALID_HANDLE : HBA_STATUS_OK;
    std::optional<HBA_WORLD_ADAPTER> found;
    if (handle != 0) found = world().adapter(index_of(handle));
    if (!found) status = HBA_STATUS_ERROR_INVALID_HANDLE;
    return found;
}

/// Calls that need an adapter and do nothing with it. @param good  what they then give
HBA_STATUS checked(POSITION position, HBA_HANDLE handle, HBA_STATUS good) {
    HBA_STATUS status = HBA_STATUS_OK;
    return opened(position, handle, status) ? good : status;
}

HBA_UINT32 get_version() {
    return begin(GET_VERSION) ? 0 : VERSION;
}

HBA_STATUS load_library() {
    return begin(LOAD_LIBRARY) ? HBA_STATUS_ERROR : HBA_STATUS_OK;
}

HBA_STATUS free_library() {
    return begin(FREE_LIBRARY) ? HBA_STATUS_ERROR : HBA_STATUS_OK;
}

HBA_UINT32 get_number_of_adapters() {
    if (begin(GET_NUMBER_OF_ADAPTERS)) return 0;
    return static_cast<HBA_UINT32>(world().present().size());
}

HBA_STATUS get_adapter_name(HBA_UINT32 index, char *name) {
    if (begin(GET_ADAPTER_NAME)) return HBA_STATUS_ERROR;
    const std::vector<std::size_t> places = world().present();
    if (index >= places.size()) return HBA_STATUS_ERROR_ILLEGAL_INDEX;
    const auto adapter = world().adapter(places[index]);
    if (!adapter) return HBA_STATUS_ERROR_STALE_DATA;
    std::strncpy(name, adapter->name.c_str(), NAME_BYTES - 1);
    name[NAME_BYTES - 1] = '\0';
    return HBA_STATUS_OK;
}

HBA_HANDLE open_adapter(char *name) {
    if (begin(OPEN_ADAPTER)) return 0;
    const auto index = world().find(name);
    if (!index) return 0;
    world().calls().adapter(*index, &HBA_ADAPTER_CALLS::opened);
    return handle_of(*index);
}

void close_adapter(HBA_HANDLE handle) {
    if (begin(CLOSE_ADAPTER) || handle == 0) return;
    world().calls().adapter(index_of(handle), &HBA_ADAPTER_CALLS::closed);
}

HBA_STATUS get_adapter_attributes(HBA_HANDLE handle, HBA_ADAPTERATTRIBUTES *out) {
    HBA_STATUS status = HBA_STATUS_OK;
    const auto adapter = opened(GET_ADAPTER_ATTRIBUTES, handle, status);
    if (!adapter) return status;
    world().calls().adapter(index_of(handle), &HBA_ADAPTER_CALLS::attributes);
    *out = adapter->attributes;
    return HBA_STATUS_OK;
}

HBA_STATUS get_adapter_port_attributes(HBA_HANDLE handle, HBA_UINT32 port,
                                       HBA_PORTATTRIBUTES *out) {
    HBA_STATUS status = HBA_STATUS_OK;
    const auto adapter = opened(GET_ADAPTER_PORT_ATTRIBUTES, handle, status);
    if (!adapter) return status;
    if (port >= adapter->ports.size()) return HBA_STATUS_ERROR_ILLEGAL_INDEX;
    world().calls().adapter(index_of(handle), &HBA_ADAPTER_CALLS::portAttributes);
    *out = adapter->ports[port];
    return HBA_STATUS_OK;
}

HBA_STATUS get_port_statistics(HBA_HANDLE handle, HBA_UINT32 port, HBA_PORTSTATISTICS *out) {
    HBA_STATUS status = HBA_STATUS_OK;
    const auto adapter = opened(GET_PORT_STATISTICS, handle, status);
    if (!adapter) return status;
    if (port >= adapter->ports.size()) return HBA_STATUS_ERROR_ILLEGAL_INDEX;
    HBA_INT64 numbers[sizeof(HBA_PORTSTATISTICS) / sizeof(HBA_INT64)];
    for (HBA_INT64 &each : numbers) each = NOT_COUNTED;
    std::memcpy(out, numbers, sizeof numbers);
    return HBA_STATUS_OK;
}

HBA_STATUS get_discovered_port_attributes(HBA_HANDLE handle, HBA_UINT32, HBA_UINT32,
                                          HBA_PORTATTRIBUTES *) {
    // Nothing was found behind any port.
    return checked(GET_DISCOVERED_PORT_ATTRIBUTES, handle, HBA_STATUS_ERROR_ILLEGAL_INDEX);
}

HBA_STATUS get_port_attributes_by_wwn(HBA_HANDLE handle, HBA_WWN wanted, HBA_PORTATTRIBUTES *out) {
    HBA_STATUS status = HBA_STATUS_OK;
    const auto adapter = opened(GET_PORT_ATTRIBUTES_BY_WWN, handle, status);
    if (!adapter) return status;
    for (const HBA_PORTATTRIBUTES &port : adapter->ports)
        if (std::memcmp(&port.PortWWN, &wanted, sizeof wanted) == 0) {
            *out = port;
            return HBA_STATUS_OK;
        }
    return HBA_STATUS_ERROR_ILLEGAL_WWN;
}

HBA_STATUS send_ct_pass_thru(HBA_HANDLE handle, void *, HBA_UINT32, void *, HBA_UINT32) {
    return checked(SEND_CT_PASS_THRU, handle, HBA_STATUS_ERROR_NOT_SUPPORTED);
}

void refresh_information(HBA_HANDLE) {
    (void)begin(REFRESH_INFORMATION); // what is told is always the present
}

void reset_statistics(HBA_HANDLE, HBA_UINT32) {
    (void)begin(RESET_STATISTICS); // nothing is counted
}

HBA_STATUS get_fcp_target_mapping(HBA_HANDLE handle, HBA_FCPTARGETMAPPING *out) {
    const HBA_STATUS status = checked(GET_FCP_TARGET_MAPPING, handle, HBA_STATUS_OK);
    if (status == HBA_STATUS_OK) out->NumberOfEntries = 0;
    return status;
}

HBA_STATUS get_fcp_persistent_binding(HBA_HANDLE handle, HBA_FCPBINDING *out) {
    const HBA_STATUS status = checked(GET_FCP_PERSISTENT_BINDING, handle, HBA_STATUS_OK);
    if (status == HBA_STATUS_OK) out->NumberOfEntries = 0;
    return status;
}

HBA_STATUS get_event_buffer(HBA_HANDLE handle, HBA_EVENTINFO *, HBA_UINT32 *count) {
    const HBA_STATUS status = checked(GET_EVENT_BUFFER, handle, HBA_STATUS_OK);
    if (status == HBA_STATUS_OK) *count = 0;
    return status;
}

HBA_STATUS set_rnid_mgmt_info(HBA_HANDLE handle, HBA_MGMTINFO *) {
    return checked(SET_RNID_MGMT_INFO, handle, HBA_STATUS_ERROR_NOT_SUPPORTED);
}

HBA_STATUS get_rnid_mgmt_info(HBA_HANDLE handle, HBA_MGMTINFO *) {
    return checked(GET_RNID_MGMT_INFO, handle, HBA_STATUS_ERROR_NOT_SUPPORTED);
}

HBA_STATUS send_rnid(HBA_HANDLE handle, HBA_WWN, HBA_WWNTYPE, void *, HBA_UINT32 *) {
    return checked(SEND_RNID, handle, HBA_STATUS_ERROR_NOT_SUPPORTED);
}

HBA_STATUS scsi_inquiry(HBA_HANDLE handle, HBA_WWN, HBA_UINT64, HBA_UINT8, HBA_UINT32, void *,
                        HBA_UINT32, void *, HBA_UINT32) {
    return checked(SCSI_INQUIRY, handle, HBA_STATUS_ERROR_NOT_A_TARGET);
}

HBA_STATUS report_luns(HBA_HANDLE handle, HBA_WWN, void *, HBA_UINT32, void *, HBA_UINT32) {
    return checked(REPORT_LUNS, handle, HBA_STATUS_ERROR_NOT_A_TARGET);
}

HBA_STATUS read_capacity(HBA_HANDLE handle, HBA_WWN, HBA_UINT64, void *, HBA_UINT32, void *,
                         HBA_UINT32) {
    return checked(READ_CAPACITY, handle, HBA_STATUS_ERROR_NOT_A_TARGET);
}
} // namespace

extern "C" __attribute__((visibility("default"))) HBA_STATUS
HBA_RegisterLibrary(HBA_ENTRYPOINTS *table) {
    world().calls().registration();
    if (table == nullptr) return HBA_STATUS_ERROR_ARG;
    if (world().fails(HBA_REGISTRATION)) return HBA_STATUS_ERROR;
    table->GetVersionHandler = get_version;
    table->LoadLibraryHandler = load_library;
    table->FreeLibraryHandler = free_library;
    table->GetNumberOfAdaptersHandler = get_number_of_adapters;
    table->GetAdapterNameHandler = get_adapter_name;
    table->OpenAdapterHandler = open_adapter;
    table->CloseAdapterHandler = close_adapter;
    table->GetAdapterAttributesHandler = get_adapter_attributes;
    table->GetAdapterPortAttributesHandler = get_adapter_port_attributes;
    table->GetPortStatisticsHandler = get_port_statistics;
    table->GetDiscoveredPortAttributesHandler = get_discovered_port_attributes;
    table->GetPortAttributesByWWNHandler = get_port_attributes_by_wwn;
    table->SendCTPassThruHandler = send_ct_pass_thru;
    table->RefreshInformationHandler = refresh_information;
    table->ResetStatisticsHandler = reset_statistics;
    table->GetFcpTargetMappingHandler = get_fcp_target_mapping;
    table->GetFcpPersistentBindingHandler = get_fcp_persistent_binding;
    table->GetEventBufferHandler = get_event_buffer;
    table->SetRNIDMgmtInfoHandler = set_rnid_mgmt_info;
    table->GetRNIDMgmtInfoHandler = get_rnid_mgmt_info;
    table->SendRNIDHandler = send_rnid;
    table->ScsiInquiryHandler = scsi_inquiry;
    table->ReportLUNsHandler = report_luns;
    table->ReadCapacityHandler = read_capacity;
    return HBA_STATUS_OK;
}

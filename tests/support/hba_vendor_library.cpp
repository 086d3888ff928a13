// A vendor's adapter library for tests that go through the real dynamic linker: three adapters of
// one port. It brings functions of the published names and calls them by these, as a vendor's may.
// Built twice: with C names, and with C++ names (ORB_HBA_CXX_NAMES).
#include <cstdio>

#include "fc/hba_api.h"

#ifdef ORB_HBA_CXX_NAMES
#define LINKAGE extern
#else
#define LINKAGE extern "C"
#endif

// What a library must never come to share with its caller: the caller's values are others.
LINKAGE HBA_UINT32 HBA_GetVersion() {
    return 2;
}
LINKAGE HBA_STATUS HBA_LoadLibrary() {
    return HBA_STATUS_OK;
}
LINKAGE HBA_STATUS HBA_FreeLibrary() {
    return HBA_STATUS_ERROR_INCAPABLE;
}
LINKAGE HBA_UINT32 HBA_GetNumberOfAdapters() {
    return 3;
}
LINKAGE HBA_STATUS HBA_GetAdapterName(HBA_UINT32 index, char *name) {
    if (index >= HBA_GetNumberOfAdapters()) return HBA_STATUS_ERROR_ILLEGAL_INDEX;
    std::snprintf(name, 256, "com.example-FC900X-%u", index);
    return HBA_STATUS_OK;
}
LINKAGE HBA_HANDLE HBA_OpenAdapter(const char *name) {
    HBA_UINT32 index = 0;
    return std::sscanf(name, "com.example-FC900X-%u", &index) == 1 ? 0xBEEF0100 + index : 0;
}
LINKAGE void HBA_CloseAdapter(HBA_HANDLE) {}
LINKAGE HBA_STATUS HBA_GetAdapterAttributes(HBA_HANDLE handle, HBA_ADAPTERATTRIBUTES *out) {
    if (handle >> 8 != 0xBEEF01) return HBA_STATUS_ERROR_INVALID_HANDLE;
    *out = {};
    std::snprintf(out->SerialNumber, sizeof out->SerialNumber, "%08x", handle);
    out->NumberOfPorts = 1;
    return HBA_STATUS_OK;
}
LINKAGE HBA_STATUS HBA_GetPortAttributesByWWN(HBA_HANDLE, HBA_WWN port, HBA_PORTATTRIBUTES *out) {
    *out = {};
    out->PortWWN = port;
    out->PortState = HBA_PORTSTATE_ONLINE;
    return HBA_STATUS_OK;
}

extern "C" HBA_STATUS HBA_RegisterLibrary(HBA_ENTRYPOINTS *table) {
    // Lambdas, so that each handler finds the function behind it by name, at the first call.
    table->GetVersionHandler = [] { return HBA_GetVersion(); };
    table->LoadLibraryHandler = [] { return HBA_LoadLibrary(); };
    table->FreeLibraryHandler = [] { return HBA_FreeLibrary(); };
    table->GetNumberOfAdaptersHandler = [] { return HBA_GetNumberOfAdapters(); };
    table->GetAdapterNameHandler = [](HBA_UINT32 index, char *name) {
        return HBA_GetAdapterName(index, name);
    };
    table->OpenAdapterHandler = [](char *name) { return HBA_OpenAdapter(name); };
    table->CloseAdapterHandler = [](HBA_HANDLE handle) { HBA_CloseAdapter(handle); };
    table->GetAdapterAttributesHandler = [](HBA_HANDLE handle, HBA_ADAPTERATTRIBUTES *out) {
        return HBA_GetAdapterAttributes(handle, out);
    };
    table->GetPortAttributesByWWNHandler = [](HBA_HANDLE handle, HBA_WWN port,
                                              HBA_PORTATTRIBUTES *out) {
        return HBA_GetPortAttributesByWWN(handle, port, out);
    };
    return HBA_STATUS_OK;
}

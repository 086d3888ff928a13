#pragma once

#include <array>
#include <cstddef>

#include "fc/hba_api.h"
#include "fc/hba_conf.h"

// One list of Fibre Channel adapters over all vendor libraries that hba.conf names.
//
// Threads: none of these functions locks; the Fibre Channel manager's thread alone may call them,
// and no vendor's thread may call back into them.
//
// Symbols: the published interface gives these names to C functions, and a vendor library may
// bring functions of the same names. These here are C++ functions that never leave the object
// they are linked into, so neither side can come to call the other's by accident.
#pragma GCC visibility push(hidden)

constexpr char HBA_CONF_FILE[] = "/etc/config/vantor/orb/hba.conf"; ///< on the host

constexpr std::size_t HBA_LIBRARIES = 32; ///< further lines of hba.conf are not looked at
constexpr std::size_t HBA_ADAPTERS = 64;  ///< further adapters are not asked for
constexpr std::size_t HBA_ADAPTER_NAME_BYTES = 256;

/// HBA_LIBRARY_ROW::status. It changes only where a library comes up or is let go: a later load
/// that finds none, or one without handlers of version or load, leaves a loaded row loaded.
constexpr HBA_UINT32 HBA_LIBRARY_NOT_LOADED = 0, HBA_LIBRARY_LOADED = 1, HBA_LIBRARY_LET_GO = 2;

/// A vendor library.
struct HBA_LIBRARY_ROW {
    char name[HBA_LIBRARY_NAME_BYTES];
    char path[HBA_LIBRARY_PATH_BYTES];
    void *handle; ///< the latest load's, null where that found no library or it was closed
    HBA_ENTRYPOINTS entryPoints;
    HBA_UINT32 status;
    HBA_HANDLE vendorHandle; ///< what the library's last open gave
};
static_assert(offsetof(HBA_LIBRARY_ROW, name) == 0);
static_assert(offsetof(HBA_LIBRARY_ROW, path) == 64);
static_assert(offsetof(HBA_LIBRARY_ROW, handle) == 320);
static_assert(offsetof(HBA_LIBRARY_ROW, entryPoints) == 328);
static_assert(offsetof(HBA_LIBRARY_ROW, status) == 520);
static_assert(offsetof(HBA_LIBRARY_ROW, vendorHandle) == 524);
static_assert(sizeof(HBA_LIBRARY_ROW) == 528);

/// An adapter of one of the libraries.
struct HBA_ADAPTER_ROW {
    char name[HBA_ADAPTER_NAME_BYTES]; ///< ends with a NUL and is filled up with NULs
    HBA_UINT32 library;                ///< its row in librarytable
};

/// The loader's state, zero at start; for tests to look at. The row behind the last library stays
/// zero: it is what the first index that no library has comes to.
extern std::array<HBA_LIBRARY_ROW, HBA_LIBRARIES + 1> librarytable;
extern std::array<HBA_ADAPTER_ROW, HBA_ADAPTERS> adaptertable;
extern HBA_UINT32 number_of_total_adapters;

// -- The loader ---------------------------------------------------------------------------------

/// Loads the libraries of hba.conf, from the first row of librarytable on, at each call anew: the
/// dynamic linker counts how often, nothing else grows.
/// @return HBA_STATUS_OK however many libraries came up, HBA_STATUS_ERROR where hba.conf can't be
///         opened; the libraries of an earlier call then stay as they are
HBA_STATUS HBA_LoadLibrary();

/// Lets go of each library that is loaded. One that was loaded several times stays in memory.
/// @return what the last library that has a free handler answered, HBA_STATUS_OK without one
HBA_STATUS HBA_FreeLibrary();

/// The version of the interface that this layer offers: 1.
HBA_UINT32 HBA_GetVersion();

/// Asks each loaded library for its adapters, in the order of the rows, and makes the list of
/// adapters anew. An adapter whose naming fails is in the list too, by what its library wrote.
/// @return the length of the list
HBA_UINT32 HBA_GetNumberOfAdapters();

/// The name of an adapter of the list.
/// @param name  HBA_ADAPTER_NAME_BYTES, all of them written on success, the last one a NUL
/// @return HBA_STATUS_OK, HBA_STATUS_ERROR_ILLEGAL_INDEX beyond the end of the list
HBA_STATUS HBA_GetAdapterName(HBA_UINT32 index, char *name);

/// Opens the first adapter of the list that has this name.
/// @return the library's row in the upper half, the lower half of the library's own handle in the
///         lower; 0 for an adapter that isn't there or whose library can't open any, and also
///         where library 0 gave a handle with an empty lower half
HBA_HANDLE HBA_OpenAdapter(const char *name);

/// Splits a handle, in constant time.
/// @param library       its row, written in any case
/// @param vendorHandle  written on success: what the library's last open gave, whatever lower half
///                      `handle` has
/// @return HBA_STATUS_OK, HBA_STATUS_ERROR for a row that is not loaded,
///         HBA_STATUS_ERROR_INVALID_HANDLE for one beyond the spare row
HBA_STATUS HBA_CheckLibrary(HBA_HANDLE handle, HBA_UINT32 *library, HBA_HANDLE *vendorHandle);

/// Where the library of an adapter of the list comes from.
/// @param path          HBA_LIBRARY_PATH_BYTES, all of them written
/// @param vendorHandle  what the library's last open gave
/// @return the linker's handle of the library, which stays the loader's; null, with nothing
///         written, beyond the end of the list
void *HBA_GetLibraryPath(HBA_UINT32 adapterIndex, char *path, HBA_HANDLE *vendorHandle);

// -- Calls that go through to the library of an open adapter -------------------------------------
// Each takes a handle of HBA_OpenAdapter() and hands on everything else as it is. Without a good
// handle the library is not called, and the status is that of HBA_CheckLibrary(). A library without
// the handler, and a handler that gives no status, count as HBA_STATUS_OK; nothing is written then,
// so records come in zeroed.

void HBA_CloseAdapter(HBA_HANDLE handle);
HBA_STATUS HBA_GetAdapterAttributes(HBA_HANDLE handle, HBA_ADAPTERATTRIBUTES *out);
HBA_STATUS HBA_GetAdapterPortAttributes(HBA_HANDLE handle, HBA_UINT32 port,
                                        HBA_PORTATTRIBUTES *out);
HBA_STATUS HBA_GetPortStatistics(HBA_HANDLE handle, HBA_UINT32 port, HBA_PORTSTATISTICS *out);
HBA_STATUS HBA_GetDiscoveredPortAttributes(HBA_HANDLE handle, HBA_UINT32 port,
                                           HBA_UINT32 discovered, HBA_PORTATTRIBUTES *out);
HBA_STATUS HBA_GetPortAttributesByWWN(HBA_HANDLE handle, HBA_WWN port, HBA_PORTATTRIBUTES *out);
HBA_STATUS HBA_SendCTPassThru(HBA_HANDLE handle, void *request, HBA_UINT32 requestSize,
                              void *response, HBA_UINT32 responseSize);
HBA_STATUS HBA_RefreshInformation(HBA_HANDLE handle);
HBA_STATUS HBA_ResetStatistics(HBA_HANDLE handle, HBA_UINT32 port);
HBA_STATUS HBA_GetFcpTargetMapping(HBA_HANDLE handle, HBA_FCPTARGETMAPPING *inOut);
HBA_STATUS HBA_GetFcpPersistentBinding(HBA_HANDLE handle, HBA_FCPBINDING *inOut);
HBA_STATUS HBA_GetEventBuffer(HBA_HANDLE handle, HBA_EVENTINFO *out, HBA_UINT32 *countInOut);
HBA_STATUS HBA_SetRNIDMgmtInfo(HBA_HANDLE handle, HBA_MGMTINFO *info);
HBA_STATUS HBA_GetRNIDMgmtInfo(HBA_HANDLE handle, HBA_MGMTINFO *out);
HBA_STATUS HBA_SendRNID(HBA_HANDLE handle, HBA_WWN wwn, HBA_WWNTYPE type, void *response,
                        HBA_UINT32 *responseSizeInOut);
HBA_STATUS HBA_SendScsiInquiry(HBA_HANDLE handle, HBA_WWN port, HBA_UINT64 lun, HBA_UINT8 evpd,
                               HBA_UINT32 page, void *response, HBA_UINT32 responseSize,
                               void *sense, HBA_UINT32 senseSize);
HBA_STATUS HBA_SendReportLUNs(HBA_HANDLE handle, HBA_WWN port, void *response,
                              HBA_UINT32 responseSize, void *sense, HBA_UINT32 senseSize);
HBA_STATUS HBA_SendReadCapacity(HBA_HANDLE handle, HBA_WWN port, HBA_UINT64 lun, void *response,
                                HBA_UINT32 responseSize, void *sense, HBA_UINT32 senseSize);

#pragma GCC visibility pop

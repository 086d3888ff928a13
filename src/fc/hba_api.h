#pragma once

#include <cstddef>
#include <cstdint>

// The published Fibre Channel host bus adapter interface (INCITS 386, FC-HBA), version 1, on LP64
// Linux: the types that cross to a vendor library. Natural alignment, no packing; each offset and
// size is asserted here, so that whoever includes this is built for the same layout. Needs nothing
// of the house: a vendor library includes it too.

using HBA_UINT8 = std::uint8_t;
using HBA_UINT16 = std::uint16_t;
using HBA_UINT32 = std::uint32_t;
using HBA_UINT64 = std::uint64_t;
using HBA_INT32 = std::int32_t;
using HBA_INT64 = std::int64_t;

using HBA_STATUS = HBA_UINT32;    ///< HBA_STATUS_*
using HBA_HANDLE = HBA_UINT32;    ///< an open adapter; 0 is none
using HBA_PORTTYPE = HBA_UINT32;  ///< HBA_PORTTYPE_*
using HBA_PORTSTATE = HBA_UINT32; ///< HBA_PORTSTATE_*
using HBA_PORTSPEED = HBA_UINT32; ///< bits, HBA_PORTSPEED_*
using HBA_COS = HBA_UINT32;       ///< classes of service, bits, HBA_COS_*
using HBA_BOOLEAN = HBA_UINT32;

static_assert(sizeof(void *) == 8 && sizeof(unsigned) == sizeof(HBA_UINT32));

constexpr HBA_STATUS HBA_STATUS_OK = 0, HBA_STATUS_ERROR = 1, HBA_STATUS_ERROR_NOT_SUPPORTED = 2,
                     HBA_STATUS_ERROR_INVALID_HANDLE = 3, HBA_STATUS_ERROR_ARG = 4,
                     HBA_STATUS_ERROR_ILLEGAL_WWN = 5, HBA_STATUS_ERROR_ILLEGAL_INDEX = 6,
                     HBA_STATUS_ERROR_MORE_DATA = 7, HBA_STATUS_ERROR_STALE_DATA = 8,
                     HBA_STATUS_SCSI_CHECK_CONDITION = 9, HBA_STATUS_ERROR_BUSY = 10,
                     HBA_STATUS_ERROR_TRY_AGAIN = 11, HBA_STATUS_ERROR_UNAVAILABLE = 12,
                     HBA_STATUS_ERROR_ELS_REJECT = 13, HBA_STATUS_ERROR_INVALID_LUN = 14,
                     HBA_STATUS_ERROR_INCOMPATIBLE = 15, HBA_STATUS_ERROR_AMBIGUOUS_WWN = 16,
                     HBA_STATUS_ERROR_LOCAL_BUS = 17, HBA_STATUS_ERROR_LOCAL_TARGET = 18,
                     HBA_STATUS_ERROR_LOCAL_LUN = 19, HBA_STATUS_ERROR_LOCAL_SCSIID_BOUND = 20,
                     HBA_STATUS_ERROR_TARGET_FCID = 21, HBA_STATUS_ERROR_TARGET_NODE_WWN = 22,
                     HBA_STATUS_ERROR_TARGET_PORT_WWN = 23, HBA_STATUS_ERROR_TARGET_LUN = 24,
                     HBA_STATUS_ERROR_TARGET_LUID = 25, HBA_STATUS_ERROR_NO_SUCH_BINDING = 26,
                     HBA_STATUS_ERROR_NOT_A_TARGET = 27, HBA_STATUS_ERROR_UNSUPPORTED_FC4 = 28,
                     HBA_STATUS_ERROR_INCAPABLE = 29;

constexpr HBA_PORTTYPE HBA_PORTTYPE_UNKNOWN = 1, HBA_PORTTYPE_OTHER = 2,
                       HBA_PORTTYPE_NOTPRESENT = 3, HBA_PORTTYPE_NPORT = 5, HBA_PORTTYPE_NLPORT = 6,
                       HBA_PORTTYPE_FLPORT = 7, HBA_PORTTYPE_FPORT = 8, HBA_PORTTYPE_EPORT = 9,
                       HBA_PORTTYPE_GPORT = 10, HBA_PORTTYPE_LPORT = 20, HBA_PORTTYPE_PTP = 21;

constexpr HBA_PORTSTATE HBA_PORTSTATE_UNKNOWN = 1, HBA_PORTSTATE_ONLINE = 2,
                        HBA_PORTSTATE_OFFLINE = 3, HBA_PORTSTATE_BYPASSED = 4,
                        HBA_PORTSTATE_DIAGNOSTICS = 5, HBA_PORTSTATE_LINKDOWN = 6,
                        HBA_PORTSTATE_ERROR = 7, HBA_PORTSTATE_LOOPBACK = 8;

constexpr HBA_PORTSPEED HBA_PORTSPEED_UNKNOWN = 0, HBA_PORTSPEED_1GBIT = 0x1,
                        HBA_PORTSPEED_2GBIT = 0x2, HBA_PORTSPEED_10GBIT = 0x4,
                        HBA_PORTSPEED_4GBIT = 0x8, HBA_PORTSPEED_8GBIT = 0x10,
                        HBA_PORTSPEED_16GBIT = 0x20, HBA_PORTSPEED_32GBIT = 0x40,
                        HBA_PORTSPEED_NOT_NEGOTIATED = 0x8000;

constexpr HBA_COS HBA_COS_CLASS_1 = 0x2, HBA_COS_CLASS_2 = 0x4, HBA_COS_CLASS_3 = 0x8;

/// HBA_EVENTINFO::EventCode.
constexpr HBA_UINT32 HBA_EVENT_LIP_OCCURRED = 1, HBA_EVENT_LINK_UP = 2, HBA_EVENT_LINK_DOWN = 3,
                     HBA_EVENT_LIP_RESET_OCCURRED = 4, HBA_EVENT_RSCN = 5,
                     HBA_EVENT_PROPRIETARY = 0xFFFF;

extern "C" {

enum HBA_WWNTYPE : int { NODE_WWN = 0, PORT_WWN = 1 };
enum HBA_FCPBINDINGTYPE : int { TO_D_ID = 0, TO_WWN = 1 };
static_assert(sizeof(HBA_WWNTYPE) == 4 && sizeof(HBA_FCPBINDINGTYPE) == 4);

/// A world-wide name, most significant byte first.
struct HBA_WWN {
    HBA_UINT8 wwn[8];
};
static_assert(sizeof(HBA_WWN) == 8 && alignof(HBA_WWN) == 1);

/// One bit for each FC-4 type; FCP, type 08h, is bit 0 of byte 2.
struct HBA_FC4TYPES {
    HBA_UINT8 bits[32];
};
static_assert(sizeof(HBA_FC4TYPES) == 32 && alignof(HBA_FC4TYPES) == 1);

// -- Adapters and ports. Texts are padded with NUL; one as long as its field has none. -----------

struct HBA_ADAPTERATTRIBUTES {
    char Manufacturer[64];
    char SerialNumber[64];
    char Model[256];
    char ModelDescription[256];
    HBA_WWN NodeWWN;
    char NodeSymbolicName[256];
    char HardwareVersion[256];
    char DriverVersion[256];
    char OptionROMVersion[256];
    char FirmwareVersion[256];
    HBA_UINT32 VendorSpecificID;
    HBA_UINT32 NumberOfPorts;
    char DriverName[256];
};
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, Manufacturer) == 0);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, SerialNumber) == 64);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, Model) == 128);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, ModelDescription) == 384);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, NodeWWN) == 640);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, NodeSymbolicName) == 648);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, HardwareVersion) == 904);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, DriverVersion) == 1160);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, OptionROMVersion) == 1416);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, FirmwareVersion) == 1672);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, VendorSpecificID) == 1928);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, NumberOfPorts) == 1932);
static_assert(offsetof(HBA_ADAPTERATTRIBUTES, DriverName) == 1936);
static_assert(sizeof(HBA_ADAPTERATTRIBUTES) == 2192 && alignof(HBA_ADAPTERATTRIBUTES) == 4);

struct HBA_PORTATTRIBUTES {
    HBA_WWN NodeWWN;
    HBA_WWN PortWWN;
    HBA_UINT32 PortFcId;
    HBA_PORTTYPE PortType;
    HBA_PORTSTATE PortState;
    HBA_COS PortSupportedClassofService;
    HBA_FC4TYPES PortSupportedFc4Types;
    HBA_FC4TYPES PortActiveFc4Types;
    char PortSymbolicName[256];
    char OSDeviceName[256];
    HBA_PORTSPEED PortSupportedSpeed;
    HBA_PORTSPEED PortSpeed;
    HBA_UINT32 PortMaxFrameSize; ///< bytes
    HBA_WWN FabricName;
    HBA_UINT32 NumberofDiscoveredPorts;
};
static_assert(offsetof(HBA_PORTATTRIBUTES, NodeWWN) == 0);
static_assert(offsetof(HBA_PORTATTRIBUTES, PortWWN) == 8);
static_assert(offsetof(HBA_PORTATTRIBUTES, PortFcId) == 16);
static_assert(offsetof(HBA_PORTATTRIBUTES, PortType) == 20);
static_assert(offsetof(HBA_PORTATTRIBUTES, PortState) == 24);
static_assert(offsetof(HBA_PORTATTRIBUTES, PortSupportedClassofService) == 28);
static_assert(offsetof(HBA_PORTATTRIBUTES, PortSupportedFc4Types) == 32);
static_assert(offsetof(HBA_PORTATTRIBUTES, PortActiveFc4Types) == 64);
static_assert(offsetof(HBA_PORTATTRIBUTES, PortSymbolicName) == 96);
static_assert(offsetof(HBA_PORTATTRIBUTES, OSDeviceName) == 352);
static_assert(offsetof(HBA_PORTATTRIBUTES, PortSupportedSpeed) == 608);
static_assert(offsetof(HBA_PORTATTRIBUTES, PortSpeed) == 612);
static_assert(offsetof(HBA_PORTATTRIBUTES, PortMaxFrameSize) == 616);
static_assert(offsetof(HBA_PORTATTRIBUTES, FabricName) == 620);
static_assert(offsetof(HBA_PORTATTRIBUTES, NumberofDiscoveredPorts) == 628);
static_assert(sizeof(HBA_PORTATTRIBUTES) == 632 && alignof(HBA_PORTATTRIBUTES) == 4);

/// Counters since the last reset; -1 for one that the adapter lacks.
struct HBA_PORTSTATISTICS {
    HBA_INT64 SecondsSinceLastReset;
    HBA_INT64 TxFrames;
    HBA_INT64 TxWords;
    HBA_INT64 RxFrames;
    HBA_INT64 RxWords;
    HBA_INT64 LIPCount;
    HBA_INT64 NOSCount;
    HBA_INT64 ErrorFrames;
    HBA_INT64 DumpedFrames;
    HBA_INT64 LinkFailureCount;
    HBA_INT64 LossOfSyncCount;
    HBA_INT64 LossOfSignalCount;
    HBA_INT64 PrimitiveSeqProtocolErrCount;
    HBA_INT64 InvalidTxWordCount;
    HBA_INT64 InvalidCRCCount;
};
static_assert(offsetof(HBA_PORTSTATISTICS, SecondsSinceLastReset) == 0);
static_assert(offsetof(HBA_PORTSTATISTICS, TxFrames) == 8);
static_assert(offsetof(HBA_PORTSTATISTICS, TxWords) == 16);
static_assert(offsetof(HBA_PORTSTATISTICS, RxFrames) == 24);
static_assert(offsetof(HBA_PORTSTATISTICS, RxWords) == 32);
static_assert(offsetof(HBA_PORTSTATISTICS, LIPCount) == 40);
static_assert(offsetof(HBA_PORTSTATISTICS, NOSCount) == 48);
static_assert(offsetof(HBA_PORTSTATISTICS, ErrorFrames) == 56);
static_assert(offsetof(HBA_PORTSTATISTICS, DumpedFrames) == 64);
static_assert(offsetof(HBA_PORTSTATISTICS, LinkFailureCount) == 72);
static_assert(offsetof(HBA_PORTSTATISTICS, LossOfSyncCount) == 80);
static_assert(offsetof(HBA_PORTSTATISTICS, LossOfSignalCount) == 88);
static_assert(offsetof(HBA_PORTSTATISTICS, PrimitiveSeqProtocolErrCount) == 96);
static_assert(offsetof(HBA_PORTSTATISTICS, InvalidTxWordCount) == 104);
static_assert(offsetof(HBA_PORTSTATISTICS, InvalidCRCCount) == 112);
static_assert(sizeof(HBA_PORTSTATISTICS) == 120 && alignof(HBA_PORTSTATISTICS) == 8);

// -- FCP mapping and binding --------------------------------------------------------------------

struct HBA_SCSIID {
    char OSDeviceName[256];
    HBA_UINT32 ScsiBusNumber;
    HBA_UINT32 ScsiTargetNumber;
    HBA_UINT32 ScsiOSLun;
};
static_assert(offsetof(HBA_SCSIID, OSDeviceName) == 0);
static_assert(offsetof(HBA_SCSIID, ScsiBusNumber) == 256);
static_assert(offsetof(HBA_SCSIID, ScsiTargetNumber) == 260);
static_assert(offsetof(HBA_SCSIID, ScsiOSLun) == 264);
static_assert(sizeof(HBA_SCSIID) == 268 && alignof(HBA_SCSIID) == 4);

struct HBA_FCPID {
    HBA_UINT32 FcId;
    HBA_WWN NodeWWN;
    HBA_WWN PortWWN;
    HBA_UINT64 FcpLun;
};
static_assert(offsetof(HBA_FCPID, FcId) == 0);
static_assert(offsetof(HBA_FCPID, NodeWWN) == 4);
static_assert(offsetof(HBA_FCPID, PortWWN) == 12);
static_assert(offsetof(HBA_FCPID, FcpLun) == 24);
static_assert(sizeof(HBA_FCPID) == 32 && alignof(HBA_FCPID) == 8);

struct HBA_FCPSCSIENTRY {
    HBA_SCSIID ScsiId;
    HBA_FCPID FcpId;
};
static_assert(offsetof(HBA_FCPSCSIENTRY, ScsiId) == 0);
static_assert(offsetof(HBA_FCPSCSIENTRY, FcpId) == 272);
static_assert(sizeof(HBA_FCPSCSIENTRY) == 304 && alignof(HBA_FCPSCSIENTRY) == 8);

/// NumberOfEntries: the room when asked, the number there is when answered, with
/// HBA_STATUS_ERROR_MORE_DATA where the room was too small. So for the bindings below.
struct HBA_FCPTARGETMAPPING {
    HBA_UINT32 NumberOfEntries;
    HBA_FCPSCSIENTRY entry[1]; ///< as many as there are
};
static_assert(offsetof(HBA_FCPTARGETMAPPING, NumberOfEntries) == 0);
static_assert(offsetof(HBA_FCPTARGETMAPPING, entry) == 8);
static_assert(sizeof(HBA_FCPTARGETMAPPING) == 312 && alignof(HBA_FCPTARGETMAPPING) == 8);

struct HBA_FCPBINDINGENTRY {
    HBA_FCPBINDINGTYPE type;
    HBA_SCSIID ScsiId;
    HBA_FCPID FcpId;
    HBA_UINT32 FcId;
};
static_assert(offsetof(HBA_FCPBINDINGENTRY, type) == 0);
static_assert(offsetof(HBA_FCPBINDINGENTRY, ScsiId) == 4);
static_assert(offsetof(HBA_FCPBINDINGENTRY, FcpId) == 272);
static_assert(offsetof(HBA_FCPBINDINGENTRY, FcId) == 304);
static_assert(sizeof(HBA_FCPBINDINGENTRY) == 312 && alignof(HBA_FCPBINDINGENTRY) == 8);

struct HBA_FCPBINDING {
    HBA_UINT32 NumberOfEntries;
    HBA_FCPBINDINGENTRY entry[1]; ///< as many as there are
};
static_assert(offsetof(HBA_FCPBINDING, NumberOfEntries) == 0);
static_assert(offsetof(HBA_FCPBINDING, entry) == 8);
static_assert(sizeof(HBA_FCPBINDING) == 320 && alignof(HBA_FCPBINDING) == 8);

// -- Events and management ----------------------------------------------------------------------

struct HBA_LINK_EVENTINFO {
    HBA_UINT32 PortFcId;
    HBA_UINT32 Reserved[3];
};
static_assert(offsetof(HBA_LINK_EVENTINFO, PortFcId) == 0);
static_assert(offsetof(HBA_LINK_EVENTINFO, Reserved) == 4);
static_assert(sizeof(HBA_LINK_EVENTINFO) == 16 && alignof(HBA_LINK_EVENTINFO) == 4);

struct HBA_RSCN_EVENTINFO {
    HBA_UINT32 PortFcId;
    HBA_UINT32 NPortPage;
    HBA_UINT32 Reserved[2];
};
static_assert(offsetof(HBA_RSCN_EVENTINFO, PortFcId) == 0);
static_assert(offsetof(HBA_RSCN_EVENTINFO, NPortPage) == 4);
static_assert(offsetof(HBA_RSCN_EVENTINFO, Reserved) == 8);
static_assert(sizeof(HBA_RSCN_EVENTINFO) == 16 && alignof(HBA_RSCN_EVENTINFO) == 4);

struct HBA_PTY_EVENTINFO {
    HBA_UINT32 PtyData[4];
};
static_assert(offsetof(HBA_PTY_EVENTINFO, PtyData) == 0);
static_assert(sizeof(HBA_PTY_EVENTINFO) == 16 && alignof(HBA_PTY_EVENTINFO) == 4);

struct HBA_EVENTINFO {
    HBA_UINT32 EventCode; ///< HBA_EVENT_*
    union {
        HBA_LINK_EVENTINFO Link_EventInfo;
        HBA_RSCN_EVENTINFO RSCN_EventInfo;
        HBA_PTY_EVENTINFO Pty_EventInfo;
    } Event;
};
static_assert(offsetof(HBA_EVENTINFO, EventCode) == 0);
static_assert(offsetof(HBA_EVENTINFO, Event) == 4);
static_assert(sizeof(HBA_EVENTINFO) == 20 && alignof(HBA_EVENTINFO) == 4);

struct HBA_MGMTINFO {
    HBA_WWN wwn;
    HBA_UINT32 unittype;
    HBA_UINT32 PortId;
    HBA_UINT32 NumberOfAttachedNodes;
    HBA_UINT16 IPVersion;
    HBA_UINT16 UDPPort;
    HBA_UINT8 IPAddress[16];
    HBA_UINT16 reserved;
    HBA_UINT16 TopologyDiscoveryFlags;
};
static_assert(offsetof(HBA_MGMTINFO, wwn) == 0);
static_assert(offsetof(HBA_MGMTINFO, unittype) == 8);
static_assert(offsetof(HBA_MGMTINFO, PortId) == 12);
static_assert(offsetof(HBA_MGMTINFO, NumberOfAttachedNodes) == 16);
static_assert(offsetof(HBA_MGMTINFO, IPVersion) == 20);
static_assert(offsetof(HBA_MGMTINFO, UDPPort) == 22);
static_assert(offsetof(HBA_MGMTINFO, IPAddress) == 24);
static_assert(offsetof(HBA_MGMTINFO, reserved) == 40);
static_assert(offsetof(HBA_MGMTINFO, TopologyDiscoveryFlags) == 42);
static_assert(sizeof(HBA_MGMTINFO) == 44 && alignof(HBA_MGMTINFO) == 4);

// -- A vendor library's entry points ------------------------------------------------------------

/// A library fills what it has and leaves the rest alone; the table comes to it full of nulls.
/// Handles are the library's own. A name buffer has 256 bytes.
struct HBA_ENTRYPOINTS {
    // The formatter would tear the names of long handlers from their parameters.
    // clang-format off
    HBA_UINT32 (*GetVersionHandler)();
    HBA_STATUS (*LoadLibraryHandler)();
    HBA_STATUS (*FreeLibraryHandler)();
    HBA_UINT32 (*GetNumberOfAdaptersHandler)();
    HBA_STATUS (*GetAdapterNameHandler)(HBA_UINT32 index, char *name);
    HBA_HANDLE (*OpenAdapterHandler)(char *name);
    void (*CloseAdapterHandler)(HBA_HANDLE handle);
    HBA_STATUS (*GetAdapterAttributesHandler)(HBA_HANDLE handle, HBA_ADAPTERATTRIBUTES *out);
    HBA_STATUS (*GetAdapterPortAttributesHandler)(HBA_HANDLE handle, HBA_UINT32 port,
                                                  HBA_PORTATTRIBUTES *out);
    HBA_STATUS (*GetPortStatisticsHandler)(HBA_HANDLE handle, HBA_UINT32 port,
                                           HBA_PORTSTATISTICS *out);
    HBA_STATUS (*GetDiscoveredPortAttributesHandler)(HBA_HANDLE handle, HBA_UINT32 port,
                                                     HBA_UINT32 discovered,
                                                     HBA_PORTATTRIBUTES *out);
    HBA_STATUS (*GetPortAttributesByWWNHandler)(HBA_HANDLE handle, HBA_WWN port,
                                                HBA_PORTATTRIBUTES *out);
    HBA_STATUS (*SendCTPassThruHandler)(HBA_HANDLE handle, void *request, HBA_UINT32 requestSize,
                                        void *response, HBA_UINT32 responseSize);
    void (*RefreshInformationHandler)(HBA_HANDLE handle);
    void (*ResetStatisticsHandler)(HBA_HANDLE handle, HBA_UINT32 port);
    HBA_STATUS (*GetFcpTargetMappingHandler)(HBA_HANDLE handle, HBA_FCPTARGETMAPPING *inOut);
    HBA_STATUS (*GetFcpPersistentBindingHandler)(HBA_HANDLE handle, HBA_FCPBINDING *inOut);
    HBA_STATUS (*GetEventBufferHandler)(HBA_HANDLE handle, HBA_EVENTINFO *out,
                                        HBA_UINT32 *countInOut);
    HBA_STATUS (*SetRNIDMgmtInfoHandler)(HBA_HANDLE handle, HBA_MGMTINFO *info);
    HBA_STATUS (*GetRNIDMgmtInfoHandler)(HBA_HANDLE handle, HBA_MGMTINFO *out);
    HBA_STATUS (*SendRNIDHandler)(HBA_HANDLE handle, HBA_WWN wwn, HBA_WWNTYPE type,
                                  void *response, HBA_UINT32 *responseSizeInOut);
    HBA_STATUS (*ScsiInquiryHandler)(HBA_HANDLE handle, HBA_WWN port, HBA_UINT64 lun,
                                     HBA_UINT8 evpd, HBA_UINT32 page, void *response,
                                     HBA_UINT32 responseSize, void *sense, HBA_UINT32 senseSize);
    HBA_STATUS (*ReportLUNsHandler)(HBA_HANDLE handle, HBA_WWN port, void *response,
                                    HBA_UINT32 responseSize, void *sense, HBA_UINT32 senseSize);
    HBA_STATUS (*ReadCapacityHandler)(HBA_HANDLE handle, HBA_WWN port, HBA_UINT64 lun,
                                      void *response, HBA_UINT32 responseSize, void *sense,
                                      HBA_UINT32 senseSize);
    // clang-format on
};
static_assert(offsetof(HBA_ENTRYPOINTS, GetVersionHandler) == 0 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, LoadLibraryHandler) == 1 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, FreeLibraryHandler) == 2 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, GetNumberOfAdaptersHandler) == 3 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, GetAdapterNameHandler) == 4 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, OpenAdapterHandler) == 5 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, CloseAdapterHandler) == 6 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, GetAdapterAttributesHandler) == 7 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, GetAdapterPortAttributesHandler) == 8 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, GetPortStatisticsHandler) == 9 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, GetDiscoveredPortAttributesHandler) == 10 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, GetPortAttributesByWWNHandler) == 11 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, SendCTPassThruHandler) == 12 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, RefreshInformationHandler) == 13 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, ResetStatisticsHandler) == 14 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, GetFcpTargetMappingHandler) == 15 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, GetFcpPersistentBindingHandler) == 16 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, GetEventBufferHandler) == 17 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, SetRNIDMgmtInfoHandler) == 18 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, GetRNIDMgmtInfoHandler) == 19 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, SendRNIDHandler) == 20 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, ScsiInquiryHandler) == 21 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, ReportLUNsHandler) == 22 * 8);
static_assert(offsetof(HBA_ENTRYPOINTS, ReadCapacityHandler) == 23 * 8);
static_assert(sizeof(HBA_ENTRYPOINTS) == 192 && alignof(HBA_ENTRYPOINTS) == 8);

/// What a vendor library defines and exports: fills the caller's table.
/// @return HBA_STATUS_OK, or why the library refuses
__attribute__((visibility("default"))) HBA_STATUS HBA_RegisterLibrary(HBA_ENTRYPOINTS *table);
using HBA_REGISTERLIBRARY = HBA_STATUS (*)(HBA_ENTRYPOINTS *table);

} // extern "C"

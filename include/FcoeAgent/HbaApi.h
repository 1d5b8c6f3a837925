// SNIA HBA API version 2 (ANSI INCITS FC-HBA): the records, status codes and the entry-point table that the agent uses.
//
// Plain C layout with natural alignment, little-endian; World Wide Names are byte arrays, most significant byte first.
// Texts are 8-bit and need not be terminated when they fill their array.
#pragma once

#include <cstddef>
#include <cstdint>

using HBA_UINT8 = std::uint8_t;
using HBA_UINT16 = std::uint16_t;
using HBA_UINT32 = std::uint32_t;
using HBA_UINT64 = std::uint64_t;
using HBA_INT64 = std::int64_t;

using HBA_HANDLE = HBA_UINT32;
using HBA_STATUS = HBA_UINT32;
using HBA_PORTTYPE = HBA_UINT32;
using HBA_PORTSTATE = HBA_UINT32;
using HBA_PORTSPEED = HBA_UINT32;
using HBA_COS = HBA_UINT32;

constexpr HBA_HANDLE HBA_HANDLE_INVALID = 0;

constexpr HBA_STATUS HBA_STATUS_OK = 0;
constexpr HBA_STATUS HBA_STATUS_ERROR = 1;
constexpr HBA_STATUS HBA_STATUS_ERROR_NOT_SUPPORTED = 2;
constexpr HBA_STATUS HBA_STATUS_ERROR_INVALID_HANDLE = 3;
constexpr HBA_STATUS HBA_STATUS_ERROR_ARG = 4;
constexpr HBA_STATUS HBA_STATUS_ERROR_ILLEGAL_WWN = 5;
constexpr HBA_STATUS HBA_STATUS_ERROR_ILLEGAL_INDEX = 6;
constexpr HBA_STATUS HBA_STATUS_ERROR_MORE_DATA = 7;
constexpr HBA_STATUS HBA_STATUS_ERROR_STALE_DATA = 8;
constexpr HBA_STATUS HBA_STATUS_SCSI_CHECK_CONDITION = 9;
constexpr HBA_STATUS HBA_STATUS_ERROR_BUSY = 10;
constexpr HBA_STATUS HBA_STATUS_ERROR_TRY_AGAIN = 11;
constexpr HBA_STATUS HBA_STATUS_ERROR_UNAVAILABLE = 12;
constexpr HBA_STATUS HBA_STATUS_ERROR_ELS_REJECT = 13;
constexpr HBA_STATUS HBA_STATUS_ERROR_INVALID_LUN = 14;
constexpr HBA_STATUS HBA_STATUS_ERROR_INCOMPATIBLE = 15;
constexpr HBA_STATUS HBA_STATUS_ERROR_AMBIGUOUS_WWN = 16;
constexpr HBA_STATUS HBA_STATUS_ERROR_LOCAL_BUS = 17;
constexpr HBA_STATUS HBA_STATUS_ERROR_LOCAL_TARGET = 18;
constexpr HBA_STATUS HBA_STATUS_ERROR_LOCAL_LUN = 19;
constexpr HBA_STATUS HBA_STATUS_ERROR_LOCAL_SCSIID_BOUND = 20;
constexpr HBA_STATUS HBA_STATUS_ERROR_TARGET_FCID = 21;
constexpr HBA_STATUS HBA_STATUS_ERROR_TARGET_NODE_WWN = 22;
constexpr HBA_STATUS HBA_STATUS_ERROR_TARGET_PORT_WWN = 23;
constexpr HBA_STATUS HBA_STATUS_ERROR_TARGET_LUN = 24;
constexpr HBA_STATUS HBA_STATUS_ERROR_TARGET_LUID = 25;
constexpr HBA_STATUS HBA_STATUS_ERROR_NO_SUCH_BINDING = 26;
constexpr HBA_STATUS HBA_STATUS_ERROR_NOT_A_TARGET = 27;
constexpr HBA_STATUS HBA_STATUS_ERROR_UNSUPPORTED_FC4 = 28;
constexpr HBA_STATUS HBA_STATUS_ERROR_INCAPABLE = 29;

constexpr HBA_PORTSTATE HBA_PORTSTATE_UNKNOWN = 1;
constexpr HBA_PORTSTATE HBA_PORTSTATE_ONLINE = 2;
constexpr HBA_PORTSTATE HBA_PORTSTATE_OFFLINE = 3;
constexpr HBA_PORTSTATE HBA_PORTSTATE_BYPASSED = 4;
constexpr HBA_PORTSTATE HBA_PORTSTATE_DIAGNOSTICS = 5;
constexpr HBA_PORTSTATE HBA_PORTSTATE_LINKDOWN = 6;
constexpr HBA_PORTSTATE HBA_PORTSTATE_ERROR = 7;
constexpr HBA_PORTSTATE HBA_PORTSTATE_LOOPBACK = 8;

constexpr HBA_PORTTYPE HBA_PORTTYPE_UNKNOWN = 1;
constexpr HBA_PORTTYPE HBA_PORTTYPE_OTHER = 2;
constexpr HBA_PORTTYPE HBA_PORTTYPE_NOTPRESENT = 3;
constexpr HBA_PORTTYPE HBA_PORTTYPE_NPORT = 5;
constexpr HBA_PORTTYPE HBA_PORTTYPE_NLPORT = 6;
constexpr HBA_PORTTYPE HBA_PORTTYPE_FLPORT = 7;
constexpr HBA_PORTTYPE HBA_PORTTYPE_FPORT = 8;
constexpr HBA_PORTTYPE HBA_PORTTYPE_EPORT = 9;
constexpr HBA_PORTTYPE HBA_PORTTYPE_GPORT = 10;
constexpr HBA_PORTTYPE HBA_PORTTYPE_LPORT = 20;
constexpr HBA_PORTTYPE HBA_PORTTYPE_PTP = 21;

constexpr HBA_PORTSPEED HBA_PORTSPEED_UNKNOWN = 0;
constexpr HBA_PORTSPEED HBA_PORTSPEED_1GBIT = 1;
constexpr HBA_PORTSPEED HBA_PORTSPEED_2GBIT = 2;
constexpr HBA_PORTSPEED HBA_PORTSPEED_10GBIT = 4;
constexpr HBA_PORTSPEED HBA_PORTSPEED_4GBIT = 8;
constexpr HBA_PORTSPEED HBA_PORTSPEED_8GBIT = 16;
constexpr HBA_PORTSPEED HBA_PORTSPEED_16GBIT = 32;
constexpr HBA_PORTSPEED HBA_PORTSPEED_NOT_NEGOTIATED = 0x8000;

struct HBA_WWN {
    HBA_UINT8 wwn[8];
};

struct HBA_FC4TYPES {
    HBA_UINT8 bits[32];
};

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
    HBA_UINT32 PortMaxFrameSize;
    HBA_WWN FabricName;
    HBA_UINT32 NumberofDiscoveredPorts;
};

// A counter that the adapter does not support is -1.
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

struct HBA_SCSIID {
    char OSDeviceName[256];
    HBA_UINT32 ScsiBusNumber;
    HBA_UINT32 ScsiTargetNumber;
    HBA_UINT32 ScsiOSLun;
};

struct HBA_FCPID {
    HBA_UINT32 FcId;
    HBA_WWN NodeWWN;
    HBA_WWN PortWWN;
    HBA_UINT64 FcpLun;
};

struct HBA_FCPSCSIENTRY {
    HBA_SCSIID ScsiId;
    HBA_FCPID FcpId;
};

// On input NumberOfEntries is what the buffer holds, on output what exists.
struct HBA_FCPTARGETMAPPING {
    HBA_UINT32 NumberOfEntries;
    HBA_FCPSCSIENTRY entry[1]; // variable length
};

static_assert(sizeof(HBA_PORTSTATISTICS) == 120);
static_assert(sizeof(HBA_SCSIID) == 268);
static_assert(sizeof(HBA_FCPID) == 32);
static_assert(sizeof(HBA_FCPSCSIENTRY) == 304 && offsetof(HBA_FCPSCSIENTRY, FcpId) == 272);
static_assert(sizeof(HBA_FCPTARGETMAPPING) == 312 && offsetof(HBA_FCPTARGETMAPPING, entry) == 8);

// Handlers the agent calls. All have the C calling convention; structures without * are passed by value.
extern "C" {
using HBA_CLOSEADAPTERFUNC = void (*)(HBA_HANDLE);
using HBA_GETADAPTERATTRIBUTESFUNC = HBA_STATUS (*)(HBA_HANDLE, HBA_ADAPTERATTRIBUTES*);
using HBA_GETADAPTERPORTATTRIBUTESFUNC = HBA_STATUS (*)(HBA_HANDLE, HBA_UINT32 port, HBA_PORTATTRIBUTES*);
using HBA_GETPORTSTATISTICSFUNC = HBA_STATUS (*)(HBA_HANDLE, HBA_UINT32 port, HBA_PORTSTATISTICS*);
using HBA_GETFCPTARGETMAPPINGFUNC = HBA_STATUS (*)(HBA_HANDLE, HBA_FCPTARGETMAPPING*);
using HBA_SENDSCSIINQUIRYFUNC = HBA_STATUS (*)(HBA_HANDLE, HBA_WWN port, HBA_UINT64 lun, HBA_UINT8 evpd,
                                               HBA_UINT32 page, void* rsp, HBA_UINT32 rspSize, void* sense,
                                               HBA_UINT32 senseSize);
using HBA_SCSIREADCAPACITYV2FUNC = HBA_STATUS (*)(HBA_HANDLE, HBA_WWN hbaPort, HBA_WWN target, HBA_UINT64 lun,
                                                  void* rsp, HBA_UINT32* rspSize, HBA_UINT8* scsiStatus, void* sense,
                                                  HBA_UINT32* senseSize);
// A handler of the table that the suite never calls.
using HBA_UNUSEDFUNC = void (*)(void);
}

struct HBA_ENTRYPOINTSV2 {
    HBA_UNUSEDFUNC GetVersionHandler;
    HBA_UNUSEDFUNC LoadLibraryHandler;
    HBA_UNUSEDFUNC FreeLibraryHandler;
    HBA_UNUSEDFUNC GetNumberOfAdaptersHandler;
    HBA_UNUSEDFUNC GetAdapterNameHandler;
    HBA_UNUSEDFUNC OpenAdapterHandler;
    HBA_CLOSEADAPTERFUNC CloseAdapterHandler;
    HBA_GETADAPTERATTRIBUTESFUNC GetAdapterAttributesHandler;
    HBA_GETADAPTERPORTATTRIBUTESFUNC GetAdapterPortAttributesHandler;
    HBA_GETPORTSTATISTICSFUNC GetPortStatisticsHandler;
    HBA_UNUSEDFUNC GetDiscoveredPortAttributesHandler;
    HBA_UNUSEDFUNC GetPortAttributesByWWNHandler;
    HBA_UNUSEDFUNC SendCTPassThruHandler;
    HBA_UNUSEDFUNC RefreshInformationHandler;
    HBA_UNUSEDFUNC ResetStatisticsHandler;
    HBA_GETFCPTARGETMAPPINGFUNC GetFcpTargetMappingHandler;
    HBA_UNUSEDFUNC GetFcpPersistentBindingHandler;
    HBA_UNUSEDFUNC GetEventBufferHandler;
    HBA_UNUSEDFUNC SetRNIDMgmtInfoHandler;
    HBA_UNUSEDFUNC GetRNIDMgmtInfoHandler;
    HBA_UNUSEDFUNC SendRNIDHandler;
    HBA_SENDSCSIINQUIRYFUNC ScsiInquiryHandler;
    HBA_UNUSEDFUNC ReportLUNsHandler;
    HBA_UNUSEDFUNC ReadCapacityHandler;
    // Version 2 adds the handlers from here on.
    HBA_UNUSEDFUNC OpenAdapterByWWNHandler;
    HBA_UNUSEDFUNC GetFcpTargetMappingV2Handler;
    HBA_UNUSEDFUNC SendCTPassThruV2Handler;
    HBA_UNUSEDFUNC RefreshAdapterConfigurationHandler;
    HBA_UNUSEDFUNC GetBindingCapabilityHandler;
    HBA_UNUSEDFUNC GetBindingSupportHandler;
    HBA_UNUSEDFUNC SetBindingSupportHandler;
    HBA_UNUSEDFUNC SetPersistentBindingV2Handler;
    HBA_UNUSEDFUNC GetPersistentBindingV2Handler;
    HBA_UNUSEDFUNC RemovePersistentBindingHandler;
    HBA_UNUSEDFUNC RemoveAllPersistentBindingsHandler;
    HBA_UNUSEDFUNC SendRNIDV2Handler;
    HBA_UNUSEDFUNC ScsiInquiryV2Handler;
    HBA_UNUSEDFUNC ScsiReportLUNsV2Handler;
    HBA_SCSIREADCAPACITYV2FUNC ScsiReadCapacityV2Handler;
    HBA_UNUSEDFUNC GetVendorLibraryAttributesHandler;
    HBA_UNUSEDFUNC RemoveCallbackHandler;
    HBA_UNUSEDFUNC RegisterForAdapterAddEventsHandler;
    HBA_UNUSEDFUNC RegisterForAdapterEventsHandler;
    HBA_UNUSEDFUNC RegisterForAdapterPortEventsHandler;
    HBA_UNUSEDFUNC RegisterForAdapterPortStatEventsHandler;
    HBA_UNUSEDFUNC RegisterForTargetEventsHandler;
    HBA_UNUSEDFUNC RegisterForLinkEventsHandler;
    HBA_UNUSEDFUNC SendRPLHandler;
    HBA_UNUSEDFUNC SendRPSHandler;
    HBA_UNUSEDFUNC SendSRLHandler;
    HBA_UNUSEDFUNC SendLIRRHandler;
    HBA_UNUSEDFUNC GetFC4StatisticsHandler;
    HBA_UNUSEDFUNC GetFCPStatisticsHandler;
    HBA_UNUSEDFUNC SendRLSHandler;
};

static_assert(sizeof(HBA_ENTRYPOINTSV2) == 54 * sizeof(void*));
static_assert(offsetof(HBA_ENTRYPOINTSV2, OpenAdapterByWWNHandler) == 24 * sizeof(void*), "version 1 has 24 handlers");
static_assert(offsetof(HBA_ENTRYPOINTSV2, ScsiReadCapacityV2Handler) == 38 * sizeof(void*));

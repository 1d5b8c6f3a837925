// Boundary of the vendor HBA library orvanhapi.dll: the SNIA registration function and the twelve vendor extensions.
//
// All functions have C linkage and the C calling convention and return an HBA_STATUS (0 is success) unless declared
// otherwise. Buffers belong to the caller. Lists begin with a 32-bit count: on input the entries that the buffer holds,
// on output the entries that exist; HBA_STATUS_ERROR_MORE_DATA means that the buffer was too small.
//
// Every function may be called from any thread, several at once, but for those that the agent calls under a mutex that
// all processes share: those that initialize, register, find and open an adapter, and generate, create, remove or list
// ports. An export may be missing. A library of the agent's compiler may throw; what another one throws is not caught.
#pragma once

#include <cstddef>

#include "FcoeAgent/HbaApi.h"

// Size of the 8-bit name buffers that cross this boundary, terminator included.
constexpr std::size_t ORVAN_NAME_SIZE = 260;

struct ORVAN_FC_NIC_PROPERTIES {
    HBA_WWN NodeWWN;
    HBA_WWN PortWWN;
    HBA_UINT8 MacAddress[6];
    HBA_UINT8 Reserved1[2];
    char NetworkInstance[ORVAN_NAME_SIZE]; // terminated 8-bit text, e.g. \DEVICE\{GUID}
    HBA_UINT8 Reserved2[140];
    HBA_UINT32 Flags; // ORVAN_FLAG_...
    HBA_UINT8 Reserved3[84];
};

constexpr HBA_UINT32 ORVAN_FLAG_REMOTE_BOOTED = 1;    // the system boots from a remote FCoE disk
constexpr HBA_UINT32 ORVAN_FLAG_REMOTE_PAGE_FILE = 2; // the page file lies on a remote FCoE disk

struct ORVAN_TARGET_ENTRY {
    HBA_UINT32 ScsiBusNumber;
    HBA_UINT32 ScsiTargetNumber;
    HBA_WWN NodeWWN;
    HBA_WWN PortWWN;
    HBA_WWN InitiatorPortWWN;
    HBA_UINT8 InitiatorPortType; // as ORVAN_FC_PORT::PortType
    HBA_UINT8 Reserved1[3];
    HBA_UINT32 FcId;
    HBA_UINT16 Number;
    HBA_UINT8 Reserved2[2];
};

struct ORVAN_TARGET_LIST {
    HBA_UINT32 NumberOfEntries;
    ORVAN_TARGET_ENTRY entry[1]; // variable length
};

// Entries: VLAN identifier in the low 16 bits, state word (1 active) in the high 16 bits.
struct ORVAN_VLAN_LIST {
    HBA_UINT32 NumberOfEntries;
    HBA_UINT32 entry[1]; // variable length
};

// One FC port of an adapter. Also the request record of create and remove: zeroed but for PortWWN.
struct ORVAN_FC_PORT {
    HBA_WWN NodeWWN;
    HBA_WWN PortWWN;
    HBA_UINT8 Reserved1;
    HBA_UINT8 PortType; // 0, 1 physical; 2, 3 virtual
    HBA_UINT8 Reserved2[6];
    HBA_UINT32 WordA;
    HBA_UINT32 WordB;
    HBA_WWN Identifier[3];
    HBA_UINT32 Word56;
    HBA_UINT16 Number;
    HBA_UINT8 Byte62;
    HBA_UINT8 Reserved3;
};

struct ORVAN_FC_PORT_LIST {
    HBA_UINT32 NumberOfEntries;
    ORVAN_FC_PORT entry[1]; // variable length
};

static_assert(sizeof(ORVAN_FC_NIC_PROPERTIES) == 512);
static_assert(offsetof(ORVAN_FC_NIC_PROPERTIES, NetworkInstance) == 24);
static_assert(offsetof(ORVAN_FC_NIC_PROPERTIES, Flags) == 424);
static_assert(sizeof(ORVAN_TARGET_ENTRY) == 44 && sizeof(ORVAN_TARGET_LIST) == 48);
static_assert(offsetof(ORVAN_TARGET_ENTRY, InitiatorPortWWN) == 24);
static_assert(offsetof(ORVAN_TARGET_ENTRY, InitiatorPortType) == 32);
static_assert(offsetof(ORVAN_TARGET_ENTRY, FcId) == 36 && offsetof(ORVAN_TARGET_ENTRY, Number) == 40);
static_assert(sizeof(ORVAN_VLAN_LIST) == 8);
static_assert(sizeof(ORVAN_FC_PORT) == 64 && sizeof(ORVAN_FC_PORT_LIST) == 68);
static_assert(offsetof(ORVAN_FC_PORT, PortWWN) == 8 && offsetof(ORVAN_FC_PORT, PortType) == 17);
static_assert(offsetof(ORVAN_FC_PORT, WordA) == 24 && offsetof(ORVAN_FC_PORT, Identifier) == 32);
static_assert(offsetof(ORVAN_FC_PORT, Word56) == 56 && offsetof(ORVAN_FC_PORT, Number) == 60);
static_assert(offsetof(ORVAN_FC_PORT, Byte62) == 62);

extern "C" {
HBA_STATUS HBA_RegisterLibraryV2(HBA_ENTRYPOINTSV2* table);

HBA_STATUS ORVAN_InitializeLibrary(void);
// device: "\DEVICE\" and the adapter's device name, wide. Yields the controller number and the adapter's name.
HBA_STATUS ORVAN_GetFCoEControllerInfo(const wchar_t* device, HBA_UINT32* controller, char name[ORVAN_NAME_SIZE]);
// The adapter handle, or HBA_HANDLE_INVALID.
HBA_HANDLE ORVAN_GetFCoEControllerHandle(const char* name);
HBA_STATUS ORVAN_GetFCAndNICProperties(HBA_HANDLE handle, ORVAN_FC_NIC_PROPERTIES* properties);
HBA_STATUS ORVAN_GetTargetList(HBA_HANDLE handle, ORVAN_TARGET_LIST* list);
HBA_STATUS ORVAN_GetVlanIdList(HBA_HANDLE handle, ORVAN_VLAN_LIST* list);
HBA_STATUS ORVAN_SendReadCapacity16(HBA_HANDLE handle, HBA_WWN target, HBA_UINT64 lun, void* rsp, HBA_UINT32 rspSize,
                                    void* sense, HBA_UINT32 senseSize);
// selector 0xFFFFFFFF rescans the whole bus.
HBA_STATUS ORVAN_RescanScsiBus(HBA_HANDLE handle, HBA_UINT32 selector);
HBA_STATUS ORVAN_GeneratePortWWN(HBA_HANDLE handle, HBA_WWN* wwpn);
HBA_STATUS ORVAN_CreateVPort(HBA_HANDLE handle, ORVAN_FC_PORT* request);
HBA_STATUS ORVAN_RemoveVPort(HBA_HANDLE handle, ORVAN_FC_PORT* request);
HBA_STATUS ORVAN_GetFCPortList(HBA_HANDLE handle, ORVAN_FC_PORT_LIST* list);
}

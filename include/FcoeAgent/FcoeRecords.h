// The public records that the agent hands to its host.
//
// Plain structures, appended to the host's vectors; the host owns its copies. A text that could not be read is empty
// and a number 0, unless the field says otherwise. World Wide Names are texts of eight two-digit hexadecimal groups
// separated by colons; they are zeros while the vendor library is not loaded. Every record carries the adapter's device
// identifier and second identifier, so that records of several adapters can be told apart in one vector; only the
// record of an adapter that the library refused has neither.
#pragma once

#include <windows.h>

#include "FcoeAgent/QelString.h"

// One FCoE adapter port ("HBA"). From HBA_ADAPTERATTRIBUTES and HBA_PORTATTRIBUTES (SNIA HBA API).
struct QEL_FCOE_HBA {
    CQelString strType;     // "FCoE HBA"
    CQelString strDeviceId; // network adapter instance identifier, a braced GUID
    CQelString strSecondId; // display name in the suite
    CQelString strPortWWN;
    CQelString strNodeWWN;
    ULONG ulPortFcId = 0;      // 24-bit Fibre Channel address identifier
    CQelString strPciLocation; // PCI bus, device and function
    CQelString strPortSpeed;
    CQelString strFcoeLinkStatus; // what DCB says of the FCoE link
    CQelString strAdapterName;    // name in the vendor's HBA library
    CQelString strModel;
};

// One counter of an adapter port. From HBA_PORTSTATISTICS (SNIA HBA API).
struct QEL_FCOE_STATISTIC {
    CQelString strDeviceId;
    CQelString strSecondId;
    CQelString strLabel;
    LONG64 llValue = 0;
};

// One fabric: the physical ports of an adapter, or its NPIV virtual ports. At most two per adapter.
struct QEL_FCOE_FABRIC {
    CQelString strName;
    CQelString strWWN1; // identifiers of the port-list entry that names the fabric
    CQelString strWWN2;
    CQelString strWWN3;
    ULONG ulEntryWord = 0; // as the library reports it; 0: no port of type 0 names the physical fabric
    CQelString strDeviceId;
    CQelString strSecondId;
    CQelString strKind;
    ULONG ulKind = 0; // 0 physical, 1 virtual
    ULONG ulEntryByte = 0;
    ULONG ulNumber = 0; // the number shown in the name
};

// One FC port of an adapter: physical, or an NPIV virtual port.
struct QEL_FCOE_PORT {
    CQelString strNodeWWN;
    CQelString strPortWWN;
    ULONG ulPortType = 0; // 0, 1 physical; 2, 3 virtual
    CQelString strKind;
    ULONG ulWordA = 0;
    ULONG ulWordB = 0; // FC address of a type-3 port
    CQelString strDeviceId;
    CQelString strSecondId;
    CQelString strWWN3;
    CQelString strFabricName;
};

// One target reached through one port.
struct QEL_FCOE_TARGET {
    CQelString strNodeWWN;
    CQelString strPortWWN;
    ULONG ulScsiBus = 0;
    ULONG ulScsiTarget = 0;
    ULONG ulFcId = 0;
    ULONG ulNumber = 0;
    CQelString strVendor; // T10 vendor identification, standard INQUIRY bytes 8 to 15 up to the first null, with blanks
    CQelString strSerial; // unit serial number, VPD page 80h, without null characters
    CQelString strInitiatorPortWWN;
    CQelString strOwningPortWWN;
    CQelString strFabricName;
    CQelString strDeviceId;
    CQelString strSecondId;
    BYTE byInitiatorPortWWN[8] = {}; // as strInitiatorPortWWN, most significant byte first
    ULONG ulPortType = 0;
};

// One logical unit behind one target. Capacity and block size from READ CAPACITY (SBC).
struct QEL_FCOE_LUN {
    ULONG ulOsLun = 0;
    ULONG ulScsiBus = 0;
    ULONG ulScsiTarget = 0;
    ULONG ulReserved = 0; // always 0
    CQelString strOsDeviceName;
    CQelString strCapacity;  // in MB, GB or TB (powers of 1024), or "Unknown"
    CQelString strBlockSize; // in bytes, or "Unknown"
    CQelString strTargetPortWWN;
    CQelString strOwningPortWWN;
    CQelString strInitiatorPortWWN;
    CQelString strFabricName;
    CQelString strDeviceId;
    CQelString strSecondId;
};

// One VLAN on which an FCoE adapter runs. A VLAN that has disappeared is absent from the next list.
struct QEL_FCOE_VLAN {
    CQelString strName;
    ULONG ulVlanId = 0; // IEEE 802.1Q VLAN identifier: 12 bits, of the library's 16
    ULONG ulState = 0;  // 1 active
    CQelString strState;
    CQelString strDeviceId;
    CQelString strSecondId;
};

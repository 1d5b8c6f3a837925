// Keys and refresh periods of the cached values. Keys are per object; each always holds the same type.
#pragma once

#include <windows.h>

namespace CacheKey {
constexpr LONG HBA_RECORD = 11;    // QEL_FCOE_HBA
constexpr LONG FABRIC_RECORD = 12; // QEL_FCOE_FABRIC
constexpr LONG PORT_RECORD = 13;   // QEL_FCOE_PORT
constexpr LONG TARGET_RECORD = 14; // QEL_FCOE_TARGET
constexpr LONG VLAN_RECORD = 15;   // QEL_FCOE_VLAN
constexpr LONG LUN_RECORD = 16;    // QEL_FCOE_LUN
constexpr LONG PORT_TARGETS = 17;  // list of CQelFcoeTarget
constexpr LONG HBA_FABRICS = 18;   // list of CQelFcoeFabric
constexpr LONG FABRIC_PORTS = 19;  // list of CQelFcoePort
constexpr LONG HBA_VLANS = 20;     // list of CQelFcoeVLAN
constexpr LONG HBA_LUNS = 21;      // list of CQelFcoeLUN
constexpr LONG TARGET_LUNS = 21;   // list of CQelFcoeLUN
} // namespace CacheKey

// Milliseconds. A cached list serves the calls of one burst and no more; a VLAN changes rarely.
namespace CachePeriod {
constexpr ULONG LIST = 10;
constexpr ULONG VLAN = 10000;
} // namespace CachePeriod

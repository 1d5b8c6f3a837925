// Keys and refresh periods of the cached values. Keys are per object: two objects may use one number.
#pragma once

#include <memory>
#include <vector>

#include <windows.h>

#include "FcoeAgent/FcoeRecords.h"
#include "model/CacheCollection.h"

class CQelFcoeFabric;
class CQelFcoeLUN;
class CQelFcoePort;
class CQelFcoeTarget;
class CQelFcoeVLAN;
struct LunData;
struct TargetData;

template <class Object> using CQelObjectList = std::vector<std::shared_ptr<Object>>;

namespace CacheKey {
inline constexpr CQelCacheKey<QEL_FCOE_HBA> HBA_RECORD{11};
inline constexpr CQelCacheKey<QEL_FCOE_FABRIC> FABRIC_RECORD{12};
inline constexpr CQelCacheKey<QEL_FCOE_PORT> PORT_RECORD{13};
inline constexpr CQelCacheKey<TargetData> TARGET_RECORD{14};
inline constexpr CQelCacheKey<QEL_FCOE_VLAN> VLAN_RECORD{15};
inline constexpr CQelCacheKey<LunData> LUN_RECORD{16};
inline constexpr CQelCacheKey<CQelObjectList<CQelFcoeTarget>> PORT_TARGETS{17};
inline constexpr CQelCacheKey<CQelObjectList<CQelFcoeFabric>> HBA_FABRICS{18};
inline constexpr CQelCacheKey<CQelObjectList<CQelFcoePort>> FABRIC_PORTS{19};
inline constexpr CQelCacheKey<CQelObjectList<CQelFcoeVLAN>> HBA_VLANS{20};
inline constexpr CQelCacheKey<CQelObjectList<CQelFcoeLUN>> HBA_LUNS{21};
inline constexpr CQelCacheKey<CQelObjectList<CQelFcoeLUN>> TARGET_LUNS{21};
} // namespace CacheKey

// Milliseconds. A cached list serves the calls of one burst and no more; a VLAN changes rarely.
namespace CachePeriod {
constexpr ULONG LIST = 10;
constexpr ULONG VLAN = 10000;
} // namespace CachePeriod

#include "model/CacheKeys.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace {

template <class Value, class Key> constexpr bool Holds = std::is_same_v<CQelCacheKey<Value>, std::remove_const_t<Key>>;

} // namespace

TEST(CacheKeys, HaveTheirNumbers) {
    EXPECT_EQ(11, CacheKey::HBA_RECORD.lKey);
    EXPECT_EQ(12, CacheKey::FABRIC_RECORD.lKey);
    EXPECT_EQ(13, CacheKey::PORT_RECORD.lKey);
    EXPECT_EQ(14, CacheKey::TARGET_RECORD.lKey);
    EXPECT_EQ(15, CacheKey::VLAN_RECORD.lKey);
    EXPECT_EQ(16, CacheKey::LUN_RECORD.lKey);
    EXPECT_EQ(17, CacheKey::PORT_TARGETS.lKey);
    EXPECT_EQ(18, CacheKey::HBA_FABRICS.lKey);
    EXPECT_EQ(19, CacheKey::FABRIC_PORTS.lKey);
    EXPECT_EQ(20, CacheKey::HBA_VLANS.lKey);
    EXPECT_EQ(21, CacheKey::HBA_LUNS.lKey);
    EXPECT_EQ(21, CacheKey::TARGET_LUNS.lKey);
}

TEST(CacheKeys, HoldTheObjectsRecordsAndLists) {
    EXPECT_TRUE((Holds<QEL_FCOE_HBA, decltype(CacheKey::HBA_RECORD)>));
    EXPECT_TRUE((Holds<QEL_FCOE_FABRIC, decltype(CacheKey::FABRIC_RECORD)>));
    EXPECT_TRUE((Holds<QEL_FCOE_PORT, decltype(CacheKey::PORT_RECORD)>));
    EXPECT_TRUE((Holds<QEL_FCOE_VLAN, decltype(CacheKey::VLAN_RECORD)>));
    EXPECT_TRUE((Holds<CQelObjectList<CQelFcoeTarget>, decltype(CacheKey::PORT_TARGETS)>));
    EXPECT_TRUE((Holds<CQelObjectList<CQelFcoeFabric>, decltype(CacheKey::HBA_FABRICS)>));
    EXPECT_TRUE((Holds<CQelObjectList<CQelFcoePort>, decltype(CacheKey::FABRIC_PORTS)>));
    EXPECT_TRUE((Holds<CQelObjectList<CQelFcoeVLAN>, decltype(CacheKey::HBA_VLANS)>));
    EXPECT_TRUE((Holds<CQelObjectList<CQelFcoeLUN>, decltype(CacheKey::HBA_LUNS)>));
    EXPECT_TRUE((Holds<CQelObjectList<CQelFcoeLUN>, decltype(CacheKey::TARGET_LUNS)>));
}

TEST(CacheKeys, PeriodsAreTenMillisecondsAndTenSeconds) {
    EXPECT_EQ(10u, CachePeriod::LIST);
    EXPECT_EQ(10000u, CachePeriod::VLAN);
}

#include "model/CacheCollection.h"

#include <gtest/gtest.h>

#include "model/CacheKeys.h"
#include "tests/kit/MovedClock.h"

namespace {

struct Owner {
    int calls = 0;
};

bool Fill(void* owner, CacheSlot* slot) {
    slot->store(std::make_shared<int>(++static_cast<Owner*>(owner)->calls));
    return true;
}

struct CacheCollectionTest : testing::Test {
    MovedClock clock;
    Owner owner;
    CacheCollection cache{&owner, L"adapter"};
    std::shared_ptr<int> out;
};

} // namespace

TEST_F(CacheCollectionTest, AbsentKeyIsFalseAndLeavesTheOutputUntouched) {
    out = std::make_shared<int>(77);
    EXPECT_FALSE(cache.Get(11, out));
    EXPECT_EQ(77, *out);
    std::shared_ptr<void> untyped = out;
    EXPECT_FALSE(cache.Get(11, untyped));
    EXPECT_EQ(out, untyped);
}

TEST_F(CacheCollectionTest, HasTellsRegisteredKeys) {
    EXPECT_FALSE(cache.Has(11));
    cache.AddCache(11, 10, &Fill);
    EXPECT_TRUE(cache.Has(11));
    EXPECT_FALSE(cache.Has(-11));
}

TEST_F(CacheCollectionTest, OwnerOfTheCollectionReachesTheRoutine) {
    cache.AddCache(11, 10, &Fill);
    EXPECT_TRUE(cache.Get(11, out));
    EXPECT_EQ(1, owner.calls);
    EXPECT_EQ(1, *out);
}

TEST_F(CacheCollectionTest, PeriodIsTheOneRegistered) {
    cache.AddCache(11, 10, &Fill);
    cache.AddCache(15, 10000, &Fill);
    cache.Get(11, out);
    cache.Get(15, out);
    clock.Advance(11);
    cache.Get(15, out);
    EXPECT_EQ(2, owner.calls);
    cache.Get(11, out);
    EXPECT_EQ(3, owner.calls);
}

TEST_F(CacheCollectionTest, SecondRegistrationOfKey15Wins) {
    cache.AddCache(15, 10000, &Fill);
    EXPECT_TRUE(cache.Get(15, out));
    const auto fixed = std::make_shared<int>(42);
    cache.AddCache(15, fixed);
    EXPECT_TRUE(cache.Get(15, out));
    EXPECT_EQ(fixed, out);
    clock.Advance(10001);
    EXPECT_TRUE(cache.Get(15, out));
    EXPECT_EQ(fixed, out);
    EXPECT_EQ(1, owner.calls);

    cache.AddCache(15, 10, &Fill);
    EXPECT_TRUE(cache.Get(15, out));
    EXPECT_EQ(2, *out);
}

TEST_F(CacheCollectionTest, FixedValueSurvivesInvalidation) {
    const auto fixed = std::make_shared<int>(42);
    cache.AddCache(12, fixed);
    cache.Invalidate(12);
    EXPECT_TRUE(cache.Get(12, out));
    EXPECT_EQ(fixed, out);
}

TEST_F(CacheCollectionTest, InvalidationConcernsItsKeyOnly) {
    cache.AddCache(11, 10, &Fill);
    cache.AddCache(18, 10, &Fill);
    cache.Get(11, out);
    cache.Get(18, out);
    cache.Invalidate(18);
    cache.Get(11, out);
    EXPECT_EQ(2, owner.calls);
    cache.Get(18, out);
    EXPECT_EQ(3, owner.calls);
}

TEST_F(CacheCollectionTest, InvalidationOfAnAbsentKeyIsIgnored) {
    cache.Invalidate(99);
    EXPECT_FALSE(cache.Has(99));
}

TEST_F(CacheCollectionTest, KeepsTheOwnersName) {
    EXPECT_TRUE(cache.GetName().Text() == L"adapter");
}

TEST_F(CacheCollectionTest, NegativeKeysAreKeys) {
    cache.AddCache(-1, std::make_shared<int>(5));
    EXPECT_TRUE(cache.Get(-1, out));
    EXPECT_EQ(5, *out);
}

TEST_F(CacheCollectionTest, RoutineMayRegisterItsOwnKeyAnew) {
    struct Self {
        CacheCollection cache{this, L"self"};
    } self;
    self.cache.AddCache(15, 10, [](void* pOwner, CacheSlot* slot) {
        static_cast<Self*>(pOwner)->cache.AddCache(15, std::make_shared<int>(42));
        slot->store(std::make_shared<int>(7));
        return true;
    });
    EXPECT_TRUE(self.cache.Get(15, out));
    EXPECT_EQ(7, *out);
    EXPECT_TRUE(self.cache.Get(15, out));
    EXPECT_EQ(42, *out);
}

TEST(CacheKeys, AreUniquePerObject) {
    EXPECT_EQ(11, CacheKey::HBA_RECORD);
    EXPECT_EQ(12, CacheKey::FABRIC_RECORD);
    EXPECT_EQ(13, CacheKey::PORT_RECORD);
    EXPECT_EQ(14, CacheKey::TARGET_RECORD);
    EXPECT_EQ(15, CacheKey::VLAN_RECORD);
    EXPECT_EQ(16, CacheKey::LUN_RECORD);
    EXPECT_EQ(17, CacheKey::PORT_TARGETS);
    EXPECT_EQ(18, CacheKey::HBA_FABRICS);
    EXPECT_EQ(19, CacheKey::FABRIC_PORTS);
    EXPECT_EQ(20, CacheKey::HBA_VLANS);
    EXPECT_EQ(21, CacheKey::HBA_LUNS);
    EXPECT_EQ(21, CacheKey::TARGET_LUNS);
    EXPECT_EQ(10u, CachePeriod::LIST);
    EXPECT_EQ(10000u, CachePeriod::VLAN);
}

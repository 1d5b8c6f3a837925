#include "model/CacheCollection.h"

#include <concepts>
#include <utility>

#include <gtest/gtest.h>

#include "tests/kit/MovedClock.h"

namespace {

constexpr CQelCacheKey<int> KEY_11{11}, KEY_12{12}, KEY_15{15}, KEY_18{18}, ABSENT{99};

struct Owner {
    int calls = 0;
};

bool Fill(void* owner, CacheSlot* slot) {
    slot->store(std::make_shared<int>(++static_cast<Owner*>(owner)->calls));
    return true;
}
constexpr CQelCacheRefresh<int> FILL{&Fill};

struct CacheCollectionTest : testing::Test {
    MovedClock clock;
    Owner owner;
    CacheCollection cache{&owner, std::make_shared<CQelString>(L"adapter")};
    std::shared_ptr<const int> out;

    // The value of the key, which has one.
    std::shared_ptr<const int> Value(CQelCacheKey<int> key) const {
        std::shared_ptr<const int> value;
        EXPECT_TRUE(cache.Get(key, value));
        return value;
    }
};

} // namespace

TEST_F(CacheCollectionTest, AbsentKeyIsFalseAndLeavesTheOutputUntouched) {
    out = std::make_shared<int>(77);
    EXPECT_FALSE(cache.Get(KEY_11, out));
    EXPECT_EQ(77, *out);
}

TEST_F(CacheCollectionTest, HasTellsRegisteredKeys) {
    EXPECT_FALSE(cache.Has(KEY_11));
    cache.AddCache(KEY_11, 10, FILL);
    EXPECT_TRUE(cache.Has(KEY_11));
    EXPECT_FALSE(cache.Has(CQelCacheKey<int>{-11}));
}

TEST_F(CacheCollectionTest, OwnerOfTheCollectionReachesTheRoutine) {
    cache.AddCache(KEY_11, 10, FILL);
    EXPECT_TRUE(cache.Get(KEY_11, out));
    EXPECT_EQ(1, owner.calls);
    EXPECT_EQ(1, *out);
}

TEST_F(CacheCollectionTest, PeriodIsTheOneRegistered) {
    cache.AddCache(KEY_11, 10, FILL);
    cache.AddCache(KEY_15, 10000, FILL);
    Value(KEY_11);
    Value(KEY_15);
    clock.Advance(11);
    Value(KEY_15);
    EXPECT_EQ(2, owner.calls);
    Value(KEY_11);
    EXPECT_EQ(3, owner.calls);
}

TEST_F(CacheCollectionTest, SecondRegistrationOfKey15Wins) {
    cache.AddCache(KEY_15, 10000, FILL);
    EXPECT_TRUE(cache.Get(KEY_15, out));
    const auto fixed = std::make_shared<int>(42);
    cache.AddCache(KEY_15, fixed);
    EXPECT_TRUE(cache.Get(KEY_15, out));
    EXPECT_EQ(fixed, out);
    clock.Advance(10001);
    EXPECT_TRUE(cache.Get(KEY_15, out));
    EXPECT_EQ(fixed, out);
    EXPECT_EQ(1, owner.calls);

    cache.AddCache(KEY_15, 10, FILL);
    EXPECT_TRUE(cache.Get(KEY_15, out));
    EXPECT_EQ(2, *out);
}

TEST_F(CacheCollectionTest, FixedValueSurvivesInvalidation) {
    const auto fixed = std::make_shared<int>(42);
    cache.AddCache(KEY_12, fixed);
    cache.Invalidate(KEY_12);
    EXPECT_TRUE(cache.Get(KEY_12, out));
    EXPECT_EQ(fixed, out);
}

TEST_F(CacheCollectionTest, InvalidationConcernsItsKeyOnly) {
    cache.AddCache(KEY_11, 10, FILL);
    cache.AddCache(KEY_18, 10, FILL);
    Value(KEY_11);
    Value(KEY_18);
    cache.Invalidate(KEY_18);
    Value(KEY_11);
    EXPECT_EQ(2, owner.calls);
    Value(KEY_18);
    EXPECT_EQ(3, owner.calls);
}

TEST_F(CacheCollectionTest, InvalidationOfAnAbsentKeyIsIgnored) {
    cache.Invalidate(ABSENT);
    EXPECT_FALSE(cache.Has(ABSENT));
}

TEST_F(CacheCollectionTest, KeepsTheOwnersName) {
    EXPECT_TRUE(cache.GetName() == L"adapter");
}

TEST_F(CacheCollectionTest, NegativeKeysAreKeys) {
    constexpr CQelCacheKey<int> NEGATIVE{-1};
    cache.AddCache(NEGATIVE, std::make_shared<int>(5));
    EXPECT_EQ(5, *Value(NEGATIVE));
}

TEST_F(CacheCollectionTest, RoutineMayRegisterItsOwnKeyAnew) {
    struct Self {
        CacheCollection cache{this, nullptr};
    } self;
    self.cache.AddCache(KEY_15, 10, {[](void* pOwner, CacheSlot* slot) {
                            static_cast<Self*>(pOwner)->cache.AddCache(KEY_15, std::make_shared<int>(42));
                            slot->store(std::make_shared<int>(7));
                            return true;
                        }});
    EXPECT_TRUE(self.cache.Get(KEY_15, out));
    EXPECT_EQ(7, *out);
    EXPECT_TRUE(self.cache.Get(KEY_15, out));
    EXPECT_EQ(42, *out);
}

// --- What does not compile

namespace {

template <class Value>
concept HoldsFixed = requires(CacheCollection& collection, std::shared_ptr<Value> value) {
    collection.AddCache(KEY_11, value);
};
template <class Value>
concept HoldsRefreshing = requires(CacheCollection& collection, CQelCacheRefresh<Value> refresh) {
    collection.AddCache(KEY_11, 10, refresh);
};
template <class Value>
concept Yields = requires(const CacheCollection& collection, std::shared_ptr<const Value> value) {
    { collection.Get(KEY_11, value) } -> std::same_as<bool>;
};
template <class Key>
concept IsKey = requires(CacheCollection& collection, Key key) {
    collection.Has(key);
    collection.Invalidate(key);
};

} // namespace

TEST(CacheCollection, TakesAndYieldsTheTypeOfTheKeyAlone) {
    EXPECT_TRUE(HoldsFixed<int> && HoldsRefreshing<int> && Yields<int>);
    EXPECT_FALSE(HoldsFixed<long> || HoldsRefreshing<long> || Yields<long>);
    EXPECT_FALSE(HoldsFixed<void> || HoldsRefreshing<void> || Yields<void>);
    EXPECT_FALSE(HoldsFixed<const int>) << "nor one that others could not fill";
}

TEST(CacheCollection, NumberAloneIsNoKey) {
    EXPECT_TRUE(IsKey<CQelCacheKey<int>> && IsKey<CQelCacheKey<CQelString>>);
    EXPECT_FALSE(IsKey<LONG> || IsKey<int>);
}

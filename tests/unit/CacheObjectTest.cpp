#include "model/CacheObject.h"

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/kit/MovedClock.h"

namespace {

// A routine's owner: what it is to answer, and how often it was asked.
struct Source {
    int calls = 0;
    bool succeeds = true;
    int value = 1;
    MovedClock* clock = nullptr;
    DWORD takes = 0; // milliseconds
};

bool Fill(void* owner, CacheSlot* slot) {
    auto& source = *static_cast<Source*>(owner);
    ++source.calls;
    if (source.clock)
        source.clock->Advance(source.takes);
    slot->store(std::make_shared<int>(source.value));
    return source.succeeds;
}

int Value(const std::shared_ptr<void>& value) {
    return value ? *static_cast<int*>(value.get()) : -1;
}

struct CacheObjectTest : testing::Test {
    MovedClock clock{100000};
    Source source;
    std::shared_ptr<void> out;
};

} // namespace

TEST_F(CacheObjectTest, ReadTwiceAtOnceCallsTheRoutineOnce) {
    CacheObject object(&source, 10, &Fill);
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(1, Value(out));
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(1, source.calls);
}

TEST_F(CacheObjectTest, AtExactlyThePeriodIsNotRefreshed) {
    CacheObject object(&source, 10, &Fill);
    object.Get(out);
    clock.Advance(10);
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(1, source.calls);
}

TEST_F(CacheObjectTest, OneMillisecondPastThePeriodIsRefreshed) {
    CacheObject object(&source, 10, &Fill);
    object.Get(out);
    source.value = 2;
    clock.Advance(11);
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(2, source.calls);
    EXPECT_EQ(2, Value(out));
}

TEST_F(CacheObjectTest, AgeCountsFromTheEndOfTheRefresh) {
    source.clock = &clock;
    source.takes = 500;
    CacheObject object(&source, 10, &Fill);
    object.Get(out);
    clock.Advance(10);
    object.Get(out);
    EXPECT_EQ(1, source.calls);
    clock.Advance(1);
    object.Get(out);
    EXPECT_EQ(2, source.calls);
}

TEST_F(CacheObjectTest, ElapsedAcrossTheWrapOfTheTickCounterIs21) {
    clock.Set(0xFFFFFFF0);
    CacheObject fresh(&source, 21, &Fill), aged(&source, 20, &Fill);
    fresh.Get(out);
    aged.Get(out);
    clock.Set(5);
    source.calls = 0;
    fresh.Get(out);
    EXPECT_EQ(0, source.calls);
    aged.Get(out);
    EXPECT_EQ(1, source.calls);
}

TEST_F(CacheObjectTest, AgeIsANumberWithoutSign) {
    CacheObject object(&source, 10, &Fill);
    EXPECT_TRUE(object.Get(out));
    clock.Advance(0x80000010);
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(2, source.calls);
}

TEST_F(CacheObjectTest, FailureOfTheFirstFillIsRetriedOnEveryRead) {
    source.succeeds = false;
    CacheObject object(&source, 10, &Fill);
    EXPECT_FALSE(object.Get(out));
    EXPECT_FALSE(object.Get(out));
    EXPECT_EQ(2, source.calls);
    source.succeeds = true;
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(3, source.calls);
}

TEST_F(CacheObjectTest, FailureLeavesTheOutputUntouched) {
    source.succeeds = false;
    CacheObject object(&source, 10, &Fill);
    out = std::make_shared<int>(77);
    EXPECT_FALSE(object.Get(out));
    EXPECT_EQ(77, Value(out));
}

TEST_F(CacheObjectTest, FailedRefreshOfAValidValueFailsOnceAndThenYieldsWhatTheRoutineLeft) {
    CacheObject object(&source, 10, &Fill);
    object.Get(out);
    clock.Advance(11);
    source.succeeds = false;
    source.value = 2;
    EXPECT_FALSE(object.Get(out));
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(2, Value(out));
    EXPECT_EQ(2, source.calls);
    clock.Advance(10);
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(2, source.calls);
    clock.Advance(1);
    EXPECT_FALSE(object.Get(out));
    EXPECT_EQ(3, source.calls);
}

TEST_F(CacheObjectTest, InvalidatedIsRefreshedWhateverTheAge) {
    CacheObject object(&source, 10, &Fill);
    object.Get(out);
    object.Invalidate();
    source.value = 2;
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(2, Value(out));
    EXPECT_EQ(2, source.calls);
}

TEST_F(CacheObjectTest, FailedRefreshOfAnInvalidatedValueIsRetriedOnEveryRead) {
    CacheObject object(&source, 10, &Fill);
    object.Get(out);
    object.Invalidate();
    source.succeeds = false;
    EXPECT_FALSE(object.Get(out));
    EXPECT_FALSE(object.Get(out));
    EXPECT_EQ(3, source.calls);
}

TEST_F(CacheObjectTest, PeriodOfZeroIsFilledOnceAndKeptUntilInvalidated) {
    CacheObject object(&source, 0, &Fill);
    EXPECT_TRUE(object.Get(out));
    clock.Advance(0x80000000);
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(1, source.calls);
    object.Invalidate();
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(2, source.calls);
}

namespace {
int g_tickReads;
DWORD WINAPI CountedTicks() {
    ++g_tickReads;
    return 100000;
}
} // namespace

TEST(CacheObject, ValidValueWithoutPeriodReadsNoTick) {
    ImportPatch ticks(nullptr, "KERNEL32.dll", "GetTickCount", reinterpret_cast<void*>(&CountedTicks));
    CacheObject object(std::make_shared<int>(5));
    std::shared_ptr<void> out;
    g_tickReads = 0;
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(0, g_tickReads);
}

TEST(CacheObject, RefreshReadsTheTickBeforeAndAfter) {
    ImportPatch ticks(nullptr, "KERNEL32.dll", "GetTickCount", reinterpret_cast<void*>(&CountedTicks));
    Source source;
    CacheObject object(&source, 10, &Fill);
    std::shared_ptr<void> out;
    g_tickReads = 0;
    object.Get(out);
    EXPECT_EQ(2, g_tickReads);
    object.Get(out);
    EXPECT_EQ(3, g_tickReads);
}

TEST_F(CacheObjectTest, FixedValueIsHandedOutAsItIs) {
    const auto value = std::make_shared<int>(5);
    CacheObject object(value);
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(value, out);
    clock.Advance(0x80000000);
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(value, out);
}

TEST_F(CacheObjectTest, InvalidatedFixedValueIsHandedOutAllTheSame) {
    const auto value = std::make_shared<int>(5);
    CacheObject object(value);
    object.Invalidate();
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(value, out);
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(value, out);
}

TEST_F(CacheObjectTest, WithoutRoutineBecomesValidUnfilled) {
    CacheObject object(&source, 10, nullptr);
    out = std::make_shared<int>(77);
    EXPECT_TRUE(object.Get(out));
    EXPECT_EQ(nullptr, out);
}

TEST_F(CacheObjectTest, RoutineGetsTheOwner) {
    static void* seen;
    CacheObject object(&source, 10, [](void* owner, CacheSlot*) {
        seen = owner;
        return true;
    });
    object.Get(out);
    EXPECT_EQ(&source, seen);
}

TEST_F(CacheObjectTest, ValueIsSharedNotCopied) {
    CacheObject object(&source, 10, &Fill);
    std::shared_ptr<void> first, second;
    object.Get(first);
    object.Get(second);
    EXPECT_EQ(first, second);
    object.Invalidate();
    object.Get(second);
    EXPECT_NE(first, second);
    EXPECT_EQ(1, Value(first)) << "an old value lives as long as it is held";
}

TEST(CacheObject, ItsOneVirtualQueryIsZero) {
    EXPECT_TRUE(std::is_polymorphic_v<CacheObject>);
    EXPECT_FALSE(std::has_virtual_destructor_v<CacheObject>);
    EXPECT_EQ(0, CacheObject(nullptr).Query());
}

// Each value is a list whose entries are all alike: a reader that saw a mix would see two numbers.
TEST(CacheObject, ConcurrentReadersNeverSeeATornValue) {
    using List = std::vector<int>;
    static std::atomic<int> number;
    CacheObject object(&number, 10, [](void*, CacheSlot* slot) {
        slot->store(std::make_shared<List>(100, ++number));
        return true;
    });
    std::atomic<int> torn{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 5000; ++i) {
                std::shared_ptr<void> out;
                if (!object.Get(out))
                    ++torn;
                const auto& list = *static_cast<List*>(out.get());
                if (list.size() != 100 || list.front() != list.back())
                    ++torn;
                object.Invalidate();
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(0, torn);
}

#include "model/FcoeBase.h"

#include <atomic>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>

#include "tests/kit/MovedClock.h"

namespace {

struct Record {
    int nNumber = 0;
    CQelString strText;
};
using Children = std::vector<std::shared_ptr<int>>;

const auto NAMES = std::make_shared<const AdapterNames>(AdapterNames{L"Adapter 1", L"{GUID}"});

// An object of the tree with one reader of each kind.
class Object : public CQelFcoeBase {
  public:
    explicit Object(CHBAAPIInt* library = nullptr) : CQelFcoeBase(library, NAMES, 7) {}

    void ReadRecord(Record& record) {
        ++reads;
        record.nNumber = number;
        record.strText = L"text";
    }
    bool ReadChildren(Children& children) {
        ++reads;
        children.push_back(std::make_shared<int>(number));
        return succeeds;
    }

    using CQelFcoeBase::AppendCached;
    using CQelFcoeBase::CopyCached;
    using CQelFcoeBase::GetHandle;
    using CQelFcoeBase::m_cache;
    using CQelFcoeBase::m_csLock;
    using CQelFcoeBase::m_pLibrary;
    using CQelFcoeBase::m_pNames;
    using CQelFcoeBase::m_ulOpened;

    int reads = 0;
    int number = 1;
    bool succeeds = true;
};

constexpr CQelCacheKey<Record> RECORD{11};
constexpr CQelCacheKey<Children> CHILDREN{18};
constexpr CQelCacheRefresh<Record> REFRESH_RECORD = CQelFcoeBase::Refresh<&Object::ReadRecord>();
constexpr CQelCacheRefresh<Children> REFRESH_CHILDREN = CQelFcoeBase::Refresh<&Object::ReadChildren>();

} // namespace

TEST(FcoeBase, KeepsWhatItIsMadeWith) {
    auto* const library = reinterpret_cast<CHBAAPIInt*>(0x1000);
    Object object(library);
    EXPECT_EQ(library, object.m_pLibrary);
    EXPECT_EQ(NAMES, object.m_pNames) << "shared";
    EXPECT_EQ(7u, object.GetHandle());
    const CQelLockGuard guard(object.m_csLock);
    EXPECT_EQ(0u, object.m_ulOpened);
    EXPECT_EQ(&NAMES->strName, &object.m_cache.GetName());
    EXPECT_FALSE(std::is_polymorphic_v<CQelFcoeBase>);
}

TEST(FcoeBase, RefreshWithoutOwnerIsFalse) {
    CacheSlot slot;
    EXPECT_FALSE(REFRESH_RECORD.pfnRefresh(nullptr, &slot));
    EXPECT_FALSE(REFRESH_CHILDREN.pfnRefresh(nullptr, &slot));
    EXPECT_EQ(nullptr, slot.load());
}

TEST(FcoeBase, ReaderWithoutResultNeverFails) {
    Object object;
    CacheSlot slot;
    EXPECT_TRUE(REFRESH_RECORD.pfnRefresh(static_cast<CQelFcoeBase*>(&object), &slot));
    EXPECT_EQ(1, static_cast<Record*>(slot.load().get())->nNumber);
}

TEST(FcoeBase, ReadersResultIsTheRoutinesAndTheValueIsStoredAllTheSame) {
    Object object;
    CacheSlot slot;
    object.succeeds = false;
    EXPECT_FALSE(REFRESH_CHILDREN.pfnRefresh(static_cast<CQelFcoeBase*>(&object), &slot));
    EXPECT_EQ(1u, static_cast<Children*>(slot.load().get())->size());
}

TEST(FcoeBase, EachRefreshStoresAFreshValue) {
    Object object;
    CacheSlot slot;
    REFRESH_CHILDREN.pfnRefresh(static_cast<CQelFcoeBase*>(&object), &slot);
    const auto first = slot.load();
    REFRESH_CHILDREN.pfnRefresh(static_cast<CQelFcoeBase*>(&object), &slot);
    EXPECT_NE(first, slot.load());
    EXPECT_EQ(1u, static_cast<Children*>(first.get())->size());
}

TEST(FcoeBase, CollectionHandsTheObjectToItsRoutines) {
    Object object;
    object.m_cache.AddCache(RECORD, 10, REFRESH_RECORD);
    Record record;
    EXPECT_TRUE(object.CopyCached(RECORD, record));
    EXPECT_EQ(1, record.nNumber);
    EXPECT_TRUE(record.strText == L"text");
}

TEST(FcoeBase, CachedRecordIsServedWithinItsPeriod) {
    MovedClock clock;
    Object object;
    object.m_cache.AddCache(RECORD, 10, REFRESH_RECORD);
    Record record;
    EXPECT_TRUE(object.CopyCached(RECORD, record));
    object.number = 2;
    clock.Advance(10);
    EXPECT_TRUE(object.CopyCached(RECORD, record));
    EXPECT_EQ(1, record.nNumber);
    clock.Advance(1);
    EXPECT_TRUE(object.CopyCached(RECORD, record));
    EXPECT_EQ(2, record.nNumber);
    EXPECT_EQ(2, object.reads);
}

TEST(FcoeBase, MissingRecordLeavesTheCallersUntouched) {
    Object object;
    Record record;
    record.nNumber = 77;
    EXPECT_FALSE(object.CopyCached(RECORD, record));
    EXPECT_EQ(77, record.nNumber);
}

TEST(FcoeBase, ListsAreAppendedToInOrder) {
    Object object;
    Children cached{std::make_shared<int>(1), std::make_shared<int>(2)};
    object.m_cache.AddCache(CHILDREN, std::make_shared<Children>(cached));
    Children out{std::make_shared<int>(0)};
    EXPECT_TRUE(object.AppendCached(CHILDREN, out));
    ASSERT_EQ(3u, out.size());
    EXPECT_EQ(0, *out[0]);
    EXPECT_EQ(cached[0], out[1]);
    EXPECT_EQ(cached[1], out[2]);
}

TEST(FcoeBase, FailedListLeavesTheCallersUntouched) {
    Object object;
    object.succeeds = false;
    object.m_cache.AddCache(CHILDREN, 10, REFRESH_CHILDREN);
    Children out;
    EXPECT_FALSE(object.AppendCached(CHILDREN, out));
    EXPECT_TRUE(out.empty());
}

TEST(FcoeBase, DestructionWaitsForAThreadInsideTheLock) {
    auto object = std::make_unique<Object>();
    std::atomic<bool> inside{false}, leaving{false};
    std::thread thread([&] {
        const CQelLockGuard guard(object->m_csLock);
        inside = true;
        Sleep(50);
        leaving = true;
    });
    while (!inside)
        Sleep(0);
    object.reset();
    EXPECT_TRUE(leaving);
    thread.join();
}

// As of a value that nobody stored.
TEST(FcoeBase, ValueThatIsNotThereIsNoAnswer) {
    Object object;
    object.m_cache.AddCache(RECORD, std::shared_ptr<Record>());
    object.m_cache.AddCache(CHILDREN, std::shared_ptr<Children>());
    Record record;
    Children out;
    EXPECT_FALSE(object.CopyCached(RECORD, record));
    EXPECT_FALSE(object.AppendCached(CHILDREN, out));
    EXPECT_TRUE(out.empty());
}

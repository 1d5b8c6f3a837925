#include "hbaapi/CrossProcessMutex.h"

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/MutexProbe.h"

using testing::ElementsAre;

namespace {

class CrossProcessMutex : public testing::Test {
  protected:
    MutexProbe probe;
};

} // namespace

TEST_F(CrossProcessMutex, IsMadeByItsGlobalNameWithoutAnOwnerOrSecurityAndWaitedForTenSeconds) {
    { const CQelCrossProcessMutex mutex; }
    EXPECT_THAT(probe.Events(), ElementsAre("create Global\\CHBAAPINTMUT", "wait 10000", "release", "close"));
}

TEST_F(CrossProcessMutex, IsHeldToTheEndOfTheScope) {
    {
        const CQelCrossProcessMutex mutex;
        EXPECT_TRUE(mutex.IsAcquired());
        EXPECT_TRUE(probe.IsHeld());
        EXPECT_THAT(probe.Events(), ElementsAre("create Global\\CHBAAPINTMUT", "wait 10000"));
    }
    EXPECT_FALSE(probe.IsHeld());
}

TEST_F(CrossProcessMutex, MayBeTakenTwiceByOneThread) {
    const CQelCrossProcessMutex first;
    {
        const CQelCrossProcessMutex second;
        EXPECT_TRUE(second.IsAcquired());
    }
    EXPECT_TRUE(probe.IsHeld()) << "the first still has it";
}

TEST_F(CrossProcessMutex, HeldElsewhereIsNotAcquiredAndItsHandleClosedAtOnce) {
    const MutexHolder holder;
    probe.waitLimit = 5;
    const CQelCrossProcessMutex mutex;
    EXPECT_FALSE(mutex.IsAcquired());
    EXPECT_THAT(probe.Events(), ElementsAre("create Global\\CHBAAPINTMUT", "wait 10000", "release", "close"));
    EXPECT_TRUE(probe.IsHeld()) << "releasing what another thread owns changes nothing";
}

TEST_F(CrossProcessMutex, AbandonedIsNotAcquiredButGivenBackForTheNextOne) {
    const AbandonedMutex abandoned;
    {
        const CQelCrossProcessMutex mutex;
        EXPECT_FALSE(mutex.IsAcquired());
        EXPECT_FALSE(probe.IsHeld());
    }
    const CQelCrossProcessMutex next;
    EXPECT_TRUE(next.IsAcquired());
}

TEST_F(CrossProcessMutex, OfAnotherAccountIsOpenedForWaitingAndWaitedForAsUsual) {
    probe.createError = ERROR_ACCESS_DENIED;
    {
        const CQelCrossProcessMutex mutex;
        EXPECT_TRUE(mutex.IsAcquired());
        EXPECT_TRUE(probe.IsHeld());
    }
    EXPECT_FALSE(probe.IsHeld());
    EXPECT_THAT(probe.Events(), ElementsAre("create Global\\CHBAAPINTMUT", "open Global\\CHBAAPINTMUT SYNCHRONIZE",
                                            "wait 10000", "release", "close"));
}

TEST_F(CrossProcessMutex, OfAnotherAccountThatHoldsItIsNotAcquiredAndItsHandleClosedAtOnce) {
    const MutexHolder holder;
    probe.createError = ERROR_ACCESS_DENIED;
    probe.waitLimit = 5;
    const CQelCrossProcessMutex mutex;
    EXPECT_FALSE(mutex.IsAcquired());
    EXPECT_THAT(probe.Events(), ElementsAre("create Global\\CHBAAPINTMUT", "open Global\\CHBAAPINTMUT SYNCHRONIZE",
                                            "wait 10000", "release", "close"));
}

TEST_F(CrossProcessMutex, OfAnotherAccountThatLetsNobodyWaitIsNotAcquired) {
    probe.createError = ERROR_ACCESS_DENIED;
    probe.openError = ERROR_ACCESS_DENIED;
    { EXPECT_FALSE(CQelCrossProcessMutex().IsAcquired()); }
    EXPECT_THAT(probe.Events(), ElementsAre("create Global\\CHBAAPINTMUT", "open Global\\CHBAAPINTMUT SYNCHRONIZE"))
        << "there is nothing to give back";
}

// A name that an object of another kind has, for one: what cannot be created for another reason is not opened.
TEST_F(CrossProcessMutex, ThatCannotBeCreatedIsNotAcquired) {
    probe.createError = ERROR_INVALID_HANDLE;
    { EXPECT_FALSE(CQelCrossProcessMutex().IsAcquired()); }
    EXPECT_THAT(probe.Events(), ElementsAre("create Global\\CHBAAPINTMUT")) << "there is nothing to give back";
}

TEST_F(CrossProcessMutex, ThatCannotBeWaitedForIsNotAcquired) {
    probe.cannotWait = true;
    const CQelCrossProcessMutex mutex;
    EXPECT_FALSE(mutex.IsAcquired());
    EXPECT_THAT(probe.Events(), ElementsAre("create Global\\CHBAAPINTMUT", "wait 10000", "release", "close"));
}

TEST_F(CrossProcessMutex, GivingItBackKeepsTheLastError) {
    auto mutex = std::make_unique<CQelCrossProcessMutex>();
    SetLastError(1234);
    mutex.reset();
    EXPECT_EQ(1234u, GetLastError());
}

TEST_F(CrossProcessMutex, GivenBackWithinTheTimeIsAcquired) {
    auto holder = std::make_unique<MutexHolder>();
    bool acquired = false;
    std::thread waiter([&] { acquired = CQelCrossProcessMutex().IsAcquired(); });
    while (probe.Events().size() < 2) // created and waiting
        std::this_thread::yield();
    holder.reset();
    waiter.join();
    EXPECT_TRUE(acquired);
}

// The one test that waits the real time.
TEST_F(CrossProcessMutex, HeldElsewhereIsWaitedForTenSeconds) {
    const MutexHolder holder;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(CQelCrossProcessMutex().IsAcquired());
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(9900));
    EXPECT_LT(waited, std::chrono::seconds(20));
}

#include "hbaapi/VendorCall.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/LogCapture.h"
#include "tests/unit/MutexProbe.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Function = HBA_STATUS (*)();

constexpr VendorCallKind ALL_LINES = {.pszNotConverted = L"not converted",
                                      .pszMissing = L"missing %d",
                                      .pszMoreData = L"more data",
                                      .pszFailed = L"failed %d",
                                      .pszLastError = L"last error %d",
                                      .pszSucceeded = L"succeeded"};

template <HBA_STATUS status> HBA_STATUS Answer() {
    SetLastError(1234);
    return status;
}

class VendorCall : public testing::Test {
  protected:
    static BOOL Call(const FoundFunction<Function>& function, const VendorCallKind& kind) {
        return CallVendor(function, kind, [](auto pfn) { return pfn(); });
    }
    static BOOL Call(Function function, const VendorCallKind& kind) {
        return Call(FoundFunction<Function>{FunctionState::There, function}, kind);
    }

    LogCapture log;
};

} // namespace

TEST_F(VendorCall, SuccessIsTrueWithItsLine) {
    EXPECT_EQ(TRUE, Call(&Answer<HBA_STATUS_OK>, ALL_LINES));
    EXPECT_THAT(log.Messages(), ElementsAre("succeeded"));
}

TEST_F(VendorCall, RefusalIsFalseWithTheStatusAndThenTheLastError) {
    EXPECT_EQ(FALSE, Call(&Answer<HBA_STATUS_ERROR_BUSY>, ALL_LINES));
    EXPECT_THAT(log.Messages(), ElementsAre("failed 10", "last error 1234"));
}

TEST_F(VendorCall, MoreDataHasItsOwnLineWhereThereIsOne) {
    VendorCallKind kind = {.pszMoreData = L"more data", .pszFailed = L"failed %d"};
    EXPECT_EQ(FALSE, Call(&Answer<HBA_STATUS_ERROR_MORE_DATA>, kind));
    EXPECT_THAT(log.Messages(), ElementsAre("more data"));
    log.Clear();
    kind.pszMoreData = nullptr;
    EXPECT_EQ(FALSE, Call(&Answer<HBA_STATUS_ERROR_MORE_DATA>, kind));
    EXPECT_THAT(log.Messages(), ElementsAre("failed 7"));
}

TEST_F(VendorCall, MissingFunctionYieldsWhatTheOperationSays) {
    VendorCallKind kind = ALL_LINES;
    SetLastError(127);
    EXPECT_EQ(FALSE, Call(FoundFunction<Function>{}, kind));
    EXPECT_THAT(log.Messages(), ElementsAre("missing 127"));
    kind.bWithoutFunction = TRUE;
    EXPECT_EQ(TRUE, Call(FoundFunction<Function>{}, kind));
}

TEST_F(VendorCall, NameThatCannotBeConvertedIsAlwaysFalse) {
    VendorCallKind kind = ALL_LINES;
    kind.bWithoutFunction = TRUE;
    EXPECT_EQ(FALSE, Call(FoundFunction<Function>{FunctionState::NotConverted, nullptr}, kind));
    EXPECT_THAT(log.Messages(), ElementsAre("not converted"));
}

TEST_F(VendorCall, OperationWithoutLinesWritesNone) {
    EXPECT_EQ(TRUE, Call(&Answer<HBA_STATUS_OK>, {}));
    EXPECT_EQ(FALSE, Call(&Answer<HBA_STATUS_ERROR>, {}));
    EXPECT_EQ(FALSE, Call(FoundFunction<Function>{}, {}));
    EXPECT_EQ(FALSE, Call(FoundFunction<Function>{FunctionState::NotConverted, nullptr}, {}));
    EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_F(VendorCall, LockSaysWhenItIsNotToBeHad) {
    MutexProbe probe;
    {
        const CQelVendorLock lock(L"no lock");
        EXPECT_TRUE(lock.IsAcquired());
        EXPECT_TRUE(probe.IsHeld());
    }
    EXPECT_FALSE(probe.IsHeld());
    EXPECT_THAT(log.Messages(), IsEmpty());
    probe.createError = ERROR_INVALID_HANDLE;
    EXPECT_FALSE(CQelVendorLock(L"no lock").IsAcquired());
    EXPECT_THAT(log.Messages(), ElementsAre("no lock"));
}

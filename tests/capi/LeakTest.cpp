// Sessions leave nothing behind, however many there were.
#include <gtest/gtest.h>

#include "tests/capi/CSession.h"
#include "tests/capi/CapiHost.h"
#include "tests/kit/CrashReport.h"
#include "tests/kit/HandleCount.h"
#include "tests/kit/HeapUse.h"
#include "tests/system/RunTimeHeap.h"

namespace {

void ExpectNothingLeft(int sessions) {
    StartWatchdog(280);
    const RunTimeHeap runTime;
    CapiHost host;
    host.Suite().Hive().Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2", L"TRACE", DWORD{2}); // errors only
    const auto round = [](int number) {
        const Session session = Open();
        const fcoe_kind kind = KINDS[static_cast<std::size_t>(number) % std::size(KINDS)];
        EXPECT_LE(FCOE_OK, Enumerate(session, kind).status);
        EXPECT_LE(FCOE_OK, EnumerateJson(session, kind, FIRST).status);
        EXPECT_EQ(FCOE_UNKNOWN_ADAPTER, Enumerate(session, kind, NOBODY).status);
    };
    for (int i = 0; i < 15; ++i)
        round(i); // what the system keeps once it was used
    const auto handles = CountHandles();
    const auto ours = runTime.Bytes();
    const auto all = static_cast<long long>(BusyHeapBytes());
    for (int i = 0; i < sessions; ++i) {
        round(i);
        if (i % 20 == 19) {
            ASSERT_EQ(handles, CountHandles()) << "after session " << i;
        }
    }
    EXPECT_LT(runTime.Bytes() - ours, sessions) << "bytes";
    const long long perSession = (static_cast<long long>(BusyHeapBytes()) - all) / sessions;
    testing::Test::RecordProperty("bytes_a_session", static_cast<int>(perSession));
    // The system's loader keeps some bytes of its own for each load.
    EXPECT_LT(perSession, 64);
}

} // namespace

TEST(Sessions, AHundredLeakNeitherHandlesNorMemory) {
    ExpectNothingLeft(100);
}

TEST(Sessions, AThousandLeakNeitherHandlesNorMemory) {
    ExpectNothingLeft(1000);
}

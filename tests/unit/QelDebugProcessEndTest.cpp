// The diagnostic log while its process ends. In child processes.
#include "FcoeAgent/QelDebug.h"

#include <thread>

#include "Common/Src/ProcessExit.h"
#include "tests/kit/ImportPatch.h"
#include "tests/unit/QelDebugFixture.h"

namespace {

using QelDebugProcessEnd = QelDebugFixture;

HANDLE g_inside;
void WINAPI BlockInLocalTime(SYSTEMTIME*) {
    SetEvent(g_inside);
    Sleep(INFINITE);
}

// While the process ends, the lock may be held by a thread that is gone: nobody may wait for it.
TEST_F(QelDebugProcessEnd, NothingWaitsForALockWhileTheProcessEnds) {
    const auto run = [this] {
        ASSERT_EQ(0, Configure(3));
        m_log->Print(L"before");
        const ImportPatch patch(nullptr, "KERNEL32.dll", "GetLocalTime", reinterpret_cast<void*>(&BlockInLocalTime));
        g_inside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        std::thread([this] { m_log->Print(L"holds the lock for ever"); }).detach();
        WaitForSingleObject(g_inside, INFINITE);
        EXPECT_FALSE(ProcessIsTerminating());
        MarkProcessTerminating();
        EXPECT_TRUE(ProcessIsTerminating());
        m_log->Print(L"dropped");
        m_log->Error(L"f.cpp", 1, L"dropped");
        EXPECT_EQ(-1, m_log->Configure(MODULE, L"other.txt", 3, 0, 0));
        m_log.reset();
        _exit(!HasFailure() && MessagesOf(m_file) == Texts{"before"} ? 0 : 1);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST_F(QelDebugProcessEnd, AFreeLockStillWritesWhileTheProcessEnds) {
    EXPECT_EXIT(Run(1, {"line"},
                    [] {
                        MarkProcessTerminating();
                        QEL_PRINT(L"line");
                    }),
                testing::ExitedWithCode(0), "");
}

} // namespace

// The module's own log while its process ends, and after its own end. In child processes.
#include "FcoeAgent/QelDebug.h"

#include <thread>

#include "Common/Src/ProcessExit.h"
#include "Common/Src/QelSecure.h"
#include "tests/kit/ImportPatch.h"
#include "tests/unit/QelDebugFixture.h"

namespace {

bool g_lockDeleted;
void(WINAPI* g_deleteLock)(CRITICAL_SECTION*);
void WINAPI WatchDelete(CRITICAL_SECTION* lock) {
    const auto log = reinterpret_cast<const char*>(&CQelDebug::Instance());
    const auto at = reinterpret_cast<const char*>(lock);
    g_lockDeleted = g_lockDeleted || (at >= log && at < log + sizeof(CQelDebug));
    g_deleteLock(lock);
}

HANDLE g_inside;
void WINAPI BlockInLocalTime(SYSTEMTIME*) {
    SetEvent(g_inside);
    Sleep(INFINITE);
}

class QelDebugProcessEnd : public QelDebugFixture {
  protected:
    // Destroyed after the log, because it is made before. Prints then, and ends the process: 0 tells that nothing was
    // printed, and that the log is as it should be.
    struct AfterTheLog {
        QelDebugProcessEnd* test = nullptr;
        bool isDestroyed = false;

        ~AfterTheLog() {
            CQelDebug& log = CQelDebug::Instance();
            const bool isPrinting = log.IsPrinting();
            {
                const CQelDebugScope scope(L"Lost");
                log.Print(L"lost");
                log.Error(L"f.cpp", 1, L"lost");
                wchar_t text[1];
                QelSafeCopy(L"f.cpp", 2, text, 1, L"too long");
            }
            if (isPrinting)
                _exit(10);
            if (MessagesOf(test->m_file) != Texts{"line"})
                _exit(11);
            if (g_lockDeleted != isDestroyed)
                _exit(12);
            // Others may write to the file once it is closed.
            const HANDLE file =
                CreateFileW(test->m_file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
            _exit((file != INVALID_HANDLE_VALUE) == isDestroyed ? 0 : 13);
        }
    };

    // Configures the module's log, writes one line, and ends the process after the rest.
    template <class F> void EndAfter(bool isDestroyed, F rest) {
        static AfterTheLog after;
        after.test = this;
        after.isDestroyed = isDestroyed;
        SetInstalledDir(m_folder.Path());
        if (CQelDebug::Instance().Configure(MODULE, L"log.txt", 1, 0, 0) != 0)
            _exit(2);
        QEL_PRINT(L"line");
        const auto patch =
            new ImportPatch(nullptr, "KERNEL32.dll", "DeleteCriticalSection", reinterpret_cast<void*>(&WatchDelete));
        g_deleteLock = patch->Original<decltype(g_deleteLock)>();
        rest();
        std::exit(3);
    }
};

// As when the module is unloaded.
TEST_F(QelDebugProcessEnd, TheLogIsClosedAndSilentAfterItsEnd) {
    EXPECT_EXIT(EndAfter(true, [] {}), testing::ExitedWithCode(0), "");
}

TEST_F(QelDebugProcessEnd, TheLogIsLeftAsItIsAndSilentWhenTheProcessEnds) {
    EXPECT_EXIT(EndAfter(false, MarkProcessTerminating), testing::ExitedWithCode(0), "");
}

// The lock may be held by a thread that is gone: nobody may wait for it.
TEST_F(QelDebugProcessEnd, NothingWaitsForALockWhileTheProcessEnds) {
    const auto run = [this] {
        EndAfter(false, [] {
            CQelDebug& log = CQelDebug::Instance();
            const ImportPatch patch(nullptr, "KERNEL32.dll", "GetLocalTime",
                                    reinterpret_cast<void*>(&BlockInLocalTime));
            g_inside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
            std::thread([&log] { log.Print(L"holds the lock for ever"); }).detach();
            WaitForSingleObject(g_inside, INFINITE);
            if (ProcessIsTerminating())
                _exit(4);
            MarkProcessTerminating();
            if (!ProcessIsTerminating())
                _exit(5);
            log.Print(L"dropped");
            log.Error(L"f.cpp", 1, L"dropped");
            if (log.Configure(MODULE, L"other.txt", 3, 0, 0) != -1)
                _exit(6);
        });
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

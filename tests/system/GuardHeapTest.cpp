// The guard-page heap, in a program of its own: each test starts this one again with the heap in place.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/kit/CrashReport.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/GuardHeap.h"
#include "tests/kit/ImportPatch.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/StartProcess.h"
#include "tests/kit/SuiteHost.h"

namespace {

// The exit code of that disabled test.
DWORD RunOnGuardHeap(const std::wstring& test) {
    const std::wstring command = L"\"" + ProgramFile().wstring() +
                                 L"\" --gtest_also_run_disabled_tests --gtest_filter=" + L"GuardHeapChild.DISABLED_" +
                                 test;
    // Its crash report and its closing line are not this program's.
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    const HANDLE nowhere =
        CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING, 0, nullptr);
    SetEnvironmentVariableW(L"FCOE_GUARD_HEAP", L"1");
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = nowhere;
    PROCESS_INFORMATION process{};
    const bool started = StartProcess(command, true, startup, process);
    SetEnvironmentVariableW(L"FCOE_GUARD_HEAP", nullptr);
    CloseHandle(nowhere);
    if (!started)
        return GetLastError();
    DWORD code = STILL_ACTIVE;
    if (WaitForSingleObject(process.hProcess, 60000) == WAIT_OBJECT_0)
        GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

// Through a pointer that the compiler knows nothing about.
char* Block(std::size_t size) {
    static char* volatile block;
    block = static_cast<char*>(std::malloc(size));
    return block;
}

TEST(GuardHeapChild, DISABLED_ReadBehindABlock) {
    const volatile char* block = Block(32);
    ADD_FAILURE() << block[32];
}

TEST(GuardHeapChild, DISABLED_WriteBehindABlock) {
    volatile char* const block = Block(100);
    block[112] = 1;
}

TEST(GuardHeapChild, DISABLED_WriteJustBehindAnOddBlock) {
    volatile char* const block = Block(99);
    block[99] = 1;
    std::free(const_cast<char*>(block));
}

TEST(GuardHeapChild, DISABLED_WriteBeforeABlock) {
    volatile char* const block = Block(64);
    block[-1] = 1;
    std::free(const_cast<char*>(block));
}

TEST(GuardHeapChild, DISABLED_ReadAFreedBlock) {
    const volatile char* volatile freed = Block(64);
    std::free(const_cast<char*>(freed));
    ADD_FAILURE() << freed[0];
}

TEST(GuardHeapChild, DISABLED_FreeTwice) {
    char* volatile block = Block(64);
    std::free(block);
    std::free(block);
}

TEST(GuardHeapChild, DISABLED_ReadBehindANewObject) {
    const std::unique_ptr<char[]> block(new char[16]);
    const volatile char* behind = block.get();
    ADD_FAILURE() << behind[16];
}

TEST(GuardHeapChild, DISABLED_HealthyUse) {
    ASSERT_TRUE(GuardHeap::IsInstalled());
    const std::size_t live = GuardHeap::LiveBlocks();
    for (std::size_t size = 0; size < 20000; size += 37) {
        auto* block = static_cast<unsigned char*>(std::malloc(size));
        ASSERT_TRUE(block);
        EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % 16);
        std::memset(block, 7, size);
        block = static_cast<unsigned char*>(std::realloc(block, size + 5000));
        ASSERT_TRUE(block);
        for (std::size_t i = 0; i < size; ++i)
            ASSERT_EQ(7, block[i]);
        std::free(block);
        auto* cleared = static_cast<unsigned char*>(std::calloc(size, 3));
        ASSERT_TRUE(cleared);
        for (std::size_t i = 0; i < size * 3; ++i)
            ASSERT_EQ(0, cleared[i]);
        std::free(cleared);
    }
    std::free(nullptr);
    std::free(std::realloc(nullptr, 5));
    EXPECT_EQ(live, GuardHeap::LiveBlocks());
}

TEST(GuardHeapChild, DISABLED_ForeignBlocksPass) {
    const auto foreign = NeedFunction<decltype(&std::malloc)>(GetModuleHandleW(L"msvcrt.dll"), "malloc");
    const std::size_t live = GuardHeap::LiveBlocks();
    void* block = std::realloc(foreign(10), 5000);
    ASSERT_TRUE(block);
    std::free(block);
    EXPECT_EQ(live, GuardHeap::LiveBlocks());
}

// Wine says 0 for a process that it ends for want of mappings.
constexpr int EXIT_HELD = 7;

TEST(GuardHeapChild, DISABLED_MoreBlocksThanMappingsPass) {
    std::vector<std::vector<BYTE>> blocks;
    for (int i = 0; i < 70000; ++i)
        blocks.emplace_back(100, static_cast<BYTE>(i));
    for (int i = 0; i < 70000; ++i)
        ASSERT_EQ(static_cast<BYTE>(i), blocks[static_cast<std::size_t>(i)].back());
    std::_Exit(EXIT_HELD);
}

TEST(GuardHeapChild, DISABLED_ModulesThatAreLoadedLaterUseIt) {
    SuiteHost host;
    host.GetAgent();
    for (const wchar_t* name :
         {L"FcoeAgnt.dll", L"QelColib.dll", L"CoreAgnt.dll", L"orvanhapi.dll", L"libstdc++-6.dll"}) {
        const HMODULE module = GetModuleHandleW(name);
        ASSERT_TRUE(module) << name;
        // The common library may get by without the one or the other.
        void** const slot = FindImport(module, "msvcrt.dll", "free");
        ASSERT_TRUE(slot) << name;
        EXPECT_EQ(reinterpret_cast<void*>(&GuardHeap::Free), LoadImport(slot)) << name;
        if (void** const taken = FindImport(module, "msvcrt.dll", "malloc")) {
            EXPECT_EQ(reinterpret_cast<void*>(&GuardHeap::Allocate), LoadImport(taken)) << name;
        }
    }
}

} // namespace

TEST(GuardHeap, FaultsWhereABlockIsReadBehindItsEnd) {
    EXPECT_EQ(DWORD{EXIT_CRASHED}, RunOnGuardHeap(L"ReadBehindABlock"));
}

TEST(GuardHeap, FaultsWhereABlockIsWrittenBehindItsEnd) {
    EXPECT_EQ(DWORD{EXIT_CRASHED}, RunOnGuardHeap(L"WriteBehindABlock"));
}

TEST(GuardHeap, FaultsWhereANewObjectIsReadBehindItsEnd) {
    EXPECT_EQ(DWORD{EXIT_CRASHED}, RunOnGuardHeap(L"ReadBehindANewObject"));
}

TEST(GuardHeap, FindsAWriteJustBehindABlockWhenItIsFreed) {
    EXPECT_EQ(DWORD{EXIT_CRASHED}, RunOnGuardHeap(L"WriteJustBehindAnOddBlock"));
}

TEST(GuardHeap, FindsAWriteBeforeABlockWhenItIsFreed) {
    EXPECT_EQ(DWORD{EXIT_CRASHED}, RunOnGuardHeap(L"WriteBeforeABlock"));
}

TEST(GuardHeap, FaultsWhereAFreedBlockIsRead) {
    EXPECT_EQ(DWORD{EXIT_CRASHED}, RunOnGuardHeap(L"ReadAFreedBlock"));
}

TEST(GuardHeap, EndsTheProgramThatFreesABlockTwice) {
    EXPECT_EQ(DWORD{EXIT_CRASHED}, RunOnGuardHeap(L"FreeTwice"));
}

TEST(GuardHeap, AllocatesAsTheRunTimeDoes) {
    EXPECT_EQ(0u, RunOnGuardHeap(L"HealthyUse"));
}

TEST(GuardHeap, HoldsMoreBlocksThanAProcessMayHaveMappings) {
    EXPECT_EQ(DWORD{EXIT_HELD}, RunOnGuardHeap(L"MoreBlocksThanMappingsPass"));
}

TEST(GuardHeap, LeavesForeignBlocksToTheRunTime) {
    EXPECT_EQ(0u, RunOnGuardHeap(L"ForeignBlocksPass"));
}

TEST(GuardHeap, TakesInModulesThatAreLoadedLater) {
    EXPECT_EQ(0u, RunOnGuardHeap(L"ModulesThatAreLoadedLaterUseIt"));
}

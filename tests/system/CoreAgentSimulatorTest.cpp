// The simulated core agent behind its own interface.
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "FcoeAgent/CoreAgentPvt.h"
#include "simulator/control/SimControl.h"
#include "simulator/coreagent/Names.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/ImportPatch.h"

namespace {

using Names = std::vector<CQelString>;

// Without its last brace.
constexpr char TWO_ADAPTERS[] = R"({"adapters": [
    {"identifier": "{AAAAAAAA-0000-0000-0000-000000000001}", "display_name": "First", "mac": "02:0A:0B:0C:0D:0E",
     "interface_index": 7, "port": {"node_wwn": "10:00:00:00:00:00:00:01", "port_wwn": "20:00:00:00:00:00:00:01"}},
    {"identifier": "{AAAAAAAA-0000-0000-0000-000000000002}", "display_name": "Zweiter \u20AC", "supports_fcoe": false,
     "mac": "02:0A:0B:0C:0D:0F",
     "port": {"node_wwn": "10:00:00:00:00:00:00:02", "port_wwn": "20:00:00:00:00:00:00:02"}}])";
constexpr wchar_t FIRST[] = L"{AAAAAAAA-0000-0000-0000-000000000001}";
constexpr wchar_t SECOND[] = L"{AAAAAAAA-0000-0000-0000-000000000002}";

class CoreAgentSimulator : public testing::Test {
  protected:
    // Names of its own: tests run beside each other.
    CoreAgentSimulator() : instance(std::to_wstring(GetCurrentProcessId())) {
        SetEnvironmentVariableW(coreagent::INSTANCE_VARIABLE, instance.c_str());
        SetEnvironmentVariableW(coreagent::LOCK_WAIT_VARIABLE, L"0");
        Load();
    }
    ~CoreAgentSimulator() override {
        FreeLibrary(module);
        SetEnvironmentVariableW(coreagent::INSTANCE_VARIABLE, nullptr);
        SetEnvironmentVariableW(coreagent::LOCK_WAIT_VARIABLE, nullptr);
    }

    void Load() {
        module = LoadLibraryW(L"CoreAgnt.dll");
        ASSERT_NE(nullptr, module);
        core = NeedFunction<PFN_GetCoreAgentPvt>(module, "GetCoreAgentPvt")();
        ASSERT_NE(nullptr, core);
        Simulate();
    }
    // The two adapters with these faults.
    void Simulate(const std::string& faults = "") {
        const std::string text = TWO_ADAPTERS + (faults.empty() ? "}" : ", \"faults\": [" + faults + "]}");
        const char* error = NEED_FUNCTION(module, OrvanSim_LoadTopology)(text.c_str());
        EXPECT_EQ(nullptr, error) << error;
    }
    std::string CallsOf(const std::function<void()>& work) {
        const auto record = NEED_FUNCTION(module, OrvanSim_RecordCalls);
        NEED_FUNCTION(module, OrvanSim_ResetCalls)();
        record(1);
        work();
        record(0);
        std::vector<char> lines(4096);
        NEED_FUNCTION(module, OrvanSim_CallLog)(lines.data(), static_cast<unsigned>(lines.size()));
        return lines.data();
    }
    ULONG Start(ULONG owner) {
        BYTE taken = 0xEE;
        const QEL_RESULT result = core->StartLock({owner, 0, 0}, taken);
        EXPECT_EQ(result.ulErrCode == 0, taken == 1);
        return result.ulErrCode;
    }
    ULONG Done(ULONG owner) { return core->DoneLock({owner, 0, 0}).ulErrCode; }
    HANDLE MakeEvent(const wchar_t* name) { return CreateEventW(nullptr, TRUE, FALSE, (name + instance).c_str()); }

    const std::wstring instance;
    HMODULE module = nullptr;
    ICoreAgentPvt* core = nullptr;
};

TEST_F(CoreAgentSimulator, ListsTheTopologysAdaptersBehindWhatIsThere) {
    Names names{L"before"};
    const QEL_RESULT result = core->EnumerateAdapters(names, 0);
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
    EXPECT_EQ((Names{L"before", FIRST, SECOND}), names);
}

TEST_F(CoreAgentSimulator, KnowsAnAdaptersInformation) {
    QEL_ADAPTER_INFO info;
    EXPECT_EQ(0u, core->GetAdapterInfo(L"{aaaaaaaa-0000-0000-0000-000000000001}", info, 0).ulErrCode);
    EXPECT_EQ(FIRST, info.strIdentifier);
    EXPECT_EQ(L"First", info.strDisplayName);
    EXPECT_EQ(L"02:0A:0B:0C:0D:0E", info.strPermanentAddress);
    EXPECT_EQ(7u, info.ulInterfaceIndex);
    EXPECT_EQ(0u, core->GetAdapterInfo(SECOND, info, 0).ulErrCode);
    EXPECT_EQ(L"Zweiter \u20AC", info.strDisplayName);
}

TEST_F(CoreAgentSimulator, RefusesAnUnknownAdapter) {
    QEL_ADAPTER_INFO info;
    info.strDisplayName = L"untouched";
    EXPECT_EQ(2u, core->GetAdapterInfo(L"nobody", info, 0).ulErrCode);
    EXPECT_EQ(L"untouched", info.strDisplayName);
    EXPECT_EQ(0, core->SupportsFcoe(L"nobody"));
}

TEST_F(CoreAgentSimulator, KnowsWhoSupportsFcoe) {
    EXPECT_EQ(1, core->SupportsFcoe(FIRST));
    EXPECT_EQ(0, core->SupportsFcoe(SECOND));
}

TEST_F(CoreAgentSimulator, TheLockHasOneOwner) {
    EXPECT_EQ(0u, Start(1));
    EXPECT_EQ(3u, Start(2));
    EXPECT_EQ(3u, Start(1));
    EXPECT_EQ(4u, Done(2));
    EXPECT_EQ(0u, Done(1));
    EXPECT_EQ(4u, Done(1));
    EXPECT_EQ(0u, Start(2));
    EXPECT_EQ(0u, Done(2));
}

TEST_F(CoreAgentSimulator, AnotherThreadMayGiveTheLockBack) {
    EXPECT_EQ(0u, Start(1));
    std::thread([&] { EXPECT_EQ(0u, Done(1)); }).join();
    EXPECT_EQ(0u, Start(1));
    EXPECT_EQ(0u, Done(1));
}

TEST_F(CoreAgentSimulator, TheLockOfAnotherProcessIsRespected) {
    HANDLE other = MakeEvent(coreagent::LOCK_NAME);
    EXPECT_EQ(3u, Start(1));
    EXPECT_EQ(4u, Done(1));
    CloseHandle(other);
    EXPECT_EQ(0u, Start(1));
    other = MakeEvent(coreagent::LOCK_NAME);
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), GetLastError()); // another process sees that it is held
    CloseHandle(other);
    EXPECT_EQ(0u, Done(1));
}

TEST_F(CoreAgentSimulator, WaitsForTheLock) {
    SetEnvironmentVariableW(coreagent::LOCK_WAIT_VARIABLE, L"60000");
    static HANDLE other;
    other = MakeEvent(coreagent::LOCK_NAME);
    static int waits;
    waits = 0;
    // Its owner gives it up while the core agent waits for the second time.
    const ImportPatch sleep(module, "KERNEL32.dll", "Sleep", reinterpret_cast<void*>(+[](DWORD) {
                                if (++waits == 2)
                                    CloseHandle(other);
                            }));
    EXPECT_EQ(0u, Start(1));
    EXPECT_EQ(2, waits);
    EXPECT_EQ(0u, Done(1));
}

TEST_F(CoreAgentSimulator, ThreadsExcludeEachOther) {
    SetEnvironmentVariableW(coreagent::LOCK_WAIT_VARIABLE, L"60000");
    int inside = 0;
    int entered = 0;
    std::vector<std::thread> threads;
    for (ULONG owner = 1; owner <= 4; ++owner)
        threads.emplace_back([&, owner] {
            for (int i = 0; i < 5; ++i) {
                EXPECT_EQ(0u, Start(owner));
                EXPECT_EQ(1, ++inside);
                ++entered;
                --inside;
                EXPECT_EQ(0u, Done(owner));
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(20, entered);
}

TEST_F(CoreAgentSimulator, UnloadingGivesTheLockUp) {
    EXPECT_EQ(0u, Start(1));
    FreeLibrary(module);
    Load();
    EXPECT_EQ(0u, Start(2));
    EXPECT_EQ(0u, Done(2));
}

TEST_F(CoreAgentSimulator, WithoutAPendingApplyTheWaitReturnsAtOnce) {
    core->WaitForApplyDone(0);
    const HANDLE done = MakeEvent(coreagent::APPLY_DONE_NAME);
    SetEvent(done);
    core->WaitForApplyDone(0);
    CloseHandle(done);
}

TEST_F(CoreAgentSimulator, WaitsUntilAPendingApplyIsDoneOrItsOwnerGone) {
    static HANDLE done;
    static BOOL(WINAPI * end)(HANDLE);
    static int waits;
    // The third wait ends the apply; none takes its time.
    const ImportPatch wait(module, "KERNEL32.dll", "WaitForSingleObject",
                           reinterpret_cast<void*>(+[](HANDLE event, DWORD) -> DWORD {
                               if (++waits == 3)
                                   end(done);
                               return WaitForSingleObject(event, 0);
                           }));
    for (const auto& ending : {SetEvent, CloseHandle}) {
        done = MakeEvent(coreagent::APPLY_DONE_NAME);
        end = ending;
        waits = 0;
        core->WaitForApplyDone(0);
        EXPECT_EQ(3, waits);
        if (end == SetEvent)
            CloseHandle(done);
    }
}

TEST_F(CoreAgentSimulator, FaultsShowAsStatusAndDetail) {
    Simulate(
        R"({"function": "EnumerateAdapters", "status": 5, "detail": 6}, {"function": "GetAdapterInfo", "status": 7},
                {"function": "StartLock", "status": 8}, {"function": "DoneLock", "status": 9},
                {"function": "SupportsFcoe", "status": 0})");
    Names names;
    QEL_RESULT result = core->EnumerateAdapters(names, 0);
    EXPECT_EQ(5u, result.ulErrCode);
    EXPECT_EQ(6u, result.ulDetail);
    EXPECT_TRUE(names.empty());
    QEL_ADAPTER_INFO info;
    EXPECT_EQ(7u, core->GetAdapterInfo(FIRST, info, 0).ulErrCode);
    EXPECT_TRUE(info.strIdentifier.empty());
    EXPECT_EQ(8u, Start(1));
    EXPECT_EQ(9u, Done(1));
    EXPECT_EQ(0, core->SupportsFcoe(FIRST));
}

TEST_F(CoreAgentSimulator, AFaultCanConcernOneAdapterOrOneCall) {
    Simulate(R"({"function": "SupportsFcoe", "adapter": "{AAAAAAAA-0000-0000-0000-000000000002}", "status": 1},
                {"function": "EnumerateAdapters", "status": 5, "on_call": 2})");
    EXPECT_EQ(1, core->SupportsFcoe(FIRST));
    EXPECT_EQ(1, core->SupportsFcoe(SECOND));
    Names names;
    EXPECT_EQ(0u, core->EnumerateAdapters(names, 0).ulErrCode);
    EXPECT_EQ(5u, core->EnumerateAdapters(names, 0).ulErrCode);
    EXPECT_EQ(0u, core->EnumerateAdapters(names, 0).ulErrCode);
}

TEST_F(CoreAgentSimulator, ARefusedLockCanBeReportedAsTaken) {
    Simulate(R"({"function": "StartLock", "status": 8, "lock_taken": 1})");
    BYTE taken = 0;
    EXPECT_EQ(8u, core->StartLock({1, 0, 0}, taken).ulErrCode);
    EXPECT_EQ(1, taken);
}

TEST_F(CoreAgentSimulator, EveryFunctionCanThrow) {
    Simulate(R"({"function": "WaitForApplyDone", "throw": true}, {"function": "EnumerateAdapters", "throw": true},
                {"function": "GetAdapterInfo", "throw": true}, {"function": "StartLock", "throw": true},
                {"function": "DoneLock", "throw": true}, {"function": "SupportsFcoe", "throw": true})");
    Names names;
    QEL_ADAPTER_INFO info;
    BYTE taken = 0xEE;
    EXPECT_THROW(core->WaitForApplyDone(0), std::runtime_error);
    EXPECT_THROW(core->EnumerateAdapters(names, 0), std::runtime_error);
    EXPECT_THROW(core->GetAdapterInfo(FIRST, info, 0), std::runtime_error);
    EXPECT_THROW(core->StartLock({1, 0, 0}, taken), std::runtime_error);
    EXPECT_EQ(0, taken);
    EXPECT_THROW(core->DoneLock({1, 0, 0}), std::runtime_error);
    EXPECT_THROW(core->SupportsFcoe(FIRST), std::runtime_error);
}

TEST_F(CoreAgentSimulator, TheLockCanBeReportedAsTakenBeforeTheThrow) {
    Simulate(R"({"function": "StartLock", "throw": true, "lock_taken": 1})");
    BYTE taken = 0;
    EXPECT_THROW(core->StartLock({1, 0, 0}, taken), std::runtime_error);
    EXPECT_EQ(1, taken);
}

TEST_F(CoreAgentSimulator, AWrongTopologyFailsEveryFunction) {
    EXPECT_NE(nullptr, NEED_FUNCTION(module, OrvanSim_LoadTopology)("{"));
    Names names;
    QEL_ADAPTER_INFO info;
    EXPECT_EQ(1u, core->EnumerateAdapters(names, 0).ulErrCode);
    EXPECT_EQ(1u, core->GetAdapterInfo(FIRST, info, 0).ulErrCode);
    EXPECT_EQ(1u, Start(1));
    EXPECT_EQ(1u, Done(1));
    EXPECT_EQ(0, core->SupportsFcoe(FIRST));
}

TEST_F(CoreAgentSimulator, TheExportCanBeMissingOrYieldNothing) {
    Simulate(R"({"function": "GetCoreAgentPvt", "missing": true})");
    EXPECT_EQ(nullptr, FindFunction<PFN_GetCoreAgentPvt>(module, "GetCoreAgentPvt"));
    Simulate(R"({"function": "GetCoreAgentPvt", "status": 1})");
    EXPECT_EQ(nullptr, NeedFunction<PFN_GetCoreAgentPvt>(module, "GetCoreAgentPvt")());
    Simulate();
    EXPECT_EQ(core, NeedFunction<PFN_GetCoreAgentPvt>(module, "GetCoreAgentPvt")());
}

TEST_F(CoreAgentSimulator, WritesItsCallsToTheCallLog) {
    EXPECT_EQ("WaitForApplyDone context=77\n"
              "EnumerateAdapters context=78 -> 0\n"
              "GetAdapterInfo adapter={AAAAAAAA-0000-0000-0000-000000000001} -> 0\n"
              "SupportsFcoe adapter={AAAAAAAA-0000-0000-0000-000000000002} -> 0\n"
              "StartLock owner=9 -> 0\n"
              "DoneLock owner=9 -> 0\n"
              "reserved slot 0\n"
              "reserved slot 78\n",
              CallsOf([&] {
                  Names names;
                  QEL_ADAPTER_INFO info;
                  core->WaitForApplyDone(77);
                  core->EnumerateAdapters(names, 78);
                  core->GetAdapterInfo(FIRST, info, 0);
                  core->SupportsFcoe(SECOND);
                  Start(9);
                  Done(9);
                  core->Reserved0();
                  core->Reserved78();
              }));
}

// Each between its neighbours, by its number.
TEST_F(CoreAgentSimulator, SlotsLieWhereTheAgentsCallThem) {
    void** table = nullptr;
    std::memcpy(&table, static_cast<void*>(core), sizeof table);
    const auto CallReserved = [&](int slot) { reinterpret_cast<void (*)(ICoreAgentPvt*)>(table[slot])(core); };
    EXPECT_EQ("reserved slot 12\nWaitForApplyDone context=1\nreserved slot 14\n"
              "reserved slot 20\nEnumerateAdapters context=2 -> 0\nreserved slot 22\n"
              "reserved slot 24\nGetAdapterInfo adapter={AAAAAAAA-0000-0000-0000-000000000001} -> 0\nreserved slot 26\n"
              "reserved slot 34\nStartLock owner=3 -> 0\nDoneLock owner=3 -> 0\nreserved slot 37\n"
              "reserved slot 78\nSupportsFcoe adapter=x -> 0\n",
              CallsOf([&] {
                  CallReserved(12);
                  reinterpret_cast<void (*)(ICoreAgentPvt*, ULONG64)>(table[13])(core, 1);
                  CallReserved(14);
                  Names names;
                  CallReserved(20);
                  reinterpret_cast<QEL_RESULT (*)(ICoreAgentPvt*, Names&, ULONG64)>(table[21])(core, names, 2);
                  CallReserved(22);
                  EXPECT_EQ((Names{FIRST, SECOND}), names);
                  QEL_ADAPTER_INFO info;
                  CallReserved(24);
                  reinterpret_cast<QEL_RESULT (*)(ICoreAgentPvt*, const CQelString&, QEL_ADAPTER_INFO&, ULONG)>(
                      table[25])(core, FIRST, info, 0);
                  CallReserved(26);
                  EXPECT_EQ(L"First", info.strDisplayName);
                  BYTE taken = 0;
                  CallReserved(34);
                  reinterpret_cast<QEL_RESULT (*)(ICoreAgentPvt*, QEL_LOCK_REQUEST, BYTE&)>(table[35])(core, {3, 0, 0},
                                                                                                       taken);
                  EXPECT_EQ(1, taken);
                  reinterpret_cast<QEL_RESULT (*)(ICoreAgentPvt*, QEL_LOCK_REQUEST)>(table[36])(core, {3, 0, 0});
                  CallReserved(37);
                  CallReserved(78);
                  reinterpret_cast<BYTE (*)(ICoreAgentPvt*, const CQelString&)>(table[79])(core, L"x");
              }));
}

} // namespace

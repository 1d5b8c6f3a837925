// The miniports that an apply reloads, and the DCB service that it restarts.
#include <algorithm>
#include <atomic>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/kit/ImportPatch.h"
#include "tests/kit/LogCapture.h"
#include "tests/kit/PrivateHive.h"
#include "tests/unit/FailingMemory.h"
#include "tests/unit/FakeServiceManager.h"
#include "tests/unit/QelNetAgentPvtFixture.h"

namespace {

constexpr wchar_t DCB_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\DCB";

Messages Unread(LogCapture& log) {
    Messages messages = log.Messages();
    std::erase_if(messages, [](const std::string& message) { return message.starts_with("CQelRegKey::"); });
    log.Clear();
    return messages;
}

const std::string UNLOAD_FAILED = "Common\\Src\\QelNetAgentPvt (193): ApplyDone_LoadDevice - LoadMiniport() failed - "
                                  "device -> ";
const std::string LOAD_FAILED = "Common\\Src\\QelNetAgentPvt (119): ApplyDone_LoadDevice - LoadMiniport() failed - "
                                "device -> ";

TEST(AddForReload, KeepsEachNameOnceInOrder) {
    CoordinationAgent agent;
    LogCapture log;
    agent.AddForReload(L"b");
    agent.AddForReload(L"a");
    agent.AddForReload(L"b");
    agent.AddForReload(L"B"); // another name: letter case counts
    EXPECT_EQ((Names{L"b", L"a", L"B"}), agent.LoadList());
    EXPECT_EQ((Messages{"Adding strMiniportInst=b", "Adding strMiniportInst=a", "Adding strMiniportInst=b",
                        "Adding strMiniportInst=B"}),
              log.Messages());
}

TEST(AddForReload, IsTraced) {
    CoordinationAgent agent;
    const LogCapture log;
    agent.AddForReload(L"a");
    EXPECT_TRUE(log.Traced("CQelNetAgentPvt::AddForReload"));
}

TEST(AddForReload, IgnoresAnEmptyNameButLogsIt) {
    CoordinationAgent agent;
    LogCapture log;
    agent.AddForReload(L"");
    EXPECT_TRUE(agent.LoadList().empty());
    EXPECT_EQ(Messages{"Adding strMiniportInst="}, log.Messages());
}

TEST(ApplyDone, LoadWithNothingToDo) {
    CoordinationAgent agent;
    LogCapture log;
    BYTE flag = 5;
    const QEL_RESULT result = agent.ApplyDone_LoadDevice(flag);
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
    EXPECT_EQ(5, flag);
    EXPECT_EQ(
        (Messages{"ENTRY:  CQelNetAgentPvt::ApplyDone_LoadDevice", "ApplyDone_LoadDevice() - No miniports to load",
                  "EXIT:  CQelNetAgentPvt::ApplyDone_LoadDevice, res.ulErrCode=0"}),
        log.Lines());
}

TEST(ApplyDone, UnloadWithNothingToDo) {
    PrivateHive hive;
    CoordinationAgent agent;
    LogCapture log;
    BYTE flag = 5;
    const QEL_RESULT result = agent.ApplyDone_UnloadDevice(flag);
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
    EXPECT_EQ(5, flag);
    EXPECT_EQ(
        (Messages{"ENTRY:  CQelNetAgentPvt::ApplyDone_UnloadDevice", "ApplyDone_UnLoadDevice() - No miniports to load",
                  "EXIT:  CQelNetAgentPvt::ApplyDone_UnloadDevice, res.ulErrCode=0"}),
        log.Lines());
}

TEST(ApplyDone, WithoutMemoryIsTracedAsNotDone) {
    PrivateHive hive;
    const Names names{L"a name that takes memory of its own"};
    CoordinationAgent agent;
    agent.SetLists(names, names);
    const LogCapture log;
    BYTE flag = 0;
    const auto withoutMemory = [&](auto applyDone) {
        const FailingMemory memory;
        static_cast<void>((agent.*applyDone)(flag));
    };
    EXPECT_THROW(withoutMemory(&CoordinationAgent::ApplyDone_UnloadDevice), std::bad_alloc);
    EXPECT_THROW(withoutMemory(&CoordinationAgent::ApplyDone_LoadDevice), std::bad_alloc);
    EXPECT_TRUE(log.Has("EXIT:  CQelNetAgentPvt::ApplyDone_UnloadDevice, res.ulErrCode=-1"));
    EXPECT_TRUE(log.Has("EXIT:  CQelNetAgentPvt::ApplyDone_LoadDevice, res.ulErrCode=-1"));
}

TEST(ApplyDone, WithDefaultHooksTwoNamesFailThenLoadFailsAndEmptiesTheList) {
    PrivateHive hive;
    CoordinationAgent agent;
    agent.SetLists({}, {L"one", L"two"});
    LogCapture log;
    BYTE flag = 0;
    QEL_RESULT result = agent.ApplyDone_UnloadDevice(flag);
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
    EXPECT_EQ((Messages{"ApplyDone_UnLoadDevice() - Need to unload (2) Miniports.", UNLOAD_FAILED + "one",
                        "Adding strMiniportInst=one", UNLOAD_FAILED + "two", "Adding strMiniportInst=two"}),
              Unread(log));
    EXPECT_TRUE(agent.UnloadList().empty());
    EXPECT_EQ((Names{L"one", L"two"}), agent.LoadList());

    result = agent.ApplyDone_LoadDevice(flag);
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
    EXPECT_EQ(
        (Messages{"ApplyDone_LoadDevice() - Need to load (2) Miniports.", LOAD_FAILED + "one", LOAD_FAILED + "two"}),
        Unread(log));
    EXPECT_TRUE(agent.LoadList().empty());
    EXPECT_EQ(0, flag);
}

TEST(ApplyDone, WorkingHooksAreCalledInOrderWithAClearFlag) {
    PrivateHive hive;
    MiniportAgent agent;
    agent.SetLists({}, {L"one", L"two"});
    agent.hook = [](auto&, BYTE& flag) {
        flag = 8;
        return QEL_RESULT{0, 0};
    };
    LogCapture log;
    BYTE unloaded = 0, loaded = 0;
    agent.ApplyDone_UnloadDevice(unloaded);
    agent.ApplyDone_LoadDevice(loaded);
    EXPECT_EQ((std::vector<std::wstring>{L"unload one", L"unload two", L"load one", L"load two"}), agent.calls);
    EXPECT_EQ((std::vector<BYTE>{0, 0, 0, 0}), agent.flagsAtCall);
    EXPECT_EQ(1, unloaded);
    EXPECT_EQ(1, loaded);
    EXPECT_FALSE(log.Has(UNLOAD_FAILED + "one"));
    EXPECT_FALSE(log.Has(LOAD_FAILED + "one"));
}

TEST(ApplyDone, TheFlagIsSetEvenByAFailureAndNeverCleared) {
    PrivateHive hive;
    MiniportAgent agent;
    agent.hook = [](const CQelString& name, BYTE& flag) {
        flag = name == L"first";
        return QEL_RESULT{5, 0};
    };
    agent.SetLists({L"first", L"second"}, {L"first", L"second"});
    BYTE flag = 0;
    agent.ApplyDone_LoadDevice(flag);
    EXPECT_EQ(1, flag);
    flag = 0;
    agent.ApplyDone_UnloadDevice(flag);
    EXPECT_EQ(1, flag);
}

TEST(ApplyDone, BothPassesHoldTheLock) {
    PrivateHive hive;
    MiniportAgent agent;
    agent.SetLists({L"one"}, {L"two"});
    int held = 0;
    agent.hook = [&](auto&, auto&) {
        held += !agent.LockIsFree();
        return QEL_RESULT{0, 0};
    };
    BYTE flag = 0;
    agent.ApplyDone_LoadDevice(flag);
    agent.ApplyDone_UnloadDevice(flag);
    EXPECT_EQ(2, held);
    EXPECT_TRUE(agent.LockIsFree());
}

// What enters the lock, seen before it waits for it.
void(WINAPI* g_enter)(CRITICAL_SECTION*);
std::atomic<const void*> g_lock;
std::atomic<DWORD> g_otherThread;
HANDLE g_entering;
void WINAPI NoteEntering(CRITICAL_SECTION* lock) {
    if (lock == g_lock && GetCurrentThreadId() == g_otherThread)
        SetEvent(g_entering);
    g_enter(lock);
}

TEST(ApplyDone, ANameThatAnotherThreadAddsMeanwhileWaitsForTheEndOfThePass) {
    MiniportAgent agent;
    LogCapture log;
    g_entering = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    g_lock = agent.LockAddress();
    const ImportPatch patch(nullptr, "KERNEL32.dll", "EnterCriticalSection", reinterpret_cast<void*>(&NoteEntering));
    g_enter = patch.Original<decltype(g_enter)>();
    agent.SetLists({L"one"}, {});
    std::thread other;
    agent.hook = [&](auto&, auto&) {
        other = std::thread([&] {
            g_otherThread = GetCurrentThreadId();
            agent.AddForReload(L"late");
        });
        EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), WaitForSingleObject(g_entering, 10000)) << "without the lock";
        EXPECT_TRUE(log.Has("Adding strMiniportInst=late")) << "the line comes before the lock";
        EXPECT_EQ(Names{L"one"}, agent.LoadList());
        return QEL_RESULT{0, 0};
    };
    BYTE flag = 0;
    agent.ApplyDone_LoadDevice(flag);
    other.join();
    EXPECT_EQ(Names{L"late"}, agent.LoadList());
    g_lock = nullptr;
    CloseHandle(g_entering);
}

TEST(ApplyDone, ANameAddedByALoadHookWaitsForTheNextPass) {
    MiniportAgent agent;
    agent.AddForReload(L"one");
    agent.hook = [&](const CQelString& name, BYTE&) {
        agent.AddForReload(name);
        agent.AddForReload(L"late");
        return QEL_RESULT{0, 0};
    };
    BYTE flag = 0;
    agent.ApplyDone_LoadDevice(flag);
    EXPECT_EQ((std::vector<std::wstring>{L"load one"}), agent.calls);
    EXPECT_EQ(Names{L"late"}, agent.LoadList());
}

std::wstring SettingChange() {
    wchar_t text[16] = L"";
    DWORD size = sizeof text;
    RegGetValueW(HKEY_LOCAL_MACHINE, DCB_KEY, L"DcbAdvancedSettingChange", RRF_RT_REG_SZ, nullptr, text, &size);
    return text;
}

TEST(DcbSettingChange, OneRestartsTheServiceAndLeavesZero) {
    PrivateHive hive;
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_RUNNING;
    manager[L"OrvanDCB"].stopsAfter = 1;
    manager[L"OrvanDCB"].changes[3] = SERVICE_RUNNING;
    hive.Set(DCB_KEY, L"DcbAdvancedSettingChange", L"1");
    CoordinationAgent agent;
    LogCapture log;
    BYTE flag = 0;
    EXPECT_EQ(0u, agent.ApplyDone_UnloadDevice(flag).ulErrCode);
    EXPECT_EQ((std::vector<std::string>{"open OrvanDCB", "query OrvanDCB", "stop OrvanDCB", "sleep", "query OrvanDCB",
                                        "open OrvanDCB", "start OrvanDCB", "sleep", "open OrvanDCB", "query OrvanDCB",
                                        "sleep", "open OrvanDCB", "query OrvanDCB"}),
              manager.Calls());
    EXPECT_EQ(L"0", SettingChange());
    const Messages lines = log.Lines();
    const auto restarted = std::ranges::find(lines, "EXIT:  CHelper::QelStartService, bReturn=true");
    const auto looked = std::ranges::find(lines, "ApplyDone_UnLoadDevice() - No miniports to load");
    EXPECT_TRUE(restarted < looked && looked != lines.end()) << "the restart comes before the list is looked at";
    agent.ApplyDone_UnloadDevice(flag);
    EXPECT_EQ(1, manager.Count("start OrvanDCB"));
}

TEST(DcbSettingChange, AFailedRestartLeavesZeroAllTheSame) {
    PrivateHive hive;
    FakeServiceManager manager; // without the service
    hive.Set(DCB_KEY, L"DcbAdvancedSettingChange", L"1");
    CoordinationAgent agent;
    BYTE flag = 0;
    EXPECT_EQ(0u, agent.ApplyDone_UnloadDevice(flag).ulErrCode);
    EXPECT_EQ(2, manager.Count("open OrvanDCB")); // once to stop, once to start
    EXPECT_EQ(L"0", SettingChange());
}

TEST(DcbSettingChange, AnyOtherValueTouchesNothing) {
    for (const wchar_t* text : {L"0", L"2", L"01", L"1 ", L""}) {
        PrivateHive hive;
        FakeServiceManager manager;
        hive.Set(DCB_KEY, L"DcbAdvancedSettingChange", text);
        CoordinationAgent agent;
        BYTE flag = 0;
        EXPECT_EQ(0u, agent.ApplyDone_UnloadDevice(flag).ulErrCode);
        EXPECT_TRUE(manager.managerAccess.empty());
        EXPECT_EQ(text, SettingChange());
    }
}

TEST(DcbSettingChange, AMissingKeyOrValueIsSkippedSilently) {
    PrivateHive hive;
    FakeServiceManager manager;
    CoordinationAgent agent;
    LogCapture log;
    BYTE flag = 0;
    agent.ApplyDone_UnloadDevice(flag);
    hive.Set(DCB_KEY, L"Other", L"1");
    agent.ApplyDone_UnloadDevice(flag);
    EXPECT_EQ(Messages(2, "ApplyDone_UnLoadDevice() - No miniports to load"), log.Messages());
    EXPECT_TRUE(manager.managerAccess.empty());
    EXPECT_EQ(L"", SettingChange());
}

TEST(DcbSettingChange, ALoadPassDoesNotLookAtIt) {
    PrivateHive hive;
    FakeServiceManager manager;
    hive.Set(DCB_KEY, L"DcbAdvancedSettingChange", L"1");
    CoordinationAgent agent;
    BYTE flag = 0;
    agent.ApplyDone_LoadDevice(flag);
    EXPECT_EQ(L"1", SettingChange());
}

} // namespace

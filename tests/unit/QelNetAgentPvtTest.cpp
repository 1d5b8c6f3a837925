#include "Common/Src/QelNetAgentPvt.h"

#include <cstddef>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/coreagent/ReservedSlots.h"
#include "tests/kit/ImportPatch.h"
#include "tests/kit/LogCapture.h"
#include "tests/kit/PrivateHive.h"
#include "tests/unit/FakeServiceManager.h"

namespace {

constexpr wchar_t DCB_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\DCB";
constexpr wchar_t CORE_AGENT_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\CoreAgnt";

using Messages = std::vector<std::string>;
using Names = std::vector<CQelString>;

// A core agent that does what the test says.
class FakeCoreAgent : public ReservedSlots {
  public:
    void WaitForApplyDone(ULONG64 ullContext) override { onWait(ullContext); }
    QEL_RESULT EnumerateAdapters(Names&, ULONG64) override { return QEL_RESULT_NOT_DONE; }
    QEL_RESULT GetAdapterInfo(const CQelString&, QEL_ADAPTER_INFO&, ULONG) override { return QEL_RESULT_NOT_DONE; }
    QEL_RESULT StartLock(QEL_LOCK_REQUEST request, BYTE& byLockTaken) override { return onStart(request, byLockTaken); }
    QEL_RESULT DoneLock(QEL_LOCK_REQUEST request) override { return onDone(request); }
    BYTE SupportsFcoe(const CQelString&) override { return 0; }

    std::function<void(ULONG64)> onWait;
    std::function<QEL_RESULT(QEL_LOCK_REQUEST, BYTE&)> onStart;
    std::function<QEL_RESULT(QEL_LOCK_REQUEST)> onDone;

  private:
    void OnReserved(int slot) override { ADD_FAILURE() << "reserved slot " << slot; }
};

class TestAgent : public CQelNetAgentPvt {
  public:
    using CQelNetAgentPvt::DoneLock;
    using CQelNetAgentPvt::GetCoreAgntPvt;
    using CQelNetAgentPvt::m_hCoreAgent;
    using CQelNetAgentPvt::m_pCoreAgent;
    using CQelNetAgentPvt::m_vecLoadMiniports;
    using CQelNetAgentPvt::m_vecUnloadMiniports;
    using CQelNetAgentPvt::StartLock;
    using CQelNetAgentPvt::WaitForApplyDone;
};

// An agent with miniports of its own.
class MiniportAgent : public TestAgent {
  public:
    QEL_RESULT UnloadMiniport(const CQelString& strMiniportInst, BYTE& byChanged) override {
        return Hook(L"unload ", strMiniportInst, byChanged);
    }
    QEL_RESULT LoadMiniport(const CQelString& strMiniportInst, BYTE& byChanged) override {
        return Hook(L"load ", strMiniportInst, byChanged);
    }

    std::vector<std::wstring> calls;
    std::vector<BYTE> flagsAtCall;
    std::function<QEL_RESULT(const CQelString&, BYTE&)> hook = [](auto&, auto&) { return QEL_RESULT{0, 0}; };

  private:
    QEL_RESULT Hook(const wchar_t* what, const CQelString& name, BYTE& flag) {
        calls.push_back(what + name);
        flagsAtCall.push_back(flag);
        return hook(name, flag);
    }
};

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

TEST(CoreAgentCoordination, StartsEmpty) {
    TestAgent agent;
    EXPECT_EQ(nullptr, agent.m_pCoreAgent);
    EXPECT_EQ(nullptr, agent.m_hCoreAgent);
    EXPECT_TRUE(agent.m_vecLoadMiniports.empty());
    EXPECT_TRUE(agent.m_vecUnloadMiniports.empty());
}

TEST(CoreAgentCoordination, FieldsLieInOrderBehindTheTablePointer) {
    struct Layout {
        void* table;
        CRITICAL_SECTION lock;
        Names load;
        Names unload;
        void* coreAgent;
        HMODULE module;
    };
    TestAgent agent;
    const auto offset = [&](const void* member) {
        return reinterpret_cast<const char*>(member) - reinterpret_cast<const char*>(&agent);
    };
    EXPECT_EQ(static_cast<ptrdiff_t>(offsetof(Layout, load)), offset(&agent.m_vecLoadMiniports));
    EXPECT_EQ(static_cast<ptrdiff_t>(offsetof(Layout, unload)), offset(&agent.m_vecUnloadMiniports));
    EXPECT_EQ(static_cast<ptrdiff_t>(offsetof(Layout, coreAgent)), offset(&agent.m_pCoreAgent));
    EXPECT_EQ(static_cast<ptrdiff_t>(offsetof(Layout, module)), offset(&agent.m_hCoreAgent));
}

TEST(CoreAgentCoordination, SlotsFollowTheDestructorInOrder) {
    MiniportAgent agent;
    void** table = nullptr;
    std::memcpy(&table, static_cast<void*>(static_cast<CQelNetAgentPvt*>(&agent)), sizeof table);
#ifdef _MSC_VER
    constexpr int DESTRUCTOR_SLOTS = 1;
#else
    constexpr int DESTRUCTOR_SLOTS = 2;
#endif
    using Miniport = QEL_RESULT (*)(CQelNetAgentPvt*, const CQelString&, BYTE&);
    using Query = QEL_RESULT (*)(CQelNetAgentPvt*);
    const auto slot = [&](int number) { return table[DESTRUCTOR_SLOTS + number - 1]; };
    BYTE flag = 0;
    reinterpret_cast<Miniport>(slot(3))(&agent, L"a", flag);
    reinterpret_cast<Miniport>(slot(4))(&agent, L"b", flag);
    EXPECT_EQ((std::vector<std::wstring>{L"unload a", L"load b"}), agent.calls);
    using ApplyDone = QEL_RESULT (*)(CQelNetAgentPvt*, BYTE&);
    PrivateHive hive;
    LogCapture log;
    reinterpret_cast<ApplyDone>(slot(1))(&agent, flag);
    EXPECT_EQ(Messages{"ApplyDone_UnLoadDevice() - No miniports to load"}, Unread(log));
    reinterpret_cast<ApplyDone>(slot(2))(&agent, flag);
    EXPECT_EQ(Messages{"ApplyDone_LoadDevice() - No miniports to load"}, Unread(log));
    reinterpret_cast<void (*)(CQelNetAgentPvt*)>(slot(5))(&agent);
    for (const int query : {6, 7}) {
        const QEL_RESULT result = reinterpret_cast<Query>(slot(query))(&agent);
        EXPECT_EQ(0u, result.ulErrCode);
        EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
    }
}

TEST(CoreAgentCoordination, DefaultMiniportHooksReportNotDone) {
    TestAgent agent;
    BYTE flag = 7;
    for (const QEL_RESULT result : {agent.UnloadMiniport(L"a", flag), agent.LoadMiniport(L"a", flag)}) {
        EXPECT_EQ(0xFFFFFFFF, result.ulErrCode);
        EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
    }
    EXPECT_EQ(7, flag);
}

class CoreAgentCalls : public testing::Test {
  protected:
    CoreAgentCalls() { m_agent.m_pCoreAgent = &m_core; }

    FakeCoreAgent m_core;
    TestAgent m_agent;
    LogCapture m_log;
    const QEL_LOCK_REQUEST m_request{1, 2, 3};
};

bool operator==(const QEL_LOCK_REQUEST& a, const QEL_LOCK_REQUEST& b) {
    return a.ulOwner == b.ulOwner && a.ulReserved1 == b.ulReserved1 && a.ulReserved2 == b.ulReserved2;
}

TEST_F(CoreAgentCalls, PassThrough) {
    ULONG64 context = 0;
    m_core.onWait = [&](ULONG64 c) { context = c; };
    m_agent.WaitForApplyDone(0x123456789ABCDEF0);
    EXPECT_EQ(0x123456789ABCDEF0u, context);

    m_core.onStart = [&](QEL_LOCK_REQUEST request, BYTE& taken) {
        EXPECT_TRUE(request == m_request);
        taken = 9;
        return QEL_RESULT{11, 12};
    };
    BYTE taken = 0;
    QEL_RESULT result = m_agent.StartLock(m_request, taken);
    EXPECT_EQ(9, taken);
    EXPECT_EQ(11u, result.ulErrCode);
    EXPECT_EQ(12u, result.ulDetail);

    m_core.onDone = [&](QEL_LOCK_REQUEST request) {
        EXPECT_TRUE(request == m_request);
        return QEL_RESULT{13, 14};
    };
    result = m_agent.DoneLock(m_request);
    EXPECT_EQ(13u, result.ulErrCode);
    EXPECT_EQ(14u, result.ulDetail);
    EXPECT_EQ(Messages{}, m_log.Messages());
}

TEST_F(CoreAgentCalls, TraceTheirResults) {
    m_core.onStart = [](QEL_LOCK_REQUEST, BYTE&) { return QEL_RESULT{11, 12}; };
    m_core.onDone = [](QEL_LOCK_REQUEST) { return QEL_RESULT{0, 0}; };
    m_core.onWait = [](ULONG64) {};
    BYTE taken = 0;
    m_agent.WaitForApplyDone(0);
    m_agent.StartLock(m_request, taken);
    m_agent.DoneLock(m_request);
    EXPECT_EQ((Messages{"ENTRY:  CQelNetAgentPvt::WaitForApplyDone", "EXIT:  CQelNetAgentPvt::WaitForApplyDone",
                        "ENTRY:  CQelNetAgentPvt::StartLock", "EXIT:  CQelNetAgentPvt::StartLock, res.ulErrCode=11",
                        "ENTRY:  CQelNetAgentPvt::DoneLock", "EXIT:  CQelNetAgentPvt::DoneLock, res.ulErrCode=0"}),
              m_log.Lines());
}

TEST_F(CoreAgentCalls, ExceptionsOfAnyTypeEndInTheLog) {
    const std::function<void()> throwers[] = {[] { throw std::runtime_error("x"); }, [] { throw 1; },
                                              [] { throw std::bad_alloc(); }, [] { throw CQelString(L"text"); }};
    for (const auto& raise : throwers) {
        m_core.onWait = [&](ULONG64) { raise(); };
        m_core.onStart = [&](QEL_LOCK_REQUEST, BYTE&) -> QEL_RESULT {
            raise();
            return {0, 0};
        };
        m_core.onDone = [&](QEL_LOCK_REQUEST) -> QEL_RESULT {
            raise();
            return {0, 0};
        };
        BYTE taken = 0;
        m_log.Clear();
        m_agent.WaitForApplyDone(0);
        const QEL_RESULT started = m_agent.StartLock(m_request, taken);
        const QEL_RESULT done = m_agent.DoneLock(m_request);
        EXPECT_EQ((Messages{
                      "Common\\Src\\QelNetAgentPvt (267): CQelNetAgentPvt::WaitForApplyDone() - Exception caught",
                      "Common\\Src\\QelNetAgentPvt (352): CQelNetAgentPvt::StartLock() - Exception caught",
                      "Common\\Src\\QelNetAgentPvt (380): CQelNetAgentPvt::DoneLock() - Exception caught",
                  }),
                  m_log.Messages());
        for (const QEL_RESULT result : {started, done}) {
            EXPECT_EQ(0xFFFFFFFF, result.ulErrCode);
            EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
        }
    }
}

TEST_F(CoreAgentCalls, ALockTakenBeforeTheExceptionIsReported) {
    m_core.onStart = [](QEL_LOCK_REQUEST, BYTE& taken) -> QEL_RESULT {
        taken = 1;
        throw std::runtime_error("too late");
    };
    BYTE taken = 0;
    EXPECT_EQ(0xFFFFFFFF, m_agent.StartLock(m_request, taken).ulErrCode);
    EXPECT_EQ(1, taken);
}

TEST_F(CoreAgentCalls, AWaitDoesNotBlockApplyDone) {
    PrivateHive hive;
    QEL_RESULT applied = QEL_RESULT_NOT_DONE;
    // The callback comes from another thread while the wait is under way; were the lock held, this would never end.
    m_core.onWait = [&](ULONG64) {
        std::thread([&] {
            BYTE flag = 0;
            applied = m_agent.ApplyDone_LoadDevice(flag);
        }).join();
    };
    m_agent.WaitForApplyDone(0);
    EXPECT_EQ(0u, applied.ulErrCode);
}

TEST(AddForReload, KeepsEachNameOnceInOrder) {
    TestAgent agent;
    LogCapture log;
    agent.AddForReload(L"b");
    agent.AddForReload(L"a");
    agent.AddForReload(L"b");
    agent.AddForReload(L"B"); // another name: letter case counts
    EXPECT_EQ((Names{L"b", L"a", L"B"}), agent.m_vecLoadMiniports);
    EXPECT_EQ((Messages{"Adding strMiniportInst=b", "Adding strMiniportInst=a", "Adding strMiniportInst=b",
                        "Adding strMiniportInst=B"}),
              log.Messages());
}

TEST(AddForReload, IgnoresAnEmptyNameButLogsIt) {
    TestAgent agent;
    LogCapture log;
    agent.AddForReload(L"");
    EXPECT_TRUE(agent.m_vecLoadMiniports.empty());
    EXPECT_EQ(Messages{"Adding strMiniportInst="}, log.Messages());
}

TEST(ApplyDone, LoadWithNothingToDo) {
    TestAgent agent;
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
    TestAgent agent;
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

TEST(ApplyDone, WithDefaultHooksTwoNamesFailThenLoadFailsAndEmptiesTheList) {
    PrivateHive hive;
    TestAgent agent;
    agent.m_vecUnloadMiniports = {L"one", L"two"};
    LogCapture log;
    BYTE flag = 0;
    QEL_RESULT result = agent.ApplyDone_UnloadDevice(flag);
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
    EXPECT_EQ((Messages{"ApplyDone_UnLoadDevice() - Need to unload (2) Miniports.", UNLOAD_FAILED + "one",
                        "Adding strMiniportInst=one", UNLOAD_FAILED + "two", "Adding strMiniportInst=two"}),
              Unread(log));
    EXPECT_TRUE(agent.m_vecUnloadMiniports.empty());
    EXPECT_EQ((Names{L"one", L"two"}), agent.m_vecLoadMiniports);

    result = agent.ApplyDone_LoadDevice(flag);
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
    EXPECT_EQ(
        (Messages{"ApplyDone_LoadDevice() - Need to load (2) Miniports.", LOAD_FAILED + "one", LOAD_FAILED + "two"}),
        Unread(log));
    EXPECT_TRUE(agent.m_vecLoadMiniports.empty());
    EXPECT_EQ(0, flag);
}

TEST(ApplyDone, WorkingHooksAreCalledInOrderWithAClearFlag) {
    PrivateHive hive;
    MiniportAgent agent;
    agent.m_vecUnloadMiniports = {L"one", L"two"};
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
    for (Names* list : {&agent.m_vecLoadMiniports, &agent.m_vecUnloadMiniports})
        *list = {L"first", L"second"};
    BYTE flag = 0;
    agent.ApplyDone_LoadDevice(flag);
    EXPECT_EQ(1, flag);
    flag = 0;
    agent.ApplyDone_UnloadDevice(flag);
    EXPECT_EQ(1, flag);
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
    EXPECT_EQ(Names{L"late"}, agent.m_vecLoadMiniports);
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
    TestAgent agent;
    LogCapture log;
    BYTE flag = 0;
    EXPECT_EQ(0u, agent.ApplyDone_UnloadDevice(flag).ulErrCode);
    EXPECT_EQ((std::vector<std::string>{"open OrvanDCB", "query OrvanDCB", "stop OrvanDCB", "sleep", "query OrvanDCB",
                                        "open OrvanDCB", "start OrvanDCB", "sleep", "open OrvanDCB", "query OrvanDCB",
                                        "sleep", "open OrvanDCB", "query OrvanDCB"}),
              manager.Calls());
    EXPECT_EQ(L"0", SettingChange());
    // The restart comes before the list is looked at.
    EXPECT_EQ("ApplyDone_UnLoadDevice() - No miniports to load", log.Messages().back());
    agent.ApplyDone_UnloadDevice(flag);
    EXPECT_EQ(1, manager.Count("start OrvanDCB"));
}

TEST(DcbSettingChange, AFailedRestartLeavesZeroAllTheSame) {
    PrivateHive hive;
    FakeServiceManager manager; // without the service
    hive.Set(DCB_KEY, L"DcbAdvancedSettingChange", L"1");
    TestAgent agent;
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
        TestAgent agent;
        BYTE flag = 0;
        EXPECT_EQ(0u, agent.ApplyDone_UnloadDevice(flag).ulErrCode);
        EXPECT_TRUE(manager.managerAccess.empty());
        EXPECT_EQ(text, SettingChange());
    }
}

TEST(DcbSettingChange, AMissingKeyOrValueIsSkippedSilently) {
    PrivateHive hive;
    FakeServiceManager manager;
    TestAgent agent;
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
    TestAgent agent;
    BYTE flag = 0;
    agent.ApplyDone_LoadDevice(flag);
    EXPECT_EQ(L"1", SettingChange());
}

// Stands in for the system's loader and notes what is asked of it.
class FakeCoreModule {
  public:
    FakeCoreModule()
        : m_load(nullptr, "kernel32.dll", "LoadLibraryW", reinterpret_cast<void*>(&Load)),
          m_find(nullptr, "kernel32.dll", "GetProcAddress", reinterpret_cast<void*>(&Find)),
          m_free(nullptr, "kernel32.dll", "FreeLibrary", reinterpret_cast<void*>(&Free)) {
        s_instance = this;
    }
    ~FakeCoreModule() { s_instance = nullptr; }

    bool exists = true;
    FakeCoreAgent coreAgent;
    std::vector<std::string> calls;

  private:
    static HMODULE WINAPI Load(const wchar_t* path) {
        const std::wstring wide = path;
        s_instance->calls.push_back("load " + std::string(wide.begin(), wide.end()));
        return s_instance->exists ? reinterpret_cast<HMODULE>(++s_instance->m_last << 16) : nullptr;
    }
    static FARPROC WINAPI Find(HMODULE module, const char* name) {
        if (reinterpret_cast<ULONG_PTR>(module) >> 16 > s_instance->m_last) // a real module
            return s_instance->m_find.Original<decltype(&GetProcAddress)>()(module, name);
        s_instance->calls.push_back("find " + Number(module) + " " + name);
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&Get));
    }
    static BOOL WINAPI Free(HMODULE module) {
        s_instance->calls.push_back("free " + Number(module));
        return TRUE;
    }
    static ICoreAgentPvt* Get() {
        s_instance->calls.emplace_back("get");
        return &s_instance->coreAgent;
    }
    static std::string Number(HMODULE module) { return std::to_string(reinterpret_cast<ULONG_PTR>(module) >> 16); }

    static FakeCoreModule* s_instance;
    ULONG_PTR m_last = 0;
    ImportPatch m_load;
    ImportPatch m_find;
    ImportPatch m_free;
};
FakeCoreModule* FakeCoreModule::s_instance = nullptr;

TEST(CoreAgentModule, IsLoadedAskedReloadedAndFreed) {
    PrivateHive hive;
    hive.Set(CORE_AGENT_KEY, L"InstalledDir", L"C:\\Suite\\CoreAgnt.dll");
    FakeCoreModule module;
    {
        TestAgent agent;
        agent.GetCoreAgntPvt();
        EXPECT_EQ((std::vector<std::string>{"load C:\\Suite\\CoreAgnt.dll", "find 1 GetCoreAgentPvt", "get"}),
                  module.calls);
        EXPECT_EQ(&module.coreAgent, agent.m_pCoreAgent);
        EXPECT_NE(nullptr, agent.m_hCoreAgent);
        module.calls.clear();

        agent.GetCoreAgntPvt();
        EXPECT_EQ((std::vector<std::string>{"free 1", "load C:\\Suite\\CoreAgnt.dll", "find 2 GetCoreAgentPvt", "get"}),
                  module.calls);
        module.calls.clear();
    }
    EXPECT_EQ(std::vector<std::string>{"free 2"}, module.calls);
}

TEST(CoreAgentModule, WithoutItThePointerStaysNull) {
    PrivateHive hive;
    FakeCoreModule module;
    module.exists = false;
    LogCapture log;
    {
        TestAgent agent;
        agent.GetCoreAgntPvt();
        EXPECT_EQ(nullptr, agent.m_pCoreAgent);
        EXPECT_EQ(nullptr, agent.m_hCoreAgent);
    }
    EXPECT_EQ(std::vector<std::string>{"load CoreAgnt.DLL"}, module.calls);
    EXPECT_TRUE(log.Has("Common\\Src\\Helper (767): ERROR:  Unable to find path to library!  Defaulting to no path "
                        "CoreAgnt"));
}

TEST(CoreAgentModule, ThatIsGoneAtTheReloadLeavesTheOldPointer) {
    PrivateHive hive;
    FakeCoreModule module;
    TestAgent agent;
    agent.GetCoreAgntPvt();
    module.exists = false;
    module.calls.clear();
    agent.GetCoreAgntPvt();
    EXPECT_EQ((std::vector<std::string>{"free 1", "load CoreAgnt.DLL"}), module.calls);
    EXPECT_EQ(nullptr, agent.m_hCoreAgent);
    EXPECT_EQ(&module.coreAgent, agent.m_pCoreAgent);
}

} // namespace

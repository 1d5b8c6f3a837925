#include "agent/FcoeAgentWin.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <stdexcept>
#include <thread>
#include <utility>

#include "tests/unit/AgentFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class FcoeAgentWin : public AgentFixture {
  protected:
    // How often the log tells of an exception that ended the operation's call.
    long Exceptions(const std::string& operation) const {
        return std::ranges::count_if(log.Messages(), [&](const std::string& line) {
            return line.starts_with("agent\\FcoeAgentWin (") &&
                   line.ends_with("): " + operation + "() - Exception caught");
        });
    }
};
constexpr char NOT_INSTALLED[] = "FCOE is not installed - not reutnring adapters";
constexpr char ENUMERATE_FAILED[] = "CQelFcoeAgentWin::GetAdaptersThatSupportFCOE - EnumerateAdapters failed!";
} // namespace

// --- The interface

TEST(FcoeAgentInterface, DestructorThenTheTwelveOperationsInTheirOrder) {
    // The Itanium encoding of a pointer to a virtual member is 1 plus the offset of its slot; the destructor has two.
    const auto Slot = [](auto member) {
        std::ptrdiff_t encoded;
        std::memcpy(&encoded, &member, sizeof encoded);
        return (encoded - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)) - 1;
    };
    EXPECT_EQ(1, Slot(&CQelFcoeAgentIntf::EnumerateHBAs));
    EXPECT_EQ(2, Slot(&CQelFcoeAgentIntf::EnumerateFabrics));
    EXPECT_EQ(3, Slot(&CQelFcoeAgentIntf::EnumeratePorts));
    EXPECT_EQ(4, Slot(&CQelFcoeAgentIntf::EnumerateTargets));
    EXPECT_EQ(5, Slot(&CQelFcoeAgentIntf::EnumerateVLANs));
    EXPECT_EQ(6, Slot(&CQelFcoeAgentIntf::EnumerateLUNs));
    EXPECT_EQ(7, Slot(&CQelFcoeAgentIntf::EnumerateStatistics));
    EXPECT_EQ(8, Slot(&CQelFcoeAgentIntf::Uninstall));
    EXPECT_EQ(9, Slot(&CQelFcoeAgentIntf::CreateVPort));
    EXPECT_EQ(10, Slot(&CQelFcoeAgentIntf::DeleteVPort));
    EXPECT_EQ(11, Slot(&CQelFcoeAgentIntf::GenerateVPortWWPN));
    EXPECT_EQ(12, Slot(&CQelFcoeAgentIntf::RefreshTargets));
}

TEST_F(FcoeAgentWin, CoordinationBaseFollowsTheInterfaceDirectly) {
    const auto* whole = reinterpret_cast<const char*>(agent.get());
    EXPECT_EQ(whole, reinterpret_cast<const char*>(static_cast<CQelFcoeAgentIntf*>(agent.get())));
    EXPECT_EQ(whole + sizeof(void*), reinterpret_cast<const char*>(static_cast<CQelNetAgentPvt*>(agent.get())));
}

// --- Initialize

TEST_F(FcoeAgentWin, StartsUninitializedWithoutTouchingItsNeighbours) {
    EXPECT_FALSE(agent->IsInitialized());
    EXPECT_THAT(fake.calls, IsEmpty());
    EXPECT_EQ(0, core.loads);
}

TEST_F(FcoeAgentWin, InitializeBindsTheLibraryAndTheCoreAgent) {
    Register();
    EXPECT_TRUE(agent->Initialize());
    EXPECT_TRUE(agent->IsInitialized());
    EXPECT_EQ(1, fake.loads);
    EXPECT_EQ(1, fake.CallsOf("RegisterLibraryV2"));
    EXPECT_EQ(1, core.loads);
    EXPECT_TRUE(agent->HadCoreAgent());
    EXPECT_TRUE(Logged("ENTRY:  CQelFcoeAgentWin::Initialize"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeAgentWin::Initialize, bReturn=true"));
}

TEST_F(FcoeAgentWin, SecondInitializeSaysAlreadyInitialized) {
    Start();
    EXPECT_TRUE(agent->Initialize());
    EXPECT_EQ(1, log.Count("CQelFcoeAgentWin::Initialize() - Already initialized"));
    EXPECT_EQ(1, fake.loads);
    EXPECT_EQ(1, core.loads);
}

TEST_F(FcoeAgentWin, OnceStartedNeedsNoRegistryValue) {
    Start();
    hive.Delete(AGENT_KEY, L"InstalledDir");
    EXPECT_TRUE(agent->Initialize());
    EXPECT_TRUE(Logged("CQelFcoeAgentWin::Initialize() - Already initialized"));
}

TEST_F(FcoeAgentWin, WithoutInstalledDirFailsAndALaterCallTriesAgain) {
    EXPECT_FALSE(agent->Initialize());
    EXPECT_FALSE(agent->IsInitialized());
    EXPECT_EQ(0, fake.loads);
    EXPECT_EQ(0, core.loads);
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeAgentWin::Initialize, bReturn=false"));
    Register();
    EXPECT_TRUE(agent->Initialize());
    EXPECT_FALSE(Logged("CQelFcoeAgentWin::Initialize() - Already initialized"));
}

TEST_F(FcoeAgentWin, InstalledDirOfAModuleThatIsNotLoadedFails) {
    hive.Set(AGENT_KEY, L"InstalledDir", std::wstring(L"C:\\elsewhere\\NoSuchModule.dll"));
    EXPECT_FALSE(agent->Initialize());
    EXPECT_FALSE(agent->IsInitialized());
    EXPECT_EQ(0, fake.loads);
    Register();
    EXPECT_TRUE(agent->Initialize());
}

TEST_F(FcoeAgentWin, WithoutCoreAgentFailsOnceAndSucceedsFromThenOn) {
    Register();
    core.present = false;
    EXPECT_FALSE(agent->Initialize());
    EXPECT_TRUE(agent->IsInitialized());
    EXPECT_TRUE(agent->Initialize());
    EXPECT_TRUE(Logged("CQelFcoeAgentWin::Initialize() - Already initialized"));
    EXPECT_FALSE(agent->HadCoreAgent());
}

TEST_F(FcoeAgentWin, LibraryThatCannotBeLoadedDoesNotCount) {
    Register();
    fake.loadError = ERROR_MOD_NOT_FOUND;
    EXPECT_TRUE(agent->Initialize());
    EXPECT_EQ(1, core.loads);
}

// --- The adapters

TEST_F(FcoeAgentWin, AdaptersAreThoseThatSupportFcoeInTheirOrder) {
    Start();
    core.adapters = {L"{C}", L"{A}", L"{B}"};
    core.onSupportsFcoe = [](const CQelString& id) { return static_cast<BYTE>(id == L"{A}" ? 0 : 2); };
    std::vector<CQelString> adapters{L"before"};
    EXPECT_TRUE(agent->GetAdaptersThatSupportFCOE(adapters, 5));
    EXPECT_THAT(adapters, ElementsAre(L"{C}", L"{B}"));
    EXPECT_THAT(core.calls, ElementsAre("Wait 5", "Enumerate 5", "Supports {C}", "Supports {A}", "Supports {B}"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeAgentWin::GetAdaptersThatSupportFCOE, bReturn=true"));
}

TEST_F(FcoeAgentWin, WithoutFcoeTheAdapterListIsEmptyAndTrue) {
    Start();
    hive.Set(FEATURES_KEY, L"InstalledTOLV_FCOE", std::wstring(L"0"));
    std::vector<CQelString> adapters{L"before"};
    EXPECT_TRUE(agent->GetAdaptersThatSupportFCOE(adapters, 5));
    EXPECT_THAT(adapters, IsEmpty());
    EXPECT_TRUE(Logged(NOT_INSTALLED));
    EXPECT_THAT(core.calls, ElementsAre("Wait 5"));
}

TEST_F(FcoeAgentWin, FailedAdapterEnumerationIsEmptyAndTrue) {
    Start();
    core.onEnumerate = [](std::vector<CQelString>& out, ULONG64) {
        out.push_back(L"{A}");
        return QEL_RESULT{5, 0};
    };
    std::vector<CQelString> adapters{L"before"};
    EXPECT_TRUE(agent->GetAdaptersThatSupportFCOE(adapters, 5));
    EXPECT_THAT(adapters, IsEmpty());
    EXPECT_TRUE(Logged(ENUMERATE_FAILED));
    EXPECT_THAT(core.calls, ElementsAre("Wait 5", "Enumerate 5"));
}

TEST_F(FcoeAgentWin, EmptyAdapterListIsReportedAsFailed) {
    Start();
    core.adapters.clear();
    std::vector<CQelString> adapters;
    EXPECT_TRUE(agent->GetAdaptersThatSupportFCOE(adapters, 5));
    EXPECT_TRUE(Logged(ENUMERATE_FAILED));
}

TEST_F(FcoeAgentWin, ThrowingAdapterEnumerationIsAFailedOne) {
    Start();
    core.onEnumerate = [](std::vector<CQelString>& out, ULONG64) -> QEL_RESULT {
        out.push_back(L"{A}");
        throw std::runtime_error("core agent");
    };
    std::vector<CQelString> adapters;
    EXPECT_TRUE(agent->GetAdaptersThatSupportFCOE(adapters, 5));
    EXPECT_THAT(adapters, IsEmpty());
    EXPECT_TRUE(Logged(ENUMERATE_FAILED));
}

// Of the core agent's calls only the one for an HBA object lets memory exhaustion pass.
TEST_F(FcoeAgentWin, AdapterListOfACoreAgentWithoutMemoryIsEmptyOrShorter) {
    Start();
    core.onSupportsFcoe = [](const CQelString& id) -> BYTE {
        if (id == L"{A}")
            throw std::bad_alloc();
        return 1;
    };
    std::vector<CQelString> adapters;
    EXPECT_TRUE(agent->GetAdaptersThatSupportFCOE(adapters, 5));
    EXPECT_THAT(adapters, ElementsAre(L"{B}"));
    EXPECT_EQ(1, Exceptions("CQelFcoeAgentWin::GetAdaptersThatSupportFCOE"));

    core.onEnumerate = [](std::vector<CQelString>&, ULONG64) -> QEL_RESULT { throw std::bad_alloc(); };
    EXPECT_TRUE(agent->GetAdaptersThatSupportFCOE(adapters, 5));
    EXPECT_THAT(adapters, IsEmpty());
    EXPECT_TRUE(Logged(ENUMERATE_FAILED));
    EXPECT_EQ(2, Exceptions("CQelFcoeAgentWin::GetAdaptersThatSupportFCOE"));
}

TEST_F(FcoeAgentWin, ThrowingFcoeTestLeavesThatAdapterOut) {
    Start();
    core.onSupportsFcoe = [](const CQelString& id) -> BYTE {
        if (id == L"{A}")
            throw 5;
        return 1;
    };
    std::vector<CQelString> adapters;
    EXPECT_TRUE(agent->GetAdaptersThatSupportFCOE(adapters, 5));
    EXPECT_THAT(adapters, ElementsAre(L"{B}"));
}

TEST_F(FcoeAgentWin, LibraryThatThrowsAtTheStartIsNoObstacle) {
    Register();
    const auto healthy =
        std::exchange(fake.InitializeLibrary, []() -> HBA_STATUS { throw std::runtime_error("vendor library"); });
    EXPECT_TRUE(agent->Initialize());
    EXPECT_EQ(1, Exceptions("CQelFcoeAgentWin::Initialize"));
    fake.InitializeLibrary = healthy;
    EXPECT_TRUE(agent->GetHBAObject(L"{A}"));
}

TEST_F(FcoeAgentWin, CoreAgentWhoseExportThrowsIsNoCoreAgent) {
    Register();
    core.onInterface = []() -> ICoreAgentPvt* { throw std::runtime_error("core agent"); };
    EXPECT_FALSE(agent->Initialize());
    EXPECT_EQ(1, core.frees) << "its module is not kept";
    EXPECT_TRUE(agent->Initialize());
    EXPECT_TRUE(agent->GetHBAObject(L"{A}"));
    EXPECT_THAT(core.calls, IsEmpty());
}

TEST_F(FcoeAgentWin, LibraryThatThrowsAtTheEndIsNoObstacle) {
    Start();
    ASSERT_TRUE(agent->GetHBAObject(L"{A}"));
    fake.CloseAdapter = [](HBA_HANDLE) { throw std::runtime_error("vendor library"); };
    EXPECT_TRUE(agent->Uninstall(0));
    EXPECT_TRUE(std::ranges::any_of(log.Messages(), [](const std::string& line) {
        return line.starts_with("model\\FcoeHBA (") && line.ends_with("): CQelFcoeHBA::Close() - Exception caught");
    }));
    EXPECT_EQ(0u, agent->Objects());
}

TEST_F(FcoeAgentWin, WithoutCoreAgentTheAdapterListIsEmptyAndTrue) {
    Register();
    core.present = false;
    agent->Initialize();
    std::vector<CQelString> adapters;
    EXPECT_TRUE(agent->GetAdaptersThatSupportFCOE(adapters, 5));
    EXPECT_THAT(adapters, IsEmpty());
    EXPECT_TRUE(Logged(ENUMERATE_FAILED));
    EXPECT_EQ(1, Exceptions("CQelFcoeAgentWin::GetAdaptersThatSupportFCOE")) << "it counts as one that throws";
}

// --- The HBA objects

TEST_F(FcoeAgentWin, SameAdapterSameObject) {
    Start();
    const auto first = agent->GetHBAObject(L"{A}");
    ASSERT_TRUE(first);
    EXPECT_EQ(first, agent->GetHBAObject(L"{A}"));
    EXPECT_NE(first, agent->GetHBAObject(L"{B}"));
    EXPECT_THAT(core.calls, ElementsAre("Info {A} 0", "Info {B} 0"));
    EXPECT_EQ(2, fake.CallsOf("GetFCoEControllerInfo"));
    EXPECT_TRUE(Logged("ENTRY:  CQelFcoeAgentWin::GetHBAObject"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeAgentWin::GetHBAObject"));
}

TEST_F(FcoeAgentWin, ObjectHasTheIdentifierAndTheDisplayName) {
    Start();
    std::vector<QEL_FCOE_STATISTIC> statistics;
    agent->GetHBAObject(L"{A}")->GetStatistics(statistics);
    ASSERT_FALSE(statistics.empty());
    EXPECT_TRUE(statistics[0].strDeviceId == L"{A}");
    EXPECT_TRUE(statistics[0].strSecondId == L"Display of {A}");
}

TEST_F(FcoeAgentWin, AdapterThatTheCoreAgentDoesNotKnowHasAnObjectAllTheSame) {
    Start();
    core.onInfo = [](const CQelString&, QEL_ADAPTER_INFO&) { return QEL_RESULT{7, 0}; };
    std::vector<QEL_FCOE_STATISTIC> statistics;
    const auto hba = agent->GetHBAObject(L"{?}");
    ASSERT_TRUE(hba);
    hba->GetStatistics(statistics);
    EXPECT_TRUE(statistics.at(0).strSecondId.IsEmpty());
}

TEST_F(FcoeAgentWin, StatusOfTheInformationIsIgnored) {
    Start();
    core.onInfo = [](const CQelString&, QEL_ADAPTER_INFO& info) {
        info.strDisplayName = L"filled all the same";
        return QEL_RESULT{7, 0};
    };
    std::vector<QEL_FCOE_STATISTIC> statistics;
    agent->GetHBAObject(L"{A}")->GetStatistics(statistics);
    EXPECT_TRUE(statistics.at(0).strSecondId == L"filled all the same");
}

TEST_F(FcoeAgentWin, ThrowingInformationIsEmpty) {
    Start();
    core.onInfo = [](const CQelString&, QEL_ADAPTER_INFO& info) -> QEL_RESULT {
        info.strDisplayName = L"half";
        throw std::runtime_error("core agent");
    };
    std::vector<QEL_FCOE_STATISTIC> statistics;
    const auto hba = agent->GetHBAObject(L"{A}");
    ASSERT_TRUE(hba);
    hba->GetStatistics(statistics);
    EXPECT_TRUE(statistics.at(0).strSecondId.IsEmpty());
    EXPECT_EQ(hba, agent->GetHBAObject(L"{A}"));
}

TEST_F(FcoeAgentWin, CoreAgentWithoutMemoryLeavesNoObjectWithoutItsSecondIdentifier) {
    Start();
    const auto healthy =
        std::exchange(core.onInfo, [](const CQelString&, QEL_ADAPTER_INFO&) -> QEL_RESULT { throw std::bad_alloc(); });
    EXPECT_THROW(agent->GetHBAObject(L"{A}"), std::bad_alloc);
    EXPECT_EQ(1, Exceptions("CQelFcoeAgentWin::GetHBAObject"));
    EXPECT_EQ(0u, agent->Objects());
    core.onInfo = healthy;
    QEL_FCOE_HBA record;
    ASSERT_TRUE(agent->GetHBAObject(L"{A}")->Get(record));
    EXPECT_EQ(L"Display of {A}", record.strSecondId);
}

TEST_F(FcoeAgentWin, WithoutCoreAgentAnAdapterHasItsObject) {
    Register();
    core.present = false;
    agent->Initialize();
    EXPECT_TRUE(agent->GetHBAObject(L"{A}"));
    EXPECT_EQ(1, Exceptions("CQelFcoeAgentWin::GetHBAObject")) << "it counts as one that throws";
}

TEST_F(FcoeAgentWin, BeforeItsFirstStartThereAreNoObjects) {
    EXPECT_FALSE(agent->GetHBAObject(L"{A}"));
}

TEST_F(FcoeAgentWin, ThreadsThatAskTogetherGetOneObject) {
    Start();
    std::vector<std::shared_ptr<CQelFcoeHBA>> seen(8);
    std::vector<std::thread> threads;
    for (auto& slot : seen)
        threads.emplace_back([&] { slot = agent->GetHBAObject(L"{A}"); });
    for (auto& thread : threads)
        thread.join();
    EXPECT_THAT(seen, testing::Each(seen[0]));
    EXPECT_THAT(core.calls, ElementsAre("Info {A} 0"));
}

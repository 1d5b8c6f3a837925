#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

#include "tests/unit/AgentFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr wchar_t WWPN[] = L"10:00:00:1b:21:aa:bb:cc";

class VirtualPorts : public AgentFixture {
  protected:
    BOOL Create(const wchar_t* adapter = L"{A}") {
        CQelString id(adapter);
        ULONG owner = 4;
        return agent->CreateVPort(id, name, errors, owner);
    }
    BOOL Delete(const wchar_t* adapter = L"{A}") {
        CQelString id(adapter);
        return agent->DeleteVPort(id, name, errors, {4, 5, 6});
    }
    BOOL Generate(const wchar_t* adapter = L"{A}") {
        CQelString id(adapter);
        return agent->GenerateVPortWWPN(id, name, errors, 9);
    }
    BOOL Rescan(const wchar_t* adapter = L"{A}") {
        CQelString id(adapter);
        return agent->RefreshTargets(id, 9);
    }
    bool LoggedException(const std::string& operation) const {
        return std::ranges::any_of(log.Messages(), [&](const std::string& line) {
            return line.starts_with("agent\\VirtualPorts (") &&
                   line.ends_with("): CQelFcoeAgentWin::" + operation + "() - Exception caught");
        });
    }
    // The agent's own lines, without the object's.
    std::vector<std::string> AgentLines() const {
        std::vector<std::string> lines = log.Lines();
        std::erase_if(lines, [](const std::string& line) {
            return line.find("CQelFcoeAgentWin::") == std::string::npos &&
                   line.find("CQelNetAgentPvt::") == std::string::npos;
        });
        return lines;
    }
    CQelString name{WWPN};
    std::vector<QEL_ERROR_ENTRY> errors;
};

} // namespace

// --- Create and delete

TEST_F(VirtualPorts, CreateWorksInsideTheLock) {
    Start();
    fake.CreateVPort = [this](HBA_HANDLE, ORVAN_FC_PORT*) {
        core.calls.push_back("work");
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(Create());
    EXPECT_THAT(core.calls, ElementsAre("Start 4 0 0", "Info {A} 0", "work", "Done 4 0 0"));
    EXPECT_TRUE(Logged("ENTRY:  CQelFcoeAgentWin::CreateVPort"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeAgentWin::CreateVPort, bReturn=true"));
}

TEST_F(VirtualPorts, DeleteWorksInsideTheLockOfItsCallersRequest) {
    Start();
    fake.RemoveVPort = [this](HBA_HANDLE, ORVAN_FC_PORT*) {
        core.calls.push_back("work");
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(Delete());
    EXPECT_THAT(core.calls, ElementsAre("Start 4 5 6", "Info {A} 0", "work", "Done 4 5 6"));
    EXPECT_TRUE(Logged("ENTRY:  CQelFcoeAgentWin::DeleteVPort"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeAgentWin::DeleteVPort, bReturn=true"));
}

TEST_F(VirtualPorts, CreateWithAnEmptyIdentifierNeverAsksForTheLock) {
    Start();
    EXPECT_FALSE(Create(L""));
    EXPECT_THAT(core.calls, IsEmpty());
    EXPECT_TRUE(log.Messages().empty());
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeAgentWin::CreateVPort, bReturn=false"));
}

TEST_F(VirtualPorts, DeleteWithAnEmptyIdentifierNeverAsksForTheLock) {
    Start();
    EXPECT_FALSE(Delete(L""));
    EXPECT_THAT(core.calls, IsEmpty());
    EXPECT_TRUE(log.Messages().empty());
}

TEST_F(VirtualPorts, LockIsTakenAndReleasedInsideTheTraceOfTheChange) {
    Start();
    EXPECT_TRUE(Create());
    EXPECT_THAT(AgentLines(),
                ElementsAre("ENTRY:  CQelFcoeAgentWin::CreateVPort", "ENTRY:  CQelNetAgentPvt::StartLock",
                            "EXIT:  CQelNetAgentPvt::StartLock, res.ulErrCode=0",
                            "ENTRY:  CQelFcoeAgentWin::GetHBAObject", "EXIT:  CQelFcoeAgentWin::GetHBAObject",
                            "ENTRY:  CQelNetAgentPvt::DoneLock", "EXIT:  CQelNetAgentPvt::DoneLock, res.ulErrCode=0",
                            "EXIT:  CQelFcoeAgentWin::CreateVPort, bReturn=true"));
}

TEST_F(VirtualPorts, RefusedLockIsLoggedBeforeItsRelease) {
    Start();
    core.onStart = [](QEL_LOCK_REQUEST, BYTE& taken) {
        taken = 1;
        return QEL_RESULT{5, 0};
    };
    EXPECT_FALSE(Delete());
    EXPECT_THAT(AgentLines(),
                ElementsAre("ENTRY:  CQelFcoeAgentWin::DeleteVPort", "ENTRY:  CQelNetAgentPvt::StartLock",
                            "EXIT:  CQelNetAgentPvt::StartLock, res.ulErrCode=5",
                            "CQelFcoeAgentWin::DeleteVPort - StartLock failed", "ENTRY:  CQelNetAgentPvt::DoneLock",
                            "EXIT:  CQelNetAgentPvt::DoneLock, res.ulErrCode=0",
                            "EXIT:  CQelFcoeAgentWin::DeleteVPort, bReturn=false"));
}

TEST_F(VirtualPorts, AgentLockIsFreeWhileTheAdapterWorks) {
    Start();
    int free = 0;
    fake.CreateVPort = [&](HBA_HANDLE, ORVAN_FC_PORT*) {
        free += agent->LockIsFree();
        return HBA_STATUS_OK;
    };
    fake.RemoveVPort = fake.CreateVPort;
    fake.GeneratePortWWN = [&](HBA_HANDLE, HBA_WWN*) {
        free += agent->LockIsFree();
        return HBA_STATUS_OK;
    };
    fake.RescanScsiBus = [&](HBA_HANDLE, HBA_UINT32) {
        free += agent->LockIsFree();
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(Create());
    EXPECT_TRUE(Delete());
    EXPECT_TRUE(Generate());
    EXPECT_TRUE(Rescan());
    EXPECT_EQ(4, free);
}

// What the core agent answers to StartLock: a status, or an exception; and whether it marks the lock as taken.
struct LockAnswer {
    const char* name;
    ULONG code;
    BYTE taken;
    bool throws;
    bool works;
};
class VirtualPortLock : public VirtualPorts, public testing::WithParamInterface<LockAnswer> {
  protected:
    VirtualPortLock() {
        core.onStart = [](QEL_LOCK_REQUEST, BYTE& taken) {
            taken = GetParam().taken;
            if (GetParam().throws)
                throw std::runtime_error("core agent");
            return QEL_RESULT{GetParam().code, 0};
        };
    }
    int Dones() const {
        return static_cast<int>(std::count_if(core.calls.begin(), core.calls.end(),
                                              [](const std::string& call) { return call.starts_with("Done"); }));
    }
};
INSTANTIATE_TEST_SUITE_P(, VirtualPortLock,
                         testing::Values(LockAnswer{"GrantedAndTaken", 0, 1, false, true},
                                         LockAnswer{"GrantedWithAnotherMark", 0, 0x80, false, true},
                                         LockAnswer{"GrantedNotTaken", 0, 0, false, true},
                                         LockAnswer{"RefusedAndTaken", 5, 1, false, false},
                                         LockAnswer{"RefusedNotTaken", 5, 0, false, false},
                                         LockAnswer{"ThrowsAndTaken", 0, 1, true, false},
                                         LockAnswer{"ThrowsNotTaken", 0, 0, true, false}),
                         [](const auto& info) { return info.param.name; });

TEST_P(VirtualPortLock, Create) {
    Start();
    EXPECT_EQ(GetParam().works, Create());
    EXPECT_EQ(GetParam().works ? 1u : 0u, agent->Objects());
    EXPECT_EQ(GetParam().works ? 1 : 0, fake.CallsOf("CreateVPort"));
    EXPECT_EQ(GetParam().taken ? 1 : 0, Dones());
    EXPECT_EQ(!GetParam().works, Logged("CQelFcoeAgentWin::CreateVPort - StartLock failed"));
    EXPECT_THAT(errors, IsEmpty());
}

TEST_P(VirtualPortLock, Delete) {
    Start();
    EXPECT_EQ(GetParam().works, Delete());
    EXPECT_EQ(GetParam().works ? 1u : 0u, agent->Objects());
    EXPECT_EQ(GetParam().works ? 1 : 0, fake.CallsOf("RemoveVPort"));
    EXPECT_EQ(GetParam().taken ? 1 : 0, Dones());
    EXPECT_EQ(!GetParam().works, Logged("CQelFcoeAgentWin::DeleteVPort - StartLock failed"));
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(VirtualPorts, LockIsReleasedWhenTheWorkThrows) {
    Start();
    fake.CreateVPort = [](HBA_HANDLE, ORVAN_FC_PORT*) -> HBA_STATUS { throw std::bad_alloc(); };
    fake.RemoveVPort = fake.CreateVPort;
    EXPECT_THROW(Create(), std::bad_alloc);
    EXPECT_EQ("Done 4 0 0", core.calls.back());
    EXPECT_THROW(Delete(), std::bad_alloc);
    EXPECT_EQ("Done 4 5 6", core.calls.back());
}

TEST_F(VirtualPorts, ThrowingLibraryIsAFailureAndTheLockIsReleased) {
    Start();
    fake.CreateVPort = [](HBA_HANDLE, ORVAN_FC_PORT*) -> HBA_STATUS { throw std::runtime_error("vendor library"); };
    fake.RemoveVPort = [](HBA_HANDLE, ORVAN_FC_PORT*) -> HBA_STATUS { throw 5; };
    EXPECT_FALSE(Create());
    EXPECT_EQ("Done 4 0 0", core.calls.back());
    EXPECT_TRUE(LoggedException("CreateVPort"));
    EXPECT_FALSE(Delete());
    EXPECT_EQ("Done 4 5 6", core.calls.back());
    EXPECT_TRUE(LoggedException("DeleteVPort"));
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(VirtualPorts, LibraryThatThrowsOutsideTheLockIsAFailure) {
    Start();
    fake.GeneratePortWWN = [](HBA_HANDLE, HBA_WWN*) -> HBA_STATUS { throw std::runtime_error("vendor library"); };
    fake.RescanScsiBus = [](HBA_HANDLE, HBA_UINT32) -> HBA_STATUS { throw 5; };
    EXPECT_FALSE(Generate());
    EXPECT_TRUE(LoggedException("GenerateVPortWWPN"));
    EXPECT_FALSE(Rescan());
    EXPECT_TRUE(LoggedException("RefreshTargets"));
}

TEST_F(VirtualPorts, AdapterWhoseObjectCannotBeMadeIsAFailure) {
    Start();
    const auto healthy =
        std::exchange(fake.GetFCoEControllerInfo, [](const wchar_t*, HBA_UINT32*, char*) -> HBA_STATUS {
            throw std::runtime_error("vendor library");
        });
    EXPECT_FALSE(Create());
    EXPECT_EQ("Done 4 0 0", core.calls.back());
    EXPECT_FALSE(Rescan());
    EXPECT_EQ(0u, agent->Objects());
    fake.GetFCoEControllerInfo = healthy;
    EXPECT_TRUE(Rescan());
}

TEST_F(VirtualPorts, LockThatWasNotTakenIsNotReleasedWhenTheWorkThrows) {
    Start();
    core.onStart = [](QEL_LOCK_REQUEST, BYTE&) { return QEL_RESULT{0, 0}; };
    fake.CreateVPort = [](HBA_HANDLE, ORVAN_FC_PORT*) -> HBA_STATUS { throw std::bad_alloc(); };
    EXPECT_THROW(Create(), std::bad_alloc);
    EXPECT_THAT(core.calls, ElementsAre("Start 4 0 0", "Info {A} 0"));
}

TEST_F(VirtualPorts, FailedReleaseOfTheLockDoesNotCount) {
    Start();
    core.onDone = [](QEL_LOCK_REQUEST) { return QEL_RESULT{5, 0}; };
    EXPECT_TRUE(Create());
    core.onDone = [](QEL_LOCK_REQUEST) -> QEL_RESULT { throw 5; };
    EXPECT_TRUE(Delete());
}

TEST_F(VirtualPorts, RefusedWorkIsFalseAndReleasesTheLock) {
    Start();
    fake.CreateVPort = [](HBA_HANDLE, ORVAN_FC_PORT*) { return HBA_STATUS{16}; };
    EXPECT_FALSE(Create());
    ASSERT_EQ(1u, errors.size());
    EXPECT_EQ(0x370000CDu, errors[0].ulCode);
    EXPECT_TRUE(errors[0].strSource == L"Display of {A}");
    EXPECT_EQ("Done 4 0 0", core.calls.back());
    fake.RemoveVPort = fake.CreateVPort;
    EXPECT_FALSE(Delete());
    EXPECT_EQ("Done 4 5 6", core.calls.back());
}

TEST_F(VirtualPorts, NeitherChangeWaitsForAnApply) {
    Start();
    Create();
    Delete();
    EXPECT_THAT(core.calls, testing::Not(testing::Contains(testing::StartsWith("Wait"))));
}

TEST_F(VirtualPorts, AutomaticNameReachesTheHost) {
    Start();
    name = L"AUTO";
    EXPECT_TRUE(Create());
    EXPECT_TRUE(name == L"20:01:00:00:00:00:00:01");
}

TEST_F(VirtualPorts, AdapterWithoutAnObjectIsFalseWithoutAMessageAndReleasesTheLock) {
    Start();
    agent->LoseLibrary();
    Forget();
    EXPECT_FALSE(Create());
    EXPECT_FALSE(Delete());
    EXPECT_THAT(core.calls, ElementsAre("Start 4 0 0", "Done 4 0 0", "Start 4 5 6", "Done 4 5 6"));
    EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_F(VirtualPorts, WithoutCoreAgentThereIsNoLock) {
    Register();
    core.present = false;
    agent->Initialize();
    EXPECT_FALSE(Create());
    EXPECT_FALSE(Delete());
    EXPECT_EQ(0, fake.CallsOf("CreateVPort"));
    EXPECT_EQ(0, fake.CallsOf("RemoveVPort"));
    EXPECT_TRUE(Logged("CQelFcoeAgentWin::CreateVPort - StartLock failed"));
    EXPECT_TRUE(Logged("CQelFcoeAgentWin::DeleteVPort - StartLock failed"));
}

// --- Generate and rescan

TEST_F(VirtualPorts, GenerateWaitsForAnApplyAndTakesNoLock) {
    Start();
    errors.resize(1);
    EXPECT_TRUE(Generate());
    EXPECT_TRUE(name == L"20:01:00:00:00:00:00:01");
    EXPECT_THAT(core.calls, ElementsAre("Wait 9", "Info {A} 0"));
    EXPECT_EQ(1u, errors.size());
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeAgentWin::GenerateVPortWWPN, bReturn=true"));
}

TEST_F(VirtualPorts, FailedGenerationTouchesNoErrorList) {
    Start();
    fake.GeneratePortWWN = [](HBA_HANDLE, HBA_WWN*) { return HBA_STATUS_ERROR; };
    EXPECT_FALSE(Generate());
    EXPECT_TRUE(name.IsEmpty());
    EXPECT_THAT(errors, IsEmpty());
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeAgentWin::GenerateVPortWWPN, bReturn=false"));
}

TEST_F(VirtualPorts, GenerateWithAnEmptyIdentifierWaitsAndIsFalse) {
    Start();
    EXPECT_FALSE(Generate(L""));
    EXPECT_THAT(core.calls, ElementsAre("Wait 9"));
    EXPECT_TRUE(name == WWPN);
    EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_F(VirtualPorts, RescanMakesTheObjectFirst) {
    Start();
    EXPECT_TRUE(Rescan());
    EXPECT_THAT(core.calls, ElementsAre("Wait 9", "Info {A} 0"));
    EXPECT_EQ(1, fake.CallsOf("GetFCoEControllerHandle"));
    EXPECT_EQ("RescanScsiBus 7 4294967295", fake.calls.back());
    EXPECT_TRUE(Logged("ENTRY:  CQelFcoeAgentWin::RefreshTargets"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeAgentWin::RefreshTargets, bReturn=true"));
}

TEST_F(VirtualPorts, RefusedRescanIsFalse) {
    Start();
    fake.RescanScsiBus = [](HBA_HANDLE, HBA_UINT32) { return HBA_STATUS_ERROR; };
    EXPECT_FALSE(Rescan());
}

TEST_F(VirtualPorts, RescanWithAnEmptyIdentifierWaitsAndIsFalse) {
    Start();
    EXPECT_FALSE(Rescan(L""));
    EXPECT_THAT(core.calls, ElementsAre("Wait 9"));
    EXPECT_EQ(0, fake.CallsOf("RescanScsiBus"));
    EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_F(VirtualPorts, ThrowingWaitIsNoObstacle) {
    Start();
    core.onWait = [](ULONG64) { throw std::runtime_error("core agent"); };
    EXPECT_TRUE(Generate());
    EXPECT_TRUE(Rescan());
}

TEST_F(VirtualPorts, GenerateAndRescanWithoutAnObjectAreFalse) {
    Start();
    agent->LoseLibrary();
    EXPECT_FALSE(Generate());
    EXPECT_FALSE(Rescan());
}

// Virtual ports end to end: host, core agent's lock, library, and the errors that come back.
#include <gtest/gtest.h>

#include "tests/kit/SuiteHost.h"

namespace {

const wchar_t ADAPTER[] = L"{11111111-2222-4333-8444-555555555501}";

std::string Topology(const std::string& faults = "") {
    return R"({"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "display_name": "Adapter one",
        "mac": "00:1B:21:00:00:01", "max_virtual_ports": 2,
        "port": {"node_wwn": "20:00:00:1B:21:00:00:01", "port_wwn": "20:01:00:1B:21:00:00:01"}}],
        "faults": [)" +
           faults + "]}";
}

class VirtualPorts : public testing::Test {
  protected:
    void Start(const std::string& faults = "") {
        host.Simulate(Topology(faults));
        agent = host.GetAgent();
        ASSERT_TRUE(agent);
    }
    BOOL Create(const wchar_t* wwpn) {
        CQelString adapter(ADAPTER);
        name = wwpn;
        ULONG owner = 5;
        return agent->CreateVPort(adapter, name, errors, owner);
    }
    BOOL Delete(const wchar_t* wwpn) {
        CQelString adapter(ADAPTER);
        name = wwpn;
        return agent->DeleteVPort(adapter, name, errors, {5, 0, 0});
    }
    std::vector<std::wstring> PortNames() {
        CQelString adapter(ADAPTER);
        std::vector<QEL_FCOE_PORT> ports;
        EXPECT_TRUE(agent->EnumeratePorts(adapter, ports, 0));
        std::vector<std::wstring> names;
        for (const auto& port : ports)
            names.push_back(port.strPortWWN);
        return names;
    }
    // The one error that there must be.
    void ExpectError(ULONG code, std::vector<std::wstring> arguments) {
        ASSERT_EQ(1u, errors.size());
        EXPECT_EQ(code, errors[0].ulCode);
        EXPECT_EQ(16u, errors[0].ulClass);
        EXPECT_EQ(1u, errors[0].ulSeverity);
        EXPECT_STREQ(L"Adapter one", errors[0].strSource);
        ASSERT_EQ(arguments.size(), errors[0].vecArguments.size());
        for (std::size_t i = 0; i < arguments.size(); ++i)
            EXPECT_EQ(arguments[i], std::wstring(errors[0].vecArguments[i]));
        errors.clear();
    }

    SuiteHost host;
    CQelFcoeAgentIntf* agent = nullptr;
    CQelString name;
    std::vector<QEL_ERROR_ENTRY> errors;
};

TEST_F(VirtualPorts, CreatedOneIsListedAtOnceAndGoneAfterItsDeletion) {
    Start();
    EXPECT_EQ(1u, PortNames().size());
    ASSERT_TRUE(Create(L"20:02:00:1b:21:00:00:0a"));
    EXPECT_EQ((std::vector<std::wstring>{L"20:01:00:1B:21:00:00:01", L"20:02:00:1B:21:00:00:0A"}), PortNames());
    ASSERT_TRUE(Delete(L"20:02:00:1B:21:00:00:0A"));
    EXPECT_EQ(1u, PortNames().size());
    EXPECT_TRUE(errors.empty());
}

TEST_F(VirtualPorts, AutoInAnyLetterCaseReturnsTheGeneratedName) {
    Start();
    ASSERT_TRUE(Create(L"aUTO"));
    EXPECT_EQ(23u, name.size());
    EXPECT_EQ(std::wstring(name), PortNames().at(1));
}

TEST_F(VirtualPorts, GeneratedNameIsUnusedAndChangesNothing) {
    Start();
    CQelString adapter(ADAPTER);
    ASSERT_TRUE(agent->GenerateVPortWWPN(adapter, name, errors, 0));
    EXPECT_EQ(23u, name.size());
    EXPECT_EQ(1u, PortNames().size());
    EXPECT_TRUE(Create(CQelString(name)));
}

TEST_F(VirtualPorts, Error202WhenNoNameCanBeGenerated) {
    Start(R"({"function": "ORVAN_GeneratePortWWN", "status": 1})");
    EXPECT_FALSE(Create(L"Auto"));
    ExpectError(0x370000CA, {});
    EXPECT_TRUE(host.Logged("Unable to generate the WWPN"));
}

TEST_F(VirtualPorts, Error203ForATextThatIsNoWwpn) {
    Start();
    for (const wchar_t* text : {L"10:00:00:1b:21:aa:bb", L"10:00:00:1b:21:aa:bb:c", L"10-00-00-1b-21-aa-bb-cc",
                                L"10:00:00:1b:21:aa:bb:cg", L"", L":10:00:00:1b:21:aa:bb:cc",
                                L"10:00:00:1b:21:aa:bb:cc:", L" 10:00:00:1b:21:aa:bb:cc", L"0x:00:00:1b:21:aa:bb:cc"}) {
        EXPECT_FALSE(Create(text));
        ExpectError(0x370000CB, {text});
        EXPECT_FALSE(Delete(text));
        ExpectError(0x370000CB, {text});
    }
    EXPECT_EQ(0u, host.Calls("ORVAN_CreateVPort"));
    EXPECT_EQ(0u, host.Calls("ORVAN_RemoveVPort"));
}

TEST_F(VirtualPorts, Error204WhenTheAdapterHasAllItCanHave) {
    Start();
    EXPECT_TRUE(Create(L"Auto"));
    EXPECT_TRUE(Create(L"Auto"));
    EXPECT_FALSE(Create(L"Auto"));
    ExpectError(0x370000CC, {});
}

TEST_F(VirtualPorts, Error205ForANameInUse) {
    Start();
    EXPECT_TRUE(Create(L"20:02:00:1b:21:00:00:0a"));
    EXPECT_FALSE(Create(L"20:02:00:1B:21:00:00:0A"));
    ExpectError(0x370000CD, {});
}

TEST_F(VirtualPorts, Error206ForAnyOtherRefusal) {
    Start(R"({"function": "ORVAN_CreateVPort", "status": 5})");
    EXPECT_FALSE(Create(L"20:02:00:1b:21:00:00:0a"));
    ExpectError(0x370000CE, {L"20:02:00:1b:21:00:00:0a"});
    EXPECT_TRUE(host.Logged("CreateVport failed - status - 5"));
}

TEST_F(VirtualPorts, Error206WhenTheLibraryCannotCreateAtAll) {
    Start(R"({"function": "ORVAN_CreateVPort", "missing": true})");
    EXPECT_FALSE(Create(L"20:02:00:1b:21:00:00:0a"));
    ExpectError(0x370000CE, {L"20:02:00:1b:21:00:00:0a"});
}

TEST_F(VirtualPorts, Error207ForTheDeletionOfAPortThatIsNotThere) {
    Start();
    EXPECT_FALSE(Delete(L"20:02:00:1b:21:00:00:0a"));
    ExpectError(0x370000CF, {L"20:02:00:1b:21:00:00:0a"});
}

TEST_F(VirtualPorts, Error214ForTheDeletionOfThePhysicalPort) {
    Start();
    EXPECT_FALSE(Delete(L"20:01:00:1b:21:00:00:01"));
    ExpectError(0x370000D6, {});
    EXPECT_EQ(1u, PortNames().size());
}

TEST_F(VirtualPorts, ChangesLastWhenTheAgentIsLoadedAgain) {
    Start();
    ASSERT_TRUE(Create(L"20:02:00:1b:21:00:00:0a"));
    host.Unload();
    agent = host.GetAgent();
    EXPECT_EQ(2u, PortNames().size());
}

TEST_F(VirtualPorts, EmptyIdentifierIsRefusedByAllFourOperations) {
    Start();
    CQelString none, wwpn(L"Auto");
    ULONG owner = 1;
    EXPECT_FALSE(agent->CreateVPort(none, wwpn, errors, owner));
    EXPECT_FALSE(agent->DeleteVPort(none, wwpn, errors, {}));
    EXPECT_FALSE(agent->GenerateVPortWWPN(none, wwpn, errors, 0));
    EXPECT_FALSE(agent->RefreshTargets(none, 0));
    EXPECT_TRUE(errors.empty());
}

TEST_F(VirtualPorts, ARefusedLockLeavesTheLibraryAlone) {
    Start(R"({"function": "StartLock", "status": 9})");
    EXPECT_FALSE(Create(L"20:02:00:1b:21:00:00:0a"));
    EXPECT_FALSE(Delete(L"20:02:00:1b:21:00:00:0a"));
    EXPECT_TRUE(host.Logged("CQelFcoeAgentWin::CreateVPort - StartLock failed"));
    EXPECT_TRUE(host.Logged("CQelFcoeAgentWin::DeleteVPort - StartLock failed"));
    EXPECT_EQ(0u, host.Calls("ORVAN_CreateVPort"));
    EXPECT_TRUE(errors.empty());
}

TEST_F(VirtualPorts, AThrowingLockLeavesTheLibraryAlone) {
    Start(R"({"function": "StartLock", "throw": true})");
    EXPECT_FALSE(Create(L"20:02:00:1b:21:00:00:0a"));
    EXPECT_EQ(0u, host.Calls("ORVAN_CreateVPort"));
    EXPECT_TRUE(host.Logged("CQelFcoeAgentWin::CreateVPort - StartLock failed"));
}

TEST_F(VirtualPorts, RescanOfAnAdapterMakesItsObjectFirst) {
    Start();
    CQelString adapter(ADAPTER);
    EXPECT_TRUE(agent->RefreshTargets(adapter, 0));
    EXPECT_EQ(1u, host.Calls("ORVAN_RescanScsiBus"));
    EXPECT_TRUE(host.Logged("CQelFcoeHBA::RefreshTargetInfo - successful"));
}

TEST_F(VirtualPorts, RescanWithoutTheExportCountsAsDone) {
    Start(R"({"function": "ORVAN_RescanScsiBus", "missing": true})");
    CQelString adapter(ADAPTER);
    EXPECT_TRUE(agent->RefreshTargets(adapter, 0));
}

} // namespace

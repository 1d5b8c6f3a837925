// Virtual ports, generated names and rescans.
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/capi/CSession.h"
#include "tests/capi/CapiHost.h"
#include "tests/fcoectl/Host.h"

using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr wchar_t PHYSICAL[] = L"20:00:02:05:7C:00:00:01"; // of the first adapter
constexpr wchar_t NEW_PORT[] = L"20:05:02:05:7C:00:00:01";
constexpr std::size_t WWN_LENGTH = 23;

class Changes : public testing::Test {
  protected:
    bool HasPort(const std::wstring& wwpn) const {
        const Result ports = Enumerate(session, FCOE_PORTS);
        for (std::uint32_t i = 0; i < ports.count; ++i)
            if (wwpn == At<fcoe_port>(ports.list, i)->port_wwn)
                return true;
        return false;
    }

    CapiHost host;
    Session session = Open();
};

// Exactly one error with that number.
void ExpectError(const Result& result, std::uint32_t number, const std::vector<std::wstring>& arguments) {
    EXPECT_EQ(FCOE_REFUSED, result.status);
    ASSERT_EQ(1u, result.count);
    const auto* error = At<fcoe_error>(result.list);
    EXPECT_EQ(sizeof *error, error->size);
    EXPECT_EQ(0x37000000 + number, error->code);
    EXPECT_EQ(16u, error->error_class);
    EXPECT_EQ(1u, error->severity);
    EXPECT_STREQ(L"Adapter one", error->source);
    ASSERT_EQ(arguments.size(), error->argument_count);
    ASSERT_NE(nullptr, error->arguments);
    for (std::size_t i = 0; i < arguments.size(); ++i)
        EXPECT_EQ(arguments[i], error->arguments[i]);
}

} // namespace

TEST_F(Changes, PortIsCreatedAndDeleted) {
    std::wstring wwpn = NEW_PORT;
    EXPECT_EQ(FCOE_OK, Create(session, FIRST, wwpn).status);
    EXPECT_EQ(NEW_PORT, wwpn);
    EXPECT_TRUE(HasPort(wwpn));
    EXPECT_EQ(FCOE_OK, Delete(session, FIRST, wwpn).status);
    EXPECT_FALSE(HasPort(wwpn));
}

TEST_F(Changes, AutoIsReplacedByTheGeneratedName) {
    for (const wchar_t* automatic : {L"Auto", L"AUTO"}) {
        std::wstring wwpn = automatic;
        EXPECT_EQ(FCOE_OK, Create(session, FIRST, wwpn).status);
        EXPECT_EQ(WWN_LENGTH, wwpn.size());
        EXPECT_TRUE(HasPort(wwpn));
    }
}

TEST_F(Changes, RefusalHasItsErrorAndItsSentence) {
    std::wstring wwpn = NEW_PORT;
    EXPECT_EQ(FCOE_OK, Create(session, FIRST, wwpn).status);
    const Result again = Create(session, FIRST, wwpn);
    ExpectError(again, 205, {});
    EXPECT_EQ(L"The WWPN is already in use. Choose another WWPN, or 'auto'.", again.message);
    std::wstring wrong = L"2005";
    ExpectError(Create(session, FIRST, wrong), 203, {L"2005"});
    EXPECT_EQ(L"2005", wrong) << "as it was";
    const Result missing = Delete(session, FIRST, L"20:09:00:00:00:00:00:09");
    ExpectError(missing, 207, {L"20:09:00:00:00:00:00:09"});
    EXPECT_THAT(missing.message, StartsWith(L"The virtual port '20:09:00:00:00:00:00:09' was not deleted"));
    ExpectError(Delete(session, FIRST, PHYSICAL), 214, {});
    ExpectError(Delete(session, FIRST, std::wstring(1000, L'2')), 203, {std::wstring(1000, L'2')});
}

TEST_F(Changes, RefusedLockIsAnEmptyListOfErrors) {
    host.Simulate(ReadingHost::Topology(R"({"function": "StartLock", "status": 5})"));
    std::wstring wwpn = NEW_PORT;
    const Result refused = Create(session, FIRST, wwpn);
    EXPECT_EQ(FCOE_REFUSED, refused.status);
    EXPECT_EQ(0u, refused.count);
    EXPECT_THAT(refused.message, StartsWith(L"The agent refused the change without giving a reason. Often the "
                                            L"configuration lock"));
    EXPECT_EQ(FCOE_REFUSED, Delete(session, FIRST, wwpn).status);
}

TEST_F(Changes, NameIsGeneratedOrRefused) {
    std::wstring wwpn;
    EXPECT_EQ(FCOE_OK, Generate(session, FIRST, wwpn).status);
    EXPECT_EQ(WWN_LENGTH, wwpn.size());
    EXPECT_FALSE(HasPort(wwpn));
    host.Simulate(ReadingHost::Topology(R"({"function": "ORVAN_GeneratePortWWN", "status": 1})"));
    const Result refused = Generate(session, FIRST, wwpn);
    EXPECT_EQ(FCOE_REFUSED, refused.status);
    EXPECT_THAT(refused.message, StartsWith(L"The adapter's HBA library generated no WWPN. Check "));
}

TEST_F(Changes, RescanReachesTheLibraryOrIsRefused) {
    host.Suite().ResetCalls();
    EXPECT_EQ(FCOE_OK, Refresh(session, FIRST).status);
    EXPECT_EQ(1u, host.Suite().Calls("ORVAN_RescanScsiBus"));
    host.Simulate(ReadingHost::Topology(R"({"function": "ORVAN_RescanScsiBus", "status": 1})"));
    const Result refused = Refresh(session, FIRST);
    EXPECT_EQ(FCOE_REFUSED, refused.status);
    EXPECT_THAT(refused.message, StartsWith(L"The adapter's HBA library did not rescan the targets."));
}

TEST_F(Changes, UnknownAdapterIsNotAskedFor) {
    host.Suite().ResetCalls();
    std::wstring wwpn = NEW_PORT;
    EXPECT_EQ(FCOE_UNKNOWN_ADAPTER, Create(session, NOBODY, wwpn).status);
    EXPECT_EQ(FCOE_UNKNOWN_ADAPTER, Delete(session, NOBODY, wwpn).status);
    EXPECT_EQ(FCOE_UNKNOWN_ADAPTER, Generate(session, NOBODY, wwpn).status);
    EXPECT_EQ(FCOE_UNKNOWN_ADAPTER, Refresh(session, NOBODY).status);
    for (const char* function : {"ORVAN_CreateVPort", "ORVAN_RemoveVPort", "ORVAN_GeneratePortWWN"})
        EXPECT_EQ(0u, host.Suite().Calls(function)) << function;
}

TEST_F(Changes, MessageAndErrorsNeedNotBeAskedFor) {
    fcoe_char wwpn[WWN_LENGTH + 1] = L"no name";
    EXPECT_EQ(FCOE_REFUSED, fcoe_vport_create(session.get(), FIRST, wwpn, 5, nullptr, nullptr));
    EXPECT_EQ(FCOE_REFUSED, fcoe_vport_delete(session.get(), FIRST, wwpn, 5, nullptr, nullptr));
    EXPECT_EQ(FCOE_UNKNOWN_ADAPTER, fcoe_refresh_targets(session.get(), NOBODY, nullptr));
}

TEST(LockOwner, IsThatOfTheHost) {
    const Host host;
    const Session session = Open(host.FakeAgent().c_str());
    const Result adapters = Enumerate(session, FCOE_HBAS);
    ASSERT_LT(0u, adapters.count);
    const std::wstring adapter = At<fcoe_hba>(adapters.list)->device_id;
    std::wstring wwpn = NEW_PORT;
    EXPECT_EQ(FCOE_OK, Create(session, adapter.c_str(), wwpn, GetCurrentProcessId()).status);
    EXPECT_EQ(FCOE_OK, Delete(session, adapter.c_str(), wwpn, GetCurrentProcessId() + 1).status);
    EXPECT_THAT(host.Calls(), Contains(AllOf(StartsWith("CreateVPort "), testing::EndsWith(" own"))));
    EXPECT_THAT(host.Calls(), Contains(AllOf(StartsWith("DeleteVPort "), testing::EndsWith(" other"))));
}

TEST(WithoutLibrary, RefusalsSayWhereItWasLookedFor) {
    const TempFolder folder;
    const Host host(L"nolibrary refuse:0");
    const auto agent = folder.Path() / L"FakeFcoeAgent.dll"; // without a library beside it
    std::filesystem::copy_file(host.FakeAgent(), agent);
    const Session session = Open(agent.c_str());
    const std::wstring adapter = At<fcoe_hba>(Enumerate(session, FCOE_HBAS).list)->device_id;
    std::wstring wwpn = NEW_PORT;
    for (const std::wstring& message :
         {Refresh(session, adapter.c_str()).message, Generate(session, adapter.c_str(), wwpn).message,
          Create(session, adapter.c_str(), wwpn).message})
        EXPECT_THAT(message, HasSubstr(L"orvanhapi.dll"));
}

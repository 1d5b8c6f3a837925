// The vendor library's and the core agent's faults through the interface: each function in each way, every so many of
// them. What differs from the healthy answer is said, and no status is one that a host does not know.
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulator/control/SimControl.h"
#include "tests/capi/CSession.h"
#include "tests/capi/CapiHost.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/reading/Faults.h"

namespace {

using Json = nlohmann::ordered_json;

// A prime, so that the sample meets every function, kind and moment.
constexpr std::size_t EVERY = 7;

// What is told of the adapters, without what is said of the telling.
Json RecordsOf(const std::string& json) {
    Json document = Json::parse(json, nullptr, false);
    for (const char* said : {"complete", "problems", "notes", "error"})
        document.erase(said);
    return document;
}

class FaultyLibrary : public testing::TestWithParam<Function> {
  protected:
    // The faults are counted from the first call on.
    void Arm() {
        for (const HMODULE module : {host.Suite().Library(), m_core})
            NEED_FUNCTION(module, OrvanSim_ArmFaults)(TRUE);
    }

    void Check(const Fault& fault, const std::map<fcoe_kind, Json>& healthy) {
        Arm();
        std::wstring message;
        fcoe_session* opened = nullptr;
        const fcoe_status status = fcoe_open(nullptr, 0, &opened, nullptr);
        const Session session(opened);
        if (!opened) {
            EXPECT_EQ(FCOE_NOT_STARTED, status) << fault.entry;
            return;
        }
        for (const fcoe_kind kind : KINDS) {
            Arm();
            const Result json = EnumerateJson(session, kind);
            EXPECT_LE(FCOE_OK, json.status) << fault.entry << ' ' << kind;
            if (!WhyUndecidable(fault) && RecordsOf(json.json) != healthy.at(kind)) {
                EXPECT_EQ(FCOE_INCOMPLETE, json.status) << fault.entry << ' ' << kind;
            }
            const Result list = Enumerate(session, kind, FIRST);
            EXPECT_LE(FCOE_UNKNOWN_ADAPTER, list.status) << fault.entry << ' ' << kind;
        }
        Arm();
        std::wstring wwpn = L"auto";
        const Result created = Create(session, FIRST, wwpn);
        EXPECT_THAT(created.status, testing::AnyOf(FCOE_OK, FCOE_REFUSED)) << fault.entry;
        const Result deleted = Delete(session, FIRST, wwpn);
        EXPECT_THAT(deleted.status, testing::AnyOf(FCOE_OK, FCOE_REFUSED)) << fault.entry;
        EXPECT_THAT(Generate(session, FIRST, wwpn).status, testing::AnyOf(FCOE_OK, FCOE_REFUSED)) << fault.entry;
        EXPECT_THAT(Refresh(session, FIRST).status, testing::AnyOf(FCOE_OK, FCOE_REFUSED)) << fault.entry;
    }

    CapiHost host;

  private:
    HMODULE m_core = GetModuleHandleW((ProgramFolder() / L"CoreAgnt.dll").c_str());
};

std::vector<Function> FaultyFunctions() {
    std::vector<Function> functions;
    for (const Function& function : Functions())
        if (function.neighbour != Neighbour::DcbService)
            functions.push_back(function);
    return functions;
}

std::string NameOf(const testing::TestParamInfo<Function>& info) {
    return info.param.name;
}

} // namespace

TEST_P(FaultyLibrary, EndsInAStatusThatTellsTheTruth) {
    std::map<fcoe_kind, Json> healthy;
    {
        const Session session = Open();
        for (const fcoe_kind kind : KINDS)
            healthy[kind] = RecordsOf(EnumerateJson(session, kind).json);
    }
    // A lock that was not given back is waited for at each change.
    host.Suite().Hive().Set(L"SOFTWARE\\ORVAN\\Simulator", L"LockWait", std::wstring(L"200"));
    const auto faults = FaultsOf(GetParam());
    for (std::size_t i = std::string_view(GetParam().name).size() % EVERY; i < faults.size(); i += EVERY) {
        host.Simulate(ReadingHost::Topology(faults[i].entry));
        Check(faults[i], healthy);
    }
    host.Simulate(ReadingHost::Topology(""));
    const Session session = Open();
    for (const fcoe_kind kind : KINDS) {
        const Result json = EnumerateJson(session, kind);
        EXPECT_EQ(FCOE_OK, json.status) << "afterwards";
        EXPECT_EQ(healthy[kind], RecordsOf(json.json)) << "afterwards";
    }
}
INSTANTIATE_TEST_SUITE_P(All, FaultyLibrary, testing::ValuesIn(FaultyFunctions()), NameOf);

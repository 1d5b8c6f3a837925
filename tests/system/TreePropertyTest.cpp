// For any topology, the tree that the agent reports is the topology; and the library is called no more often than
// docs/performance.md says.
#include <map>
#include <memory>
#include <random>
#include <string_view>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "simulator/topology/Functions.h"
#include "tests/kit/MovedClock.h"
#include "tests/kit/SuiteHost.h"

namespace {

struct Tree {
    struct Target {
        std::string wwn;
        unsigned luns = 0;
        bool npiv = false; // virtual ports of type 3 see it, too
    };
    struct Adapter {
        std::vector<Target> targets;
        unsigned virtualPorts = 0, virtualType = 2;
        unsigned vlans = 0;
    };
    std::vector<Adapter> adapters;
};

CQelString Identifier(std::size_t adapter) {
    CQelString text;
    text.FormatString(L"{11111111-2222-4333-8444-%012d}", static_cast<int>(adapter));
    return text;
}

std::string Json(const Tree& tree) {
    std::string text = "{\"adapters\": [";
    for (std::size_t a = 0; a < tree.adapters.size(); ++a) {
        const auto& adapter = tree.adapters[a];
        const std::string physical = fmt::format("20:01:00:1B:21:00:00:{:02X}", a);
        text += fmt::format(R"({}{{"identifier": "{{11111111-2222-4333-8444-{:012}}}", "mac": "00:1B:21:00:00:{:02X}",
            "port": {{"node_wwn": "20:00:00:1B:21:00:00:{:02X}", "port_wwn": "{}"}}, "ports": [{{"type": 0}})",
                            a ? "," : "", a, a, a, physical);
        for (unsigned v = 0; v < adapter.virtualPorts; ++v)
            text += fmt::format(R"(, {{"type": {}, "port_wwn": "20:{:02X}:00:1B:21:00:00:{:02X}"}})",
                                adapter.virtualType, v + 2, a);
        text += R"(], "targets": [)";
        for (std::size_t t = 0; t < adapter.targets.size(); ++t) {
            text += fmt::format(R"({}{{"port_wwn": "{}", "fc_id": {}, "serial": "S{}", "npiv": {}, "luns": [)",
                                t ? "," : "", adapter.targets[t].wwn, t + 1, t, adapter.targets[t].npiv);
            for (unsigned l = 0; l < adapter.targets[t].luns; ++l)
                text += fmt::format(R"({}{{"os_lun": {}, "blocks": {}}})", l ? "," : "", l, (l + 1) * 2048 + 1);
            text += "]}";
        }
        text += R"(], "vlans": [)";
        for (unsigned v = 0; v < adapter.vlans; ++v)
            text += fmt::format(R"({}{{"id": {}}})", v ? "," : "", 100 + v);
        text += "]}";
    }
    return text + "]}";
}

Tree Random(std::mt19937& random) {
    const auto UpTo = [&](unsigned most) { return random() % (most + 1); };
    Tree tree;
    tree.adapters.resize(UpTo(3));
    unsigned number = 0;
    for (auto& adapter : tree.adapters) {
        adapter.virtualPorts = UpTo(3);
        adapter.vlans = UpTo(4);
        adapter.targets.resize(UpTo(5));
        for (auto& target : adapter.targets) {
            ++number;
            target.wwn = fmt::format("50:06:01:60:00:00:{:02X}:{:02X}", number >> 8, number & 255);
            target.luns = UpTo(6);
        }
    }
    return tree;
}

// What the agent reports, brought into the same form.
Tree Ask(CQelFcoeAgentIntf* agent) {
    Tree tree;
    CQelString all;
    std::vector<QEL_FCOE_HBA> hbas;
    EXPECT_TRUE(agent->EnumerateHBAs(all, hbas, 0));
    for (const auto& hba : hbas) {
        CQelString id = hba.strDeviceId;
        Tree::Adapter adapter;
        std::vector<QEL_FCOE_PORT> ports;
        std::vector<QEL_FCOE_TARGET> targets;
        std::vector<QEL_FCOE_LUN> luns;
        std::vector<QEL_FCOE_VLAN> vlans;
        EXPECT_TRUE(agent->EnumeratePorts(id, ports, 0));
        EXPECT_TRUE(agent->EnumerateTargets(id, targets, 0));
        EXPECT_TRUE(agent->EnumerateLUNs(id, luns, 0));
        EXPECT_TRUE(agent->EnumerateVLANs(id, vlans, 0));
        for (const auto& port : ports)
            adapter.virtualPorts += port.ulPortType == 2;
        EXPECT_EQ(adapter.virtualPorts + 1, ports.size());
        adapter.vlans = static_cast<unsigned>(vlans.size());
        for (const auto& target : targets) {
            std::string wwn;
            for (const wchar_t c : target.strPortWWN)
                wwn += static_cast<char>(c);
            adapter.targets.push_back({.wwn = wwn});
            for (const auto& lun : luns)
                adapter.targets.back().luns += std::wstring(lun.strTargetPortWWN) == std::wstring(target.strPortWWN);
        }
        tree.adapters.push_back(adapter);
    }
    return tree;
}

TEST(TreeProperty, WhatTheAgentReportsIsTheTopologyForRandomTopologies) {
    SuiteHost host;
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(fmt::format("seed {}", seed));
        std::mt19937 random(seed);
        const Tree expected = Random(random);
        host.Simulate(Json(expected));
        auto* agent = host.GetAgent();
        ASSERT_TRUE(agent);
        EXPECT_EQ(Json(expected), Json(Ask(agent)));
        host.Unload();
    }
}

// Calls of the library for one operation on one adapter: the formulas of docs/performance.md.
class CallCounts : public testing::Test {
  protected:
    static constexpr unsigned TARGETS = 3, LUNS = 4; // LUNs per target; more than one of each, so lists are read twice

    CallCounts() {
        tree.adapters.resize(1);
        tree.adapters[0].vlans = 2;
        for (unsigned t = 0; t < TARGETS; ++t)
            tree.adapters[0].targets.push_back(
                {.wwn = fmt::format("50:06:01:60:00:00:00:{:02X}", t + 1), .luns = LUNS});
        host.Simulate(Json(tree));
        agent = host.GetAgent();
        clock = std::make_unique<MovedClock>(1000, host.Module());
        // The adapter's object is made, and its handle opened, on first use.
        Count(&CQelFcoeAgentIntf::EnumerateFabrics);
    }
    // Makes all that is cached old.
    void Age() {
        clock->Advance(11000);
        host.ResetCalls();
    }
    template <class Record, class Name>
    unsigned Count(BOOL (CQelFcoeAgentIntf::*operation)(Name, std::vector<Record>&, ULONG64)) {
        Age();
        return Again(operation);
    }
    template <class Record, class Name>
    unsigned Again(BOOL (CQelFcoeAgentIntf::*operation)(Name, std::vector<Record>&, ULONG64)) {
        std::vector<Record> records;
        EXPECT_TRUE((agent->*operation)(id, records, 0));
        return static_cast<unsigned>(records.size());
    }
    BOOL Create(const wchar_t* wwn) {
        CQelString name(wwn);
        ULONG owner = 5;
        Age();
        return agent->CreateVPort(id, name, errors, owner);
    }
    BOOL Delete(const wchar_t* wwn) {
        CQelString name(wwn);
        Age();
        return agent->DeleteVPort(id, name, errors, {5, 0, 0});
    }
    // These, and none of any other function.
    void ExpectCalls(std::map<std::string_view, unsigned> expected) {
        for (const std::string_view function : sim::FUNCTION_NAMES)
            EXPECT_EQ(expected[function], host.Calls(function.data())) << function;
    }
    static std::map<std::string_view, unsigned> Open(std::map<std::string_view, unsigned> more, unsigned times = 1) {
        for (const char* function : {"ORVAN_InitializeLibrary", "HBA_RegisterLibraryV2", "ORVAN_GetFCoEControllerInfo",
                                     "ORVAN_GetFCoEControllerHandle", "CloseAdapter"})
            more[function] = times;
        return more;
    }

    Tree tree;
    SuiteHost host;
    CQelFcoeAgentIntf* agent = nullptr;
    std::unique_ptr<MovedClock> clock;
    CQelString id = Identifier(0);
    std::vector<QEL_ERROR_ENTRY> errors;
};

TEST_F(CallCounts, OfAdaptersAreTwiceOpenAndThreeReads) {
    EXPECT_EQ(1u, Count(&CQelFcoeAgentIntf::EnumerateHBAs));
    ExpectCalls(
        Open({{"GetAdapterPortAttributes", 1}, {"GetAdapterAttributes", 1}, {"ORVAN_GetFCAndNICProperties", 1}}, 2));
}

TEST_F(CallCounts, OfFabricsAndPortsAreOpenAndTwoPortLists) {
    EXPECT_EQ(1u, Count(&CQelFcoeAgentIntf::EnumerateFabrics));
    ExpectCalls(Open({{"ORVAN_GetFCPortList", 2}}));
    EXPECT_EQ(1u, Count(&CQelFcoeAgentIntf::EnumeratePorts));
    ExpectCalls(Open({{"ORVAN_GetFCPortList", 2}}));
}

TEST_F(CallCounts, OfTargetsAddTwoTargetListsPerPortAndTwoInquiriesPerTarget) {
    EXPECT_EQ(TARGETS, Count(&CQelFcoeAgentIntf::EnumerateTargets));
    ExpectCalls(Open({{"ORVAN_GetFCPortList", 2}, {"ORVAN_GetTargetList", 2}, {"ScsiInquiry", 2 * TARGETS}}));
}

TEST_F(CallCounts, OfLunsAddTwoMappingsPerTargetAndOneCapacityPerLun) {
    EXPECT_EQ(TARGETS * LUNS, Count(&CQelFcoeAgentIntf::EnumerateLUNs));
    ExpectCalls(Open({{"ORVAN_GetFCPortList", 2},
                      {"ORVAN_GetTargetList", 2},
                      {"ScsiInquiry", 2 * TARGETS},
                      {"GetFcpTargetMapping", 2 * TARGETS},
                      {"ScsiReadCapacityV2", TARGETS * LUNS}}));
}

// One of the targets is seen through both.
TEST_F(CallCounts, OfTwoPortsAreThoseOfEach) {
    constexpr unsigned PORTS = 2, SEEN = TARGETS + 1;
    tree.adapters[0].virtualPorts = PORTS - 1;
    tree.adapters[0].virtualType = 3;
    tree.adapters[0].targets[0].npiv = true;
    host.Simulate(Json(tree));
    EXPECT_EQ(PORTS, Count(&CQelFcoeAgentIntf::EnumeratePorts));
    ExpectCalls(Open({{"ORVAN_GetFCPortList", 2}}));
    EXPECT_EQ(SEEN, Count(&CQelFcoeAgentIntf::EnumerateTargets));
    ExpectCalls(Open({{"ORVAN_GetFCPortList", 2}, {"ORVAN_GetTargetList", 2 * PORTS}, {"ScsiInquiry", 2 * SEEN}}));
    EXPECT_EQ(SEEN * LUNS, Count(&CQelFcoeAgentIntf::EnumerateLUNs));
    ExpectCalls(Open({{"ORVAN_GetFCPortList", 2},
                      {"ORVAN_GetTargetList", 2 * PORTS},
                      {"ScsiInquiry", 2 * SEEN},
                      {"GetFcpTargetMapping", 2 * SEEN},
                      {"ScsiReadCapacityV2", SEEN * LUNS}}));
}

TEST_F(CallCounts, WithinTheCachePeriodAreNone) {
    Count(&CQelFcoeAgentIntf::EnumerateLUNs);
    host.ResetCalls();
    clock->Advance(10);
    EXPECT_EQ(TARGETS * LUNS, Again(&CQelFcoeAgentIntf::EnumerateLUNs));
    EXPECT_EQ(TARGETS, Again(&CQelFcoeAgentIntf::EnumerateTargets));
    ExpectCalls({});
    clock->Advance(1);
    EXPECT_EQ(TARGETS * LUNS, Again(&CQelFcoeAgentIntf::EnumerateLUNs));
    EXPECT_EQ(TARGETS * LUNS, host.Calls("ScsiReadCapacityV2"));
}

TEST_F(CallCounts, OfVlansAreTwoListsAndNoneWithinTheCachePeriod) {
    EXPECT_EQ(2u, Count(&CQelFcoeAgentIntf::EnumerateVLANs));
    ExpectCalls(Open({{"ORVAN_GetVlanIdList", 2}}));
    host.ResetCalls();
    clock->Advance(10);
    EXPECT_EQ(2u, Again(&CQelFcoeAgentIntf::EnumerateVLANs));
    ExpectCalls({});
    clock->Advance(1);
    EXPECT_EQ(2u, Again(&CQelFcoeAgentIntf::EnumerateVLANs));
    ExpectCalls(Open({{"ORVAN_GetVlanIdList", 2}}));
}

TEST_F(CallCounts, OfStatisticsAreNeverSavedByTheCache) {
    EXPECT_EQ(15u, Count(&CQelFcoeAgentIntf::EnumerateStatistics));
    ExpectCalls(Open({{"GetPortStatistics", 1}}));
    host.ResetCalls();
    Again(&CQelFcoeAgentIntf::EnumerateStatistics);
    ExpectCalls(Open({{"GetPortStatistics", 1}}));
}

TEST_F(CallCounts, OfACreationAreOneAndOneForAGeneratedName) {
    EXPECT_TRUE(Create(L"20:02:00:1B:21:00:00:00"));
    ExpectCalls({{"ORVAN_CreateVPort", 1}});
    EXPECT_TRUE(Create(L"Auto"));
    ExpectCalls({{"ORVAN_GeneratePortWWN", 1}, {"ORVAN_CreateVPort", 1}});
}

TEST_F(CallCounts, OfADeletionAreOneAndThePortListsWhenItIsRefused) {
    ASSERT_TRUE(Create(L"20:02:00:1B:21:00:00:00"));
    EXPECT_TRUE(Delete(L"20:02:00:1B:21:00:00:00"));
    ExpectCalls({{"ORVAN_RemoveVPort", 1}});
    EXPECT_FALSE(Delete(L"20:02:00:1B:21:00:00:00"));
    ExpectCalls(Open({{"ORVAN_RemoveVPort", 1}, {"ORVAN_GetFCPortList", 2}}));
}

TEST_F(CallCounts, OfAGeneratedNameAndOfARescanAreOne) {
    CQelString name;
    Age();
    EXPECT_TRUE(agent->GenerateVPortWWPN(id, name, errors, 0));
    ExpectCalls({{"ORVAN_GeneratePortWWN", 1}});
    Age();
    EXPECT_TRUE(agent->RefreshTargets(id, 0));
    ExpectCalls({{"ORVAN_RescanScsiBus", 1}});
}

} // namespace

#include "tests/faults/Operations.h"

#include <cstring>
#include <type_traits>
#include <variant>

#include <fmt/format.h>

#include "tools/reading/Records.h"

namespace {

constexpr wchar_t VIRTUAL_PORT[] = L"20:05:02:05:7C:00:00:01";
constexpr std::size_t WWN_LENGTH = 23;

template <class Record> bool Same(const Record& a, const Record& b) {
    for (const auto& field : reading::TypeOf<Record>().fields) {
        const bool same = std::visit(
            [&](auto member) {
                if constexpr (std::is_array_v<std::remove_reference_t<decltype(a.*member)>>)
                    return std::memcmp(a.*member, b.*member, sizeof(a.*member)) == 0;
                else
                    return a.*member == b.*member;
            },
            field.member);
        if (!same)
            return false;
    }
    return true;
}

template <class Record> bool Same(const std::vector<Record>& a, const std::vector<Record>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Record& left, const Record& right) { return Same(left, right); });
}

template <class Record>
std::string Compare(const char* what, const std::vector<Record>& expected, const std::vector<Record>& found) {
    if (expected.size() != found.size())
        return fmt::format("{} {} instead of {}", found.size(), what, expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        if (!Same(expected[i], found[i]))
            return fmt::format("a wrong record {} of the {}", i, what);
    return {};
}

template <class Record, class Id, BOOL (CQelFcoeAgentIntf::*pfnOperation)(Id&, std::vector<Record>&, ULONG64),
          std::vector<Record> Answers::*pAnswer>
void Enumerate(const Asked& asked, Outcome& outcome) {
    CQelString all;
    std::vector<Record> records;
    outcome.result = (asked.agent.*pfnOperation)(all, records, 7);
    outcome.records = records.size();
    outcome.whole = Same(asked.healthy.*pAnswer, records);
}

// VirtualPortOperation(adapter, name, errors) -> BOOL
template <class VirtualPortOperation> void RunOnVirtualPort(Outcome& outcome, VirtualPortOperation operation) {
    CQelString adapter(FAULT_ADAPTER), name(VIRTUAL_PORT);
    std::vector<QEL_ERROR_ENTRY> errors;
    outcome.result = operation(adapter, name, errors);
    outcome.whole = outcome.result && errors.empty() && name == CQelString(VIRTUAL_PORT);
    outcome.errors = errors.size();
    outcome.error = errors.empty() ? 0 : errors.back().ulCode;
}

void Create(const Asked& asked, Outcome& outcome) {
    RunOnVirtualPort(outcome, [&](auto& adapter, auto& name, auto& errors) {
        ULONG owner = FAULT_LOCK_OWNER.ulOwner;
        return asked.agent.CreateVPort(adapter, name, errors, owner);
    });
}

void Delete(const Asked& asked, Outcome& outcome) {
    RunOnVirtualPort(outcome, [&](auto& adapter, auto& name, auto& errors) {
        return asked.agent.DeleteVPort(adapter, name, errors, FAULT_LOCK_OWNER);
    });
}

void Generate(const Asked& asked, Outcome& outcome) {
    CQelString adapter(FAULT_ADAPTER), name(L"none");
    std::vector<QEL_ERROR_ENTRY> errors;
    outcome.result = asked.agent.GenerateVPortWWPN(adapter, name, errors, 7);
    outcome.errors = errors.size();
    outcome.whole = outcome.result && name.size() == WWN_LENGTH;
}

void Rescan(const Asked& asked, Outcome& outcome) {
    CQelString adapter(FAULT_ADAPTER);
    outcome.result = asked.agent.RefreshTargets(adapter, 7);
    outcome.whole = outcome.result;
}

// With the start that follows it, which asks the neighbours.
void Uninstall(const Asked& asked, Outcome& outcome) {
    outcome.result = asked.agent.Uninstall(7);
    outcome.whole = asked.suite.GetAgent() != nullptr;
}

} // namespace

BOOL CreateVirtualPort(const Asked& asked) {
    Outcome outcome;
    Create(asked, outcome);
    return outcome.result;
}

BOOL DeleteVirtualPort(const Asked& asked) {
    Outcome outcome;
    Delete(asked, outcome);
    return outcome.result;
}

const std::vector<Operation>& Operations() {
    using I = CQelFcoeAgentIntf;
    using A = Answers;
    static constexpr char FABRICS[] = "Unable to get the fabrics for ";
    static const std::vector<Operation> operations = {
        {"EnumerateHBAs", "Unable to get the HBA for ", false,
         Enumerate<QEL_FCOE_HBA, const CQelString, &I::EnumerateHBAs, &A::hbas>},
        {"EnumerateFabrics", FABRICS, false, Enumerate<QEL_FCOE_FABRIC, CQelString, &I::EnumerateFabrics, &A::fabrics>},
        {"EnumeratePorts", "Unable to get the ports for ", false,
         Enumerate<QEL_FCOE_PORT, CQelString, &I::EnumeratePorts, &A::ports>},
        {"EnumerateTargets", FABRICS, false, Enumerate<QEL_FCOE_TARGET, CQelString, &I::EnumerateTargets, &A::targets>},
        {"EnumerateVLANs", FABRICS, false, Enumerate<QEL_FCOE_VLAN, CQelString, &I::EnumerateVLANs, &A::vlans>},
        {"EnumerateLUNs", FABRICS, false, Enumerate<QEL_FCOE_LUN, CQelString, &I::EnumerateLUNs, &A::luns>},
        {"EnumerateStatistics", FABRICS, false,
         Enumerate<QEL_FCOE_STATISTIC, CQelString, &I::EnumerateStatistics, &A::statistics>},
        {"Uninstall", nullptr, false, Uninstall},
        {"CreateVPort", nullptr, true, Create, [](const Asked& asked) { DeleteVirtualPort(asked); }},
        {"DeleteVPort", nullptr, true, Delete, [](const Asked& asked) { CreateVirtualPort(asked); }},
        {"GenerateVPortWWPN", nullptr, false, Generate},
        {"RefreshTargets", nullptr, false, Rescan},
    };
    return operations;
}

bool Ask(CQelFcoeAgentIntf& agent, Answers& answers) {
    CQelString all;
    return agent.EnumerateHBAs(all, answers.hbas, 7) && agent.EnumerateFabrics(all, answers.fabrics, 7) &&
           agent.EnumeratePorts(all, answers.ports, 7) && agent.EnumerateTargets(all, answers.targets, 7) &&
           agent.EnumerateVLANs(all, answers.vlans, 7) && agent.EnumerateLUNs(all, answers.luns, 7) &&
           agent.EnumerateStatistics(all, answers.statistics, 7);
}

std::string Compare(const Answers& expected, const Answers& found) {
    std::string problem = Compare("HBAs", expected.hbas, found.hbas);
    if (problem.empty())
        problem = Compare("fabrics", expected.fabrics, found.fabrics);
    if (problem.empty())
        problem = Compare("ports", expected.ports, found.ports);
    if (problem.empty())
        problem = Compare("targets", expected.targets, found.targets);
    if (problem.empty())
        problem = Compare("VLANs", expected.vlans, found.vlans);
    if (problem.empty())
        problem = Compare("LUNs", expected.luns, found.luns);
    if (problem.empty())
        problem = Compare("statistics", expected.statistics, found.statistics);
    return problem;
}

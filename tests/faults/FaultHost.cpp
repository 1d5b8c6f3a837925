#include "tests/faults/FaultHost.h"

#include <cstring>
#include <iterator>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <variant>

#include <fmt/format.h>

#include "simulator/control/SimControl.h"
#include "tests/kit/HandleCount.h"
#include "tools/fcoectl/Records.h"

namespace {

constexpr wchar_t SUITE_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";
constexpr wchar_t SIMULATOR_KEY[] = L"SOFTWARE\\ORVAN\\Simulator";
constexpr wchar_t ADAPTER[] = L"{11111111-2222-4333-8444-555555555501}";
constexpr wchar_t VIRTUAL_PORT[] = L"20:05:02:05:7C:00:00:01";
constexpr QEL_LOCK_REQUEST OWNER = {5, 0, 0};
constexpr DWORD EVERYTHING_IS_OLD = 20000; // milliseconds, longer than anything is cached

// Two adapters; the first has a virtual port, two targets with two logical units each, and two VLANs.
constexpr char TOPOLOGY[] = R"({"adapters": [
  {"identifier": "{11111111-2222-4333-8444-555555555501}", "display_name": "Adapter one", "mac": "02:05:7C:00:00:01",
   "attributes": {"model": "CX-20"}, "pci": {"bus": 3, "device": 1, "function": 2},
   "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01", "fc_id": "0x010A00",
            "state": 3, "symbolic_name": "one", "fabric_name": "10:00:02:4E:90:00:01:00"},
   "statistics": {"tx_frames": 1000, "rx_frames": 2000},
   "ports": [{"type": 0, "number": 100}, {"type": 3, "port_wwn": "20:01:02:05:7C:00:00:01", "word_a": "0x010A01"}],
   "targets": [
     {"port_wwn": "50:06:02:6B:00:00:00:01", "fc_id": "0x010B01", "npiv": true, "serial": "S1",
      "luns": [{"os_lun": 0, "os_device_name": "\\\\.\\PHYSICALDRIVE2", "blocks": 4096}, {"os_lun": 1, "blocks": 8}]},
     {"port_wwn": "50:06:02:6B:00:00:00:02", "fc_id": "0x010B02", "serial": "S2",
      "luns": [{"os_lun": 0, "blocks": 4096}, {"os_lun": 1, "blocks": 8}]}],
   "vlans": [{"id": 100}, {"id": 200, "state": 2}]},
  {"identifier": "{11111111-2222-4333-8444-555555555502}", "display_name": "Adapter two", "mac": "02:05:7C:00:00:02",
   "port": {"node_wwn": "10:00:02:05:7C:00:00:02", "port_wwn": "20:00:02:05:7C:00:00:02", "state": 3}}],
  "faults": [)";

std::string Topology(const std::string& faults) {
    return TOPOLOGY + faults + "]}";
}

template <class F> F Find(HMODULE module, const char* name) {
    const auto function = reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    if (!function)
        throw std::runtime_error(fmt::format("no export {}", name));
    return function;
}
#define SIM(module, function) Find<decltype(&function)>(module, #function)

template <class Record> bool Same(const Record& a, const Record& b) {
    for (const auto& field : fcoectl::Describe<Record>().fields) {
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

template <class Record>
std::string Compare(const char* what, const std::vector<Record>& expected, const std::vector<Record>& found) {
    if (expected.size() != found.size())
        return fmt::format("afterwards {} {} instead of {}", found.size(), what, expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        if (!Same(expected[i], found[i]))
            return fmt::format("afterwards a wrong record {} of the {}", i, what);
    return {};
}

template <class Record, class Id, BOOL (CQelFcoeAgentIntf::*pfnOperation)(Id&, std::vector<Record>&, ULONG64)>
BOOL Enumerate(FaultHost& host) {
    CQelString all;
    std::vector<Record> records;
    return (host.Agent().*pfnOperation)(all, records, 7);
}

BOOL Create(FaultHost& host) {
    CQelString adapter(ADAPTER), name(VIRTUAL_PORT);
    std::vector<QEL_ERROR_ENTRY> errors;
    ULONG owner = OWNER.ulOwner;
    return host.Agent().CreateVPort(adapter, name, errors, owner);
}

BOOL Delete(FaultHost& host) {
    CQelString adapter(ADAPTER), name(VIRTUAL_PORT);
    std::vector<QEL_ERROR_ENTRY> errors;
    return host.Agent().DeleteVPort(adapter, name, errors, OWNER);
}

BOOL Generate(FaultHost& host) {
    CQelString adapter(ADAPTER), name;
    std::vector<QEL_ERROR_ENTRY> errors;
    return host.Agent().GenerateVPortWWPN(adapter, name, errors, 7);
}

BOOL Rescan(FaultHost& host) {
    CQelString adapter(ADAPTER);
    return host.Agent().RefreshTargets(adapter, 7);
}

// With the start that follows it, which asks the neighbours.
BOOL Uninstall(FaultHost& host) {
    const BOOL result = host.Agent().Uninstall(7);
    host.Suite().GetAgent();
    return result;
}

// What the other thread finds.
template <class Work> std::string InOtherThread(OtherThread& thread, Work work) {
    std::string problem;
    thread.Run([&] {
        try {
            problem = work();
        } catch (const std::exception& exception) {
            problem = fmt::format("afterwards an operation threw {}", exception.what());
        } catch (...) {
            problem = "afterwards an operation threw";
        }
    });
    return problem;
}

std::string CheckMutex() {
    constexpr DWORD OTHER_PROCESSES_ARE_DONE = 3000; // milliseconds
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, L"Global\\CHBAAPINTMUT");
    const bool taken = WaitForSingleObject(mutex, OTHER_PROCESSES_ARE_DONE) == WAIT_OBJECT_0;
    if (taken)
        ReleaseMutex(mutex);
    CloseHandle(mutex);
    return taken ? "" : "the cross-process mutex is held";
}

} // namespace

const std::vector<FaultHost::Operation>& FaultHost::Operations() {
    using I = CQelFcoeAgentIntf;
    static const std::vector<Operation> operations = {
        {"EnumerateHBAs", false, Enumerate<QEL_FCOE_HBA, const CQelString, &I::EnumerateHBAs>},
        {"EnumerateFabrics", false, Enumerate<QEL_FCOE_FABRIC, CQelString, &I::EnumerateFabrics>},
        {"EnumeratePorts", false, Enumerate<QEL_FCOE_PORT, CQelString, &I::EnumeratePorts>},
        {"EnumerateTargets", false, Enumerate<QEL_FCOE_TARGET, CQelString, &I::EnumerateTargets>},
        {"EnumerateVLANs", false, Enumerate<QEL_FCOE_VLAN, CQelString, &I::EnumerateVLANs>},
        {"EnumerateLUNs", false, Enumerate<QEL_FCOE_LUN, CQelString, &I::EnumerateLUNs>},
        {"EnumerateStatistics", false, Enumerate<QEL_FCOE_STATISTIC, CQelString, &I::EnumerateStatistics>},
        {"Uninstall", false, Uninstall},
        {"CreateVPort", true, Create, [](FaultHost& host) { Delete(host); }},
        {"DeleteVPort", true, Delete, [](FaultHost& host) { Create(host); }},
        {"GenerateVPortWWPN", false, Generate},
        {"RefreshTargets", false, Rescan},
    };
    return operations;
}

FaultHost::FaultHost() {
    m_suite.Hive().Set(SUITE_KEY, L"TRACE", DWORD{2}); // errors only: the matrix is about what comes back
    m_suite.Hive().Set(SIMULATOR_KEY, L"LockWait", std::wstring(L"200"));
    m_suite.Hive().Set(SIMULATOR_KEY, L"Instance", std::to_wstring(GetCurrentProcessId())); // a lock of its own
    m_suite.Simulate(Topology(""));
    m_library = m_suite.Library();
    m_coreAgent = LoadLibraryW((ModuleFolder() / L"CoreAgnt.dll").c_str());
    m_core = Find<PFN_GetCoreAgentPvt>(m_coreAgent, "GetCoreAgentPvt")();
    SIM(m_library, OrvanSim_LoadTopology)(Topology("").c_str());
    if (!Load())
        throw std::runtime_error("there is no agent");
    m_clock->Advance(EVERYTHING_IS_OLD);
    if (const auto problem = Ask(m_reference); !problem.empty())
        throw std::runtime_error(problem);
    for (const Operation& operation : Operations()) {
        Allocations::Use use;
        for (int i = 0; i < 3; ++i) {
            Prepare(operation, false);
            use = m_allocations->Watch([&] { Run(operation); });
            CleanUp(operation);
        }
        m_usualGrowth.push_back(use.live);
    }
    CheckHealth(true);
}

bool FaultHost::Load() {
    m_agent = m_suite.GetAgent();
    m_clock.emplace(100000, m_suite.Module());
    m_allocations.emplace(m_suite.Module());
    return m_agent != nullptr;
}

void FaultHost::Unload() {
    m_allocations.reset();
    m_clock.reset();
    m_agent = nullptr;
    m_suite.Unload();
}

void FaultHost::Restart() {
    m_agent->Uninstall(7);
    m_suite.GetAgent();
}

void FaultHost::Declare(Neighbour neighbour, const std::string& faults) {
    if (m_neighbour == neighbour && m_declared == faults)
        return;
    for (const HMODULE module : {m_library, m_coreAgent}) {
        const bool faulty = module == (neighbour == Neighbour::Library ? m_library : m_coreAgent);
        if (!faulty && m_neighbour == neighbour)
            continue;
        if (const char* error = SIM(module, OrvanSim_LoadTopology)(Topology(faulty ? faults : "").c_str()))
            throw std::runtime_error(error);
    }
    m_neighbour = neighbour;
    m_declared = faults;
    Arm(false);
}

void FaultHost::Arm(bool armed) {
    SIM(m_neighbour == Neighbour::Library ? m_library : m_coreAgent, OrvanSim_ArmFaults)(armed);
}

std::string FaultHost::Run(const Operation& operation, bool memory) {
    try {
        const BOOL result = operation.run(*this);
        return result == TRUE || result == FALSE ? std::string() : fmt::format("returned {}", result);
    } catch (const std::bad_alloc&) {
        return memory ? "" : "threw std::bad_alloc";
    } catch (const std::exception& exception) {
        return fmt::format("threw {}", exception.what());
    } catch (...) {
        return "threw";
    }
}

void FaultHost::Prepare(const Operation& operation, bool cold) {
    if (operation.prepare)
        operation.prepare(*this);
    if (cold)
        Restart();
    m_clock->Advance(EVERYTHING_IS_OLD);
}

void FaultHost::CleanUp(const Operation& operation) {
    if (!operation.locks)
        return;
    m_core->DoneLock(OWNER);
    std::vector<QEL_FCOE_STATISTIC> ignored;
    CQelString adapter(ADAPTER);
    m_agent->EnumerateStatistics(adapter, ignored, 7); // opens the adapter, which virtual ports need
    Delete(*this);
}

template <class Work>
std::string FaultHost::Examine(const Operation& operation, bool closesAdapters, bool lasting, Work work) {
    std::string problem;
    for (int attempt = 0; attempt < 2; ++attempt) {
        const std::size_t handles = CountHandles();
        const unsigned open = SIM(m_library, OrvanSim_OpenHandles)();
        problem = work();
        if (lasting)
            Restart();
        if (problem.empty())
            problem = CheckHealth(operation.locks);
        if (!problem.empty()) {
            Restart(); // the next cell shall not suffer from this one
            CheckHealth(false);
            return problem;
        }
        const std::size_t handlesNow = CountHandles();
        const unsigned openNow = SIM(m_library, OrvanSim_OpenHandles)();
        if (handlesNow == handles && (openNow == open || !closesAdapters))
            return {};
        problem =
            fmt::format("{} handles instead of {}, {} adapters open instead of {}", handlesNow, handles, openNow, open);
    }
    return problem;
}

std::string FaultHost::CheckFault(Neighbour neighbour, const std::string& faults, const Operation& operation, bool cold,
                                  bool lasting) {
    Declare(neighbour, faults);
    const bool closesAdapters = faults.find("\"CloseAdapter\"") == std::string::npos;
    return Examine(operation, closesAdapters, lasting, [&] {
        const auto Round = [&](std::string& problem) {
            Prepare(operation, cold);
            Arm(true);
            const auto use = m_allocations->Watch([&] { problem = Run(operation); });
            Arm(false);
            CleanUp(operation);
            return use.live;
        };
        std::string problem;
        Round(problem);
        if (cold || !problem.empty())
            return problem;
        // The first round may leave what later ones use again; a leak is what each of the others leaves.
        const long long usual = m_usualGrowth[static_cast<std::size_t>(&operation - Operations().data())];
        for (int round = 0; round < 4 && problem.empty(); ++round)
            if (Round(problem) <= usual)
                return problem;
        return problem.empty() ? std::string("leaks memory") : problem;
    });
}

unsigned long long FaultHost::CountAllocations(const Operation& operation, bool cold) {
    Prepare(operation, cold);
    const auto use = m_allocations->Watch([&] { Run(operation); });
    CleanUp(operation);
    return use.made;
}

std::string FaultHost::CheckMemory(const Operation& operation, bool cold, unsigned long long number,
                                   Allocations::Failing failing) {
    Declare(Neighbour::Library, "");
    return Examine(operation, true, cold, [&] {
        Prepare(operation, cold);
        std::string problem;
        m_allocations->Watch([&] { problem = Run(operation, true); }, number, failing);
        m_suite.GetAgent(); // a start that memory exhaustion ended is tried again
        CleanUp(operation);
        Prepare(operation, false);
        if (problem.empty() && !operation.run(*this))
            problem = "afterwards the same call fails";
        CleanUp(operation);
        return problem;
    });
}

std::string FaultHost::CheckAllOperations() {
    for (const Operation& operation : Operations()) {
        m_clock->Advance(EVERYTHING_IS_OLD);
        if (const auto problem = Run(operation); !problem.empty())
            return fmt::format("{} {}", operation.name, problem);
        CleanUp(operation);
    }
    return {};
}

std::string FaultHost::CheckHealth(bool locks) {
    return InOtherThread(m_otherThread, [&]() -> std::string {
        if (const auto problem = CheckMutex(); !problem.empty())
            return problem;
        if (locks && (!Create(*this) || !Delete(*this)))
            return "afterwards a virtual port cannot be made or deleted";
        return CompareAnswers();
    });
}

std::string FaultHost::CompareAnswers() {
    ANSWERS answers;
    m_clock->Advance(EVERYTHING_IS_OLD);
    std::string problem = Ask(answers);
    if (problem.empty())
        problem = Compare("HBAs", m_reference.hbas, answers.hbas);
    if (problem.empty())
        problem = Compare("fabrics", m_reference.fabrics, answers.fabrics);
    if (problem.empty())
        problem = Compare("ports", m_reference.ports, answers.ports);
    if (problem.empty())
        problem = Compare("targets", m_reference.targets, answers.targets);
    if (problem.empty())
        problem = Compare("VLANs", m_reference.vlans, answers.vlans);
    if (problem.empty())
        problem = Compare("LUNs", m_reference.luns, answers.luns);
    if (problem.empty())
        problem = Compare("statistics", m_reference.statistics, answers.statistics);
    return problem;
}

std::string FaultHost::Ask(ANSWERS& answers) {
    CQelString all;
    const bool answered =
        m_agent->EnumerateHBAs(all, answers.hbas, 7) && m_agent->EnumerateFabrics(all, answers.fabrics, 7) &&
        m_agent->EnumeratePorts(all, answers.ports, 7) && m_agent->EnumerateTargets(all, answers.targets, 7) &&
        m_agent->EnumerateVLANs(all, answers.vlans, 7) && m_agent->EnumerateLUNs(all, answers.luns, 7) &&
        m_agent->EnumerateStatistics(all, answers.statistics, 7);
    return answered ? "" : "afterwards an enumeration fails";
}

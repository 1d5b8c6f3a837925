#include "tests/faults/FaultHost.h"
#include "tests/kit/ProgramFolder.h"

#include <algorithm>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include <fmt/format.h>

#include "simulator/control/SimControl.h"
#include "tests/faults/RegistryKeys.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/HandleCount.h"
#include "tools/reading/Records.h"

namespace {

constexpr wchar_t SIMULATOR_KEY[] = L"SOFTWARE\\ORVAN\\Simulator";
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

// The lines that a simulated neighbour has recorded.
std::vector<std::string> RecordedCalls(HMODULE module) {
    const auto read = NEED_FUNCTION(module, OrvanSim_CallLog);
    std::string all(read(nullptr, 0), '\0');
    read(all.data(), static_cast<unsigned>(all.size()));
    all.resize(std::min(all.find('\0'), all.size()));
    std::vector<std::string> lines;
    std::istringstream stream(all);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
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

std::string FaultHost::TopologyText(const std::string& faults, bool online) {
    std::string text = TOPOLOGY + faults + "]}";
    constexpr std::string_view STATE = R"("state": 3)"; // of the adapters' ports
    for (std::size_t at = 0; online && (at = text.find(STATE, at)) != text.npos; at += STATE.size())
        text.replace(at, STATE.size(), R"("state": 2)");
    return text;
}

FaultHost::FaultHost() {
    m_suite.Hive().Set(SUITE_KEY, L"TRACE", DWORD{1});
    m_suite.Hive().Set(SIMULATOR_KEY, L"LockWait", std::wstring(L"200"));
    m_suite.Hive().Set(SIMULATOR_KEY, L"Instance", std::to_wstring(GetCurrentProcessId())); // a lock of its own
    m_suite.Simulate(TopologyText(""));
    m_library = m_suite.Library();
    m_coreAgent = LoadLibraryW((ProgramFolder() / L"CoreAgnt.dll").c_str());
    m_core = NeedFunction<PFN_GetCoreAgentPvt>(m_coreAgent, "GetCoreAgentPvt")();
    NEED_FUNCTION(m_library, OrvanSim_LoadTopology)(TopologyText("").c_str());
    if (!Load())
        throw std::runtime_error("there is no agent");
    m_clock->Advance(EVERYTHING_IS_OLD);
    if (!Ask(*m_agent, m_healthy))
        throw std::runtime_error("the healthy agent fails");
    for (const bool cold : {false, true}) {
        for (const Operation& operation : Operations()) {
            std::string problem;
            long long growth = 0;
            for (int i = 0; i < 3; ++i)
                growth = Growth(operation, cold, problem);
            m_usualGrowth[cold].push_back(growth);
        }
    }
    CheckHealth(true);
}

bool FaultHost::Load() {
    m_agent = m_suite.GetAgent();
    m_clock.emplace(100000, m_suite.Module());
    m_allocations.emplace(m_suite.Module());
    m_log.emplace(m_suite.Module());
    m_com.emplace(m_suite.Module());
    return m_agent != nullptr;
}

void FaultHost::Unload() {
    m_com.reset();
    m_log.reset();
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
        if (const char* error =
                NEED_FUNCTION(module, OrvanSim_LoadTopology)(TopologyText(faulty ? faults : "", m_online).c_str()))
            throw std::runtime_error(error);
    }
    m_neighbour = neighbour;
    m_declared = faults;
    Arm(false);
}

void FaultHost::Arm(bool armed) {
    NEED_FUNCTION(m_neighbour == Neighbour::Library ? m_library : m_coreAgent, OrvanSim_ArmFaults)(armed);
}

std::string FaultHost::Run(const Operation& operation, Outcome& outcome, bool memory) {
    try {
        operation.run(Operated(), outcome);
        const BOOL result = outcome.result;
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
        operation.prepare(Operated());
    if (cold)
        Restart();
    m_clock->Advance(EVERYTHING_IS_OLD);
}

void FaultHost::CleanUp(const Operation& operation) {
    if (!operation.locks)
        return;
    m_core->DoneLock(FAULT_LOCK_OWNER);
    std::vector<QEL_FCOE_STATISTIC> ignored;
    CQelString adapter(FAULT_ADAPTER);
    m_agent->EnumerateStatistics(adapter, ignored, 7); // opens the adapter, which virtual ports need
    DeleteVirtualPort(Operated());
}

template <class Work>
std::string FaultHost::Examine(const Operation& operation, bool closesAdapters, bool lasting, std::size_t keptHandles,
                               Work work) {
    std::string problem;
    for (int attempt = 0; attempt < 2; ++attempt) {
        const std::size_t handles = CountHandles();
        const unsigned open = NEED_FUNCTION(m_library, OrvanSim_OpenHandles)();
        const int joined = m_com->Joined();
        problem = work();
        if (problem.empty() && m_com->Joined() != joined)
            problem = fmt::format("joined COM {} times more than it left it", m_com->Joined() - joined);
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
        const unsigned openNow = NEED_FUNCTION(m_library, OrvanSim_OpenHandles)();
        if (handlesNow + keptHandles >= handles && handlesNow <= handles + keptHandles &&
            (openNow == open || !closesAdapters))
            return {};
        problem =
            fmt::format("{} handles instead of {}, {} adapters open instead of {}", handlesNow, handles, openNow, open);
    }
    return problem;
}

std::string FaultHost::RunObserved(const Fault& fault, const Operation& operation) {
    const HMODULE faulty = fault.neighbour == Neighbour::Library ? m_library : m_coreAgent;
    for (const HMODULE module : {m_library, m_coreAgent}) {
        NEED_FUNCTION(module, OrvanSim_ResetCalls)();
        NEED_FUNCTION(module, OrvanSim_RecordCalls)(TRUE);
    }
    m_log->Clear();
    Observation observation;
    std::string problem = Run(operation, observation.outcome);
    observation.messages = m_log->Messages();
    observation.calls = NEED_FUNCTION(faulty, OrvanSim_CallCount)(fault.function.c_str());
    observation.libraryCalls = RecordedCalls(m_library);
    observation.coreCalls = RecordedCalls(m_coreAgent);
    for (const HMODULE module : {m_library, m_coreAgent}) {
        NEED_FUNCTION(module, OrvanSim_RecordCalls)(FALSE);
        NEED_FUNCTION(module, OrvanSim_ResetCalls)();
    }
    return problem.empty() ? CheckContract(operation, fault.harm, observation) : problem;
}

long long FaultHost::Growth(const Operation& operation, bool cold, std::string& problem) {
    Prepare(operation, cold);
    Arm(true);
    Outcome outcome;
    const auto use = m_allocations->Watch([&] {
        problem = Run(operation, outcome);
        if (cold) { // back to where it began
            Arm(false);
            Restart();
        }
    });
    Arm(false);
    CleanUp(operation);
    return use.live;
}

std::string FaultHost::CheckFault(const Fault& fault, const Operation& operation) {
    Declare(fault.neighbour, fmt::format(R"({{"function": "{}", {}}})", fault.function, fault.members));
    const bool closesAdapters = fault.function != "CloseAdapter";
    const long long usual = m_usualGrowth[fault.cold][static_cast<std::size_t>(&operation - Operations().data())];
    return Examine(operation, closesAdapters, fault.lasting, 0, [&] {
        Prepare(operation, fault.cold);
        Arm(true);
        std::string problem = RunObserved(fault, operation);
        Arm(false);
        CleanUp(operation);
        // The first round may leave what later ones use again; a leak is what each of the others leaves.
        for (int round = 0; round < 4 && problem.empty(); ++round)
            if (Growth(operation, fault.cold, problem) <= usual)
                return problem;
        return problem.empty() ? std::string("leaks memory") : problem;
    });
}

unsigned long long FaultHost::CountAllocations(const Operation& operation, bool cold) {
    Prepare(operation, cold);
    Outcome outcome;
    const auto use = m_allocations->Watch([&] { Run(operation, outcome); });
    CleanUp(operation);
    return use.made;
}

std::string FaultHost::CheckMemory(const Operation& operation, bool cold, unsigned long long number,
                                   Allocations::Failing failing) {
    Declare(Neighbour::Library, "");
    return Examine(operation, true, cold, 0, [&] {
        Prepare(operation, cold);
        std::string problem;
        Outcome outcome;
        m_allocations->Watch([&] { problem = Run(operation, outcome, true); }, number, failing);
        m_suite.GetAgent(); // a start that memory exhaustion ended is tried again
        CleanUp(operation);
        Prepare(operation, false);
        outcome = {};
        if (problem.empty())
            problem = Run(operation, outcome);
        if (problem.empty() && !outcome.whole)
            problem = "afterwards the same call does not give its full answer";
        CleanUp(operation);
        return problem;
    });
}

void FaultHost::ShowOnline(bool online) {
    m_online = online;
    m_declared = "nothing yet";
    Declare(Neighbour::CoreAgent, "");
    Declare(Neighbour::Library, "");
    Restart();
    m_clock->Advance(EVERYTHING_IS_OLD);
    m_healthy = {};
    if (!Ask(*m_agent, m_healthy))
        throw std::runtime_error("the healthy agent fails");
}

std::string FaultHost::CheckService(const Operation& operation, bool cold, std::size_t keptHandles,
                                    const std::function<void()>& hurt, const std::function<void()>& heal,
                                    const LinkStatusTest& isExpected) {
    return Examine(operation, true, false, keptHandles, [&] {
        Prepare(operation, cold);
        hurt();
        Outcome outcome;
        std::string problem = Run(operation, outcome);
        // Whatever the service does, only the link status tells of it. The record is cached: it is the one just made.
        std::vector<QEL_FCOE_HBA> hbas;
        const bool asksService = operation.Is("EnumerateHBAs");
        if (asksService && !m_agent->EnumerateHBAs(CQelString(), hbas, 7))
            problem = "the adapters cannot be told";
        heal();
        CleanUp(operation);
        if (!problem.empty())
            return problem;
        if (!asksService)
            return outcome.whole ? problem : "did not give the full answer";
        if (!outcome.result || hbas.size() != m_healthy.hbas.size())
            return fmt::format("returned {} with {} adapters", outcome.result, hbas.size());
        Answers answers = m_healthy;
        for (std::size_t i = 0; i < hbas.size(); ++i) {
            if (!isExpected(i, hbas[i].strFcoeLinkStatus))
                problem = fmt::format("adapter {}: \"{}\"", i, reading::FieldText(hbas[i].strFcoeLinkStatus));
            hbas[i].strFcoeLinkStatus = m_healthy.hbas[i].strFcoeLinkStatus;
        }
        answers.hbas = hbas;
        return problem.empty() ? Compare(m_healthy, answers) : problem;
    });
}

std::string FaultHost::CheckHealthy(const Operation& operation, bool cold) {
    Declare(Neighbour::Library, "");
    Prepare(operation, cold);
    m_log->Clear();
    Outcome outcome;
    const std::string problem = Run(operation, outcome);
    CleanUp(operation);
    return problem.empty() && !outcome.whole ? "did not give its full answer" : problem;
}

std::string FaultHost::CheckWithoutCoreAgent(const Operation& operation) {
    m_clock->Advance(EVERYTHING_IS_OLD);
    m_log->Clear();
    Outcome outcome;
    const std::string problem = Run(operation, outcome);
    // Only what needs the adapter list or the lock is hurt.
    const bool right = operation.failure           ? outcome.result && outcome.records == 0
                       : operation.locks           ? !outcome.result && outcome.errors == 0
                       : operation.Is("Uninstall") ? outcome.result && !outcome.whole
                                                   : outcome.whole;
    if (!problem.empty() || !right)
        return problem.empty() ? fmt::format("returned {} with {} records", outcome.result, outcome.records) : problem;
    const auto messages = m_log->Messages();
    const auto Logged = [&](const std::string& message) {
        return std::ranges::find(messages, message) != messages.end();
    };
    if (operation.failure && !Logged("CQelFcoeAgentWin::GetAdaptersThatSupportFCOE - EnumerateAdapters failed!"))
        return "did not log that there is no adapter list";
    if (operation.locks && !Logged(fmt::format("CQelFcoeAgentWin::{} - StartLock failed", operation.name)))
        return "did not log that there is no lock";
    return {};
}

std::string FaultHost::CheckAllOperations(bool whole) {
    for (const Operation& operation : Operations()) {
        Prepare(operation, false);
        Outcome outcome;
        if (const auto problem = Run(operation, outcome); !problem.empty())
            return fmt::format("{} {}", operation.name, problem);
        if (whole && !outcome.whole)
            return fmt::format("{} did not give its full answer", operation.name);
        CleanUp(operation);
    }
    return {};
}

std::string FaultHost::CheckHealth(bool locks) {
    return InOtherThread(m_otherThread, [&]() -> std::string {
        if (const auto problem = CheckMutex(); !problem.empty())
            return problem;
        if (locks && (!CreateVirtualPort(Operated()) || !DeleteVirtualPort(Operated())))
            return "afterwards a virtual port cannot be made or deleted";
        return CompareAnswers();
    });
}

std::string FaultHost::CompareAnswers() {
    m_clock->Advance(EVERYTHING_IS_OLD);
    Answers answers;
    if (!Ask(*m_agent, answers))
        return "afterwards an enumeration fails";
    const std::string problem = Compare(m_healthy, answers);
    return problem.empty() ? problem : "afterwards " + problem;
}

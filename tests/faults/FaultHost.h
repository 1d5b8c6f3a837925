// A host whose neighbours are made to fail, and what it checks after each failure.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "FcoeAgent/CoreAgentPvt.h"
#include "tests/faults/AgentLog.h"
#include "tests/faults/Allocations.h"
#include "tests/faults/ComBalance.h"
#include "tests/faults/Contract.h"
#include "tests/faults/Operations.h"
#include "tests/faults/OtherThread.h"
#include "tests/kit/MovedClock.h"
#include "tests/kit/SuiteHost.h"

class FaultHost {
  public:
    // Which neighbour's faults are declared.
    enum class Neighbour { Library, CoreAgent };

    struct Fault {
        Neighbour neighbour;
        std::string function;
        std::string members; // of its entry in a topology's list, but for the function
        Harm harm = Harm::Some;
        bool cold = false;    // the agent has just been started
        bool lasting = false; // what the neighbour said counts until the agent is started again
    };

    // What the neighbours show, with these entries in the list of faults. online: the adapters' ports are, which has
    // the agent ask the DCB service.
    static std::string TopologyText(const std::string& faults, bool online = false);

    // Loads the agent and notes its full answers.
    FaultHost();
    FaultHost(const FaultHost&) = delete;
    FaultHost& operator=(const FaultHost&) = delete;

    SuiteHost& Suite() { return m_suite; }
    CQelFcoeAgentIntf& Agent() { return *m_agent; }
    AgentLog& Log() { return *m_log; }
    const Answers& HealthyAnswers() const { return m_healthy; }

    // The module comes and goes with all that it read when it was loaded. Load is false when there is no agent.
    void Unload();
    bool Load();
    // Ends the agent and starts it again in the loaded module.
    void Restart();

    // Has the adapters' ports come and go; the full answers are then others.
    void ShowOnline(bool online);

    // The operation while the fault shows: does it come back as agreed, and is all as it was afterwards?
    // What went wrong; empty for nothing.
    std::string CheckFault(const Fault& fault, const Operation& operation);
    // The same while the allocation with that number fails, alone or with all after it.
    std::string CheckMemory(const Operation& operation, bool cold, unsigned long long number,
                            Allocations::Failing failing);
    // Allocations that the operation makes.
    unsigned long long CountAllocations(const Operation& operation, bool cold);
    // The operation among healthy neighbours: it has to give its full answer.
    std::string CheckHealthy(const Operation& operation, bool cold);
    // The operation of an agent that was loaded without a core agent.
    std::string CheckWithoutCoreAgent(const Operation& operation);
    // Every operation; for neighbours that are asked while the agent is loaded. whole: each has to give its full
    // answer, else any outcome will do.
    std::string CheckAllOperations(bool whole);
    // The operation between hurt and heal, which concern a service that tells of the adapters' link status. isExpected:
    // whether an adapter's status is right meanwhile. keptHandles: so many may be open more than before, or
    // fewer when an earlier operation left them.
    using LinkStatusTest = std::function<bool(std::size_t adapter, const CQelString& status)>;
    std::string CheckService(const Operation& operation, bool cold, std::size_t keptHandles,
                             const std::function<void()>& hurt, const std::function<void()>& heal,
                             const LinkStatusTest& isExpected);
    // Whether every enumeration gives the full answer, and no lock is held.
    std::string CheckHealth(bool locks);

  private:
    Asked Operated() { return {m_suite, *m_agent, m_healthy}; }
    void Declare(Neighbour neighbour, const std::string& faults);
    void Arm(bool armed);
    // Runs the operation; what went wrong.
    std::string Run(const Operation& operation, Outcome& outcome, bool memory = false);
    // The same while what happens is recorded, and compared with what the agent owes its host.
    std::string RunObserved(const Fault& fault, const Operation& operation);
    void Prepare(const Operation& operation, bool cold);
    // Removes what the operation or its fault left: the configuration lock, the virtual port.
    void CleanUp(const Operation& operation);
    // Does the work, then checks the agent's health, that COM was left as often as it was joined, and that as many
    // handles are open as before. What the first of two runs leaves is what all later ones use; what the second adds is
    // a leak.
    template <class Work>
    std::string Examine(const Operation& operation, bool closesAdapters, bool lasting, std::size_t keptHandles,
                        Work work);
    std::string CompareAnswers();
    // Blocks that a round of the operation leaves.
    long long Growth(const Operation& operation, bool cold, std::string& problem);

    OtherThread m_otherThread;
    SuiteHost m_suite;
    HMODULE m_library, m_coreAgent; // held, so that their faults last while the agent comes and goes
    ICoreAgentPvt* m_core;
    CQelFcoeAgentIntf* m_agent = nullptr;
    std::optional<MovedClock> m_clock;
    std::optional<Allocations> m_allocations;
    std::optional<AgentLog> m_log;
    std::optional<ComBalance> m_com;
    Neighbour m_neighbour = Neighbour::Library;
    std::string m_declared; // of that neighbour
    bool m_online = false;
    Answers m_healthy;
    std::vector<long long> m_usualGrowth[2]; // without faults, by operation; [1]: cold
};

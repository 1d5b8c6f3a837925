// A host whose neighbours are made to fail, and what it checks after each failure.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "FcoeAgent/CoreAgentPvt.h"
#include "FcoeAgent/FcoeRecords.h"
#include "tests/faults/Allocations.h"
#include "tests/faults/OtherThread.h"
#include "tests/kit/MovedClock.h"
#include "tests/system/SuiteHost.h"

class FaultHost {
  public:
    // Which neighbour's faults are declared.
    enum class Neighbour { Library, CoreAgent };

    struct Operation {
        const char* name;
        bool locks; // works inside the core agent's configuration lock
        BOOL (*run)(FaultHost& host);
        void (*prepare)(FaultHost& host) = nullptr; // what it needs to have something to do
    };
    // The twelve operations of the agent's interface.
    static const std::vector<Operation>& Operations();

    // Loads the agent and notes its full answers.
    FaultHost();
    FaultHost(const FaultHost&) = delete;
    FaultHost& operator=(const FaultHost&) = delete;

    SuiteHost& Suite() { return m_suite; }
    CQelFcoeAgentIntf& Agent() { return *m_agent; }

    // The module comes and goes with all that it read when it was loaded. Load is false when there is no agent.
    void Unload();
    bool Load();
    // Ends the agent and starts it again in the loaded module.
    void Restart();

    // The operation while the faults show: does it come back with TRUE or FALSE, and is all as it was afterwards?
    // What went wrong; empty for nothing.
    //   faults  entries of a topology's list
    //   cold    the agent has just been started
    //   lasting what the neighbour said counts until the agent is started again
    std::string CheckFault(Neighbour neighbour, const std::string& faults, const Operation& operation, bool cold,
                           bool lasting);
    // The same while the allocation with that number fails, alone or with all after it.
    std::string CheckMemory(const Operation& operation, bool cold, unsigned long long number,
                            Allocations::Failing failing);
    // Allocations that the operation makes.
    unsigned long long CountAllocations(const Operation& operation, bool cold);
    // Every operation, with any outcome; for neighbours that are asked while the agent is loaded.
    std::string CheckAllOperations();
    // Whether every enumeration gives the full answer, and no lock is held.
    std::string CheckHealth(bool locks);

  private:
    struct ANSWERS {
        std::vector<QEL_FCOE_HBA> hbas;
        std::vector<QEL_FCOE_FABRIC> fabrics;
        std::vector<QEL_FCOE_PORT> ports;
        std::vector<QEL_FCOE_TARGET> targets;
        std::vector<QEL_FCOE_VLAN> vlans;
        std::vector<QEL_FCOE_LUN> luns;
        std::vector<QEL_FCOE_STATISTIC> statistics;
    };

    void Declare(Neighbour neighbour, const std::string& faults);
    void Arm(bool armed);
    // Runs the operation; what went wrong.
    std::string Run(const Operation& operation, bool memory = false);
    void Prepare(const Operation& operation, bool cold);
    // Removes what the operation or its fault left: the configuration lock, the virtual port.
    void CleanUp(const Operation& operation);
    // Does the work, then checks the agent's health and that as many handles are open as before. What the first of two
    // runs leaves is what all later ones use; what the second adds is a leak.
    template <class Work> std::string Examine(const Operation& operation, bool closesAdapters, bool lasting, Work work);
    std::string Ask(ANSWERS& answers);
    std::string CompareAnswers();

    OtherThread m_otherThread;
    SuiteHost m_suite;
    HMODULE m_library, m_coreAgent; // held, so that their faults last while the agent comes and goes
    ICoreAgentPvt* m_core;
    CQelFcoeAgentIntf* m_agent = nullptr;
    std::optional<MovedClock> m_clock;
    std::optional<Allocations> m_allocations;
    Neighbour m_neighbour = Neighbour::Library;
    std::string m_declared; // of that neighbour
    ANSWERS m_reference;
    std::vector<long long> m_usualGrowth; // blocks that an operation leaves without faults, by operation
};

// The twelve operations of the agent's interface, and what each of them came back with.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "FcoeAgent/FcoeAgentIntf.h"
#include "FcoeAgent/FcoeRecords.h"
#include "tests/kit/SuiteHost.h"

// All that the enumerations answer.
struct Answers {
    std::vector<QEL_FCOE_HBA> hbas;
    std::vector<QEL_FCOE_FABRIC> fabrics;
    std::vector<QEL_FCOE_PORT> ports;
    std::vector<QEL_FCOE_TARGET> targets;
    std::vector<QEL_FCOE_VLAN> vlans;
    std::vector<QEL_FCOE_LUN> luns;
    std::vector<QEL_FCOE_STATISTIC> statistics;
};

// What a host sees of one operation. Takes no memory: the operation may have left none.
struct Outcome {
    BOOL result = FALSE;
    bool whole = false;      // the answer is the healthy one
    std::size_t records = 0; // of an enumeration
    std::size_t errors = 0;  // entries of a virtual-port operation
    ULONG error = 0;         // code of the last
};

// Whom an operation is asked of.
struct Asked {
    SuiteHost& suite;
    CQelFcoeAgentIntf& agent;
    const Answers& healthy;
};

struct Operation {
    const char* name;
    const char* failure; // what an enumeration logs for an adapter that fails; null: it is none
    bool locks;          // works inside the core agent's configuration lock
    void (*run)(const Asked& asked, Outcome& outcome);
    void (*prepare)(const Asked& asked) = nullptr; // what it needs to have something to do

    bool Is(std::string_view wanted) const { return wanted == name; }
};

const std::vector<Operation>& Operations();

inline constexpr wchar_t FAULT_ADAPTER[] = L"{11111111-2222-4333-8444-555555555501}";
inline constexpr QEL_LOCK_REQUEST FAULT_LOCK_OWNER = {5, 0, 0};

BOOL CreateVirtualPort(const Asked& asked);
BOOL DeleteVirtualPort(const Asked& asked);

// Runs all enumerations; whether all succeeded.
bool Ask(CQelFcoeAgentIntf& agent, Answers& answers);
// What the second lacks or has wrong; empty for nothing.
std::string Compare(const Answers& expected, const Answers& found);

#include "tests/soak/History.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "FcoeAgent/QelResource.h"

namespace soak {
namespace {

constexpr ULONGLONG CACHE_AGE = 10; // milliseconds
constexpr int CACHE_DEPTH = 2 * 4;  // overlapping refreshes; of adapter, fabrics, targets, logical units
constexpr ULONGLONG STILL = ~0ull;

} // namespace

void History::GenerationBegins(const Generation& generation) {
    const std::lock_guard lock(m_lock);
    m_seen[m_seenCount++ % GENERATIONS] = {generation, GetTickCount64(), STILL};
    for (unsigned a = generation.present; a < ADAPTERS; ++a)
        m_nameless[a] = true;
}

void History::GenerationIsInUse(long long number) {
    const std::lock_guard lock(m_lock);
    const ULONGLONG now = GetTickCount64();
    for (unsigned long long i = m_seenCount > GENERATIONS ? m_seenCount - GENERATIONS : 0; i < m_seenCount; ++i)
        if (Seen& seen = m_seen[i % GENERATIONS]; seen.to == STILL && seen.generation.number < number)
            seen.to = now;
}

void History::RestartBegins() {
    const std::lock_guard lock(m_lock);
    m_restarting = true;
    // While the newest generation is not in use yet, the agent may still meet one before it.
    unsigned present = ADAPTERS;
    for (unsigned long long i = m_seenCount > GENERATIONS ? m_seenCount - GENERATIONS : 0; i < m_seenCount; ++i)
        if (const Seen& seen = m_seen[i % GENERATIONS]; seen.to == STILL)
            present = std::min(present, seen.generation.present);
    for (unsigned a = 0; a < ADAPTERS; ++a) {
        m_nameless[a] = a >= present;
        const auto first = m_callCount[a] > CALLS ? m_callCount[a] - CALLS : 0;
        for (auto i = first; i < m_callCount[a]; ++i)
            m_nameless[a] = m_nameless[a] || m_calls[a][i % CALLS].open;
    }
}

void History::RestartEnds() {
    const std::lock_guard lock(m_lock);
    m_restarting = false;
    m_restartEnd = GetTickCount64();
}

void History::AgentLoaded() {
    RestartBegins();
    RestartEnds();
}

void History::DcbIs(Dcb state) {
    const std::lock_guard lock(m_lock);
    m_dcb = state;
    m_dcbSince = GetTickCount64();
}

History::Call History::Begin(unsigned adapters, bool alone) {
    const std::lock_guard lock(m_lock);
    Call call;
    call.adapters = adapters;
    call.start = GetTickCount64();
    for (unsigned a = 0; a < ADAPTERS; ++a) {
        if (!(adapters & 1u << a))
            continue;
        call.index[a] = m_callCount[a]++;
        m_calls[a][call.index[a] % CALLS] = {call.start, STILL, true, alone};
        m_nameless[a] = m_nameless[a] || m_restarting;
    }
    return call;
}

void History::End(Call& call) {
    const std::lock_guard lock(m_lock);
    const ULONGLONG now = GetTickCount64();
    for (unsigned a = 0; a < ADAPTERS; ++a) {
        // Now: the agent may start again before its answer is looked at.
        call.nameless |= m_nameless[a] ? 1u << a : 0;
        if (!(call.adapters & 1u << a) || call.index[a] + CALLS < m_callCount[a])
            continue;
        Made& made = m_calls[a][call.index[a] % CALLS];
        made.end = now;
        made.open = false;
    }
}

// Back to the start of the first call whose readings the answer may hold; tells whether all calls since were alone.
ULONGLONG History::FindWindow(unsigned adapter, const Call& call, ULONGLONG from, Situation& situation) {
    const auto count = m_callCount[adapter];
    const auto first = count > CALLS ? count - CALLS : 0;
    const auto At = [&](unsigned long long i) -> const Made& { return m_calls[adapter][i % CALLS]; };
    for (int depth = 0; depth < CACHE_DEPTH; ++depth) {
        ULONGLONG earliest = from;
        for (auto i = first; i < count; ++i)
            if (At(i).open || At(i).end + CACHE_AGE >= from)
                earliest = std::min(earliest, At(i).start);
        if (earliest == from)
            break;
        from = earliest;
    }
    if (first > 0 && At(first).start >= from)
        situation.exact = false;
    for (auto i = first; i < count; ++i)
        if ((i == call.index[adapter] || At(i).open || At(i).end >= from) && !At(i).alone)
            situation.exact = false;
    return from;
}

void History::FindStates(unsigned adapter, ULONGLONG from, Situation& situation) {
    const auto first = m_seenCount > GENERATIONS ? m_seenCount - GENERATIONS : 0;
    if (first > 0 && m_seen[first % GENERATIONS].from >= from)
        situation.exact = false;
    for (auto i = first; i < m_seenCount; ++i) {
        const Seen& seen = m_seen[i % GENERATIONS];
        if (seen.to < from)
            continue;
        Situation::State state;
        state.present = adapter < seen.generation.present;
        if (state.present) {
            state.listed = seen.generation.adapters[adapter].fcoe;
            state.version = seen.generation.adapters[adapter].version;
        }
        if (std::find(situation.states.begin(), situation.states.end(), state) == situation.states.end())
            situation.states.push_back(state);
    }
    if (situation.states.size() != 1)
        situation.exact = false;
}

void History::FindPorts(unsigned adapter, ULONGLONG from, Situation& situation) {
    const auto Add = [&](const char* name) {
        if (!*name)
            situation.isPortUnknown = true;
        else if (std::find(situation.ports.begin(), situation.ports.end(), name) == situation.ports.end())
            situation.ports.push_back(name);
    };
    const std::lock_guard lock(m_shared.lock);
    for (const auto& ofChild : m_shared.ports[adapter]) {
        for (const PortHistory& history : ofChild) {
            const PortChange* before = nullptr; // the last change that was over when the window began
            for (auto i = history.count > PORT_CHANGES ? history.count - PORT_CHANGES : 0; i < history.count; ++i) {
                const PortChange& change = history.changes[i % PORT_CHANGES];
                if (!change.open && change.to < from) {
                    before = &change;
                    continue;
                }
                situation.exact = false;
                Add(change.name);
            }
            if (before && before->present)
                Add(before->name);
        }
    }
}

Situation History::Look(unsigned adapter, const Call& call, ULONGLONG since) {
    const std::lock_guard lock(m_lock);
    Situation situation;
    situation.adapter = adapter;
    situation.exact = true;
    const ULONGLONG from = FindWindow(adapter, call, std::min(call.start, since), situation);
    situation.isRestarted = m_restarting || m_restartEnd >= from;
    if (situation.isRestarted)
        situation.exact = false;
    FindStates(adapter, from, situation);
    situation.isSteady = situation.exact;
    FindPorts(adapter, from, situation);
    situation.mayBeNameless = m_nameless[adapter] || call.nameless & 1u << adapter;
    if (m_dcbSince < from && m_dcb == Dcb::Running)
        situation.linkStates = {LinkState(adapter)};
    else if (m_dcbSince < from && m_dcb == Dcb::Stopped)
        situation.linkStates = {IDS_QEL_LINK_DCB_DISABLED};
    else
        situation.linkStates = {LinkState(adapter), IDS_QEL_LINK_DCB_DISABLED, IDS_QEL_LINK_QUERY_FAILED};
    // The service does not know an adapter that is gone, perhaps from the second or third question on.
    if (std::ranges::any_of(situation.states, [](const Situation::State& state) { return !state.present; }))
        for (const unsigned state : {IDS_QEL_LINK_DCB_DISABLED, IDS_QEL_LINK_QUERY_FAILED})
            situation.linkStates.push_back(state);
    return situation;
}

void History::PortChangeBegins(unsigned adapter, unsigned slot, const std::string& name, bool present) {
    const std::lock_guard lock(m_shared.lock);
    PortHistory& history = m_shared.ports[adapter][m_child][slot];
    PortChange& change = history.changes[history.count++ % PORT_CHANGES];
    change = {GetTickCount64(), STILL, true, present, {}};
    name.copy(change.name, sizeof change.name - 1);
}

void History::PortChangeEnds(unsigned adapter, unsigned slot, const std::string& name, bool present) {
    const std::lock_guard lock(m_shared.lock);
    PortHistory& history = m_shared.ports[adapter][m_child][slot];
    PortChange& change = history.changes[(history.count - 1) % PORT_CHANGES];
    change.to = GetTickCount64();
    change.open = false;
    change.present = present;
    std::memset(change.name, 0, sizeof change.name);
    name.copy(change.name, sizeof change.name - 1);
}

} // namespace soak

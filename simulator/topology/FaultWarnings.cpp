// Faults that cannot show.
#include <algorithm>

#include "simulator/topology/FunctionTraits.h"
#include "simulator/topology/Functions.h"
#include "simulator/topology/Warnings.h"

namespace sim {
namespace {

// The calls that a fault concerns, counted from 1; end: the first after them.
struct Calls {
    explicit Calls(const Fault& fault)
        : begin(fault.onCall ? fault.onCall : 1), end(fault.times == UINT32_MAX ? UINT64_MAX : begin + fault.times) {}
    std::uint64_t begin;
    std::uint64_t end;
};

bool IsForEver(const Fault& fault) {
    const Calls calls(fault);
    return calls.begin == 1 && calls.end == UINT64_MAX;
}

class FaultCheck {
  public:
    FaultCheck(const Topology& topology, Warnings& warnings) : m_topology(topology), m_warnings(warnings) {}

    void Run() {
        for (std::size_t i = 0; i < m_topology.faults.size(); ++i) {
            const Fault& fault = m_topology.faults[i];
            WarnOfKind(fault, PointerOf(i));
            WarnOfEffects(fault, PointerOf(i));
            WarnOfShadow(i);
        }
    }

  private:
    static std::string PointerOf(std::size_t place) { return "/faults/" + std::to_string(place); }

    void WarnOfKind(const Fault& fault, const std::string& pointer) {
        const FunctionTraits traits = TraitsOf(fault.function);
        const std::string module(ModuleText(traits.module));
        if (fault.status && fault.isHresult && !ReturnsHresults(traits.module))
            m_warnings.Add("hresult", pointer + "/hresult", "a function of " + module + " returns no HRESULT",
                           "write \"status\"");
        if (fault.status && !fault.isHresult && ReturnsHresults(traits.module))
            m_warnings.Add("status", pointer + "/status", "a function of " + module + " returns an HRESULT",
                           "write \"hresult\"");
        if (fault.adapter)
            WarnOfAdapter(fault, traits, pointer + "/adapter");
    }

    void WarnOfAdapter(const Fault& fault, const FunctionTraits& traits, const std::string& pointer) {
        const std::string name(FUNCTION_NAMES[fault.function]);
        const Adapter& adapter = m_topology.adapters[*fault.adapter];
        const bool library = traits.module == Module::Library || traits.module == Module::Handlers;
        if (!traits.hasAdapter)
            m_warnings.Add("never_shows", pointer, name + " is about no adapter, so the fault never shows",
                           "leave \"adapter\" out");
        else if (library && !adapter.supportsFcoe)
            m_warnings.Add("never_shows", pointer,
                           "the vendor library does not know this adapter, so the fault never shows",
                           "choose one with \"supports_fcoe\"");
        else if (traits.scsi && adapter.targets.empty())
            m_warnings.Add("never_shows", pointer,
                           "the adapter has no target to send a command to, so the fault never shows",
                           "choose one with targets");
    }

    void WarnOfEffects(const Fault& fault, const std::string& pointer) {
        const FunctionTraits traits = TraitsOf(fault.function);
        const std::pair<bool, std::pair<unsigned, const char*>> given[] = {
            {fault.status.has_value(), {SHOWS_STATUS, fault.isHresult ? "hresult" : "status"}},
            {fault.detail.has_value(), {SHOWS_DETAIL, "detail"}},
            {fault.count.has_value(), {SHOWS_COUNT, "count"}},
            {fault.lockTaken.has_value(), {SHOWS_LOCK_TAKEN, "lock_taken"}},
            {fault.garbage, {SHOWS_GARBAGE, "garbage"}},
            {fault.unterminated, {SHOWS_UNTERMINATED, "unterminated"}},
        };
        bool doesSomething = fault.missing || fault.throws || fault.delayMs != 0;
        bool says = doesSomething;
        for (const auto& [isGiven, effect] : given) {
            says = says || isGiven;
            if (isGiven && !(traits.effects & effect.first))
                m_warnings.Add("no_effect", pointer + "/" + effect.second,
                               std::string(FUNCTION_NAMES[fault.function]) + " has nothing that \"" + effect.second +
                                   "\" could change",
                               "leave it out");
        }
        if (!says)
            m_warnings.Add("no_effect", pointer, "the fault does nothing",
                           "say what, such as \"status\", \"throw\" or \"delay_ms\"");
    }

    // Whether earlier faults show on all calls that this one is due on.
    void WarnOfShadow(std::size_t place) {
        const Fault& fault = m_topology.faults[place];
        Calls left(fault);
        for (std::size_t i = 0; i < m_topology.faults.size(); ++i) {
            const Fault& other = m_topology.faults[i];
            if (i == place || other.function != fault.function)
                continue;
            if (other.missing && (!fault.missing || i < place)) {
                m_warnings.Add("never_shows", PointerOf(place),
                               "the function is missing by " + PointerOf(i) + ", so the fault never shows",
                               "keep one of them");
                return;
            }
            if (i > place || fault.missing)
                continue;
            // Calls are counted by each fault: only faults of one adapter count alike.
            const bool always = IsForEver(other) && (!other.adapter || other.adapter == fault.adapter);
            const Calls calls(other);
            if (other.adapter == fault.adapter && calls.begin <= left.begin)
                left.begin = std::max(left.begin, calls.end);
            if (always || left.begin >= left.end) {
                m_warnings.Add("never_shows", PointerOf(place),
                               PointerOf(i) + " shows on each of its calls, so the fault never shows",
                               "put it first, or say for which calls each is");
                return;
            }
        }
    }

    const Topology& m_topology;
    Warnings& m_warnings;
};

} // namespace

void WarnOfFaults(const Topology& topology, Warnings& warnings) {
    FaultCheck(topology, warnings).Run();
}

} // namespace sim

#include "simulator/orvanhapi/VirtualPorts.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "simulator/control/State.h"

namespace orvanhapi {
namespace {

using sim::Adapter;
using sim::AdapterChanges;
using sim::FcPort;
using sim::State;
using sim::Wwn;

constexpr std::uint8_t CREATED_PORT_TYPE = 3;
constexpr HBA_UINT32 LAST_SEQUENCE = 0xFFF;

AdapterChanges ChangesOf(const State& state, const Adapter& adapter) {
    const auto found = state.find(adapter.identifier);
    return found == state.end() ? AdapterChanges() : found->second;
}

// A created port joins the fabric of the adapter's first physical port.
FcPort MakePort(const Adapter& adapter, const sim::CreatedPort& created) {
    FcPort port;
    const auto physical = std::find_if(adapter.ports.begin(), adapter.ports.end(),
                                       [](const FcPort& candidate) { return !candidate.IsVirtual(); });
    if (physical != adapter.ports.end())
        port = *physical;
    port.nodeWwn = adapter.port.nodeWwn;
    port.portWwn = created.portWwn;
    port.type = CREATED_PORT_TYPE;
    port.wordA = created.fcId;
    port.wordB = created.fcId;
    return port;
}

std::vector<FcPort> PortsNow(const Adapter& adapter, const AdapterChanges& changes) {
    std::vector<FcPort> ports;
    std::copy_if(adapter.ports.begin(), adapter.ports.end(), std::back_inserter(ports), [&](const FcPort& port) {
        return !port.IsVirtual() || std::count(changes.removed.begin(), changes.removed.end(), port.portWwn) == 0;
    });
    std::stable_partition(ports.begin(), ports.end(), [](const FcPort& port) { return !port.IsVirtual(); });
    for (const auto& created : changes.created)
        ports.push_back(MakePort(adapter, created));
    return ports;
}

bool IsUsed(const Wwn& wwn, const Adapter& adapter, const std::vector<FcPort>& ports) {
    return wwn == adapter.port.portWwn ||
           std::any_of(ports.begin(), ports.end(), [&](const FcPort& port) { return port.portWwn == wwn; }) ||
           std::any_of(adapter.targets.begin(), adapter.targets.end(),
                       [&](const sim::Target& target) { return target.portWwn == wwn; });
}

// The next address of the adapter's range that neither a port nor a target has.
std::uint32_t FreeFcId(const Adapter& adapter, const std::vector<FcPort>& ports) {
    std::uint32_t fcId = adapter.port.fcId;
    const auto taken = [&] {
        return std::any_of(ports.begin(), ports.end(),
                           [&](const FcPort& port) { return port.wordA == fcId || port.wordB == fcId; }) ||
               std::any_of(adapter.targets.begin(), adapter.targets.end(),
                           [&](const sim::Target& target) { return target.fcId == fcId; });
    };
    do
        ++fcId;
    while (taken());
    return fcId;
}

bool IsValidName(const Wwn& wwn) {
    const auto isFilledWith = [&](std::uint8_t byte) {
        return std::all_of(wwn.begin(), wwn.end(), [byte](std::uint8_t b) { return b == byte; });
    };
    return !isFilledWith(0) && !isFilledWith(0xFF);
}

// Registered names (NAA 5) count in their last twelve bits; others become extended names (NAA 2), which have twelve
// bits before the address that they share with the adapter.
Wwn DerivedName(const Wwn& base, HBA_UINT32 sequence) {
    Wwn wwn = base;
    constexpr std::uint8_t NAA_REGISTERED = 5;
    constexpr std::uint8_t NAA_EXTENDED = 2;
    if (base[0] >> 4 == NAA_REGISTERED) {
        const HBA_UINT32 number = ((base[6] & 0x0Fu) << 8 | base[7]) + sequence;
        wwn[6] = static_cast<std::uint8_t>((base[6] & 0xF0) | (number >> 8 & 0x0F));
        wwn[7] = static_cast<std::uint8_t>(number);
    } else {
        wwn[0] = static_cast<std::uint8_t>(NAA_EXTENDED << 4 | sequence >> 8);
        wwn[1] = static_cast<std::uint8_t>(sequence);
    }
    return wwn;
}

} // namespace

std::vector<FcPort> VirtualPorts::Ports() const {
    return PortsNow(m_adapter, ChangesOf(*sim::StateStore::Instance().Read(m_scene), m_adapter));
}

HBA_STATUS VirtualPorts::Create(const Wwn& portWwn) {
    if (!IsValidName(portWwn))
        return HBA_STATUS_ERROR_ILLEGAL_WWN;
    HBA_STATUS status = HBA_STATUS_OK;
    sim::StateStore::Instance().Change(m_scene, [&](State& state) {
        const auto ports = PortsNow(m_adapter, ChangesOf(state, m_adapter));
        const auto virtualPorts =
            std::count_if(ports.begin(), ports.end(), [](const FcPort& port) { return port.IsVirtual(); });
        if (IsUsed(portWwn, m_adapter, ports))
            status = HBA_STATUS_ERROR_AMBIGUOUS_WWN;
        else if (virtualPorts >= m_adapter.maxVirtualPorts)
            status = HBA_STATUS_ERROR_LOCAL_BUS;
        else
            state[m_adapter.identifier].created.push_back({portWwn, FreeFcId(m_adapter, ports)});
        return status == HBA_STATUS_OK;
    });
    return status;
}

HBA_STATUS VirtualPorts::Remove(const Wwn& portWwn) {
    HBA_STATUS status = HBA_STATUS_OK;
    sim::StateStore::Instance().Change(m_scene, [&](State& state) {
        AdapterChanges changes = ChangesOf(state, m_adapter);
        const auto ports = PortsNow(m_adapter, changes);
        const auto port = std::find_if(ports.begin(), ports.end(),
                                       [&](const FcPort& candidate) { return candidate.portWwn == portWwn; });
        if (port == ports.end())
            status = HBA_STATUS_ERROR_ILLEGAL_WWN;
        else if (!port->IsVirtual())
            status = HBA_STATUS_ERROR_NOT_SUPPORTED;
        else if (std::erase_if(changes.created,
                               [&](const sim::CreatedPort& created) { return created.portWwn == portWwn; }) == 0)
            changes.removed.push_back(portWwn);
        if (status == HBA_STATUS_OK)
            state[m_adapter.identifier] = changes;
        return status == HBA_STATUS_OK;
    });
    return status;
}

HBA_STATUS VirtualPorts::Generate(Wwn& portWwn) {
    static std::array<std::atomic<HBA_UINT32>, sim::MAX_ADAPTERS> last; // by adapter
    const auto state = sim::StateStore::Instance().Read(m_scene);
    const auto isUsed = [&](const Wwn& wwn) {
        const auto& adapters = m_scene.topology.adapters;
        return std::any_of(adapters.begin(), adapters.end(), [&](const Adapter& adapter) {
            return IsUsed(wwn, adapter, PortsNow(adapter, ChangesOf(*state, adapter)));
        });
    };
    for (HBA_UINT32 tries = 0; tries < LAST_SEQUENCE; ++tries) {
        const HBA_UINT32 sequence = last[m_adapter.index]++ % LAST_SEQUENCE + 1;
        const Wwn candidate = DerivedName(m_adapter.port.portWwn, sequence);
        if (!isUsed(candidate)) {
            portWwn = candidate;
            return HBA_STATUS_OK;
        }
    }
    return HBA_STATUS_ERROR_UNAVAILABLE;
}

} // namespace orvanhapi

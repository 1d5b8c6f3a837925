// What is odd about adapters, their ports and VLANs.
#include <algorithm>
#include <map>
#include <tuple>

#include "simulator/topology/AdapterParts.h"
#include "simulator/topology/Warnings.h"

namespace sim {
namespace {

// What adapters must have apart, with the place of the first that has it.
template <class Value> class Once {
  public:
    // The place of an earlier one; empty: this is the first.
    std::string Earlier(const Value& value, const std::string& pointer) {
        const auto [first, added] = m_first.emplace(value, pointer);
        return added ? std::string() : first->second;
    }

  private:
    std::map<Value, std::string> m_first;
};

class AdapterCheck {
  public:
    AdapterCheck(const Topology& topology, Warnings& warnings) : m_topology(topology), m_warnings(warnings) {}

    void Run() {
        for (const auto& adapter : m_topology.adapters) {
            WarnOfNames(adapter);
            WarnOfPlaces(adapter);
            WarnOfPorts(adapter);
            WarnOfVlans(adapter);
            WarnOfCounters(adapter);
        }
    }

  private:
    template <class Value>
    void Once(sim::Once<Value>& values, const char* code, const Value& value, const std::string& pointer,
              const std::string& what, const std::string& advice) {
        const std::string earlier = values.Earlier(value, pointer);
        if (!earlier.empty())
            m_warnings.Add(code, pointer, "the same " + what + " as " + earlier, advice);
    }

    void WarnOfNames(const Adapter& adapter) {
        const std::string pointer = AdapterPointer(adapter);
        Once(m_macs, "same_mac", adapter.mac, pointer + "/mac", "MAC address", "give each adapter its own");
        Once(m_names, "same_display_name", adapter.displayName, pointer + "/display_name", "display name",
             "give each adapter its own, hosts name adapters by it");
        Once(m_wwns, "same_port_wwn", adapter.port.portWwn, pointer + "/port/port_wwn", "port WWN",
             "give each port its own");
        if (adapter.mac[0] & 1)
            m_warnings.Add("group_mac", pointer + "/mac", "the address of a group, no adapter's",
                           "write an even first group, such as \"02\"");
    }

    void WarnOfPlaces(const Adapter& adapter) {
        const std::string pointer = AdapterPointer(adapter);
        Once(m_interfaces, "same_interface_index", adapter.interfaceIndex, pointer + "/interface_index",
             "interface index", "give each adapter its own");
        Once(m_controllers, "same_controller", adapter.controller, pointer + "/controller", "controller number",
             "give each adapter its own");
        const auto pci = std::tuple(adapter.pci.bus, adapter.pci.device, adapter.pci.function);
        if (pci != std::tuple(0u, 0u, 0u)) // what none says
            Once(m_pci, "same_pci_address", pci, pointer + "/pci", "PCI address",
                 "give each adapter its own, those of one card another function");
    }

    void WarnOfPorts(const Adapter& adapter) {
        const auto& ports = adapter.ports;
        const auto virtualPorts =
            static_cast<std::size_t>(std::ranges::count_if(ports, [](const FcPort& port) { return port.IsVirtual(); }));
        if (virtualPorts > adapter.maxVirtualPorts)
            m_warnings.Add("virtual_ports", AdapterPointer(adapter) + "/max_virtual_ports",
                           "there are " + std::to_string(virtualPorts) + " virtual ports already",
                           "allow as many at least");
        sim::Once<std::uint32_t> addresses;
        for (std::size_t i = 0; i < ports.size(); ++i) {
            const std::string pointer = AdapterPointer(adapter) + "/ports/" + std::to_string(i);
            if (!ports[i].IsVirtual())
                continue;
            if (ports[i].portWwn == adapter.port.portWwn)
                m_warnings.Add("physical_port_wwn", pointer + "/port_wwn", "the physical port's WWN",
                               "give the virtual port its own");
            else
                Once(m_wwns, "same_port_wwn", ports[i].portWwn, pointer + "/port_wwn", "port WWN",
                     "give each port its own");
            if (ports[i].type == NPIV_PORT)
                Once(addresses, "same_word_b", ports[i].wordB, pointer, "word_b",
                     "give each port of type 3 its own, their targets are told apart by it");
        }
    }

    void WarnOfVlans(const Adapter& adapter) {
        constexpr std::uint16_t LAST_VLAN = 4094;
        sim::Once<std::uint16_t> ids;
        for (std::size_t i = 0; i < adapter.vlans.size(); ++i) {
            const auto id = adapter.vlans[i].id;
            const std::string pointer = AdapterPointer(adapter) + "/vlans/" + std::to_string(i);
            if (id == 0 || id == LAST_VLAN + 1)
                m_warnings.Add("reserved_vlan", pointer + "/id", "VLAN " + std::to_string(id) + " is reserved",
                               "write one from 1 to 4094");
            else if (id > LAST_VLAN)
                m_warnings.Add("vlan_id", pointer + "/id", "no VLAN has the identifier " + std::to_string(id),
                               "write one from 1 to 4094");
            Once(ids, "same_vlan", id, pointer, "VLAN", "name each once");
        }
    }

    void WarnOfCounters(const Adapter& adapter) {
        for (std::size_t i = 0; i < COUNTER_COUNT; ++i) {
            if (adapter.statistics.values[i] == -1 && adapter.statistics.perSecond[i] != 0)
                m_warnings.Add("counter_stays", AdapterPointer(adapter) + "/statistics_per_second/" + CounterKey(i),
                               "the counter is -1, unsupported, and never grows",
                               "give it a value in \"statistics\", or take it out here");
        }
    }

    static constexpr std::uint8_t NPIV_PORT = 3;

    const Topology& m_topology;
    Warnings& m_warnings;
    sim::Once<std::array<std::uint8_t, 6>> m_macs;
    sim::Once<std::string> m_names;
    sim::Once<Wwn> m_wwns;
    sim::Once<std::uint32_t> m_interfaces;
    sim::Once<std::uint32_t> m_controllers;
    sim::Once<std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>> m_pci;
};

} // namespace

void WarnOfAdapters(const Topology& topology, Warnings& warnings) {
    AdapterCheck(topology, warnings).Run();
}

} // namespace sim

// What is odd about targets and their logical units.
#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "simulator/topology/Warnings.h"

namespace sim {
namespace {

struct Unit {
    const Target* target;
    const Lun* lun;
    std::string pointer;
};

// Two paths to one disk may have one device in the operating system.
bool CouldBeOneDisk(const Unit& left, const Unit& right) {
    return left.target != right.target && left.target->serial == right.target->serial &&
           left.target->vpd80 == right.target->vpd80 && left.lun->fcpLun == right.lun->fcpLun &&
           left.lun->blocks == right.lun->blocks && left.lun->blockLength == right.lun->blockLength;
}

class TargetCheck {
  public:
    TargetCheck(const Topology& topology, Warnings& warnings) : m_topology(topology), m_warnings(warnings) {}

    void Run() {
        for (const auto& adapter : m_topology.adapters) {
            std::map<std::pair<std::uint32_t, std::uint32_t>, std::string> addresses;
            std::map<std::pair<Wwn, Wwn>, std::string> names;
            for (std::size_t i = 0; i < adapter.targets.size(); ++i) {
                const Target& target = adapter.targets[i];
                const std::string pointer = AdapterPointer(adapter) + "/targets/" + std::to_string(i);
                const auto [address, freeAddress] = addresses.emplace(std::pair(target.bus, target.target), pointer);
                if (!freeAddress)
                    m_warnings.Add("same_scsi_address", pointer,
                                   "bus " + std::to_string(target.bus) + ", target " + std::to_string(target.target) +
                                       ": the same SCSI address as " + address->second,
                                   "give each target of an adapter its own");
                const auto [name, freeName] = names.emplace(std::pair(target.portWwn, target.initiatorWwn), pointer);
                if (!freeName)
                    m_warnings.Add("same_target_wwn", pointer + "/port_wwn", "the same port WWN as " + name->second,
                                   "give each target its own, SCSI commands go to the first that has it");
                WarnOfAddress(adapter, target, pointer);
                WarnOfInitiator(adapter, target, pointer);
                WarnOfUnits(target, pointer);
            }
        }
    }

  private:
    // One FC address, one port.
    void WarnOfAddress(const Adapter& adapter, const Target& target, const std::string& pointer) {
        if (target.fcId == 0 || target.initiatorType == NPIV_PORT) // of those the address is the initiator's
            return;
        if (target.fcId == adapter.port.fcId) {
            m_warnings.Add("same_fc_id", pointer + "/fc_id", "the FC address of the adapter's own port",
                           "give the target its own");
            return;
        }
        const auto [first, added] =
            m_fcIds.emplace(std::pair(adapter.port.fabricName, target.fcId), std::pair(target.portWwn, pointer));
        if (!added && first->second.first != target.portWwn)
            m_warnings.Add("same_fc_id", pointer + "/fc_id",
                           "the same FC address in one fabric as another port, " + first->second.second,
                           "give each target its own");
    }

    void WarnOfInitiator(const Adapter& adapter, const Target& target, const std::string& pointer) {
        std::optional<FcPort> found;
        for (const auto& port : adapter.ports) {
            if (port.portWwn == target.initiatorWwn)
                found = port;
        }
        if (!found) {
            m_warnings.Add("unknown_initiator", pointer + "/initiator_wwn",
                           "no port of the adapter has the WWN " + WwnText(target.initiatorWwn) +
                               ", so the target is not seen",
                           "write the port_wwn of one of its ports");
        } else if (found->type != target.initiatorType) {
            m_warnings.Add("initiator_type", pointer + "/initiator_type",
                           "the port " + WwnText(target.initiatorWwn) + " is of type " + std::to_string(found->type) +
                               ", not " + std::to_string(target.initiatorType) + ", so the target is not seen",
                           "write \"initiator_type\": " + std::to_string(found->type));
        } else if (found->type == NPIV_PORT && found->wordB != target.fcId) {
            m_warnings.Add("initiator_address", pointer + "/fc_id",
                           "a target of a port of type 3 is listed under the port's word_b, so this one is not seen",
                           "write \"fc_id\": " + std::to_string(found->wordB) +
                               ", or have the target seen with \"npiv\": true");
        }
    }

    void WarnOfUnits(const Target& target, const std::string& pointer) {
        std::map<std::uint32_t, std::string> numbers;
        for (std::size_t i = 0; i < target.luns.size(); ++i) {
            const Unit unit{&target, &target.luns[i], pointer + "/luns/" + std::to_string(i)};
            const auto [number, freeNumber] = numbers.emplace(unit.lun->osLun, unit.pointer);
            if (!freeNumber)
                m_warnings.Add("same_os_lun", unit.pointer, "the same os_lun as " + number->second,
                               "give each LUN of a target its own");
            if (unit.lun->blockLength == 0)
                m_warnings.Add("block_length", unit.pointer + "/block_length", "blocks of no bytes",
                               "write 512 or 4096");
            if (unit.lun->osDeviceName.empty())
                continue;
            const auto [first, added] = m_devices.emplace(unit.lun->osDeviceName, unit);
            if (!added && !CouldBeOneDisk(first->second, unit))
                m_warnings.Add("same_device", unit.pointer + "/os_device_name",
                               "the same disk device as another LUN, " + first->second.pointer,
                               "give each disk its own; paths to one have the same serial, LUN and size");
        }
    }

    static constexpr std::uint8_t NPIV_PORT = 3;

    const Topology& m_topology;
    Warnings& m_warnings;
    std::map<std::string, Unit> m_devices;
    std::map<std::pair<Wwn, std::uint32_t>, std::pair<Wwn, std::string>> m_fcIds;
};

} // namespace

void WarnOfTargets(const Topology& topology, Warnings& warnings) {
    TargetCheck(topology, warnings).Run();
}

} // namespace sim

// The simulated hardware of a soak: what each generation looks like as a topology, and what the agent reports of it.
#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "FcoeAgent/FcoeRecords.h"
#include "tests/soak/Shared.h"

namespace soak {

std::wstring Identifier(unsigned adapter);
std::wstring DisplayName(unsigned adapter);
// What the DCB service knows of it, as LinkState has it: usable, no flow control for the priority, off, off in the
// application feature.
std::string DcbText(unsigned adapter);
std::string PhysicalPortName(unsigned adapter);
// The name of one of a child's virtual ports.
std::string VirtualPortName(unsigned adapter, unsigned child, unsigned slot);
bool IsPortName(const std::string& text);

std::filesystem::path TopologyFile(const std::filesystem::path& folder);
std::string TopologyText(const Generation& generation);
// The next generation: an adapter has changed, or has stopped or begun to do FCoE, or the last ones have come or gone.
Generation Change(const Generation& generation, std::mt19937& random);

// The common resource string of that number.
std::wstring Resource(unsigned id);

// One adapter at one moment, with the virtual ports of those names.
struct View {
    unsigned adapter = 0;
    unsigned version = 0;
    std::vector<std::string> virtualPorts;
    std::vector<unsigned> linkStates; // resource numbers of the texts that an online port may show
};

// The resource number of the text that an online port shows while the DCB service runs.
unsigned LinkState(unsigned adapter);

// What the agent reports of a view, in its order. Where a record may take more than one form, all of them.
template <class Record> std::vector<Record> Expected(const View& view);
template <> std::vector<QEL_FCOE_HBA> Expected(const View& view);
template <> std::vector<QEL_FCOE_FABRIC> Expected(const View& view);
template <> std::vector<QEL_FCOE_PORT> Expected(const View& view);
template <> std::vector<QEL_FCOE_TARGET> Expected(const View& view);
template <> std::vector<QEL_FCOE_VLAN> Expected(const View& view);
template <> std::vector<QEL_FCOE_LUN> Expected(const View& view);
template <> std::vector<QEL_FCOE_STATISTIC> Expected(const View& view);

} // namespace soak

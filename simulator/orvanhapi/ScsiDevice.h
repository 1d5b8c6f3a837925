// What a simulated target answers to SCSI commands.
#pragma once

#include <cstdint>
#include <vector>

#include "simulator/control/Simulation.h"

namespace orvanhapi {

// The result of one command: data on GOOD status, sense data on CHECK CONDITION.
struct ScsiAnswer {
    std::uint8_t status = 0;
    std::vector<std::uint8_t> data;
    std::vector<std::uint8_t> sense;
};

constexpr std::uint8_t SCSI_GOOD = 0;
constexpr std::uint8_t SCSI_CHECK_CONDITION = 2;

// lun: null when the target has no such logical unit; INQUIRY is answered all the same.
ScsiAnswer Inquiry(const sim::Target& target, const sim::Lun* lun, bool vitalProductData, std::uint32_t page);
// layout: 10 or 16. The LUN's check conditions come first.
ScsiAnswer ReadCapacity(const sim::Scene& scene, const sim::Lun& lun, unsigned layout);

const sim::Target* FindTarget(const sim::Adapter& adapter, const sim::Wwn& portWwn);
const sim::Lun* FindLun(const sim::Target& target, std::uint64_t fcpLun);

} // namespace orvanhapi

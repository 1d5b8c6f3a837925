#include "simulator/orvanhapi/ScsiDevice.h"

#include <algorithm>
#include <string>

#include "simulator/topology/Text.h"

namespace orvanhapi {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t SENSE_ILLEGAL_REQUEST = 5;
constexpr std::uint8_t SENSE_UNIT_ATTENTION = 6;
constexpr std::uint8_t ASC_INVALID_FIELD_IN_CDB = 0x24;
constexpr std::uint8_t ASC_RESET_OCCURRED = 0x29;

constexpr std::uint8_t PAGE_SUPPORTED_PAGES = 0x00;
constexpr std::uint8_t PAGE_UNIT_SERIAL_NUMBER = 0x80;
constexpr std::uint8_t NO_SUCH_UNIT = 0x7F; // peripheral qualifier 3, type unknown

// Fixed-format sense data.
ScsiAnswer CheckCondition(std::uint8_t senseKey, std::uint8_t code) {
    Bytes sense(18);
    sense[0] = 0x70; // current error
    sense[2] = senseKey;
    sense[7] = static_cast<std::uint8_t>(sense.size() - 8);
    sense[12] = code;
    return {SCSI_CHECK_CONDITION, {}, sense};
}

ScsiAnswer Good(Bytes data) {
    return {SCSI_GOOD, std::move(data), {}};
}

void PutText(Bytes& data, std::size_t offset, std::size_t size, const std::string& text) {
    std::string padded = sim::Ansi(text);
    padded.resize(size, ' ');
    std::copy(padded.begin(), padded.end(), data.begin() + static_cast<std::ptrdiff_t>(offset));
}

void PutBigEndian(Bytes& data, std::size_t offset, std::size_t size, std::uint64_t value) {
    for (std::size_t i = size; i-- > 0; value >>= 8)
        data[offset + i] = static_cast<std::uint8_t>(value);
}

Bytes StandardInquiry(const sim::Target& target) {
    if (!target.inquiry.empty())
        return target.inquiry;
    Bytes data(96);
    data[2] = 6;    // SPC-4
    data[3] = 0x12; // hierarchical addressing, response format 2
    data[4] = static_cast<std::uint8_t>(data.size() - 5);
    data[7] = 0x02; // command queuing
    PutText(data, 8, 8, target.vendor);
    PutText(data, 16, 16, target.product);
    PutText(data, 32, 4, target.revision);
    return data;
}

Bytes UnitSerialNumber(const sim::Target& target) {
    if (!target.vpd80.empty())
        return target.vpd80;
    const std::string serial = sim::Ansi(target.serial);
    Bytes data{0, PAGE_UNIT_SERIAL_NUMBER, 0, static_cast<std::uint8_t>(serial.size())};
    data.insert(data.end(), serial.begin(), serial.end());
    return data;
}

} // namespace

ScsiAnswer Inquiry(const sim::Target& target, const sim::Lun* lun, bool vitalProductData, std::uint32_t page) {
    Bytes data;
    if (!vitalProductData && page == 0)
        data = StandardInquiry(target);
    else if (vitalProductData && page == PAGE_SUPPORTED_PAGES)
        data = {0, PAGE_SUPPORTED_PAGES, 0, 2, PAGE_SUPPORTED_PAGES, PAGE_UNIT_SERIAL_NUMBER};
    else if (vitalProductData && page == PAGE_UNIT_SERIAL_NUMBER)
        data = UnitSerialNumber(target);
    else
        return CheckCondition(SENSE_ILLEGAL_REQUEST, ASC_INVALID_FIELD_IN_CDB);
    // A target without that unit still says what it is.
    if (!lun && target.inquiry.empty())
        data[0] = NO_SUCH_UNIT;
    return Good(std::move(data));
}

ScsiAnswer ReadCapacity(const sim::Scene& scene, const sim::Lun& lun, unsigned layout) {
    if (scene.capacityCommands[lun.id]++ < lun.checkConditions)
        return CheckCondition(SENSE_UNIT_ATTENTION, ASC_RESET_OCCURRED);
    const Bytes& recorded = layout == 10 ? lun.response10 : lun.response16;
    if (!recorded.empty())
        return Good(recorded);
    const std::uint64_t lastBlock = lun.blocks - 1;
    if (layout == 10) {
        Bytes data(8);
        PutBigEndian(data, 0, 4, std::min<std::uint64_t>(lastBlock, 0xFFFFFFFF)); // saturated: READ CAPACITY (16) tells
        PutBigEndian(data, 4, 4, lun.blockLength);
        return Good(std::move(data));
    }
    Bytes data(32);
    PutBigEndian(data, 0, 8, lastBlock);
    PutBigEndian(data, 8, 4, lun.blockLength);
    return Good(std::move(data));
}

const sim::Target* FindTarget(const sim::Adapter& adapter, const sim::Wwn& portWwn) {
    const auto found = std::find_if(adapter.targets.begin(), adapter.targets.end(),
                                    [&](const sim::Target& target) { return target.portWwn == portWwn; });
    return found == adapter.targets.end() ? nullptr : &*found;
}

const sim::Lun* FindLun(const sim::Target& target, std::uint64_t fcpLun) {
    const auto found =
        std::find_if(target.luns.begin(), target.luns.end(), [&](const sim::Lun& lun) { return lun.fcpLun == fcpLun; });
    return found == target.luns.end() ? nullptr : &*found;
}

} // namespace orvanhapi

// The SCSI commands that read: INQUIRY and READ CAPACITY.
#include <fmt/format.h>

#include "simulator/verify/GuardedBuffer.h"
#include "simulator/verify/Library.h"

namespace verify {
namespace {

constexpr HBA_UINT32 BUFFER_SIZE = 260; // the agent's, of response and sense data
constexpr HBA_UINT32 SERIAL_NUMBER_PAGE = 0x80;
constexpr HBA_UINT32 SMALLEST_CAPACITY = 12; // bytes of a response that the agent reads
constexpr int MOST_RETRIES = 3;
constexpr std::string_view INQUIRY = "ScsiInquiry", CAPACITY = "ScsiReadCapacityV2",
                           CAPACITY_16 = "ORVAN_SendReadCapacity16";

std::optional<Answer> AskAndKeep(Library& library, const Reading& reading, const std::string& what, bool byThreads) {
    constexpr bool CHANGES = false;
    const auto answer = AskReading(library.asker, reading, CHANGES, what);
    if (answer && byThreads)
        library.readings.push_back(reading);
    return answer;
}

Reading InquiryReading(const Library& library, const OpenedAdapter& adapter, const HBA_WWN& target, HBA_UINT32 page) {
    return {INQUIRY, adapter.identifier,
            [inquire = library.functions.table.ScsiInquiryHandler, handle = adapter.handle, target,
             page](std::uint8_t fill) {
                constexpr HBA_UINT64 LUN = 0;
                GuardedBuffer response(BUFFER_SIZE, fill), sense(BUFFER_SIZE, ZEROS);
                const HBA_UINT8 vitalProductData = page != 0;
                const HBA_STATUS status = inquire(handle, target, LUN, vitalProductData, page, response.As<void>(),
                                                  BUFFER_SIZE, sense.As<void>(), BUFFER_SIZE);
                return Answer{status, response.Copy()};
            }};
}

// A repetition gives the sizes that were written back. No place for the SCSI status is given: the agent has none.
class Capacity {
  public:
    Capacity(Library& library, const OpenedAdapter& adapter, const HBA_WWN& initiator, const HBA_FCPID& unit)
        : m_asker(library.asker), m_adapter(adapter.identifier),
          m_read(library.functions.table.ScsiReadCapacityV2Handler), m_handle(adapter.handle), m_initiator(initiator),
          m_unit(unit) {}

    Answer operator()(std::uint8_t fill) const {
        GuardedBuffer response(BUFFER_SIZE, fill), sense(BUFFER_SIZE, ZEROS);
        HBA_UINT32 size = BUFFER_SIZE, senseSize = BUFFER_SIZE;
        for (int retries = 0;; ++retries) {
            const HBA_STATUS status = m_read(m_handle, m_initiator, m_unit.PortWWN, m_unit.FcpLun, response.As<void>(),
                                             &size, nullptr, sense.As<void>(), &senseSize);
            const bool repeats = status == HBA_STATUS_SCSI_CHECK_CONDITION && retries < MOST_RETRIES;
            if (size > BUFFER_SIZE || (repeats && size < SMALLEST_CAPACITY)) {
                m_asker.Tell("response_size", CAPACITY, m_adapter, fmt::format("status {}, size {}", status, size));
                size = BUFFER_SIZE; // so that nothing is overwritten here
            }
            if (!repeats)
                return {status, response.Copy()};
        }
    }

  private:
    Asker& m_asker;
    std::string m_adapter;
    HBA_SCSIREADCAPACITYV2FUNC m_read;
    HBA_HANDLE m_handle;
    HBA_WWN m_initiator;
    HBA_FCPID m_unit;
};

Answer ReadCapacity16(decltype(&ORVAN_SendReadCapacity16) read, HBA_HANDLE handle, const HBA_FCPID& unit,
                      std::uint8_t fill) {
    GuardedBuffer response(BUFFER_SIZE, fill), sense(BUFFER_SIZE, ZEROS);
    for (int retries = 0;; ++retries) {
        const HBA_STATUS status =
            read(handle, unit.PortWWN, unit.FcpLun, response.As<void>(), BUFFER_SIZE, sense.As<void>(), BUFFER_SIZE);
        if (status != HBA_STATUS_SCSI_CHECK_CONDITION || retries == MOST_RETRIES)
            return {status, response.Copy()};
    }
}

HBA_UINT32 BlockLength(const Answer& answer) {
    HBA_UINT32 length = 0;
    for (std::size_t i = 8; i < 12; ++i)
        length = length << 8 | answer.bytes[i];
    return length;
}

} // namespace

void AskTarget(Library& library, const OpenedAdapter& adapter, const ORVAN_TARGET_ENTRY& target, bool byThreads) {
    if (!library.functions.table.ScsiInquiryHandler)
        return;
    const std::string name = TextOf(target.PortWWN);
    const auto serial = AskAndKeep(library, InquiryReading(library, adapter, target.PortWWN, SERIAL_NUMBER_PAGE),
                                   fmt::format("target {}, page 80h: ", name), byThreads);
    if (serial && serial->bytes[1] != SERIAL_NUMBER_PAGE)
        library.asker.Tell("inquiry_page", INQUIRY, adapter.identifier,
                           fmt::format("target {}: page {:02X}h", name, serial->bytes[1]));
    const auto standard = AskAndKeep(library, InquiryReading(library, adapter, target.PortWWN, 0),
                                     fmt::format("target {}: ", name), byThreads);
    constexpr unsigned FORMAT = 2;
    if (standard && (standard->bytes[3] & 0x0F) != FORMAT)
        library.asker.Tell("inquiry_format", INQUIRY, adapter.identifier,
                           fmt::format("target {}: format {}", name, standard->bytes[3] & 0x0F));
}

void AskUnit(Library& library, const OpenedAdapter& adapter, const HBA_WWN& initiator, const HBA_FCPID& unit,
             bool byThreads) {
    constexpr HBA_UINT32 LARGEST_BLOCK = 16u << 20;
    const std::string what = fmt::format("LUN {:X}h of {}: ", unit.FcpLun, TextOf(unit.PortWWN));
    const auto ask = [&](std::string_view function, Read read) {
        const auto answer = AskAndKeep(library, {function, adapter.identifier, std::move(read)}, what, byThreads);
        if (answer && (BlockLength(*answer) == 0 || BlockLength(*answer) > LARGEST_BLOCK))
            library.asker.Tell("block_length", function, adapter.identifier,
                               fmt::format("{}blocks of {} bytes", what, BlockLength(*answer)));
    };
    if (library.functions.table.ScsiReadCapacityV2Handler)
        ask(CAPACITY, Capacity(library, adapter, initiator, unit));
    if (library.functions.readCapacity16)
        ask(CAPACITY_16, [read = library.functions.readCapacity16, handle = adapter.handle, unit](std::uint8_t fill) {
            return ReadCapacity16(read, handle, unit, fill);
        });
}

} // namespace verify

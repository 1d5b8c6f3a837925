// What the library says of an adapter itself.
#include <algorithm>
#include <bit>
#include <cstring>

#include <fmt/format.h>

#include "simulator/verify/GuardedBuffer.h"
#include "simulator/verify/Library.h"

namespace verify {
namespace {

template <class Record> Record RecordOf(const Answer& answer) {
    Record record;
    std::memcpy(&record, answer.bytes.data(), sizeof record);
    return record;
}

template <std::size_t N> bool IsTerminated(const char (&text)[N]) {
    return std::memchr(text, 0, N) != nullptr;
}

class RecordQuestions {
  public:
    RecordQuestions(Library& library, OpenedAdapter& adapter) : m_library(library), m_adapter(adapter) {}

    void Ask(const HandleReading& about) {
        if (about.function == "GetAdapterAttributes")
            CheckTexts(about);
        else if (about.function == "GetAdapterPortAttributes")
            CheckPort(about);
        else if (about.function == "GetPortStatistics")
            CheckCounters(about);
        else if (about.function == "ORVAN_GetFCAndNICProperties")
            CheckProperties(about);
    }

  private:
    Reading ReadingOf(const HandleReading& about) const {
        return {about.function, m_adapter.identifier,
                [size = about.size, call = about.call, handle = m_adapter.handle](std::uint8_t fill) {
                    GuardedBuffer buffer(size, fill);
                    const HBA_STATUS status = call(handle, buffer.As<void>());
                    return Answer{status, buffer.Copy()};
                }};
    }
    // Kept for the threads.
    std::optional<Answer> Read(const HandleReading& about) {
        const Reading reading = ReadingOf(about);
        const auto answer = AskReading(m_library.asker, reading);
        if (answer)
            m_library.readings.push_back(reading);
        return answer;
    }
    void Tell(std::string_view code, std::string_view function, const std::string& found) {
        m_library.asker.Tell(code, function, m_adapter.identifier, found);
    }
    void CheckTerminators(std::string_view function, std::initializer_list<std::pair<const char*, bool>> texts) {
        std::string unterminated;
        for (const auto& [name, terminated] : texts) {
            if (!terminated)
                unterminated += (unterminated.empty() ? "" : ", ") + std::string(name);
        }
        if (!unterminated.empty())
            Tell("unterminated", function, unterminated);
    }

    void CheckTexts(const HandleReading& about) {
        const auto answer = Read(about);
        if (!answer)
            return;
        const auto record = RecordOf<HBA_ADAPTERATTRIBUTES>(*answer);
        CheckTerminators(about.function, {{"Manufacturer", IsTerminated(record.Manufacturer)},
                                          {"SerialNumber", IsTerminated(record.SerialNumber)},
                                          {"Model", IsTerminated(record.Model)},
                                          {"ModelDescription", IsTerminated(record.ModelDescription)},
                                          {"NodeSymbolicName", IsTerminated(record.NodeSymbolicName)},
                                          {"HardwareVersion", IsTerminated(record.HardwareVersion)},
                                          {"DriverVersion", IsTerminated(record.DriverVersion)},
                                          {"OptionROMVersion", IsTerminated(record.OptionROMVersion)},
                                          {"FirmwareVersion", IsTerminated(record.FirmwareVersion)},
                                          {"DriverName", IsTerminated(record.DriverName)}});
    }

    void CheckPort(const HandleReading& about) {
        const auto answer = Read(about);
        if (!answer)
            return;
        const auto record = RecordOf<HBA_PORTATTRIBUTES>(*answer);
        m_adapter.portWwn = record.PortWWN;
        if (IsAll(record.PortWWN.wwn, sizeof record.PortWWN, 0) ||
            IsAll(record.PortWWN.wwn, sizeof record.PortWWN, 0xFF))
            Tell("no_wwn", about.function, TextOf(record.PortWWN));
        if (record.PortState < HBA_PORTSTATE_UNKNOWN || record.PortState > HBA_PORTSTATE_LOOPBACK)
            Tell("port_state", about.function, fmt::format("state {}", record.PortState));
        const bool oneOfTheBits = record.PortSpeed <= HBA_PORTSPEED_16GBIT && std::popcount(record.PortSpeed) <= 1;
        if (!oneOfTheBits && record.PortSpeed != HBA_PORTSPEED_NOT_NEGOTIATED)
            Tell("port_speed", about.function, fmt::format("speed {}", record.PortSpeed));
        CheckTerminators(about.function, {{"PortSymbolicName", IsTerminated(record.PortSymbolicName)},
                                          {"OSDeviceName", IsTerminated(record.OSDeviceName)}});
    }

    // They count on from one call to the next, so that for the threads only the status has to be as it was.
    void CheckCounters(const HandleReading& about) {
        constexpr bool CHANGES = true;
        const Reading reading = ReadingOf(about);
        const auto answer = AskReading(m_library.asker, reading, CHANGES);
        Answer later;
        if (!answer ||
            !m_library.asker.Ask(about.function, m_adapter.identifier, [&] { later = reading.read(ZEROS); }) ||
            !SameStatus(m_library.asker, reading, answer->status, later.status))
            return;
        using Counters = std::array<HBA_INT64, sizeof(HBA_PORTSTATISTICS) / sizeof(HBA_INT64)>;
        const auto first = RecordOf<Counters>(*answer), second = RecordOf<Counters>(later);
        for (std::size_t i = 0; i < first.size(); ++i) {
            if (first[i] < -1)
                Tell("counter", about.function, fmt::format("counter {} is {}", i, first[i]));
            if (second[i] < first[i])
                Tell("other_answer", about.function, fmt::format("counter {} is {}, then {}", i, first[i], second[i]));
        }
        m_library.readings.push_back({about.function, m_adapter.identifier, [reading](std::uint8_t fill) {
                                          return Answer{reading.read(fill).status, {}};
                                      }});
    }

    void CheckProperties(const HandleReading& about) {
        const auto answer = Read(about);
        if (!answer)
            return;
        const auto record = RecordOf<ORVAN_FC_NIC_PROPERTIES>(*answer);
        CheckTerminators(about.function, {{"NetworkInstance", IsTerminated(record.NetworkInstance)}});
    }

    Library& m_library;
    OpenedAdapter& m_adapter;
};

} // namespace

void AskRecords(Library& library, OpenedAdapter& adapter) {
    RecordQuestions questions(library, adapter);
    for (const HandleReading& about : HandleReadings(library.functions))
        questions.Ask(about);
}

std::string TextOf(const HBA_WWN& wwn) {
    return fmt::format("{:02X}", fmt::join(wwn.wwn, ":"));
}

} // namespace verify

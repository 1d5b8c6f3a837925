#include "tools/recording/MaskedJournal.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string_view>

#include "FcoeAgent/OrvanHbaApi.h"
#include "tools/recording/Texts.h"

namespace recording {
namespace {

constexpr std::size_t PAGE_HEADER = 4; // of a vital product data page; its text follows
// Shorter texts are too common to be looked for in any bytes.
constexpr std::size_t SHORTEST_SERIAL = 6;

std::string_view View(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Calls each(from, to) for the places of a record's names and texts in the bytes.
class Places {
  public:
    explicit Places(Bytes& bytes, std::size_t base = 0) : m_bytes(bytes), m_base(base) {}

    template <class Work> void At(std::size_t offset, std::size_t size, Work work) {
        if (m_base + offset + size <= m_bytes.size())
            work(m_bytes.data() + m_base + offset, size);
    }

  private:
    Bytes& m_bytes;
    std::size_t m_base;
};

struct Field {
    std::size_t offset;
    std::size_t size;
};

#define FIELD(record, member)                                                                                          \
    Field {                                                                                                            \
        offsetof(record, member), sizeof(record::member)                                                               \
    }

// Names and serial numbers: they are learnt. Other texts may have them in them.
constexpr Field ATTRIBUTE_NAMES[] = {FIELD(HBA_ADAPTERATTRIBUTES, SerialNumber),
                                     FIELD(HBA_ADAPTERATTRIBUTES, NodeSymbolicName)};
constexpr Field ATTRIBUTE_TEXTS[] = {FIELD(HBA_ADAPTERATTRIBUTES, Model),
                                     FIELD(HBA_ADAPTERATTRIBUTES, ModelDescription)};
constexpr Field ATTRIBUTE_WWNS[] = {FIELD(HBA_ADAPTERATTRIBUTES, NodeWWN)};
constexpr Field PORT_NAMES[] = {FIELD(HBA_PORTATTRIBUTES, PortSymbolicName)};
constexpr Field PORT_TEXTS[] = {FIELD(HBA_PORTATTRIBUTES, OSDeviceName)};
constexpr Field PORT_WWNS[] = {FIELD(HBA_PORTATTRIBUTES, NodeWWN), FIELD(HBA_PORTATTRIBUTES, PortWWN),
                               FIELD(HBA_PORTATTRIBUTES, FabricName)};
constexpr Field PROPERTY_TEXTS[] = {FIELD(ORVAN_FC_NIC_PROPERTIES, NetworkInstance)};
constexpr Field PROPERTY_WWNS[] = {FIELD(ORVAN_FC_NIC_PROPERTIES, NodeWWN), FIELD(ORVAN_FC_NIC_PROPERTIES, PortWWN),
                                   FIELD(ORVAN_FC_NIC_PROPERTIES, MacAddress)};
constexpr Field LIBRARY_NAMES[] = {{0, ORVAN_NAME_SIZE}};
constexpr Field FC_PORT_WWNS[] = {FIELD(ORVAN_FC_PORT, NodeWWN),
                                  FIELD(ORVAN_FC_PORT, PortWWN),
                                  {offsetof(ORVAN_FC_PORT, Identifier), 8},
                                  {offsetof(ORVAN_FC_PORT, Identifier) + 8, 8},
                                  {offsetof(ORVAN_FC_PORT, Identifier) + 16, 8}};
constexpr Field TARGET_WWNS[] = {FIELD(ORVAN_TARGET_ENTRY, NodeWWN), FIELD(ORVAN_TARGET_ENTRY, PortWWN),
                                 FIELD(ORVAN_TARGET_ENTRY, InitiatorPortWWN)};
constexpr Field UNIT_TEXTS[] = {{0, 256}};
constexpr Field UNIT_WWNS[] = {{offsetof(HBA_FCPSCSIENTRY, FcpId) + offsetof(HBA_FCPID, NodeWWN), 8},
                               {offsetof(HBA_FCPSCSIENTRY, FcpId) + offsetof(HBA_FCPID, PortWWN), 8}};
#undef FIELD

// Where a function's data has what. stride: of one entry.
struct Layout {
    std::string_view function;
    std::size_t stride;
    std::span<const Field> names = {};
    std::span<const Field> texts = {};
    std::span<const Field> addresses = {};
};
constexpr Layout LAYOUTS[] = {
    {"ORVAN_GetFCoEControllerInfo", ORVAN_NAME_SIZE, LIBRARY_NAMES},
    {"GetAdapterAttributes", sizeof(HBA_ADAPTERATTRIBUTES), ATTRIBUTE_NAMES, ATTRIBUTE_TEXTS, ATTRIBUTE_WWNS},
    {"GetAdapterPortAttributes", sizeof(HBA_PORTATTRIBUTES), PORT_NAMES, PORT_TEXTS, PORT_WWNS},
    {"ORVAN_GetFCAndNICProperties", sizeof(ORVAN_FC_NIC_PROPERTIES), {}, PROPERTY_TEXTS, PROPERTY_WWNS},
    {"ORVAN_GetFCPortList", sizeof(ORVAN_FC_PORT), {}, {}, FC_PORT_WWNS},
    {"ORVAN_GetTargetList", sizeof(ORVAN_TARGET_ENTRY), {}, {}, TARGET_WWNS},
    {"GetFcpTargetMapping", sizeof(HBA_FCPSCSIENTRY), {}, UNIT_TEXTS, UNIT_WWNS},
};

class Masking {
  public:
    explicit Masking(reading::Mask& mask) : m_mask(mask) {}

    void Learn(const Request& request, Bytes data) {
        ForEach(request, data, [&](Kind kind, std::uint8_t* bytes, std::size_t size) {
            if (kind == Kind::Name || kind == Kind::Serial)
                m_mask.Learn(FromAnsi(Text(bytes, size)));
        });
    }
    // What stands for what once all is learnt: addresses, and texts that are long enough, in any bytes.
    void Find(const Request& request, Bytes data) {
        ForEach(request, data, [&](Kind kind, std::uint8_t* bytes, std::size_t size) {
            const std::string before(reinterpret_cast<const char*>(bytes), size);
            Change(kind, bytes, size);
            std::string after(reinterpret_cast<const char*>(bytes), size);
            if (kind == Kind::Address) {
                if (before.find_first_not_of('\0') != before.npos)
                    Keep(before, after);
                return;
            }
            const auto begin = before.find_first_not_of(' ');
            const auto end = std::min(before.find('\0'), before.find_last_not_of(std::string(" \0", 2)) + 1);
            if ((kind == Kind::Name || kind == Kind::Serial) && begin < end && end - begin >= SHORTEST_SERIAL)
                Keep(before.substr(begin, end - begin), after.substr(begin, end - begin));
        });
    }
    void Apply(const Request& request, Bytes& data) {
        ForEach(request, data, [&](Kind kind, std::uint8_t* bytes, std::size_t size) { Change(kind, bytes, size); });
        // What the fields have not: INQUIRY data of a vendor's own, what follows a terminator, entries cut short.
        Replace(data);
    }

  private:
    enum class Kind { Name, Serial, Text, Address };

    static std::string_view Text(const std::uint8_t* bytes, std::size_t size) {
        const auto* text = reinterpret_cast<const char*>(bytes);
        return {text, strnlen(text, size)};
    }

    // work(kind, bytes, size) for each field of the data.
    template <class Work> static void ForEach(const Request& request, Bytes& data, Work work) {
        if (request.function == "ScsiInquiry" && request.evpd != 0 && data.size() > PAGE_HEADER) {
            const std::size_t size = std::min<std::size_t>(data[3], data.size() - PAGE_HEADER);
            if (size > 0)
                work(Kind::Serial, data.data() + PAGE_HEADER, size);
        }
        const auto* const layout = std::ranges::find(LAYOUTS, std::string_view(request.function), &Layout::function);
        if (layout == std::end(LAYOUTS))
            return;
        for (std::size_t base = 0; base < data.size(); base += layout->stride) {
            Places places(data, base);
            const auto each = [&](Kind kind, std::span<const Field> fields) {
                for (const Field& field : fields)
                    places.At(field.offset, field.size,
                              [&](std::uint8_t* bytes, std::size_t size) { work(kind, bytes, size); });
            };
            each(Kind::Name, layout->names);
            each(Kind::Text, layout->texts);
            each(Kind::Address, layout->addresses);
        }
    }

    void Change(Kind kind, std::uint8_t* bytes, std::size_t size) const {
        if (kind == Kind::Address) {
            if (const auto masked = ParseGroups(m_mask.Apply(Groups({bytes, size})), size))
                std::ranges::copy(*masked, bytes);
            return;
        }
        const std::string_view text =
            kind == Kind::Serial ? std::string_view(reinterpret_cast<const char*>(bytes), size) : Text(bytes, size);
        const std::string masked = ToAnsi(m_mask.Apply(FromAnsi(text)));
        if (masked == text)
            return;
        const std::size_t before = text.size();
        std::memset(bytes, 0, before);
        masked.copy(reinterpret_cast<char*>(bytes), before);
    }

    void Keep(const std::string& before, const std::string& after) {
        if (before != after)
            m_standIns[before.front()].try_emplace(before, after);
    }

    void Replace(Bytes& data) const {
        const std::string_view view = View(data);
        for (std::size_t at = 0; at < data.size(); ++at) {
            const auto candidates = m_standIns.find(static_cast<char>(data[at]));
            if (candidates == m_standIns.end())
                continue;
            const std::string* longest = nullptr;
            const std::string* standIn = nullptr;
            for (const auto& [before, after] : candidates->second)
                if (view.substr(at).starts_with(before) && (!longest || before.size() > longest->size())) {
                    longest = &before;
                    standIn = &after;
                }
            if (!longest)
                continue;
            std::ranges::copy(*standIn, data.begin() + static_cast<std::ptrdiff_t>(at));
            at += standIn->size() - 1;
        }
    }

    reading::Mask& m_mask;
    std::map<char, std::map<std::string, std::string>> m_standIns; // by their first byte
};

} // namespace

void MaskJournal(Journal& journal, reading::Mask& mask) {
    Masking masking(mask);
    for (const AdapterFacts& facts : journal.adapters)
        mask.Learn(facts.displayName);
    for (const auto& [request, runs] : journal.replies)
        for (const Run& run : runs)
            masking.Learn(request, run.reply.data);
    for (const auto& [request, runs] : journal.replies)
        for (const Run& run : runs)
            masking.Find(request, run.reply.data);
    for (AdapterFacts& facts : journal.adapters)
        for (std::string* text : {&facts.identifier, &facts.displayName, &facts.address})
            *text = mask.Apply(*text);
    std::map<Request, std::vector<Run>> masked;
    for (auto& [request, runs] : journal.replies) {
        for (Run& run : runs) {
            masking.Apply(request, run.reply.data);
            Bytes& sense = run.reply.sense;
            masking.Apply({}, sense);
        }
        Request key = request;
        key.adapter = mask.Apply(key.adapter);
        key.target = mask.Apply(key.target);
        masked.emplace(std::move(key), std::move(runs));
    }
    journal.replies = std::move(masked);
    std::set<std::pair<std::string, std::string>> hanging;
    for (const auto& [function, adapter] : journal.hanging)
        hanging.emplace(function, mask.Apply(adapter));
    journal.hanging = std::move(hanging);
    for (std::string& note : journal.notes)
        note = mask.Apply(note);
}

} // namespace recording

#include "tools/reading/What.h"

#include <cstddef>
#include <iterator>

namespace reading {
namespace {

struct Part {
    What what;
    const char* key;
    const char* phrase;
};

constexpr Part PARTS[] = {
    {What::Adapter, "adapter", "the adapter"},
    {What::Name, "name", "the adapter's display name"},
    {What::Model, "model", "the adapter's model"},
    {What::PciLocation, "pci_location", "the adapter's PCI location"},
    {What::LinkState, "link_state", "the FCoE link state"},
    {What::Counters, "counters", "the counters"},
    {What::Fabrics, "fabrics", "the fabrics"},
    {What::Ports, "ports", "the Fibre Channel ports, and what is behind them"},
    {What::Targets, "targets", "the targets of a port"},
    {What::Vendor, "vendor", "the vendor of a target"},
    {What::SerialNumber, "serial_number", "the serial number of a target"},
    {What::Luns, "luns", "the LUNs of a target"},
    {What::Capacity, "capacity", "the capacity of a LUN"},
    {What::Vlans, "vlans", "the VLANs"},
};

constexpr unsigned Bit(What what) {
    return 1u << static_cast<unsigned>(what);
}
template <class... Whats> constexpr unsigned Bits(Whats... whats) {
    return (0u | ... | Bit(whats));
}

struct Content {
    Answer answer;
    What whole;
    unsigned parts;
};

constexpr Content CONTENTS[] = {
    {Answer::Hbas, What::Adapter, Bits(What::Adapter, What::Name, What::Model, What::PciLocation, What::LinkState)},
    {Answer::Adapters, What::Adapter, Bits(What::Adapter, What::Name)},
    {Answer::Links, What::Adapter, Bits(What::Adapter, What::Name, What::LinkState)},
    {Answer::Fabrics, What::Fabrics, Bits(What::Fabrics, What::Name)},
    {Answer::Ports, What::Ports, Bits(What::Ports, What::Name)},
    {Answer::Targets, What::Targets, Bits(What::Ports, What::Targets, What::Vendor, What::SerialNumber, What::Name)},
    {Answer::Luns, What::Luns, Bits(What::Ports, What::Targets, What::Luns, What::Capacity, What::Name)},
    {Answer::Vlans, What::Vlans, Bits(What::Vlans, What::Name)},
    {Answer::Statistics, What::Counters, Bits(What::Counters, What::Name)},
};

const Part& Find(What what) {
    return PARTS[static_cast<std::size_t>(what)];
}

consteval bool IsInOrder() {
    for (std::size_t i = 0; i < std::size(PARTS); ++i)
        if (PARTS[i].what != static_cast<What>(i))
            return false;
    for (std::size_t i = 0; i < std::size(CONTENTS); ++i)
        if (CONTENTS[i].answer != static_cast<Answer>(i))
            return false;
    return true;
}
static_assert(IsInOrder());

} // namespace

const char* KeyOf(What what) {
    return Find(what).key;
}
std::vector<const char*> WhatKeys() {
    std::vector<const char*> keys;
    for (const Part& part : PARTS)
        keys.push_back(part.key);
    return keys;
}

const char* PhraseOf(What what) {
    return Find(what).phrase;
}

bool Shows(Answer answer, What what) {
    return (CONTENTS[static_cast<std::size_t>(answer)].parts & Bit(what)) != 0;
}
What WholeOf(Answer answer) {
    return CONTENTS[static_cast<std::size_t>(answer)].whole;
}

} // namespace reading

// What the neighbours were asked, and what they answered each time.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace recording {

using Bytes = std::vector<std::uint8_t>;

// A question. Texts are UTF-8; what a function has not is empty or 0.
struct Request {
    std::string function;
    std::string adapter = {}; // its identifier in the core agent
    std::string target = {};  // port WWN; of the function that opens adapters, the name
    std::uint64_t lun = 0;
    std::uint32_t evpd = 0;
    std::uint32_t page = 0;
    std::uint32_t room = 0; // entries that the list had room for

    auto operator<=>(const Request&) const = default;
};

// An answer. What was not written back is not there.
struct Reply {
    std::uint32_t status = 0; // as it was returned, also by a function that returns an HRESULT or a last error
    bool threw = false;
    std::optional<std::uint32_t> count;
    std::optional<std::uint32_t> controller;
    std::optional<std::uint32_t> size;
    std::optional<std::uint32_t> senseSize;
    std::optional<std::uint32_t> scsiStatus;
    Bytes data; // as far as it was written
    Bytes sense;

    bool operator==(const Reply&) const = default;
    bool IsGood() const { return !threw && status == 0; }
    // Nothing but the status, or the exception, came back.
    bool IsBare() const {
        return !count && !controller && !size && !senseSize && !scsiStatus && data.empty() && sense.empty();
    }
};

// The whole location of a device is one question, which goes by the name of its last function.
inline constexpr char PCI_PROPERTY[] = "SetupDiGetDeviceRegistryPropertyW";

// Equal replies in a row.
struct Run {
    Reply reply;
    std::uint32_t times = 0;
};

// What the core agent tells of an adapter.
struct AdapterFacts {
    std::string identifier;
    bool supportsFcoe = false;
    std::string displayName = {};
    std::string address = {}; // the permanent one
    std::uint32_t interfaceIndex = 0;
    std::optional<std::uint32_t> bus = {}; // on PCI; none: it cannot be found
    std::optional<std::uint32_t> slot = {};
};

struct Journal {
    std::vector<AdapterFacts> adapters; // in the core agent's order
    std::map<Request, std::vector<Run>> replies;
    std::set<std::string> missing;                         // functions that are not there
    std::set<std::pair<std::string, std::string>> hanging; // function and adapter
    std::vector<std::string> notes;                        // sentences: what a topology cannot say
    std::uint64_t calls = 0;

    void Put(const Request& request, const Reply& reply);
    void Note(const std::string& note); // once
};

} // namespace recording

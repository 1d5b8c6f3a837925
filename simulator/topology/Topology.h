// What the simulated suite simulates: adapters with all that lies behind them, and the faults that its functions show.
//
// Read from a JSON file whose format docs/simulator.md describes. The structures hold checked values with all defaults
// filled in; texts are UTF-8.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// A World Wide Name, most significant byte first.
using Wwn = std::array<std::uint8_t, 8>;

// The adapter as the vendor library's HBA_ADAPTERATTRIBUTES shows it.
struct AdapterAttributes {
    std::string manufacturer;
    std::string serialNumber;
    std::string model;
    std::string modelDescription;
    std::string nodeSymbolicName;
    std::string hardwareVersion;
    std::string driverVersion;
    std::string optionRomVersion;
    std::string firmwareVersion;
    std::uint32_t vendorSpecificId = 0;
    std::uint32_t numberOfPorts = 1;
    std::string driverName;
};

// The adapter's physical port as HBA_PORTATTRIBUTES shows it; the numbers are those of the SNIA HBA API.
struct PortAttributes {
    Wwn nodeWwn{};
    Wwn portWwn{};
    std::uint32_t fcId = 0;
    std::uint32_t type = 5;  // an N port
    std::uint32_t state = 2; // online
    std::uint32_t classesOfService = 8;
    std::uint32_t supportedSpeed = 4; // 10 Gbit
    std::uint32_t speed = 4;
    std::uint32_t maxFrameSize = 2112;
    std::string symbolicName;
    std::string osDeviceName;
    Wwn fabricName{};
    std::uint32_t discoveredPorts = 0; // default: the number of targets
};

// The counters of HBA_PORTSTATISTICS in their order there.
constexpr std::size_t COUNTER_COUNT = 15;
struct Statistics {
    std::array<std::int64_t, COUNTER_COUNT> values{};
    // Added per second since the system started; a counter of -1 is unsupported and stays.
    std::array<std::int64_t, COUNTER_COUNT> perSecond{};
};

// What the vendor library tells of the adapter's FC and network side.
struct FcNicProperties {
    Wwn nodeWwn{};
    Wwn portWwn{};
    std::array<std::uint8_t, 6> mac{};
    std::string networkInstance; // default: \DEVICE\ and the adapter's identifier
    bool remoteBooted = false;
    bool remotePageFile = false;
};

struct PciLocation {
    std::uint32_t bus = 0;
    std::uint32_t device = 0;
    std::uint32_t function = 0;
};

// One entry of the adapter's FC port list. Types 0 and 1 are physical, 2 and 3 virtual.
struct FcPort {
    Wwn nodeWwn{};
    Wwn portWwn{};
    std::uint8_t type = 0;
    std::uint32_t wordA = 0;
    std::uint32_t wordB = 0; // the FC address through which a port of type 3 sees its targets
    std::array<Wwn, 3> identifiers{};
    std::uint32_t word56 = 0;
    std::uint16_t number = 0;
    std::uint8_t byte62 = 0;

    bool IsVirtual() const { return type == 2 || type == 3; }
};

struct Lun {
    std::uint32_t osLun = 0;
    std::uint64_t fcpLun = 0;
    std::string osDeviceName;
    std::uint64_t blocks = 1;
    std::uint32_t blockLength = 512;
    unsigned readCapacity = 16;           // the layout that ScsiReadCapacityV2 answers with: 10 or 16
    std::vector<std::uint8_t> response10; // a recorded READ CAPACITY (10) response; empty: made from the size
    std::vector<std::uint8_t> response16; // the same for READ CAPACITY (16)
    std::uint32_t checkConditions = 0;    // so many capacity commands per process end with a unit attention first
    std::uint32_t id = 0;                 // counts the LUNs of the whole topology from 0
};

struct Target {
    std::uint32_t bus = 0;
    std::uint32_t target = 0;
    Wwn nodeWwn{};
    Wwn portWwn{};
    Wwn initiatorWwn{};
    std::uint8_t initiatorType = 0;
    std::uint32_t fcId = 0;
    std::uint16_t number = 0;
    bool npiv = false; // also seen through every virtual port of type 3
    std::string vendor;
    std::string product;
    std::string revision;
    std::string serial;
    std::vector<std::uint8_t> inquiry; // a recorded standard INQUIRY response; empty: made from the texts
    std::vector<std::uint8_t> vpd80;   // a recorded unit serial number page; empty: made from the serial number
    std::vector<Lun> luns;
};

struct Vlan {
    std::uint16_t id = 0;
    std::uint16_t state = 1; // 1 active
};

// What the DCB service answers for the adapter.
struct Dcb {
    std::int32_t enabled = 1;
    std::uint32_t configHresult = 0;
    std::uint32_t appHresult = 0;
    std::uint8_t priorityBitmap = 8;
    std::uint32_t pfcHresult = 0;
    std::array<std::int32_t, 8> pfc{0, 0, 0, 1, 0, 0, 0, 0};
};

struct Adapter {
    std::string identifier; // a braced GUID
    std::string displayName;
    std::array<std::uint8_t, 6> mac{}; // the permanent address
    std::uint32_t interfaceIndex = 0;
    bool supportsFcoe = true;
    std::string libraryName; // the name under which the vendor library knows it
    std::uint32_t controller = 0;
    AdapterAttributes attributes;
    PortAttributes port;
    Statistics statistics;
    FcNicProperties properties;
    PciLocation pci;
    std::vector<FcPort> ports; // default: one physical port made from the port attributes
    std::uint32_t maxVirtualPorts = 64;
    std::vector<Target> targets;
    std::vector<Vlan> vlans;
    Dcb dcb;
    std::uint32_t index = 0; // its place in the topology
};

// A fault of one simulated function. What is not given happens as without the fault.
struct Fault {
    std::size_t function = 0;              // a place in FUNCTION_NAMES
    std::optional<std::uint32_t> adapter;  // the adapter's place; none: any adapter
    std::optional<std::uint32_t> status;   // returned instead of doing the work
    bool isHresult = false;                // the status was given as an HRESULT
    std::optional<std::uint32_t> detail;   // the second word of a core-agent result
    std::optional<std::uint32_t> count;    // written back in place of the true count
    std::optional<std::uint8_t> lockTaken; // what StartLock reports
    std::uint32_t onCall = 0;              // from this matching call on, counted from 1; 0: from the first
    std::uint32_t times = UINT32_MAX;      // so many calls; one when onCall is given and this is not
    std::uint32_t delayMs = 0;             // waits first
    bool throws = false;                   // throws a std::runtime_error
    bool missing = false;                  // the export or handler is absent
    bool garbage = false;                  // outputs are filled with A5h bytes
    bool unterminated = false;             // texts go on to the end of their arrays
};

// When a step of a topology's timeline is taken, counted from the one before or from the start.
struct Step {
    std::optional<std::uint64_t> afterMs;
    std::uint32_t afterCalls = 0;        // without afterMs
    std::optional<std::size_t> function; // whose calls count, a place in FUNCTION_NAMES; none: of any
    std::string adapter;                 // the identifier of the adapter whose calls count; empty: of any and of none
};

// One recorded answer. What is not given happens as without it; one that gives nothing is the topology's own.
struct Reply {
    std::optional<std::uint32_t> status;
    std::optional<std::uint32_t> count;      // written back as the list's count
    std::optional<std::uint32_t> controller; // the controller number
    std::optional<std::uint32_t> size;       // written back as the response's size
    std::optional<std::uint32_t> senseSize;
    std::optional<std::uint32_t> scsiStatus;
    std::vector<std::uint8_t> data; // of the record, the list's entries or the response, from their first byte on
    std::vector<std::uint8_t> sense;
    bool throws = false;

    bool IsOwn() const {
        return !status && !count && !controller && !size && !senseSize && !scsiStatus && data.empty() &&
               sense.empty() && !throws;
    }
    bool operator==(const Reply&) const = default;
};

// What tells the requests of a function and adapter apart; of an answer, which requests it is for.
struct Arguments {
    std::optional<Wwn> target = {};
    std::optional<std::uint64_t> lun = {};
    std::optional<std::uint32_t> evpd = {};
    std::optional<std::uint32_t> page = {};
    std::optional<std::uint32_t> room = {}; // entries that the caller's list has room for
    bool operator==(const Arguments&) const = default;
};

// The recorded answers to one request, in their order; the last one stays.
struct Answer {
    std::size_t function = 0;  // a place in FUNCTION_NAMES
    std::uint32_t adapter = 0; // the adapter's place
    Arguments arguments;       // those that are given must be the request's
    std::vector<Reply> replies;
    bool operator==(const Answer&) const = default;
};

// More than a system has; a topology with more is refused.
constexpr std::size_t MAX_ADAPTERS = 256;

struct Topology {
    bool osDcb = false; // the operating system brings its own DCB
    std::vector<Adapter> adapters;
    std::vector<Fault> faults;
    std::vector<Step> timeline;
    std::vector<Answer> answers;
    std::uint32_t lunCount = 0;
    std::filesystem::path file; // empty: the built-in topology or one given as text

    // Null when no adapter has the identifier; letter case does not matter.
    const Adapter* FindAdapter(std::wstring_view identifier) const;
};

// What is wrong with a topology: file, place and what was expected there.
class TopologyError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The file that ORVAN_SIM_TOPOLOGY or else the value "Topology" of HKLM\SOFTWARE\ORVAN\Simulator names; empty: none
// does.
std::filesystem::path TopologyFile();
// A text value of HKLM\SOFTWARE\ORVAN\Simulator, or the environment variable if that is set; empty: neither is.
std::wstring SimulatorSetting(const wchar_t* variable, const wchar_t* registryValue);
std::wstring EnvironmentText(const wchar_t* variable);
std::wstring RegistryText(const wchar_t* value);

// Where a recorded response comes from that the text names by its file; none: from the file. Throws TopologyError.
using ResponseReader = std::function<std::vector<std::uint8_t>(const std::filesystem::path&)>;

// All of these throw TopologyError. name stands for the file in errors; files that the text names are in folder.
Topology ParseTopology(std::string_view text, const std::string& name, const std::filesystem::path& folder = {},
                       const ResponseReader& readResponse = {});
Topology LoadTopology(const std::filesystem::path& file);
// The topology that this process shall simulate: the configured file's or the built-in one.
Topology LoadConfiguredTopology();

// The built-in topology.
std::string_view DefaultTopologyText();

std::string WwnText(const Wwn& wwn);
// Eight two-digit groups with colons between; none when the text is anything else.
std::optional<Wwn> ParseWwn(std::string_view text);

} // namespace sim

#include "tests/simulator/LoadedLibrary.h"

#include "simulator/topology/Text.h"

std::string OneAdapter(const std::string& more, const std::string& faults) {
    return R"({"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "02:05:7C:00:00:01",
        "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01", "fc_id": "0x010200"})" +
           more + "}], \"faults\": [" + faults + "]}";
}

std::string AdapterWithTargets(int count, const std::string& faults) {
    std::string targets;
    for (int i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        targets += std::string(i ? "," : "") + R"({"port_wwn": "50:06:02:6B:00:00:00:0)" + number + R"(", "number": )" +
                   number + R"(, "fc_id": )" + std::to_string(100 + i) + R"(, "luns": [{}]})";
    }
    return OneAdapter(", \"targets\": [" + targets + "]", faults);
}

HBA_WWN HbaWwn(const char* text) {
    const auto wwn = sim::ParseWwn(text).value();
    HBA_WWN to;
    std::copy(wwn.begin(), wwn.end(), to.wwn);
    return to;
}

std::string WwnOf(const HBA_WWN& wwn) {
    sim::Wwn bytes;
    std::copy(std::begin(wwn.wwn), std::end(wwn.wwn), bytes.begin());
    return sim::WwnText(bytes);
}

LoadedLibrary::LoadedLibrary() : m_module(LoadLibraryW(L"orvanhapi.dll")) {
    EXPECT_TRUE(m_module) << "error " << GetLastError();
}

LoadedLibrary::LoadedLibrary(const std::string& topology) : LoadedLibrary() {
    const char* error = NEED_FUNCTION(m_module, OrvanSim_LoadTopology)(topology.c_str());
    EXPECT_EQ(nullptr, error) << error;
}

LoadedLibrary::~LoadedLibrary() {
    FreeLibrary(m_module);
}

HBA_ENTRYPOINTSV2 LoadedLibrary::Table() const {
    HBA_ENTRYPOINTSV2 table{};
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(m_module, HBA_RegisterLibraryV2)(&table));
    return table;
}

HBA_HANDLE LoadedLibrary::Open(const char* name) const {
    const HBA_HANDLE handle = NEED_FUNCTION(m_module, ORVAN_GetFCoEControllerHandle)(name);
    EXPECT_NE(HBA_HANDLE_INVALID, handle);
    return handle;
}

std::vector<std::string> LoadedLibrary::PortNames(HBA_HANDLE handle) const {
    std::vector<HBA_UINT32> buffer(1 + 64 * sizeof(ORVAN_FC_PORT) / sizeof(HBA_UINT32));
    auto* list = reinterpret_cast<ORVAN_FC_PORT_LIST*>(buffer.data());
    list->NumberOfEntries = 64;
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(m_module, ORVAN_GetFCPortList)(handle, list));
    std::vector<std::string> names;
    for (HBA_UINT32 i = 0; i < list->NumberOfEntries; ++i)
        names.push_back(WwnOf(list->entry[i].PortWWN));
    return names;
}

HBA_STATUS LoadedLibrary::Create(HBA_HANDLE handle, const char* wwn) const {
    ORVAN_FC_PORT request{};
    request.PortWWN = HbaWwn(wwn);
    return NEED_FUNCTION(m_module, ORVAN_CreateVPort)(handle, &request);
}

HBA_STATUS LoadedLibrary::Remove(HBA_HANDLE handle, const char* wwn) const {
    ORVAN_FC_PORT request{};
    request.PortWWN = HbaWwn(wwn);
    return NEED_FUNCTION(m_module, ORVAN_RemoveVPort)(handle, &request);
}

std::string LoadedLibrary::CallLines() const {
    std::string lines(NEED_FUNCTION(m_module, OrvanSim_CallLog)(nullptr, 0), '\0');
    NEED_FUNCTION(m_module, OrvanSim_CallLog)(lines.data(), static_cast<unsigned>(lines.size()));
    lines.pop_back();
    return lines;
}

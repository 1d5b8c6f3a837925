// A vendor library that deviates in one way: it is named, and nothing else but what follows from it.
#include <gtest/gtest.h>

#include "simulator/topology/Text.h"
#include "tests/kit/TestData.h"
#include "tests/verify/Asked.h"
#include "tests/verify/Planted.h"

namespace {

// The second adapter of the world has one target, one port and one VLAN: there a wrong count is wrong in another way.
const Planted PLANTED[] = {
    {"nothing", {}},
    {"refuses to load", {"load"}},
    {"does not initialize", {"status ORVAN_InitializeLibrary"}},
    {"initializes once", {"other_answer ORVAN_InitializeLibrary"}},
    {"registration fails", {"status HBA_RegisterLibraryV2"}},
    {"table differs", {"other_answer HBA_RegisterLibraryV2"}},
    {"no statistics", {"no_handler GetPortStatistics"}},
    {"handler is no code", {"wild_handler GetAdapterAttributes"}},
    {"knows no adapter", {"status ORVAN_GetFCoEControllerInfo"}},
    {"name without end", {"unterminated ORVAN_GetFCoEControllerInfo", "no_handle ORVAN_GetFCoEControllerHandle"}},
    {"empty name", {"no_name ORVAN_GetFCoEControllerInfo", "no_handle ORVAN_GetFCoEControllerHandle"}},
    {"name changes", {"other_answer ORVAN_GetFCoEControllerInfo"}},
    {"no handle", {"no_handle ORVAN_GetFCoEControllerHandle"}},
    {"one handle for all", {"same_handle ORVAN_GetFCoEControllerHandle"}},
    {"handle moves", {"moved_handle ORVAN_GetFCoEControllerHandle"}},
    {"handle 0 is good",
     {"handle_0 GetAdapterAttributes", "handle_0 GetAdapterPortAttributes", "handle_0 GetFcpTargetMapping",
      "handle_0 GetPortStatistics", "handle_0 ORVAN_GetFCAndNICProperties", "handle_0 ORVAN_GetFCPortList",
      "handle_0 ORVAN_GetTargetList", "handle_0 ORVAN_GetVlanIdList"}},
    {"closed handles are good",
     {"closed_handle GetAdapterAttributes", "closed_handle GetAdapterPortAttributes",
      "closed_handle GetFcpTargetMapping", "closed_handle GetPortStatistics",
      "closed_handle ORVAN_GetFCAndNICProperties", "closed_handle ORVAN_GetFCPortList",
      "closed_handle ORVAN_GetTargetList", "closed_handle ORVAN_GetVlanIdList"}},
    {"throws", {"exception GetAdapterAttributes"}},
    {"throws an int", {"exception ORVAN_GetFCAndNICProperties"}},
    {"model without end", {"unterminated GetAdapterAttributes"}},
    {"network instance without end", {"unterminated ORVAN_GetFCAndNICProperties"}},
    {"nothing is written", {"not_written GetAdapterPortAttributes"}},
    {"properties are not written", {"not_written ORVAN_GetFCAndNICProperties"}},
    {"state 99", {"port_state GetAdapterPortAttributes"}},
    {"speed 3", {"port_speed GetAdapterPortAttributes"}},
    {"port without a name", {"no_wwn GetAdapterPortAttributes"}},
    {"record differs", {"other_answer GetAdapterPortAttributes"}},
    {"fails now and then", {"other_answer GetAdapterPortAttributes"}},
    {"not for two threads", {"threads GetAdapterPortAttributes"}},
    {"counters go back", {"other_answer GetPortStatistics"}},
    {"negative counter", {"counter GetPortStatistics"}},
    {"target list is refused", {"status ORVAN_GetTargetList"}},
    {"count not written", {"count_not_written ORVAN_GetTargetList"}},
    {"count of 0", {"count_not_written ORVAN_GetTargetList"}},
    {"no more data", {"no_more_data ORVAN_GetTargetList"}},
    {"more data for ever", {"retry ORVAN_GetTargetList", "count_not_written ORVAN_GetTargetList"}},
    {"one entry more", {"entry_not_written ORVAN_GetTargetList", "no_more_data ORVAN_GetTargetList"}},
    {"entries in millions", {"count_too_large ORVAN_GetTargetList", "no_more_data ORVAN_GetTargetList"}},
    {"count changes", {"other_answer ORVAN_GetTargetList"}},
    {"entries change", {"other_answer ORVAN_GetTargetList", "unseen_lun GetFcpTargetMapping"}},
    {"target of no port", {"unseen_target ORVAN_GetTargetList"}},
    {"slow", {"slow ORVAN_GetVlanIdList"}},
    {"one VLAN more", {"entry_not_written ORVAN_GetVlanIdList", "no_more_data ORVAN_GetVlanIdList"}},
    {"port of type 9", {"port_type ORVAN_GetFCPortList", "unseen_target ORVAN_GetTargetList"}},
    {"no more ports", {"no_more_data ORVAN_GetFCPortList"}},
    {"more ports for ever", {"retry ORVAN_GetFCPortList", "count_not_written ORVAN_GetFCPortList"}},
    {"count of ports not written", {"count_not_written ORVAN_GetFCPortList"}},
    {"LUN of no target", {"unseen_lun GetFcpTargetMapping"}},
    {"device name without end", {"unterminated GetFcpTargetMapping"}},
    {"more LUNs for ever", {"retry GetFcpTargetMapping"}},
    {"INQUIRY writes nothing", {"not_written ScsiInquiry"}},
    {"another page", {"inquiry_page ScsiInquiry"}},
    {"another format", {"inquiry_format ScsiInquiry"}},
    {"CHECK CONDITION for ever", {"status ScsiReadCapacityV2"}},
    {"no room after CHECK CONDITION", {"response_size ScsiReadCapacityV2"}},
    {"no capacity", {"status ScsiReadCapacityV2"}},
    {"writes no capacity", {"not_written ScsiReadCapacityV2"}},
    {"short layout", {"block_length ScsiReadCapacityV2"}},
    {"larger than the buffer", {"response_size ScsiReadCapacityV2"}},
    {"capacity 16 is refused", {"status ORVAN_SendReadCapacity16"}},

    {"table too long", {"overrun HBA_RegisterLibraryV2"}, true},
    {"record too long", {"overrun GetAdapterPortAttributes"}, true},
    {"all entries whatever the room", {"overrun ORVAN_GetTargetList"}, true},
    {"response too long", {"overrun ScsiInquiry"}, true},
    {"writes the SCSI status", {"crash ScsiReadCapacityV2"}, true},
    {"crashes when closing", {"crash CloseAdapter"}, true},
    {"exception of another compiler", {"crash ORVAN_GetTargetList"}, true},
    {"ends the process", {"ends_process ORVAN_GetFCoEControllerInfo"}, true},
    {"hangs", {"hang ORVAN_InitializeLibrary"}, true, true},
};

class DeviatingLibrary : public testing::TestWithParam<Planted> {
  protected:
    const Variable m_topology{L"ORVAN_SIM_TOPOLOGY", (SourceFolder() / "simulator/topology/default.json").wstring()};
    const Variable m_deviation{L"VERIFY_DEVIATION", sim::Wide(GetParam().deviation)};
};

} // namespace

TEST_P(DeviatingLibrary, IsNamed) {
    if (!GetParam().ends) {
        constexpr unsigned SLOW_MS = 30; // twice as long is slow, see the module
        const std::string_view deviation = GetParam().deviation;
        const bool alone = deviation != "nothing" && deviation != "not for two threads"; // the others take long
        const auto asked = AskInProcess(verify::Neighbour::Library, L"DeviatingLibrary.dll", BuiltInAdapters(),
                                        deviation == "slow" ? SLOW_MS : 5000, alone);
        EXPECT_EQ(GetParam().told, asked.All());
        return;
    }
    std::vector<std::string> arguments = {"verify",    "--json",
                                          "--limit",   GetParam().hangs ? "4" : "30",
                                          "--library", ProgramFile(L"DeviatingLibrary.dll")};
    for (const auto& adapter : BuiltInAdapters())
        arguments.insert(arguments.end(), {"--adapter", adapter});
    const auto printed = RunSimctl(arguments);
    EXPECT_EQ(1, printed.code) << printed.err;
    EXPECT_EQ(GetParam().told, DeviationsOf(printed)) << printed.out;
}

INSTANTIATE_TEST_SUITE_P(Planted, DeviatingLibrary, testing::ValuesIn(PLANTED), NameOf);

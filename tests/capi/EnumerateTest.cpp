// Lists and JSON: the records of the agent, what was not read, adapters that are not known.
#include <cstddef>
#include <cstring>
#include <map>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/capi/CHost.h"
#include "tests/capi/CSession.h"
#include "tests/capi/CapiHost.h"
#include "tests/reading/CapturedOutput.h"
#include "tools/fcoectl/Run.h"
#include "tools/reading/Text.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* COMMANDS[] = {"hbas", "fabrics", "ports", "targets", "luns", "vlans", "stats"};
constexpr const char* LISTS[] = {"hbas", "fabrics", "ports", "targets", "luns", "vlans", "statistics"};

// Where a record has what a JSON member tells.
struct Place {
    const char* key;
    std::size_t offset;
    bool isText = true;
};
#define PLACE(record, field)                                                                                           \
    { #field, offsetof(record, field), std::is_pointer_v < decltype(record::field)> }

const std::map<fcoe_kind, std::vector<Place>> PLACES = {
    {FCOE_HBAS,
     {PLACE(fcoe_hba, port_fc_id), PLACE(fcoe_hba, type), PLACE(fcoe_hba, device_id), PLACE(fcoe_hba, second_id),
      PLACE(fcoe_hba, port_wwn), PLACE(fcoe_hba, node_wwn), PLACE(fcoe_hba, pci_location), PLACE(fcoe_hba, port_speed),
      PLACE(fcoe_hba, fcoe_link_status), PLACE(fcoe_hba, adapter_name), PLACE(fcoe_hba, model)}},
    {FCOE_FABRICS,
     {PLACE(fcoe_fabric, entry_word), PLACE(fcoe_fabric, kind_code), PLACE(fcoe_fabric, entry_byte),
      PLACE(fcoe_fabric, number), PLACE(fcoe_fabric, name), PLACE(fcoe_fabric, wwn1), PLACE(fcoe_fabric, wwn2),
      PLACE(fcoe_fabric, wwn3), PLACE(fcoe_fabric, device_id), PLACE(fcoe_fabric, second_id),
      PLACE(fcoe_fabric, kind)}},
    {FCOE_PORTS,
     {PLACE(fcoe_port, port_type), PLACE(fcoe_port, word_a), PLACE(fcoe_port, word_b), PLACE(fcoe_port, node_wwn),
      PLACE(fcoe_port, port_wwn), PLACE(fcoe_port, kind), PLACE(fcoe_port, device_id), PLACE(fcoe_port, second_id),
      PLACE(fcoe_port, wwn3), PLACE(fcoe_port, fabric_name)}},
    {FCOE_TARGETS,
     {PLACE(fcoe_target, scsi_bus), PLACE(fcoe_target, scsi_target), PLACE(fcoe_target, fc_id),
      PLACE(fcoe_target, number), PLACE(fcoe_target, port_type), PLACE(fcoe_target, node_wwn),
      PLACE(fcoe_target, port_wwn), PLACE(fcoe_target, vendor), PLACE(fcoe_target, serial),
      PLACE(fcoe_target, initiator_port_wwn), PLACE(fcoe_target, owning_port_wwn), PLACE(fcoe_target, fabric_name),
      PLACE(fcoe_target, device_id), PLACE(fcoe_target, second_id)}},
    {FCOE_LUNS,
     {PLACE(fcoe_lun, os_lun), PLACE(fcoe_lun, scsi_bus), PLACE(fcoe_lun, scsi_target), PLACE(fcoe_lun, os_device_name),
      PLACE(fcoe_lun, capacity), PLACE(fcoe_lun, block_size), PLACE(fcoe_lun, target_port_wwn),
      PLACE(fcoe_lun, owning_port_wwn), PLACE(fcoe_lun, initiator_port_wwn), PLACE(fcoe_lun, fabric_name),
      PLACE(fcoe_lun, device_id), PLACE(fcoe_lun, second_id)}},
    {FCOE_VLANS,
     {PLACE(fcoe_vlan, vlan_id), PLACE(fcoe_vlan, state_code), PLACE(fcoe_vlan, name), PLACE(fcoe_vlan, state),
      PLACE(fcoe_vlan, device_id), PLACE(fcoe_vlan, second_id)}},
    {FCOE_STATISTICS,
     {PLACE(fcoe_statistic, value), PLACE(fcoe_statistic, label), PLACE(fcoe_statistic, device_id),
      PLACE(fcoe_statistic, second_id)}},
};

// JSON members that are no field: the meaning of another one, bytes that are compared apart, a number that is 0.
constexpr std::string_view NO_FIELDS[] = {"state", "initiator_port_bytes", "reserved"};

Json ValueAt(const void* record, const Place& place) {
    const auto* at = static_cast<const char*>(record) + place.offset;
    if (place.isText) {
        const fcoe_char* text = nullptr;
        std::memcpy(&text, at, sizeof text);
        return text ? Json(reading::ToUtf8(text)) : Json(nullptr);
    }
    if (std::string_view(place.key) == "value") {
        std::int64_t number = 0;
        std::memcpy(&number, at, sizeof number);
        return number;
    }
    std::uint32_t number = 0;
    std::memcpy(&number, at, sizeof number);
    return number;
}

std::string Fcoectl(const std::vector<std::string>& words) {
    CapturedOutput output;
    EXPECT_LE(0, fcoectl::Run(words, output));
    return output.out;
}

class EnumeratedKind : public testing::TestWithParam<fcoe_kind> {
  protected:
    const char* Command() const { return COMMANDS[GetParam() - 1]; }
    const char* ListKey() const { return LISTS[GetParam() - 1]; }

    CapiHost host;
};

std::string NameOf(const testing::TestParamInfo<fcoe_kind>& info) {
    return LISTS[info.param - 1];
}

} // namespace

TEST_P(EnumeratedKind, HasEveryFieldOfEveryRecord) {
    const Session session = Open();
    const Result list = Enumerate(session, GetParam());
    const Json document = Json::parse(EnumerateJson(session, GetParam()).json);
    EXPECT_EQ(FCOE_OK, list.status);
    ASSERT_LT(0u, list.count);
    ASSERT_EQ(document[ListKey()].size(), list.count);
    const auto& places = PLACES.at(GetParam());
    for (std::uint32_t i = 0; i < list.count; ++i) {
        const Json& row = document[ListKey()][i];
        const void* const record = fcoe_list_at(list.list.get(), i);
        std::size_t others = 0;
        for (const Place& place : places)
            EXPECT_EQ(row[place.key], ValueAt(record, place)) << i << ' ' << place.key;
        for (const auto& [key, value] : row.items())
            others += std::ranges::find(NO_FIELDS, key) != std::end(NO_FIELDS) &&
                      std::ranges::find(places, key, [](const Place& place) { return std::string_view(place.key); }) ==
                          places.end();
        EXPECT_EQ(row.size(), places.size() + others);
    }
    EXPECT_EQ(nullptr, fcoe_list_at(list.list.get(), list.count));
    EXPECT_EQ(nullptr, fcoe_list_at(list.list.get(), 0xFFFFFFFF));
}

TEST_P(EnumeratedKind, IsAsJsonWhatFcoectlPrints) {
    for (const wchar_t* adapter : {static_cast<const wchar_t*>(nullptr), L"", FIRST, SECOND}) {
        std::vector<std::string> words{Command(), "--json"};
        if (adapter && *adapter)
            words.insert(words.end(), {"--adapter", reading::ToUtf8(adapter)});
        const std::string expected = Fcoectl(words);
        const Session session = Open();
        EXPECT_EQ(expected, EnumerateJson(session, GetParam(), adapter).json);
    }
}

TEST_P(EnumeratedKind, OfOneAdapterHasItsRecordsAlone) {
    const Session session = Open();
    const Place id = *std::ranges::find(PLACES.at(GetParam()), std::string_view("device_id"), &Place::key);
    // In any letter case, and without braces.
    for (const wchar_t* adapter : {FIRST, L"11111111-2222-4333-8444-555555555501"}) {
        const Result one = Enumerate(session, GetParam(), adapter);
        EXPECT_EQ(FCOE_OK, one.status);
        ASSERT_LT(0u, one.count);
        EXPECT_LT(one.count, Enumerate(session, GetParam()).count);
        for (std::uint32_t i = 0; i < one.count; ++i)
            EXPECT_EQ(reading::ToUtf8(FIRST), ValueAt(fcoe_list_at(one.list.get(), i), id));
    }
}

TEST_P(EnumeratedKind, OfAnUnknownAdapterIsNoList) {
    const Session session = Open();
    for (const wchar_t* adapter : {NOBODY, L"{}", L"Adapter one", L"1"}) {
        const Result list = Enumerate(session, GetParam(), adapter);
        EXPECT_EQ(FCOE_UNKNOWN_ADAPTER, list.status) << testing::PrintToString(std::wstring(adapter));
        EXPECT_THAT(list.message, StartsWith(L"The agent knows no adapter \"" + std::wstring(adapter) + L"\"."));
        EXPECT_EQ(FCOE_UNKNOWN_ADAPTER, EnumerateJson(session, GetParam(), adapter).status);
    }
}

TEST_P(EnumeratedKind, OutlivesItsSession) {
    Session session = Open();
    const Result list = Enumerate(session, GetParam());
    session.reset();
    EXPECT_EQ(nullptr, GetModuleHandleW(L"FcoeAgnt.dll"));
    for (const Place& place : PLACES.at(GetParam()))
        EXPECT_FALSE(ValueAt(fcoe_list_at(list.list.get(), 0), place).is_null());
}

INSTANTIATE_TEST_SUITE_P(All, EnumeratedKind, testing::ValuesIn(KINDS), NameOf);

TEST(Enumerated, TargetHasTheBytesOfItsPort) {
    CapiHost host;
    const Session session = Open();
    const Result list = Enumerate(session, FCOE_TARGETS, FIRST);
    ASSERT_LT(0u, list.count);
    const auto* target = At<fcoe_target>(list.list);
    EXPECT_EQ(fmt::format("{:02X}", fmt::join(target->initiator_port_bytes, ":")),
              reading::ToUtf8(target->initiator_port_wwn));
}

TEST(Incomplete, NamesWhatWasNotReadAsFcoectlDoes) {
    CapiHost host;
    host.Simulate(ReadingHost::Topology(fmt::format(R"({{"function": "ORVAN_GetTargetList", "status": 1,
        "adapter": "{}"}})",
                                                    ReadingHost::FAULTY)));
    const std::string expected = Fcoectl({"targets", "--json"});
    const Session session = Open();
    const Result list = Enumerate(session, FCOE_TARGETS);
    EXPECT_EQ(FCOE_INCOMPLETE, list.status);
    EXPECT_EQ(1u, list.count) << "of the other adapter";
    EXPECT_STREQ(SECOND, At<fcoe_target>(list.list)->device_id);
    const Json document = Json::parse(expected);
    ASSERT_LT(0u, document["problems"].size());
    for (const Json& problem : document["problems"])
        EXPECT_THAT(reading::ToUtf8(list.message),
                    HasSubstr(problem["text"].get<std::string>() + " " + problem["advice"].get<std::string>()));
    const Result json = EnumerateJson(session, FCOE_TARGETS);
    EXPECT_EQ(FCOE_INCOMPLETE, json.status);
    EXPECT_EQ(expected, json.json);
    EXPECT_EQ(list.message, json.message);
    EXPECT_EQ(FCOE_OK, Enumerate(session, FCOE_TARGETS, SECOND).status);
    EXPECT_EQ(FCOE_OK, Enumerate(session, FCOE_VLANS).status);
}

TEST(Incomplete, IsSoAgainWhenAskedAtOnce) {
    CapiHost host;
    host.Simulate(ReadingHost::Topology(R"({"function": "ORVAN_GetFCPortList", "status": 1})"));
    const Session session = Open();
    for (int i = 0; i < 3; ++i)
        for (const fcoe_kind kind : {FCOE_FABRICS, FCOE_PORTS, FCOE_TARGETS, FCOE_LUNS})
            EXPECT_EQ(FCOE_INCOMPLETE, Enumerate(session, kind).status) << "the agent has it in its caches: " << kind;
}

TEST(Incomplete, CountersThatWereNotReadAreNotZeros) {
    CapiHost host;
    host.Simulate(ReadingHost::Topology(R"({"function": "HBA_RegisterLibraryV2", "status": 1})"));
    const Session session = Open();
    const Result list = Enumerate(session, FCOE_STATISTICS);
    EXPECT_EQ(FCOE_INCOMPLETE, list.status);
    EXPECT_EQ(0u, list.count);
}

TEST(Incomplete, AdapterOfWhichNothingCanBeReadIsKnown) {
    CapiHost host;
    host.Simulate(ReadingHost::Topology(fmt::format(
        R"({{"function": "ORVAN_GetFCoEControllerInfo", "status": 1, "adapter": "{}"}})", ReadingHost::FAULTY)));
    const Session session = Open();
    for (const fcoe_kind kind : KINDS)
        EXPECT_EQ(FCOE_INCOMPLETE, Enumerate(session, kind, FIRST).status) << kind;
}

TEST(Incomplete, LibraryThatThrowsIsTold) {
    CapiHost host;
    host.Simulate(ReadingHost::Topology(fmt::format(
        R"({{"function": "GetAdapterPortAttributes", "throw": true, "adapter": "{}"}})", ReadingHost::FAULTY)));
    const Session session = Open();
    const Result list = Enumerate(session, FCOE_HBAS);
    EXPECT_EQ(FCOE_INCOMPLETE, list.status);
    EXPECT_THAT(list.message, HasSubstr(L"ended with an exception"));
    EXPECT_EQ(1u, list.count);
}

TEST(NoAdapter, IsAWholeAnswerWithoutRecords) {
    CapiHost host;
    host.Simulate(R"({"adapters": []})");
    const std::string expected = Fcoectl({"hbas", "--json"});
    const Session session = Open();
    const Result list = Enumerate(session, FCOE_HBAS);
    EXPECT_EQ(FCOE_OK, list.status);
    EXPECT_EQ(0u, list.count);
    EXPECT_EQ(nullptr, fcoe_list_at(list.list.get(), 0));
    EXPECT_EQ(expected, EnumerateJson(session, FCOE_HBAS).json);
    EXPECT_THAT(expected, HasSubstr("The core agent knows no adapter."));
}

TEST(CHost, RunsWithEveryFunction) {
    CapiHost host;
    EXPECT_STREQ(nullptr, RunCHost());
}

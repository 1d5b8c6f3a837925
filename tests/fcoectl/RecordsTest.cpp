#include "tools/reading/Records.h"

#include <gtest/gtest.h>

#include "tests/fcoectl/fakeagent/FakeRecords.h"

using namespace reading;

namespace {

using Keys = std::vector<std::string>;

template <class Record> Keys KeysOf() {
    Keys keys;
    const auto object = ToJson(Record());
    for (const auto& [key, value] : object.items())
        keys.push_back(key);
    return keys;
}

} // namespace

// Scripts rely on these keys: a key may be added at the end of a release, never renamed.
TEST(Records, JsonKeysAreTheContract) {
    EXPECT_EQ((Keys{"type", "device_id", "second_id", "port_wwn", "node_wwn", "port_fc_id", "pci_location",
                    "port_speed", "fcoe_link_status", "adapter_name", "model"}),
              KeysOf<QEL_FCOE_HBA>());
    EXPECT_EQ((Keys{"device_id", "second_id", "label", "value"}), KeysOf<QEL_FCOE_STATISTIC>());
    EXPECT_EQ((Keys{"name", "wwn1", "wwn2", "wwn3", "entry_word", "device_id", "second_id", "kind", "kind_code",
                    "entry_byte", "number"}),
              KeysOf<QEL_FCOE_FABRIC>());
    EXPECT_EQ((Keys{"node_wwn", "port_wwn", "port_type", "kind", "word_a", "word_b", "device_id", "second_id", "wwn3",
                    "fabric_name"}),
              KeysOf<QEL_FCOE_PORT>());
    EXPECT_EQ((Keys{"node_wwn", "port_wwn", "scsi_bus", "scsi_target", "fc_id", "number", "vendor", "serial",
                    "initiator_port_wwn", "owning_port_wwn", "fabric_name", "device_id", "second_id",
                    "initiator_port_bytes", "port_type"}),
              KeysOf<QEL_FCOE_TARGET>());
    EXPECT_EQ(
        (Keys{"os_lun", "scsi_bus", "scsi_target", "reserved", "os_device_name", "capacity", "block_size",
              "target_port_wwn", "owning_port_wwn", "initiator_port_wwn", "fabric_name", "device_id", "second_id"}),
        KeysOf<QEL_FCOE_LUN>());
    EXPECT_EQ((Keys{"name", "vlan_id", "state_code", "state", "device_id", "second_id"}), KeysOf<QEL_FCOE_VLAN>());
}

// Every field a different value, so that two swapped accessors show.
TEST(Records, EachKeyHasItsOwnField) {
    QEL_FCOE_TARGET target;
    target.strNodeWWN = L"a";
    target.strPortWWN = L"b";
    target.ulScsiBus = 3;
    target.ulScsiTarget = 4;
    target.ulFcId = 5;
    target.ulNumber = 6;
    target.strVendor = L"g";
    target.strSerial = L"h";
    target.strInitiatorPortWWN = L"i";
    target.strOwningPortWWN = L"j";
    target.strFabricName = L"k";
    target.strDeviceId = L"l";
    target.strSecondId = L"m";
    for (BYTE i = 0; i < 8; ++i)
        target.byInitiatorPortWWN[i] = static_cast<BYTE>(0xA8 + i);
    target.ulPortType = 15;
    const auto object = ToJson(target);
    auto values = nlohmann::ordered_json::array();
    for (const auto& [key, value] : object.items())
        values.push_back(value);
    EXPECT_EQ(R"(["a","b",3,4,5,6,"g","h","i","j","k","l","m","A8:A9:AA:AB:AC:AD:AE:AF",15])", values.dump());
}

TEST(Records, NumbersAreNumbersOverTheirWholeRange) {
    QEL_FCOE_HBA hba;
    hba.ulPortFcId = 0xFFFFFFFF;
    EXPECT_EQ("4294967295", ToJson(hba)["port_fc_id"].dump());
    QEL_FCOE_STATISTIC statistic;
    statistic.llValue = INT64_MIN;
    EXPECT_EQ("-9223372036854775808", ToJson(statistic)["value"].dump());
}

TEST(Records, UnknownEnumerationValuesPrintAsThemselves) {
    QEL_FCOE_PORT port;
    port.ulPortType = 77;
    EXPECT_EQ(77, ToJson(port)["port_type"]);
    const auto& fields = TypeOf<QEL_FCOE_PORT>().fields;
    EXPECT_EQ("77", ValueText(ValueOf(fields[2], port), fields[2].format));
}

TEST(Records, AddressesAreHexInTextAndNumbersInJson) {
    const QEL_FCOE_HBA hba = MakeFakeRecords(1).hbas.front();
    const auto& field = TypeOf<QEL_FCOE_HBA>().fields[5];
    EXPECT_EQ("0x010200", ValueText(ValueOf(field, hba), field.format));
    EXPECT_EQ(0x010200, ToJson(hba)["port_fc_id"]);
}

TEST(Records, JsonEscapesWhatMustBeEscaped) {
    QEL_FCOE_HBA hba;
    hba.strSecondId = L"\"quoted\" \\ \n \u20AC";
    EXPECT_EQ("\"\\\"quoted\\\" \\\\ \\n \xE2\x82\xAC\"", ToJson(hba)["second_id"].dump());
}

// Where the adapter sits on the PCI bus, as its record shows it.
#include <algorithm>
#include <cstring>

#include "tests/unit/HBAFixture.h"

using testing::ElementsAre;

namespace {
class FcoeHBAPci : public HBAFixture {};
} // namespace

// The handle is reopened for the record and once more for its location.
TEST_F(FcoeHBAPci, PropertiesAreAskedOfAHandleOpenedAnew) {
    Make();
    Record();
    EXPECT_EQ(2, fake.CallsOf("CloseAdapter"));
    EXPECT_EQ(2, fake.CallsOf("GetFCoEControllerHandle"));
    const auto properties = std::ranges::find(fake.calls, "GetFCAndNICProperties 7");
    ASSERT_NE(fake.calls.end(), properties);
    EXPECT_TRUE(std::prev(properties)->starts_with("GetFCoEControllerHandle "));
}

TEST_F(FcoeHBAPci, DevicesAreOpenedAfterTheHandleAndBeforeThePropertiesAreAskedFor) {
    Make();
    std::vector<int> openSets;
    fake.GetFCoEControllerHandle = [&](const char*) {
        openSets.push_back(setupApi.openSets);
        return fake.handle;
    };
    fake.GetFCAndNICProperties = [&](HBA_HANDLE, ORVAN_FC_NIC_PROPERTIES* record) {
        openSets.push_back(setupApi.openSets);
        *record = fake.properties;
        return HBA_STATUS_OK;
    };
    Record();
    EXPECT_THAT(openSets, ElementsAre(0, 0, 1)) << "two openings of the handle, the properties";
}

TEST_F(FcoeHBAPci, ComesFromTheDeviceOfTheNetworkInstance) {
    setupApi.devices = {{L"{OTHER}", 9, 9u << 16, true},
                        {std::nullopt, 8, 8u << 16, true},
                        {L"{HIDDEN}", 7, 7u << 16, false},
                        {GUID_TEXT, 0x1FF, 0x001F0007 | 0xFFE00000, true},
                        {GUID_TEXT, 6, 6u << 16, true}};
    Make();
    EXPECT_TRUE(Record().strPciLocation == L"PCI bus 255, device 31, function 7");
    EXPECT_THAT(setupApi.enumerated, ElementsAre(0u, 1u, 2u, 3u));
    EXPECT_THAT(setupApi.keyAccess, testing::Each(0x20019u));
    EXPECT_THAT(setupApi.propertyRead, ElementsAre(21u, 28u));
    const GUID network = {0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
    ASSERT_EQ(1u, setupApi.classes.size());
    EXPECT_TRUE(IsEqualGUID(network, setupApi.classes[0]));
    EXPECT_TRUE(Logged("Bus number : 255"));
    EXPECT_TRUE(Logged("Device number : 31"));
    EXPECT_TRUE(Logged("Function number : 7"));
}

TEST_F(FcoeHBAPci, InstanceGuidMatchesInAnyLetterCase) {
    setupApi.devices = {{L"{0a1b2c3d-0000-1111-2222-333344445555}", 5, 0, true}};
    Make();
    EXPECT_TRUE(Record().strPciLocation == L"PCI bus 5, device 0, function 0");
}

TEST_F(FcoeHBAPci, WithoutPropertiesItIsZero) {
    fake.GetFCAndNICProperties = [](HBA_HANDLE, ORVAN_FC_NIC_PROPERTIES*) { return HBA_STATUS_ERROR; };
    Make();
    EXPECT_TRUE(Record().strPciLocation == L"PCI bus 0, device 0, function 0");
    EXPECT_TRUE(Logged("Unable to retrieve properties from HBAAPI"));
    EXPECT_TRUE(setupApi.enumerated.empty());
}

TEST_F(FcoeHBAPci, WithoutABusNumberNothingElseIsAsked) {
    setupApi.devices[0].bus.reset();
    Make();
    EXPECT_TRUE(Record().strPciLocation == L"PCI bus 0, device 0, function 0");
    EXPECT_TRUE(Logged("CQelFcoeHBA::GetPCISlotInfo - Failed to get the bus number"));
    EXPECT_THAT(setupApi.propertyRead, ElementsAre(21u));
}

TEST_F(FcoeHBAPci, WithoutAnAddressTheBusNumberStays) {
    setupApi.devices[0].address.reset();
    Make();
    EXPECT_TRUE(Record().strPciLocation == L"PCI bus 5, device 0, function 0");
    EXPECT_TRUE(Logged("Bus number : 5"));
    EXPECT_TRUE(Logged("CQelFcoeHBA::GetPCISlotInfo - Failed to get the device number"));
}

TEST_F(FcoeHBAPci, UnknownInstanceHasNoBusNumber) {
    setupApi.devices[0].netCfgInstanceId = L"{OTHER}";
    Make();
    EXPECT_TRUE(Record().strPciLocation == L"PCI bus 0, device 0, function 0");
    EXPECT_TRUE(Logged("CQelFcoeHBA::GetPCISlotInfo - Failed to get the bus number"));
    EXPECT_TRUE(setupApi.propertyRead.empty());
}

TEST_F(FcoeHBAPci, InstanceWithoutABraceMatchesNoDevice) {
    std::strcpy(fake.properties.NetworkInstance, "\\DEVICE\\NONE");
    setupApi.devices[0].netCfgInstanceId.reset();
    Make();
    Record();
    EXPECT_TRUE(Logged("CQelFcoeHBA::GetPCISlotInfo - Failed to get the bus number"));
}

TEST_F(FcoeHBAPci, InstanceWithoutATerminatorIsReadToItsEnd) {
    std::memset(&fake.properties, '{', sizeof fake.properties);
    Make();
    Record();
    EXPECT_TRUE(Logged("CQelFcoeHBA::GetPCISlotInfo - Failed to get the bus number"));
}

// Behind a device that cannot be enumerated nothing is looked for, whatever the reason.
TEST_F(FcoeHBAPci, EnumerationEndsAtItsFirstError) {
    for (const DWORD error : {ERROR_NO_MORE_ITEMS, ERROR_ACCESS_DENIED, ERROR_INVALID_DATA}) {
        Make();
        setupApi.enumerated.clear();
        setupApi.devices = {{L"{OTHER}", 9, 0, true}, {L"{BAD}", 9, 0, true, error}, {GUID_TEXT, 5, 0, true}};
        EXPECT_TRUE(Record().strPciLocation == L"PCI bus 0, device 0, function 0");
        EXPECT_THAT(setupApi.enumerated, ElementsAre(0u, 1u)) << error;
        EXPECT_TRUE(Logged("CQelFcoeHBA::GetPCISlotInfo - Failed to get the bus number"));
    }
}

TEST_F(FcoeHBAPci, DeviceClassThatCannotBeOpenedHasNoBusNumber) {
    setupApi.classOpens = false;
    Make();
    Record();
    EXPECT_TRUE(Logged("CQelFcoeHBA::GetPCISlotInfo - Failed to get the bus number"));
    EXPECT_EQ(1, fake.CallsOf("GetFCAndNICProperties"));
}

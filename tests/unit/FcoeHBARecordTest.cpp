// The HBA object's record: the adapter's attributes, link status and PCI location.
#include <cstring>

#include "tests/unit/FakeDcbObject.h"
#include "tests/unit/FakeServiceManager.h"
#include "tests/unit/HBAFixture.h"

using testing::ElementsAre;

namespace {
class FcoeHBARecord : public HBAFixture {};
} // namespace

// --- The record

TEST_F(FcoeHBARecord, RecordShowsTheAdapter) {
    Make();
    const QEL_FCOE_HBA record = Record();
    EXPECT_EQ(ResourceString(1144), record.strType);
    EXPECT_TRUE(record.strDeviceId == GUID_TEXT);
    EXPECT_TRUE(record.strSecondId == L"Adapter 1");
    EXPECT_TRUE(record.strPortWWN == L"20:00:00:1B:21:AA:BB:01");
    EXPECT_TRUE(record.strNodeWWN == L"10:00:00:1B:21:00:00:09");
    EXPECT_EQ(0x010203u, record.ulPortFcId);
    EXPECT_TRUE(record.strPciLocation == L"PCI bus 5, device 2, function 3");
    EXPECT_EQ(ResourceString(1123), record.strPortSpeed);
    EXPECT_EQ(ResourceString(1167), record.strFcoeLinkStatus);
    EXPECT_TRUE(record.strAdapterName == L"orvan-fcoe-0");
}

TEST_F(FcoeHBARecord, FailedPortAttributesGiveAnEmptyRecord) {
    fake.GetAdapterPortAttributes = [](HBA_HANDLE, HBA_UINT32, HBA_PORTATTRIBUTES* attributes) {
        attributes->PortFcId = 99;
        return HBA_STATUS_ERROR;
    };
    Make();
    const QEL_FCOE_HBA record = Record();
    for (const CQelString* text : {&record.strType, &record.strDeviceId, &record.strSecondId, &record.strPortWWN,
                                   &record.strNodeWWN, &record.strPciLocation, &record.strPortSpeed,
                                   &record.strFcoeLinkStatus, &record.strAdapterName, &record.strModel})
        EXPECT_TRUE(text->IsEmpty());
    EXPECT_EQ(0u, record.ulPortFcId);
    EXPECT_TRUE(Logged("ERROR calling GetAdapterPortAttributes"));
    EXPECT_EQ(0, fake.CallsOf("GetAdapterAttributes"));
}

TEST_F(FcoeHBARecord, FailedAdapterAttributesGiveAnEmptyRecord) {
    fake.GetAdapterAttributes = [](HBA_HANDLE, HBA_ADAPTERATTRIBUTES*) { return HBA_STATUS_ERROR; };
    Make();
    const QEL_FCOE_HBA record = Record();
    EXPECT_TRUE(record.strType.IsEmpty());
    EXPECT_TRUE(record.strPortWWN.IsEmpty());
    EXPECT_TRUE(Logged("ERROR calling GetAdapterAtrributes"));
    EXPECT_FALSE(Logged("ERROR calling GetAdapterPortAttributes"));
    EXPECT_EQ(0, fake.CallsOf("GetFCAndNICProperties"));
}

TEST_F(FcoeHBARecord, RecordIsReadInOrder) {
    Make();
    Record();
    std::vector<std::string> order;
    for (const std::string& call : fake.calls)
        if (call.starts_with("Get") && !call.starts_with("GetFCoEController"))
            order.push_back(call);
    EXPECT_THAT(order,
                ElementsAre("GetAdapterPortAttributes 7 0", "GetAdapterAttributes 7", "GetFCAndNICProperties 7"));
    EXPECT_TRUE(Logged("ENTRY:  CQelFcoeHBA::GetHBA"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeHBA::GetHBA"));
}

TEST_F(FcoeHBARecord, RecordIsCachedForTenMilliseconds) {
    Make();
    Record();
    fake.portAttributes.PortFcId = 5;
    clock.Advance(10);
    EXPECT_EQ(0x010203u, Record().ulPortFcId);
    EXPECT_EQ(1, fake.CallsOf("GetAdapterPortAttributes"));
    clock.Advance(1);
    EXPECT_EQ(5u, Record().ulPortFcId);
    EXPECT_EQ(2, fake.CallsOf("GetAdapterPortAttributes"));
}

struct SpeedCase {
    HBA_PORTSPEED speed;
    UINT resource;
};
class FcoeHBASpeed : public HBAFixture, public testing::WithParamInterface<SpeedCase> {};
TEST_P(FcoeHBASpeed, HasItsText) {
    fake.portAttributes.PortSpeed = GetParam().speed;
    Make();
    EXPECT_EQ(ResourceString(GetParam().resource), Record().strPortSpeed);
}
INSTANTIATE_TEST_SUITE_P(, FcoeHBASpeed,
                         testing::Values(SpeedCase{1, 1117}, SpeedCase{2, 1113}, SpeedCase{4, 1123}, SpeedCase{8, 1122},
                                         SpeedCase{16, 2020}, SpeedCase{0, 2020}, SpeedCase{3, 2020},
                                         SpeedCase{0x8000, 2020}),
                         [](const auto& info) { return "Speed" + std::to_string(info.param.speed); });

// The conversion of the model gets 256 divided by its first byte as capacity.
struct ModelCase {
    const char* name;
    std::string model;
    std::wstring text;
};
class FcoeHBAModel : public HBAFixture, public testing::WithParamInterface<ModelCase> {};
TEST_P(FcoeHBAModel, IsConvertedWithTheCapacityOfItsFirstByte) {
    fake.adapterAttributes = {};
    std::memcpy(fake.adapterAttributes.Model, GetParam().model.data(), GetParam().model.size());
    std::memset(fake.adapterAttributes.ModelDescription, 'D', sizeof fake.adapterAttributes.ModelDescription);
    Make();
    EXPECT_EQ(GetParam().text, Record().strModel);
}
INSTANTIATE_TEST_SUITE_P(, FcoeHBAModel,
                         testing::Values(ModelCase{"LetterX", "X520", L"X5"}, ModelCase{"Digit5", "57810", L"5781"},
                                         ModelCase{"ShortEnough", "5781", L"5781"}, ModelCase{"Empty", "", L""},
                                         ModelCase{"HighByte",
                                                   "\xFF"
                                                   "abc",
                                                   L"\xFF"},
                                         ModelCase{"Byte1",
                                                   "\x01"
                                                   "abc",
                                                   L"\x01"
                                                   L"abc"},
                                         ModelCase{"FillsItsArray", "\x01" + std::string(255, 'm'),
                                                   L"\x01" + std::wstring(255, L'm')}),
                         [](const auto& info) { return info.param.name; });

namespace {

// What a buffer that is too small holds afterwards is nowhere said, so the system may leave it alone.
int WINAPI ConvertWholeOrNothing(UINT page, DWORD flags, const char* source, int size, wchar_t* destination, int room) {
    if (room != 0 && MultiByteToWideChar(page, flags, source, size, nullptr, 0) > room) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    return MultiByteToWideChar(page, flags, source, size, destination, room);
}

} // namespace

TEST_F(FcoeHBARecord, ModelThatFindsNoRoomIsEmptyWhereTheSystemLeavesTheBufferAlone) {
    const ImportPatch patch(GetModuleHandleW(L"QelColib.dll"), "KERNEL32.dll", "MultiByteToWideChar",
                            reinterpret_cast<void*>(&ConvertWholeOrNothing));
    Make();
    QEL_FCOE_HBA record = Record();
    EXPECT_EQ(L"", record.strModel);
    EXPECT_EQ(L"orvan-fcoe-0", record.strAdapterName) << "the rest of the record stands";

    std::strcpy(fake.adapterAttributes.Model, "+12"); // room for 256 / 43 = 5
    clock.Advance(11);
    record = Record();
    EXPECT_EQ(L"+12", record.strModel);
}

// --- Link status

TEST_F(FcoeHBARecord, PortThatIsNotOnlineNeverAsksTheDcbService) {
    FakeServiceManager services;
    services[L"OrvanDCB"].state = SERVICE_RUNNING;
    FakeDcbObject dcb;
    Make();
    for (const HBA_PORTSTATE state : {1, 3, 4, 5, 6, 7, 8, 0}) {
        fake.portAttributes.PortState = state;
        clock.Advance(11);
        EXPECT_EQ(ResourceString(1167), Record().strFcoeLinkStatus) << state;
    }
    EXPECT_EQ(0, dcb.created);
    EXPECT_EQ(0, services.Count("query OrvanDCB"));
}

TEST_F(FcoeHBARecord, OnlinePortAsksForItsNameOnce) {
    FakeServiceManager services;
    services[L"OrvanDCB"].state = SERVICE_RUNNING;
    FakeDcbObject dcb;
    fake.portAttributes.PortState = HBA_PORTSTATE_ONLINE;
    Make();
    EXPECT_EQ(ResourceString(1166), Record().strFcoeLinkStatus);
    EXPECT_THAT(dcb.adapters, ElementsAre(GUID_TEXT));
    EXPECT_TRUE(Logged("IsFcoeInstalled() - Unable to open the TOLV registry key - exiting"))
        << "the client looks for FCoE";
}

TEST_F(FcoeHBARecord, OnlinePortWithoutTheDcbServiceIsNotDone) {
    FakeServiceManager services;
    services[L"OrvanDCB"].state = SERVICE_STOPPED;
    FakeDcbObject dcb;
    fake.portAttributes.PortState = HBA_PORTSTATE_ONLINE;
    Make();
    EXPECT_EQ(ResourceString(1173), Record().strFcoeLinkStatus);
    EXPECT_EQ(0, dcb.created);
}

TEST_F(FcoeHBARecord, OnlinePortShowsWhatTheDcbServiceSays) {
    FakeServiceManager services;
    services[L"OrvanDCB"].state = SERVICE_RUNNING;
    FakeDcbObject dcb;
    fake.portAttributes.PortState = HBA_PORTSTATE_ONLINE;
    Make();
    const auto Status = [&] {
        clock.Advance(11);
        return std::wstring(Record().strFcoeLinkStatus);
    };
    dcb.pfcState.lEnabled[3] = 0;
    EXPECT_EQ(ResourceString(1176), Status());
    dcb.pfc = 1;
    EXPECT_EQ(ResourceString(1178), Status());
    dcb.pfc = 2;
    EXPECT_EQ(ResourceString(1171), Status());
    dcb.pfc = E_FAIL;
    EXPECT_EQ(ResourceString(1169), Status());
    dcb.app = 1;
    EXPECT_EQ(ResourceString(1179), Status());
    dcb.app = 3;
    EXPECT_EQ(ResourceString(1177), Status());
    dcb.app = E_FAIL;
    EXPECT_EQ(ResourceString(1169), Status());
    dcb.enabled = 0;
    EXPECT_EQ(ResourceString(1173), Status());
}

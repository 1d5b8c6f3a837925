// What an exception of the vendor library leaves in the log: the result that the operation had come to.
#include <functional>
#include <stdexcept>

#include "tests/unit/HBAAPIFixture.h"

using testing::ElementsAre;

namespace {

// In the place of any function of the library.
struct Throwing {
    template <class... Arguments> HBA_STATUS operator()(Arguments&&...) const { throw std::runtime_error("inside"); }
};

struct Operation {
    const char* name;
    const char* result; // of the EXIT line
    std::function<void(CHBAAPIInt&)> run;
    std::function<void(FakeHbaLibrary&)> breakLibrary;
};

std::ostream& operator<<(std::ostream& out, const Operation& operation) {
    return out << operation.name;
}

BYTE g_response[8];
BYTE g_sense[8];
BOOL g_more;
ULONG g_count;

// The operations that read one record of the adapter, and those that read a list.
template <class Record> auto Query(BOOL (CHBAAPIInt::*read)(HBA_HANDLE, Record&)) {
    return [read](CHBAAPIInt& api) {
        Record record{};
        (api.*read)(7, record);
    };
}
template <class List> auto ListRead(BOOL (CHBAAPIInt::*read)(HBA_HANDLE, List*, BOOL&, ULONG&)) {
    return [read](CHBAAPIInt& api) {
        List list{};
        (api.*read)(7, &list, g_more, g_count);
    };
}

const Operation OPERATIONS[] = {
    {"InitHBAAPIMod", ", bReturn=true", [](CHBAAPIInt& api) { static_cast<void>(api.InitHBAAPIMod()); },
     [](FakeHbaLibrary& library) { library.InitializeLibrary = Throwing(); }},
    {"GetAdapterHandle", ", bReturn=false",
     [](CHBAAPIInt& api) {
         HBA_HANDLE handle = 0;
         static_cast<void>(api.GetAdapterHandle(L"a", handle));
     },
     [](FakeHbaLibrary& library) { library.GetFCoEControllerHandle = Throwing(); }},
    {"CloseAdapHandle", ", bReturn=true",
     [](CHBAAPIInt& api) {
         HBA_HANDLE handle = 7;
         api.CloseAdapHandle(handle);
     },
     [](FakeHbaLibrary& library) { library.CloseAdapter = Throwing(); }},
    {"GetAdapterAtrributes", ", bReturn=true", Query(&CHBAAPIInt::GetAdapterAtrributes),
     [](FakeHbaLibrary& library) { library.GetAdapterAttributes = Throwing(); }},
    {"GetAdapterPortAttributes", ", bReturn=true", Query(&CHBAAPIInt::GetAdapterPortAttributes),
     [](FakeHbaLibrary& library) { library.GetAdapterPortAttributes = Throwing(); }},
    {"GetPortStatistics", ", bReturn=true", Query(&CHBAAPIInt::GetPortStatistics),
     [](FakeHbaLibrary& library) { library.GetPortStatistics = Throwing(); }},
    {"GetFCEthernetProperties", ", bReturn=true",
     [](CHBAAPIInt& api) {
         ORVAN_FC_NIC_PROPERTIES properties{};
         api.GetFCEthernetProperties(7, &properties);
     },
     [](FakeHbaLibrary& library) { library.GetFCAndNICProperties = Throwing(); }},
    {"GetTargetsInfo", ", bReturn=false", ListRead(&CHBAAPIInt::GetTargetsInfo),
     [](FakeHbaLibrary& library) { library.GetFcpTargetMapping = Throwing(); }},
    {"GetTargetList", ", bReturn=false", ListRead(&CHBAAPIInt::GetTargetList),
     [](FakeHbaLibrary& library) { library.GetTargetList = Throwing(); }},
    {"GetVLANList", ", bReturn=false", ListRead(&CHBAAPIInt::GetVLANList),
     [](FakeHbaLibrary& library) { library.GetVlanIdList = Throwing(); }},
    {"RetrieveSCSIInfo", ", bReturn=true",
     [](CHBAAPIInt& api) {
         api.RetrieveSCSIInfo(7, {}, 0, 0, 0, g_response, sizeof g_response, g_sense, sizeof g_sense);
     },
     [](FakeHbaLibrary& library) { library.ScsiInquiry = Throwing(); }},
    {"RetrieveLUNCapacityV2", "",
     [](CHBAAPIInt& api) {
         api.RetrieveLUNCapacityV2(7, {}, {}, 0, g_response, sizeof g_response, g_sense, sizeof g_sense);
     },
     [](FakeHbaLibrary& library) { library.ScsiReadCapacityV2 = Throwing(); }},
    {"RetrieveLUNCapacity16", ", bReturn=true",
     [](CHBAAPIInt& api) {
         api.RetrieveLUNCapacity16(7, {}, 0, g_response, sizeof g_response, g_sense, sizeof g_sense);
     },
     [](FakeHbaLibrary& library) { library.SendReadCapacity16 = Throwing(); }},
    {"GenerateVportWwpn", ", bReturn=false",
     [](CHBAAPIInt& api) {
         HBA_WWN wwpn;
         api.GenerateVportWwpn(7, &wwpn);
     },
     [](FakeHbaLibrary& library) { library.GeneratePortWWN = Throwing(); }},
    {"CreateVport", ", bReturn=false",
     [](CHBAAPIInt& api) {
         ORVAN_FC_PORT request{};
         HBA_STATUS status;
         api.CreateVport(7, request, status);
     },
     [](FakeHbaLibrary& library) { library.CreateVPort = Throwing(); }},
    {"RemoveVport", ", bReturn=false",
     [](CHBAAPIInt& api) {
         ORVAN_FC_PORT request{};
         api.RemoveVport(7, request);
     },
     [](FakeHbaLibrary& library) { library.RemoveVPort = Throwing(); }},
    {"GetPorts", ", bReturn=false",
     [](CHBAAPIInt& api) {
         ORVAN_FC_PORT_LIST list{};
         api.GetPorts(7, &list, g_count);
     },
     [](FakeHbaLibrary& library) { library.GetFCPortList = Throwing(); }},
    {"GetPortsCount", ", nReturn=0", [](CHBAAPIInt& api) { api.GetPortsCount(7); },
     [](FakeHbaLibrary& library) { library.GetFCPortList = Throwing(); }},
};

class HBAAPIExceptions : public HBAAPIFixture, public testing::WithParamInterface<Operation> {};
class HBAAPIMappingException : public HBAAPIFixture {};

} // namespace

INSTANTIATE_TEST_SUITE_P(Operations, HBAAPIExceptions, testing::ValuesIn(OPERATIONS),
                         [](const auto& info) { return info.param.name; });

TEST_P(HBAAPIExceptions, LeaveTheResultSoFarInTheLog) {
    Bind();
    GetParam().breakLibrary(library);
    EXPECT_THROW(GetParam().run(api), std::runtime_error);
    const std::string operation = std::string("CHBAAPIInt::") + GetParam().name;
    EXPECT_THAT(Traces(operation), ElementsAre("ENTRY:  " + operation, "EXIT:  " + operation + GetParam().result));
}

// The mapping of a device ends otherwise than the binding without one.
TEST_F(HBAAPIMappingException, LeavesAFalseWhereADeviceIsMapped) {
    Bind();
    library.GetFCoEControllerInfo = Throwing();
    wchar_t name[CHBAAPIInt::NAME_SIZE];
    EXPECT_THROW(static_cast<void>(api.InitHBAAPIMod(L"\\DEVICE\\a", TRUE, name)), std::runtime_error);
    EXPECT_EQ("EXIT:  CHBAAPIInt::InitHBAAPIMod, bReturn=false", Traces("CHBAAPIInt::InitHBAAPIMod").back());
}

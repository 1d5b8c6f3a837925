// Adapter and port queries.
#include "tests/unit/HBAAPIFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr wchar_t SUITE_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";
constexpr wchar_t DEBUG_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\Debug";

class HBAAPIQueries : public HBAAPIFixture {
  protected:
    // As after a registration that never was.
    void Unregister() {
        api.DeInitHBAAPIMod();
        Forget();
    }
    void Force(const wchar_t* setting, DWORD value = 1) {
        hive.Set(SUITE_KEY, L"Debugging", 1);
        hive.Set(DEBUG_KEY, setting, value);
    }

    HBA_ADAPTERATTRIBUTES adapter{};
    HBA_PORTATTRIBUTES port{};
    HBA_PORTSTATISTICS statistics{};
    ORVAN_FC_NIC_PROPERTIES properties{};
};

bool IsZero(const HBA_PORTSTATISTICS& statistics) {
    constexpr HBA_PORTSTATISTICS ZERO{};
    return std::memcmp(&statistics, &ZERO, sizeof ZERO) == 0;
}

} // namespace

// --- Adapter attributes

TEST_F(HBAAPIQueries, AdapterAttributesAreTheLibrarys) {
    std::strcpy(library.adapterAttributes.Model, "OV-1");
    Bind();
    EXPECT_TRUE(api.GetAdapterAtrributes(7, adapter));
    EXPECT_STREQ(adapter.Model, "OV-1");
    EXPECT_THAT(library.calls, ElementsAre("GetAdapterAttributes 7"));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::GetAdapterAtrributes succeeded"));
}

TEST_F(HBAAPIQueries, AdapterAttributesFailureLogsTheLastErrorAndNotTheStatus) {
    Bind();
    library.GetAdapterAttributes = [](HBA_HANDLE, HBA_ADAPTERATTRIBUTES*) {
        SetLastError(1234);
        return HBA_STATUS_ERROR_BUSY;
    };
    EXPECT_FALSE(api.GetAdapterAtrributes(7, adapter));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::GetAdapterAtrributes failed with error: 1234"));
}

TEST_F(HBAAPIQueries, AdapterAttributesWithoutATableSucceedSilently) {
    Unregister();
    std::strcpy(adapter.Model, "kept");
    EXPECT_TRUE(api.GetAdapterAtrributes(7, adapter));
    EXPECT_STREQ(adapter.Model, "kept");
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIQueries, AdapterAttributesWithoutAHandlerSucceedSilently) {
    library.missing = {"GetAdapterAttributes"};
    Bind();
    EXPECT_TRUE(api.GetAdapterAtrributes(7, adapter));
    EXPECT_THAT(Messages(), IsEmpty());
}

// --- Port attributes

TEST_F(HBAAPIQueries, PortAttributesAreThoseOfPortZero) {
    library.portAttributes.PortFcId = 0x10203;
    Bind();
    EXPECT_TRUE(api.GetAdapterPortAttributes(7, port));
    EXPECT_EQ(port.PortFcId, 0x10203u);
    EXPECT_THAT(library.calls, ElementsAre("GetAdapterPortAttributes 7 0"));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::GetAdapterPortAttributesHandler succeeded"));
}

TEST_F(HBAAPIQueries, PortAttributesFailureLogsTheStatusAndThenTheLastError) {
    Bind();
    library.GetAdapterPortAttributes = [](HBA_HANDLE, HBA_UINT32, HBA_PORTATTRIBUTES*) {
        SetLastError(1234);
        return HBA_STATUS_ERROR_INVALID_HANDLE;
    };
    EXPECT_FALSE(api.GetAdapterPortAttributes(7, port));
    EXPECT_THAT(Messages(), ElementsAre("GetAdapterPortAttributesHandler Failed - Status = 3",
                                        "CHBAAPIInt::GetAdapterPortAttributesHandler failed with error: 1234"));
}

TEST_F(HBAAPIQueries, PortAttributesWithoutATableSucceedAfterTheirMessage) {
    Unregister();
    port.PortFcId = 5;
    EXPECT_TRUE(api.GetAdapterPortAttributes(7, port));
    EXPECT_EQ(port.PortFcId, 5u);
    EXPECT_THAT(Messages(), ElementsAre("m_bEntryPtsInited is false"));
}

TEST_F(HBAAPIQueries, PortAttributesWithoutAHandlerAreTreatedAsWithoutATable) {
    library.missing = {"GetAdapterPortAttributes"};
    Bind();
    EXPECT_TRUE(api.GetAdapterPortAttributes(7, port));
    EXPECT_THAT(Messages(), ElementsAre("m_bEntryPtsInited is false"));
}

TEST_F(HBAAPIQueries, TableThatWasNeverFilledIsTreatedAsWithoutATable) {
    library.missing = {"RegisterLibraryV2"};
    Bind();
    EXPECT_TRUE(api.GetAdapterPortAttributes(7, port));
    EXPECT_THAT(Messages(), ElementsAre("m_bEntryPtsInited is false"));
}

// --- Port statistics

TEST_F(HBAAPIQueries, StatisticsAreThoseOfPortZero) {
    library.portStatistics.TxFrames = 42;
    library.portStatistics.InvalidCRCCount = -1;
    Bind();
    EXPECT_TRUE(api.GetPortStatistics(7, statistics));
    EXPECT_EQ(statistics.TxFrames, 42);
    EXPECT_EQ(statistics.InvalidCRCCount, -1);
    EXPECT_THAT(library.calls, ElementsAre("GetPortStatistics 7 0"));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::GetPortStatistics succeeded"));
}

TEST_F(HBAAPIQueries, StatisticsAreZeroedBeforeTheCallAndAfterAFailedOne) {
    Bind();
    std::memset(&statistics, 0xAA, sizeof statistics);
    library.GetPortStatistics = [](HBA_HANDLE, HBA_UINT32, HBA_PORTSTATISTICS* out) {
        EXPECT_TRUE(IsZero(*out));
        out->RxFrames = 9; // partial
        SetLastError(1234);
        return HBA_STATUS_ERROR;
    };
    EXPECT_FALSE(api.GetPortStatistics(7, statistics));
    EXPECT_TRUE(IsZero(statistics));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::GetPortStatistics failed with error: 1234"));
}

TEST_F(HBAAPIQueries, StatisticsWithoutATableSucceedSilentlyWithZeros) {
    Unregister();
    std::memset(&statistics, 0xAA, sizeof statistics);
    EXPECT_TRUE(api.GetPortStatistics(7, statistics));
    EXPECT_TRUE(IsZero(statistics));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIQueries, StatisticsWithoutAHandlerSucceedSilentlyWithZeros) {
    library.missing = {"GetPortStatistics"};
    Bind();
    std::memset(&statistics, 0xAA, sizeof statistics);
    EXPECT_TRUE(api.GetPortStatistics(7, statistics));
    EXPECT_TRUE(IsZero(statistics));
    EXPECT_THAT(Messages(), IsEmpty());
}

// --- FC and NIC properties

TEST_F(HBAAPIQueries, PropertiesAreTheLibrarys) {
    library.properties.MacAddress[5] = 0x42;
    Bind();
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(properties.MacAddress[5], 0x42);
    EXPECT_THAT(library.calls, ElementsAre("GetFCAndNICProperties 7"));
    EXPECT_THAT(library.lookups, ElementsAre("ORVAN_GetFCAndNICProperties"));
    EXPECT_THAT(Messages(), ElementsAre("GetFCEthernetProperties Succeeded"));
}

TEST_F(HBAAPIQueries, PropertiesWithoutARecordFailAtOnce) {
    Bind();
    EXPECT_FALSE(api.GetFCEthernetProperties(7, nullptr));
    EXPECT_THAT(library.lookups, IsEmpty());
    EXPECT_THAT(log.Messages(), IsEmpty()) << "the settings are not asked";
}

TEST_F(HBAAPIQueries, PropertiesFailureIsLogged) {
    Bind();
    library.GetFCAndNICProperties = [](HBA_HANDLE, ORVAN_FC_NIC_PROPERTIES*) { return HBA_STATUS_ERROR; };
    EXPECT_FALSE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_THAT(Messages(), ElementsAre("GetFCEthernetProperties failed"));
}

TEST_F(HBAAPIQueries, PropertiesWithoutTheExportSucceed) {
    library.missing = {"GetFCAndNICProperties"};
    Bind();
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_THAT(Messages(), ElementsAre("GetFCEthernetProperties GetProcAddress failed"));
    EXPECT_EQ(properties.Flags, 0u);
}

TEST_F(HBAAPIQueries, PropertiesOfAnUnloadedLibrarySucceed) {
    Unregister();
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_THAT(Messages(), ElementsAre("GetFCEthernetProperties GetProcAddress failed"));
}

TEST_F(HBAAPIQueries, PropertiesOfALibraryThatIsNotReadyAreAskedForAllTheSame) {
    library.missing = {"InitializeLibrary"};
    Bind();
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_THAT(library.calls, ElementsAre("GetFCAndNICProperties 7"));
}

TEST_F(HBAAPIQueries, PropertiesFailWithoutForcingWhenTheExportNameCannotBeConverted) {
    Force(L"FcoE_RemoteBooted");
    Bind();
    const BrokenNarrowing broken(L"ORVAN_GetFCAndNICProperties");
    EXPECT_FALSE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(properties.Flags, 0u);
    EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_F(HBAAPIQueries, ForcedRemoteBootSetsItsBitAndMakesASuccessOfAFailure) {
    Force(L"FcoE_RemoteBooted");
    Bind();
    library.GetFCAndNICProperties = [](HBA_HANDLE, ORVAN_FC_NIC_PROPERTIES*) { return HBA_STATUS_ERROR; };
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(properties.Flags, ORVAN_FLAG_REMOTE_BOOTED);
    EXPECT_THAT(Messages(),
                ElementsAre("GetFCEthernetProperties failed", "Forcing QEL_SETTING_CHECK_FCOE_REMOTE_BOOTED TRUE"));
}

TEST_F(HBAAPIQueries, ForcedRemotePageFileSetsItsBitAndMakesASuccessOfAFailure) {
    Force(L"FcoE_RemotePageFile");
    Bind();
    library.GetFCAndNICProperties = [](HBA_HANDLE, ORVAN_FC_NIC_PROPERTIES*) { return HBA_STATUS_ERROR; };
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(properties.Flags, ORVAN_FLAG_REMOTE_PAGE_FILE);
    EXPECT_THAT(Messages(),
                ElementsAre("GetFCEthernetProperties failed", "Forcing QEL_SETTING_CHECK_FCOE_REMOTE_PAGE_FILE TRUE"));
}

TEST_F(HBAAPIQueries, ForcedBitsAreAddedToThoseOfTheLibrary) {
    Force(L"FcoE_RemoteBooted");
    Force(L"FcoE_RemotePageFile");
    library.properties.Flags = 0x80000000;
    Bind();
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(properties.Flags, 0x80000003u);
    EXPECT_THAT(Messages(),
                ElementsAre("GetFCEthernetProperties Succeeded", "Forcing QEL_SETTING_CHECK_FCOE_REMOTE_BOOTED TRUE",
                            "Forcing QEL_SETTING_CHECK_FCOE_REMOTE_PAGE_FILE TRUE"));
}

TEST_F(HBAAPIQueries, SettingOtherThanOneForcesNothingAndClearsNothing) {
    Force(L"FcoE_RemoteBooted", 0);
    Force(L"FcoE_RemotePageFile", 2);
    library.properties.Flags = 3;
    Bind();
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(properties.Flags, 3u);
    EXPECT_THAT(Messages(), ElementsAre("GetFCEthernetProperties Succeeded"));
}

TEST_F(HBAAPIQueries, NothingIsForcedWhileDebuggingIsOff) {
    Force(L"FcoE_RemoteBooted");
    hive.Set(SUITE_KEY, L"Debugging", DWORD{0});
    Bind();
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(properties.Flags, 0u);
}

// --- The list reads, one table for the three

namespace {

// Room for three entries of any list.
union Buffer {
    HBA_UINT32 count;
    HBA_FCPTARGETMAPPING mapping;
    ORVAN_TARGET_LIST targets;
    ORVAN_VLAN_LIST vlans;
    BYTE bytes[1024];
};

using Answer = std::function<HBA_STATUS(HBA_UINT32&)>; // gets the list's count

struct ListRead {
    const char* name;
    std::function<BOOL(CHBAAPIInt&, Buffer*, BOOL&, ULONG&)> run;
    std::function<void(FakeHbaLibrary&, Answer)> answer;
    std::function<void(FakeHbaLibrary&)> threeEntries;
    const char* function;
    const wchar_t* exportName; // null: a handler of the table
    const char* nullList;
    const char* missing; // null: silent
    const char* before;
    const char* moreData;
    const char* error5;
    const char* success;
};

std::ostream& operator<<(std::ostream& out, const ListRead& read) {
    return out << read.name;
}

const ListRead LIST_READS[] = {
    {"GetTargetsInfo",
     [](CHBAAPIInt& api, Buffer* list, BOOL& more, ULONG& count) {
         return api.GetTargetsInfo(7, list ? &list->mapping : nullptr, more, count);
     },
     [](FakeHbaLibrary& library, Answer answer) {
         library.GetFcpTargetMapping = [answer](HBA_HANDLE, HBA_FCPTARGETMAPPING* list) {
             return answer(list->NumberOfEntries);
         };
     },
     [](FakeHbaLibrary& library) { library.mappings.resize(3); }, "GetFcpTargetMapping", nullptr,
     "CHBAAPIInt::GetTargetsInfo pTargetsInfo = NULL", nullptr,
     "CHBAAPIInt::GetTargetsInfo Before calling GetFcpTargetMappingHandler 3",
     "CHBAAPIInt::GetFcpTargetMappingHandler failed with more data available",
     "CHBAAPIInt::GetFcpTargetMappingHandler failed with error - 5",
     "CHBAAPIInt::GetFcpTargetMappingHandler Succeeded"},
    {"GetTargetList",
     [](CHBAAPIInt& api, Buffer* list, BOOL& more, ULONG& count) {
         return api.GetTargetList(7, list ? &list->targets : nullptr, more, count);
     },
     [](FakeHbaLibrary& library, Answer answer) {
         library.GetTargetList = [answer](HBA_HANDLE, ORVAN_TARGET_LIST* list) {
             return answer(list->NumberOfEntries);
         };
     },
     [](FakeHbaLibrary& library) { library.targets.resize(3); }, "GetTargetList", L"ORVAN_GetTargetList",
     "CHBAAPIInt::GetTargetList pTargetList = NULL", "CHBAAPIInt::GetTargetList pFnGetTargetList == NULL",
     "CHBAAPIInt::GetTargetList Before calling GetTargetList 7",
     "CHBAAPIInt::GetTargetList failed with more data available", "CHBAAPIInt::GetTargetList failed with error - 5",
     "CHBAAPIInt::GetTargetList Succeeded"},
    {"GetVLANList",
     [](CHBAAPIInt& api, Buffer* list, BOOL& more, ULONG& count) {
         return api.GetVLANList(7, list ? &list->vlans : nullptr, more, count);
     },
     [](FakeHbaLibrary& library, Answer answer) {
         library.GetVlanIdList = [answer](HBA_HANDLE, ORVAN_VLAN_LIST* list) { return answer(list->NumberOfEntries); };
     },
     [](FakeHbaLibrary& library) { library.vlans.resize(3); }, "GetVlanIdList", L"ORVAN_GetVlanIdList",
     "CHBAAPIInt::GetVLANList pVLANList = NULL", "CHBAAPIInt::GetVLANList pFnVlanIdList == NULL",
     "CHBAAPIInt::GetVLANList Before calling pFnVlanIdList Handle - 7",
     "CHBAAPIInt::GetVlanIdList failed with more data available", "CHBAAPIInt::GetVlanIdList failed with error - 5",
     "CHBAAPIInt::GetVlanIdList Succeeded"},
};

class HBAAPILists : public HBAAPIFixture, public testing::WithParamInterface<ListRead> {
  protected:
    // Binds so that the controller number 3 is known, which is what one of the operations logs.
    void BindDevice() {
        wchar_t name[CHBAAPIInt::NAME_SIZE];
        ASSERT_TRUE(api.InitHBAAPIMod(L"\\DEVICE\\a", TRUE, name));
        Forget();
    }
    BOOL Run() { return GetParam().run(api, &list, more, count); }
    void Answers(Answer answer) { GetParam().answer(library, answer); }

    Buffer list{};
    BOOL more = 99;
    ULONG count = 99;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Reads, HBAAPILists, testing::ValuesIn(LIST_READS),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(HBAAPILists, SuccessYieldsTheCountThatTheLibraryWrote) {
    BindDevice();
    GetParam().threeEntries(library);
    list.count = 3;
    EXPECT_TRUE(Run());
    EXPECT_EQ(more, FALSE);
    EXPECT_EQ(count, 3u);
    EXPECT_THAT(library.calls, ElementsAre(GetParam().function + std::string(" 7 3")));
    EXPECT_THAT(Messages(), ElementsAre(GetParam().before, GetParam().success));
}

TEST_P(HBAAPILists, SuccessWithoutEntriesYieldsZero) {
    BindDevice();
    list.count = 1;
    EXPECT_TRUE(Run());
    EXPECT_EQ(more, FALSE);
    EXPECT_EQ(count, 0u);
}

TEST_P(HBAAPILists, BufferTooSmallTellsHowManyThereAre) {
    BindDevice();
    GetParam().threeEntries(library);
    list.count = 1;
    EXPECT_FALSE(Run());
    EXPECT_EQ(more, TRUE);
    EXPECT_EQ(count, 3u);
    EXPECT_THAT(Messages(), ElementsAre(GetParam().before, GetParam().moreData));
}

TEST_P(HBAAPILists, MoreDataWithACountOfZeroIsAPlainFailure) {
    BindDevice();
    Answers([](HBA_UINT32& entries) {
        entries = 0;
        return HBA_STATUS_ERROR_MORE_DATA;
    });
    EXPECT_FALSE(Run());
    EXPECT_EQ(more, FALSE);
    EXPECT_EQ(count, 0u);
    EXPECT_THAT(Messages(), ElementsAre(GetParam().before, GetParam().moreData));
}

TEST_P(HBAAPILists, OtherStatusIsLoggedAndTheCountStaysZero) {
    BindDevice();
    Answers([](HBA_UINT32& entries) {
        entries = 3;
        return HBA_STATUS_ERROR_ILLEGAL_WWN;
    });
    EXPECT_FALSE(Run());
    EXPECT_EQ(more, FALSE);
    EXPECT_EQ(count, 0u);
    EXPECT_THAT(Messages(), ElementsAre(GetParam().before, GetParam().error5));
}

TEST_P(HBAAPILists, NullListStillZeroesTheCountAndTheMoreDataFlag) {
    BindDevice();
    EXPECT_FALSE(GetParam().run(api, nullptr, more, count));
    EXPECT_EQ(more, FALSE);
    EXPECT_EQ(count, 0u);
    EXPECT_THAT(library.calls, IsEmpty());
    EXPECT_THAT(library.lookups, IsEmpty());
    EXPECT_THAT(Messages(), ElementsAre(GetParam().nullList));
}

TEST_P(HBAAPILists, MissingFunctionFails) {
    library.missing = {GetParam().function};
    BindDevice();
    EXPECT_FALSE(Run());
    EXPECT_EQ(more, FALSE);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(Messages(), GetParam().missing ? Texts{GetParam().missing} : Texts{});
}

TEST_P(HBAAPILists, UnloadedLibraryFailsAsAMissingFunctionDoes) {
    BindDevice();
    api.DeInitHBAAPIMod();
    Forget();
    EXPECT_FALSE(Run());
    EXPECT_EQ(more, FALSE);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(Messages(), GetParam().missing ? Texts{GetParam().missing} : Texts{});
}

TEST_P(HBAAPILists, LibraryThatIsNotReadyIsAskedForTheMappingOnly) {
    library.missing = {"InitializeLibrary"};
    Bind();
    EXPECT_EQ(Run(), GetParam().exportName == nullptr);
    EXPECT_THAT(library.lookups, IsEmpty());
    if (GetParam().missing) {
        EXPECT_THAT(Messages(), ElementsAre(GetParam().missing));
    }
}

TEST_P(HBAAPILists, ExportNameThatCannotBeConvertedFailsWithoutAMessage) {
    if (!GetParam().exportName)
        return; // found through the table
    BindDevice();
    const BrokenNarrowing broken(GetParam().exportName);
    EXPECT_FALSE(Run());
    EXPECT_EQ(more, FALSE);
    EXPECT_EQ(count, 0u);
    EXPECT_THAT(Messages(), IsEmpty());
}

// Without a device the controller number is still zero.
TEST_F(HBAAPIQueries, TargetMappingLogsTheControllerNumberAndNotTheHandle) {
    Bind();
    HBA_FCPTARGETMAPPING mapping{};
    BOOL more;
    ULONG count;
    EXPECT_TRUE(api.GetTargetsInfo(7, &mapping, more, count));
    EXPECT_EQ(Messages().front(), "CHBAAPIInt::GetTargetsInfo Before calling GetFcpTargetMappingHandler 0");
}

TEST_F(HBAAPIQueries, OperationsTraceThemselvesWithTheirResult) {
    Bind();
    library.GetPortStatistics = [](HBA_HANDLE, HBA_UINT32, HBA_PORTSTATISTICS*) { return HBA_STATUS_ERROR; };
    BOOL more;
    ULONG count;
    api.GetAdapterAtrributes(7, adapter);
    api.GetAdapterPortAttributes(7, port);
    api.GetPortStatistics(7, statistics);
    api.GetFCEthernetProperties(7, nullptr);
    api.GetTargetsInfo(7, nullptr, more, count);
    api.GetTargetList(7, nullptr, more, count);
    api.GetVLANList(7, nullptr, more, count);
    const auto expect = [&](const std::string& operation, const std::string& result) {
        EXPECT_THAT(Traces(operation), ElementsAre("ENTRY:  " + operation, "EXIT:  " + operation + result));
    };
    expect("CHBAAPIInt::GetAdapterAtrributes", ", bReturn=true");
    expect("CHBAAPIInt::GetAdapterPortAttributes", ", bReturn=true");
    expect("CHBAAPIInt::GetPortStatistics", ", bReturn=false");
    expect("CHBAAPIInt::GetFCEthernetProperties", ", bReturn=false");
    expect("CHBAAPIInt::GetTargetsInfo", ", bReturn=false");
    expect("CHBAAPIInt::GetTargetList", ", bReturn=false");
    expect("CHBAAPIInt::GetVLANList", ", bReturn=false");
}

// Two reads of one adapter may be inside the library at once.
TEST_F(HBAAPIQueries, ReadsDoNotWaitForEachOther) {
    Bind();
    CallInside call;
    library.GetPortStatistics = [&](HBA_HANDLE handle, HBA_UINT32, HBA_PORTSTATISTICS*) {
        if (handle == 1)
            call.Stay();
        return HBA_STATUS_OK;
    };
    call.Start([&] {
        HBA_PORTSTATISTICS other;
        EXPECT_TRUE(api.GetPortStatistics(1, other));
    });
    EXPECT_TRUE(api.GetPortStatistics(2, statistics));
    call.Finish();
}

// Adapter and port queries but the list reads, which are in HBAAPIListsTest.cpp.
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
    EXPECT_STREQ("OV-1", adapter.Model);
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
    EXPECT_STREQ("kept", adapter.Model);
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
    EXPECT_EQ(0x10203u, port.PortFcId);
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
    EXPECT_EQ(5u, port.PortFcId);
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

TEST_F(HBAAPIQueries, LibraryThatWasNeverLoadedIsTreatedAsWithoutATable) {
    EXPECT_TRUE(api.GetAdapterPortAttributes(7, port));
    EXPECT_THAT(Messages(), ElementsAre("m_bEntryPtsInited is false"));
}

// --- Port statistics

TEST_F(HBAAPIQueries, StatisticsAreThoseOfPortZero) {
    library.portStatistics.TxFrames = 42;
    library.portStatistics.InvalidCRCCount = -1;
    Bind();
    EXPECT_TRUE(api.GetPortStatistics(7, statistics));
    EXPECT_EQ(42, statistics.TxFrames);
    EXPECT_EQ(-1, statistics.InvalidCRCCount);
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
    EXPECT_EQ("EXIT:  CHBAAPIInt::GetPortStatistics, bReturn=false", Traces("CHBAAPIInt::GetPortStatistics").back());
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

constexpr char LEFT_WITH_FALSE[] = "EXIT:  CHBAAPIInt::GetFCEthernetProperties, bReturn=false";

TEST_F(HBAAPIQueries, PropertiesAreTheLibrarys) {
    library.properties.MacAddress[5] = 0x42;
    Bind();
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(0x42, properties.MacAddress[5]);
    EXPECT_THAT(library.calls, ElementsAre("GetFCAndNICProperties 7"));
    EXPECT_THAT(library.lookups, ElementsAre("ORVAN_GetFCAndNICProperties"));
    EXPECT_THAT(Messages(), ElementsAre("GetFCEthernetProperties Succeeded"));
}

TEST_F(HBAAPIQueries, PropertiesWithoutARecordFailAtOnce) {
    Bind();
    EXPECT_FALSE(api.GetFCEthernetProperties(7, nullptr));
    EXPECT_THAT(library.lookups, IsEmpty());
    EXPECT_THAT(log.Messages(), IsEmpty()) << "the settings are not asked";
    EXPECT_EQ(LEFT_WITH_FALSE, Traces("CHBAAPIInt::GetFCEthernetProperties").back());
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
    EXPECT_EQ(0u, properties.Flags);
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
    EXPECT_EQ(0u, properties.Flags);
    EXPECT_THAT(log.Messages(), IsEmpty());
    EXPECT_EQ(LEFT_WITH_FALSE, Traces("CHBAAPIInt::GetFCEthernetProperties").back());
}

TEST_F(HBAAPIQueries, ForcedRemoteBootSetsItsBitAndMakesASuccessOfAFailure) {
    Force(L"FcoE_RemoteBooted");
    Bind();
    library.GetFCAndNICProperties = [](HBA_HANDLE, ORVAN_FC_NIC_PROPERTIES*) { return HBA_STATUS_ERROR; };
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(ORVAN_FLAG_REMOTE_BOOTED, properties.Flags);
    EXPECT_THAT(Messages(),
                ElementsAre("GetFCEthernetProperties failed", "Forcing QEL_SETTING_CHECK_FCOE_REMOTE_BOOTED TRUE"));
}

TEST_F(HBAAPIQueries, ForcedRemotePageFileSetsItsBitAndMakesASuccessOfAFailure) {
    Force(L"FcoE_RemotePageFile");
    Bind();
    library.GetFCAndNICProperties = [](HBA_HANDLE, ORVAN_FC_NIC_PROPERTIES*) { return HBA_STATUS_ERROR; };
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(ORVAN_FLAG_REMOTE_PAGE_FILE, properties.Flags);
    EXPECT_THAT(Messages(),
                ElementsAre("GetFCEthernetProperties failed", "Forcing QEL_SETTING_CHECK_FCOE_REMOTE_PAGE_FILE TRUE"));
}

TEST_F(HBAAPIQueries, ForcedBitsAreAddedToThoseOfTheLibrary) {
    Force(L"FcoE_RemoteBooted");
    Force(L"FcoE_RemotePageFile");
    library.properties.Flags = 0x80000000;
    Bind();
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(0x80000003u, properties.Flags);
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
    EXPECT_EQ(3u, properties.Flags);
    EXPECT_THAT(Messages(), ElementsAre("GetFCEthernetProperties Succeeded"));
}

TEST_F(HBAAPIQueries, NothingIsForcedWhileDebuggingIsOff) {
    Force(L"FcoE_RemoteBooted");
    hive.Set(SUITE_KEY, L"Debugging", DWORD{0});
    Bind();
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_EQ(0u, properties.Flags);
}

// --- What they share

TEST_F(HBAAPIQueries, OperationsTraceThemselvesWithTheirResult) {
    Bind();
    library.GetPortStatistics = [](HBA_HANDLE, HBA_UINT32, HBA_PORTSTATISTICS*) { return HBA_STATUS_ERROR; };
    api.GetAdapterAtrributes(7, adapter);
    api.GetAdapterPortAttributes(7, port);
    api.GetPortStatistics(7, statistics);
    api.GetFCEthernetProperties(7, nullptr);
    const auto expect = [&](const std::string& operation, const std::string& result) {
        EXPECT_THAT(Traces(operation), ElementsAre("ENTRY:  " + operation, "EXIT:  " + operation + result));
    };
    expect("CHBAAPIInt::GetAdapterAtrributes", ", bReturn=true");
    expect("CHBAAPIInt::GetAdapterPortAttributes", ", bReturn=true");
    expect("CHBAAPIInt::GetPortStatistics", ", bReturn=false");
    expect("CHBAAPIInt::GetFCEthernetProperties", ", bReturn=false");
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

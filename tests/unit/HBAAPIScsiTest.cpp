// SCSI commands and rescan.
#include "tests/unit/HBAAPIFixture.h"

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr HBA_UINT64 LUN = 0x0102000000000000;

class HBAAPIScsi : public HBAAPIFixture {
  protected:
    BOOL Inquiry(void* rsp, void* sns) { return api.RetrieveSCSIInfo(7, TARGET_WWN, LUN, 1, 128, rsp, 260, sns, 252); }
    BOOL Capacity(void* rsp, void* sns) {
        return api.RetrieveLUNCapacityV2(7, HBA_PORT_WWN, TARGET_WWN, LUN, rsp, 260, sns, 252);
    }
    BOOL Capacity16(void* rsp, void* sns) { return api.RetrieveLUNCapacity16(7, TARGET_WWN, LUN, rsp, 260, sns, 252); }
    // The capacity handler answers these statuses, one a call.
    void CapacityAnswers(std::vector<HBA_STATUS> statuses) {
        library.ScsiReadCapacityV2 = [this, statuses](HBA_HANDLE, HBA_WWN, HBA_WWN, HBA_UINT64, void*, HBA_UINT32*,
                                                      HBA_UINT8*, void*, HBA_UINT32*) {
            const std::size_t call = static_cast<std::size_t>(library.CallsOf("ScsiReadCapacityV2")) - 1;
            EXPECT_LT(call, statuses.size());
            return call < statuses.size() ? statuses[call] : HBA_STATUS_OK;
        };
    }

    BYTE response[260]{}, sense[252]{};
};

} // namespace

// --- RetrieveSCSIInfo

TEST_F(HBAAPIScsi, InquiryPassesItsNineArgumentsInOrder) {
    Bind();
    library.ScsiInquiry = [this](HBA_HANDLE handle, HBA_WWN wwn, HBA_UINT64 lun, HBA_UINT8 evpd, HBA_UINT32 page,
                                 void* rsp, HBA_UINT32 rspSize, void* sns, HBA_UINT32 snsSize) {
        EXPECT_EQ(7u, handle);
        EXPECT_EQ(0, std::memcmp(&wwn, &TARGET_WWN, 8));
        EXPECT_EQ(LUN, lun);
        EXPECT_EQ(1, evpd);
        EXPECT_EQ(128u, page);
        EXPECT_EQ(response, rsp);
        EXPECT_EQ(260u, rspSize);
        EXPECT_EQ(sense, sns);
        EXPECT_EQ(252u, snsSize);
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(Inquiry(response, sense));
    EXPECT_THAT(library.calls, SizeIs(1));
    EXPECT_THAT(Messages(), ElementsAre("RetrieveSCSIInfo - ScsiInquiryHandler Succeeded"));
}

TEST_F(HBAAPIScsi, InquiryFailureIsLoggedWithoutItsStatus) {
    Bind();
    library.ScsiInquiry = [](auto...) { return HBA_STATUS_SCSI_CHECK_CONDITION; };
    EXPECT_FALSE(Inquiry(response, sense));
    EXPECT_THAT(library.calls, SizeIs(1)) << "no retry";
    EXPECT_THAT(Messages(), ElementsAre("RetrieveSCSIInfo - ScsiInquiryHandler failed"));
}

TEST_F(HBAAPIScsi, InquiryRefusesNullBuffers) {
    Bind();
    EXPECT_FALSE(Inquiry(nullptr, sense));
    EXPECT_FALSE(Inquiry(response, nullptr));
    EXPECT_THAT(library.calls, IsEmpty());
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::RetrieveSCSIInfo pRspBuf or pSenseBuf invalid",
                                        "CHBAAPIInt::RetrieveSCSIInfo pRspBuf or pSenseBuf invalid"));
    EXPECT_EQ("EXIT:  CHBAAPIInt::RetrieveSCSIInfo, bReturn=false", Traces("CHBAAPIInt::RetrieveSCSIInfo").back());
}

TEST_F(HBAAPIScsi, InquiryWithoutATableSucceedsSilentlyWithoutACall) {
    Bind();
    api.DeInitHBAAPIMod();
    Forget();
    EXPECT_TRUE(Inquiry(response, sense));
    EXPECT_THAT(Messages(), IsEmpty());
    EXPECT_FALSE(Inquiry(nullptr, sense)) << "the buffers are looked at first";
}

TEST_F(HBAAPIScsi, InquiryWithoutAHandlerSucceedsSilently) {
    library.missing = {"ScsiInquiry"};
    Bind();
    EXPECT_TRUE(Inquiry(response, sense));
    EXPECT_THAT(Messages(), IsEmpty());
}

// --- RetrieveLUNCapacityV2

TEST_F(HBAAPIScsi, CapacityPassesItsArgumentsAndNoPlaceForTheScsiStatus) {
    Bind();
    library.ScsiReadCapacityV2 = [this](HBA_HANDLE handle, HBA_WWN hbaPort, HBA_WWN target, HBA_UINT64 lun, void* rsp,
                                        HBA_UINT32* rspSize, HBA_UINT8* scsiStatus, void* sns, HBA_UINT32* snsSize) {
        EXPECT_EQ(7u, handle);
        EXPECT_EQ(0, std::memcmp(&hbaPort, &HBA_PORT_WWN, 8));
        EXPECT_EQ(0, std::memcmp(&target, &TARGET_WWN, 8));
        EXPECT_EQ(LUN, lun);
        EXPECT_EQ(response, rsp);
        EXPECT_EQ(260u, *rspSize);
        EXPECT_EQ(nullptr, scsiStatus);
        EXPECT_EQ(sense, sns);
        EXPECT_EQ(252u, *snsSize);
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(Capacity(response, sense));
    EXPECT_THAT(library.calls, SizeIs(1));
    EXPECT_THAT(Messages(), ElementsAre("RetrieveLUNCapacityV2 Succeeded"));
}

TEST_F(HBAAPIScsi, CapacityAfterThreeCheckConditionsSucceedsWithTheFourthCall) {
    Bind();
    CapacityAnswers({9, 9, 9, 0});
    EXPECT_TRUE(Capacity(response, sense));
    EXPECT_EQ(4, library.CallsOf("ScsiReadCapacityV2"));
    EXPECT_THAT(Messages(),
                ElementsAre("RetrieveLUNCapacityV2 failed - Status=9", "RetrieveLUNCapacityV2 failed - Status=9",
                            "RetrieveLUNCapacityV2 failed - Status=9", "RetrieveLUNCapacityV2 Succeeded"));
}

TEST_F(HBAAPIScsi, CapacityAfterFourCheckConditionsFailsWithFourLines) {
    Bind();
    CapacityAnswers({9, 9, 9, 9});
    EXPECT_FALSE(Capacity(response, sense));
    EXPECT_EQ(4, library.CallsOf("ScsiReadCapacityV2"));
    EXPECT_THAT(Messages(), SizeIs(4));
    EXPECT_THAT(Messages(), Each(std::string("RetrieveLUNCapacityV2 failed - Status=9")));
}

TEST_F(HBAAPIScsi, CapacityWithAnotherStatusFailsAfterOneCall) {
    Bind();
    CapacityAnswers({1});
    EXPECT_FALSE(Capacity(response, sense));
    EXPECT_EQ(1, library.CallsOf("ScsiReadCapacityV2"));
    EXPECT_THAT(Messages(), ElementsAre("RetrieveLUNCapacityV2 failed - Status=1"));
}

TEST_F(HBAAPIScsi, CapacityRetryThatEndsWithAnotherStatusIsTheLast) {
    Bind();
    CapacityAnswers({9, 10});
    EXPECT_FALSE(Capacity(response, sense));
    EXPECT_EQ(2, library.CallsOf("ScsiReadCapacityV2"));
    EXPECT_THAT(Messages(),
                ElementsAre("RetrieveLUNCapacityV2 failed - Status=9", "RetrieveLUNCapacityV2 failed - Status=10"));
}

TEST_F(HBAAPIScsi, CapacityRetrySeesTheSizesThatTheLibraryWroteBack) {
    Bind();
    std::vector<HBA_UINT32> sizes;
    library.ScsiReadCapacityV2 = [&](HBA_HANDLE, HBA_WWN, HBA_WWN, HBA_UINT64, void*, HBA_UINT32* rspSize, HBA_UINT8*,
                                     void*, HBA_UINT32* snsSize) {
        sizes.insert(sizes.end(), {*rspSize, *snsSize});
        *rspSize = 8;
        *snsSize = 18;
        return sizes.size() == 2 ? HBA_STATUS_SCSI_CHECK_CONDITION : HBA_STATUS_OK;
    };
    EXPECT_TRUE(Capacity(response, sense));
    EXPECT_THAT(sizes, ElementsAre(260u, 252u, 8u, 18u));
}

namespace {
int g_sleeps;
void WINAPI CountSleep(DWORD) {
    ++g_sleeps;
}
} // namespace

TEST_F(HBAAPIScsi, CapacityIsAskedForAgainAtOnce) {
    Bind();
    CapacityAnswers({9, 9, 9, 0});
    const ImportPatch patch(nullptr, "KERNEL32.dll", "Sleep", reinterpret_cast<void*>(&CountSleep));
    g_sleeps = 0;
    EXPECT_TRUE(Capacity(response, sense));
    EXPECT_EQ(0, g_sleeps);
}

TEST_F(HBAAPIScsi, CapacityRefusesNullBuffers) {
    Bind();
    EXPECT_FALSE(Capacity(nullptr, sense));
    EXPECT_FALSE(Capacity(response, nullptr));
    EXPECT_THAT(library.calls, IsEmpty());
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::RetrieveLUNCapacityV2 pRspBuf or pSenseBuf invalid",
                                        "CHBAAPIInt::RetrieveLUNCapacityV2 pRspBuf or pSenseBuf invalid"));
}

TEST_F(HBAAPIScsi, CapacityWithoutAHandlerFailsSilently) {
    library.missing = {"ScsiReadCapacityV2"};
    Bind();
    EXPECT_FALSE(Capacity(response, sense));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIScsi, CapacityOfAnUnloadedLibraryFailsSilently) {
    Bind();
    api.DeInitHBAAPIMod();
    Forget();
    EXPECT_FALSE(Capacity(response, sense));
    EXPECT_THAT(Messages(), IsEmpty());
}

// --- RetrieveLUNCapacity16

TEST_F(HBAAPIScsi, Capacity16PassesItsArgumentsInOrder) {
    Bind();
    library.SendReadCapacity16 = [this](HBA_HANDLE handle, HBA_WWN target, HBA_UINT64 lun, void* rsp,
                                        HBA_UINT32 rspSize, void* sns, HBA_UINT32 snsSize) {
        EXPECT_EQ(7u, handle);
        EXPECT_EQ(0, std::memcmp(&target, &TARGET_WWN, 8));
        EXPECT_EQ(LUN, lun);
        EXPECT_EQ(response, rsp);
        EXPECT_EQ(260u, rspSize);
        EXPECT_EQ(sense, sns);
        EXPECT_EQ(252u, snsSize);
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(Capacity16(response, sense));
    EXPECT_THAT(library.calls, SizeIs(1));
    EXPECT_THAT(Messages(), ElementsAre("SendReadCapacity16 Succeeded"));
}

TEST_F(HBAAPIScsi, Capacity16FailureIsLoggedAndNotRetried) {
    Bind();
    library.SendReadCapacity16 = [](auto...) { return HBA_STATUS_SCSI_CHECK_CONDITION; };
    EXPECT_FALSE(Capacity16(response, sense));
    EXPECT_THAT(library.calls, SizeIs(1));
    EXPECT_THAT(Messages(), ElementsAre("SendReadCapacity16 failed"));
}

TEST_F(HBAAPIScsi, Capacity16RefusesNullBuffers) {
    Bind();
    EXPECT_FALSE(Capacity16(nullptr, sense));
    EXPECT_FALSE(Capacity16(response, nullptr));
    EXPECT_THAT(library.lookups, IsEmpty());
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::RetrieveLUNCapacity16 pRspBuf or pSenseBuf invalid",
                                        "CHBAAPIInt::RetrieveLUNCapacity16 pRspBuf or pSenseBuf invalid"));
    EXPECT_EQ("EXIT:  CHBAAPIInt::RetrieveLUNCapacity16, bReturn=false",
              Traces("CHBAAPIInt::RetrieveLUNCapacity16").back());
}

TEST_F(HBAAPIScsi, Capacity16WithoutTheExportSucceedsSilently) {
    library.missing = {"SendReadCapacity16"};
    Bind();
    EXPECT_TRUE(Capacity16(response, sense));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIScsi, Capacity16OfALibraryThatIsNotReadySucceedsSilentlyWithoutALookUp) {
    library.missing = {"InitializeLibrary"};
    Bind();
    EXPECT_TRUE(Capacity16(response, sense));
    EXPECT_THAT(library.lookups, IsEmpty());
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIScsi, Capacity16OfAnUnloadedLibrarySucceedsSilently) {
    Bind();
    api.DeInitHBAAPIMod();
    Forget();
    EXPECT_TRUE(Capacity16(response, sense));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIScsi, Capacity16FailsSilentlyWhenTheExportNameCannotBeConverted) {
    Bind();
    const BrokenNarrowing broken(L"ORVAN_SendReadCapacity16");
    EXPECT_FALSE(Capacity16(response, sense));
    EXPECT_THAT(Messages(), IsEmpty());
}

// --- RefreshTargetInfo

TEST_F(HBAAPIScsi, RescanAsksForTheWholeBus) {
    Bind();
    EXPECT_TRUE(api.RefreshTargetInfo(7));
    EXPECT_THAT(library.calls, ElementsAre("RescanScsiBus 7 4294967295"));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::RefreshTargetInfo Succeeded"));
}

TEST_F(HBAAPIScsi, RescanFailureLogsTheStatus) {
    Bind();
    library.RescanScsiBus = [](HBA_HANDLE, HBA_UINT32) { return HBA_STATUS_ERROR_INVALID_HANDLE; };
    EXPECT_FALSE(api.RefreshTargetInfo(7));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::RefreshTargetInfo failed with return code Status = 3"));
}

TEST_F(HBAAPIScsi, RescanWithoutTheExportSucceeds) {
    library.missing = {"RescanScsiBus"};
    Bind();
    EXPECT_TRUE(api.RefreshTargetInfo(7));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIScsi, RescanOfAnUnloadedLibrarySucceedsWithoutACall) {
    Bind();
    api.DeInitHBAAPIMod();
    Forget();
    EXPECT_TRUE(api.RefreshTargetInfo(7));
    EXPECT_THAT(library.calls, IsEmpty());
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIScsi, RescanOfALibraryThatIsNotReadyIsMade) {
    library.missing = {"InitializeLibrary"};
    Bind();
    EXPECT_TRUE(api.RefreshTargetInfo(7));
    EXPECT_THAT(library.calls, SizeIs(1));
}

TEST_F(HBAAPIScsi, RescanFailsWhenTheExportNameCannotBeConverted) {
    Bind();
    const BrokenNarrowing broken(L"ORVAN_RescanScsiBus");
    EXPECT_FALSE(api.RefreshTargetInfo(7));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIScsi, TwoOfTheTracesHideTheirResult) {
    Bind();
    Inquiry(nullptr, nullptr);
    Capacity(nullptr, nullptr);
    Capacity16(nullptr, nullptr);
    api.RefreshTargetInfo(7);
    const auto expect = [&](const std::string& operation, const std::string& result) {
        EXPECT_THAT(Traces(operation), ElementsAre("ENTRY:  " + operation, "EXIT:  " + operation + result));
    };
    expect("CHBAAPIInt::RetrieveSCSIInfo", ", bReturn=false");
    expect("CHBAAPIInt::RetrieveLUNCapacityV2", "");
    expect("CHBAAPIInt::RetrieveLUNCapacity16", ", bReturn=false");
    expect("CHBAAPIInt::RefreshTargetInfo", "");
}

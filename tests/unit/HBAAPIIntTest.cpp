// Binding of the vendor library and adapter handles. Unloading is in HBAAPIUnloadTest.cpp.
#include <algorithm>

#include "tests/unit/HBAAPIFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr wchar_t DEVICE[] = L"\\DEVICE\\{3B1E}";

class HBAAPIInt : public HBAAPIFixture {
  protected:
    BOOL InitDevice() { return api.InitHBAAPIMod(DEVICE, TRUE, name); }
    void ExpectHandlersOfBothVersions() {
        HBA_ADAPTERATTRIBUTES attributes;
        EXPECT_TRUE(api.GetAdapterAtrributes(7, attributes));
        BYTE response[8], sense[8];
        EXPECT_TRUE(api.RetrieveLUNCapacityV2(7, HBA_PORT_WWN, TARGET_WWN, 0, response, 8, sense, 8));
        EXPECT_EQ(1, library.CallsOf("GetAdapterAttributes"));
        EXPECT_EQ(1, library.CallsOf("ScsiReadCapacityV2"));
    }

    wchar_t name[CHBAAPIInt::NAME_SIZE] = {};
};

} // namespace

// --- InitHBAAPIMod without arguments

TEST_F(HBAAPIInt, InitLoadsInitializesAndRegisters) {
    EXPECT_TRUE(api.InitHBAAPIMod());
    EXPECT_THAT(library.calls, ElementsAre("LoadLibrary", "InitializeLibrary", "RegisterLibraryV2"));
    EXPECT_THAT(library.lookups, ElementsAre("ORVAN_InitializeLibrary", "HBA_RegisterLibraryV2"));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIInt, InitThatCannotLoadLogsWhy) {
    library.loadError = ERROR_MOD_NOT_FOUND;
    EXPECT_FALSE(api.InitHBAAPIMod());
    EXPECT_THAT(Messages(), ElementsAre("LoadLibrary of orvanhapi.dll failed - 126"));
    EXPECT_THAT(library.calls, IsEmpty());
}

TEST_F(HBAAPIInt, InitWhoseLibraryRefusesToInitializeFailsAndRegistersNothing) {
    library.InitializeLibrary = [] { return HBA_STATUS_ERROR_BUSY; };
    EXPECT_FALSE(api.InitHBAAPIMod());
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::InitHBAAPIMod InitializeLibrary failed - Status - 10"));
    EXPECT_THAT(library.calls, ElementsAre("LoadLibrary", "InitializeLibrary"));
    EXPECT_EQ(0, library.frees) << "the module stays until it is unloaded";
    library.ClearCalls();
    HBA_HANDLE handle = 0;
    EXPECT_FALSE(api.GetAdapterHandle(L"a", handle)) << "not ready";
    EXPECT_THAT(library.lookups, IsEmpty());
}

TEST_F(HBAAPIInt, RefusedInitializationOfALibraryThatIsBoundLeavesItsHandlers) {
    Bind();
    library.InitializeLibrary = [] { return HBA_STATUS_ERROR_BUSY; };
    EXPECT_FALSE(api.InitHBAAPIMod());
    EXPECT_EQ(0, library.CallsOf("RegisterLibraryV2"));
    ExpectHandlersOfBothVersions();
}

TEST_F(HBAAPIInt, RefusedRegistrationOfALibraryThatIsBoundLeavesItsHandlers) {
    Bind();
    library.RegisterLibraryV2 = [](HBA_ENTRYPOINTSV2*) { return HBA_STATUS_ERROR; };
    EXPECT_TRUE(api.InitHBAAPIMod());
    EXPECT_EQ(1, library.CallsOf("RegisterLibraryV2"));
    ExpectHandlersOfBothVersions();
}

TEST_F(HBAAPIInt, LibraryWithoutInitializeLibraryCountsAsBoundButNotAsReady) {
    library.missing = {"InitializeLibrary"};
    EXPECT_TRUE(api.InitHBAAPIMod());
    EXPECT_THAT(library.calls, ElementsAre("LoadLibrary", "RegisterLibraryV2"));
    HBA_ADAPTERATTRIBUTES attributes;
    EXPECT_TRUE(api.GetAdapterAtrributes(7, attributes));
    EXPECT_EQ(1, library.CallsOf("GetAdapterAttributes"));
    HBA_HANDLE handle = 0;
    EXPECT_FALSE(api.GetAdapterHandle(L"a", handle)) << "vendor extensions may not be asked";
}

TEST_F(HBAAPIInt, LibraryWithoutRegisterLibraryV2CountsAsBound) {
    library.missing = {"RegisterLibraryV2"};
    EXPECT_TRUE(api.InitHBAAPIMod());
    EXPECT_THAT(library.calls, ElementsAre("LoadLibrary", "InitializeLibrary"));
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.GetAdapterHandle(L"a", handle));
}

TEST_F(HBAAPIInt, StatusOfTheRegistrationIsNotLookedAt) {
    library.RegisterLibraryV2 = [this](HBA_ENTRYPOINTSV2* table) {
        *table = library.Handlers();
        return HBA_STATUS_ERROR;
    };
    Bind();
    HBA_ADAPTERATTRIBUTES attributes;
    EXPECT_TRUE(api.GetAdapterAtrributes(7, attributes));
    EXPECT_EQ(1, library.CallsOf("GetAdapterAttributes"));
}

TEST_F(HBAAPIInt, InitNamesItselfWhenAnExportNameCannotBeConverted) {
    for (const wchar_t* name : {L"ORVAN_InitializeLibrary", L"HBA_RegisterLibraryV2"}) {
        const BrokenNarrowing broken(name);
        Forget();
        EXPECT_FALSE(api.InitHBAAPIMod());
        EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::InitHBAAPIMod ConvertTCHARToChar failed"));
    }
}

TEST_F(HBAAPIInt, LoadingAgainReleasesTheFirstReferenceAfterTheNewOneIsTaken) {
    Bind();
    EXPECT_TRUE(api.InitHBAAPIMod());
    EXPECT_THAT(library.calls, ElementsAre("LoadLibrary", "FreeLibrary", "InitializeLibrary", "RegisterLibraryV2"));
    EXPECT_EQ(1, library.loads - library.frees);
    api.DeInitHBAAPIMod();
    EXPECT_FALSE(library.Loaded());
}

TEST_F(HBAAPIInt, LoadingAgainThatFailsLeavesNoLibrary) {
    Bind();
    library.loadError = ERROR_MOD_NOT_FOUND;
    EXPECT_FALSE(api.InitHBAAPIMod());
    EXPECT_FALSE(library.Loaded());
    HBA_ADAPTERATTRIBUTES attributes;
    EXPECT_TRUE(api.GetAdapterAtrributes(7, attributes));
    EXPECT_EQ(0, library.CallsOf("GetAdapterAttributes")) << "the handlers went with the module";
}

TEST_F(HBAAPIInt, ObjectThatWasNeverBoundCallsNothing) {
    HBA_HANDLE handle = 9;
    HBA_WWN wwn{};
    ORVAN_FC_PORT request{};
    HBA_STATUS status = 77;
    BYTE buffer[8], sense[8];
    EXPECT_FALSE(api.GetAdapterHandle(L"a", handle));
    EXPECT_EQ(9u, handle);
    EXPECT_FALSE(api.GenerateVportWwpn(7, &wwn));
    EXPECT_FALSE(api.CreateVport(7, request, status));
    EXPECT_EQ(0, api.GetPortsCount(7));
    EXPECT_TRUE(api.RefreshTargetInfo(7));
    EXPECT_FALSE(api.RetrieveLUNCapacityV2(7, wwn, wwn, 0, buffer, 8, sense, 8));
    EXPECT_TRUE(api.RetrieveLUNCapacity16(7, wwn, 0, buffer, 8, sense, 8));
    EXPECT_TRUE(api.CloseAdapHandle(handle));
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    EXPECT_THAT(library.calls, IsEmpty());
    EXPECT_THAT(library.lookups, IsEmpty());
}

// --- InitHBAAPIMod with a device

TEST_F(HBAAPIInt, DeviceInitWithoutEthInstFailsWithItsMessageAndTakesNoLock) {
    EXPECT_FALSE(api.InitHBAAPIMod(DEVICE, FALSE, name));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::InitHBAAPIMod bEthInst = false hence returning"));
    EXPECT_THAT(library.mutex.Events(), IsEmpty());
    EXPECT_THAT(library.calls, IsEmpty());
}

TEST_F(HBAAPIInt, DeviceInitLoadsBindsAndYieldsTheAdapterName) {
    EXPECT_TRUE(InitDevice());
    EXPECT_STREQ(L"orvan-fcoe-0", name);
    EXPECT_THAT(library.calls, ElementsAre("LoadLibrary", "InitializeLibrary", "RegisterLibraryV2",
                                           "GetFCoEControllerInfo \\DEVICE\\{3B1E}"));
    EXPECT_THAT(Messages(), ElementsAre("LoadLibrary of orvanhapi.dll succeeded"));
}

TEST_F(HBAAPIInt, DeviceInitOfABoundLibraryInitializesAndRegistersAgainWithoutLoading) {
    Bind();
    EXPECT_TRUE(InitDevice());
    EXPECT_THAT(library.calls,
                ElementsAre("InitializeLibrary", "RegisterLibraryV2", "GetFCoEControllerInfo \\DEVICE\\{3B1E}"));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIInt, DeviceInitLoadsALibraryThatIsLoadedButNotReady) {
    library.missing = {"InitializeLibrary"};
    Bind();
    EXPECT_TRUE(InitDevice());
    EXPECT_THAT(library.calls, ElementsAre("LoadLibrary", "FreeLibrary", "RegisterLibraryV2",
                                           "GetFCoEControllerInfo \\DEVICE\\{3B1E}"));
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.GetAdapterHandle(L"a", handle)) << "loading made it ready";
}

TEST_F(HBAAPIInt, DeviceInitReloadsAfterUnloading) {
    EXPECT_TRUE(InitDevice());
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    EXPECT_TRUE(InitDevice());
    EXPECT_EQ(2, library.loads);
    EXPECT_EQ(1, library.frees);
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.GetAdapterHandle(name, handle));
}

TEST_F(HBAAPIInt, LibraryThatWasReadyOnceIsReadyWheneverItIsLoadedAgain) {
    Bind();
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    library.missing = {"InitializeLibrary"};
    EXPECT_TRUE(api.InitHBAAPIMod());
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.GetAdapterHandle(L"a", handle));
    EXPECT_EQ(7u, handle);
}

TEST_F(HBAAPIInt, DeviceInitThatCannotLoadLogsWhy) {
    library.loadError = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(InitDevice());
    EXPECT_THAT(Messages(), ElementsAre("LoadLibrary of orvanhapi.dll failed - 5"));
    EXPECT_FALSE(library.mutex.IsHeld());
    EXPECT_EQ(L'\0', name[0]);
}

TEST_F(HBAAPIInt, DeviceInitReportsARefusedInitializationUnderAnotherName) {
    library.InitializeLibrary = [] { return HBA_STATUS_ERROR_TRY_AGAIN; };
    EXPECT_FALSE(InitDevice());
    EXPECT_THAT(Messages(), ElementsAre("LoadLibrary of orvanhapi.dll succeeded",
                                        "CHBAAPIInt::GetAdapterAtrributes InitializeLibrary failed - Status - 11"));
    EXPECT_EQ(0, library.CallsOf("RegisterLibraryV2"));
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.GetAdapterHandle(L"a", handle)) << "loading alone made it ready";
}

TEST_F(HBAAPIInt, DeviceInitWithoutTheFirstTwoExportsStillYieldsTheName) {
    library.missing = {"InitializeLibrary", "RegisterLibraryV2"};
    EXPECT_TRUE(InitDevice());
    EXPECT_STREQ(L"orvan-fcoe-0", name);
}

TEST_F(HBAAPIInt, DeviceInitWithoutControllerInfoNamesAnotherFunction) {
    library.missing = {"GetFCoEControllerInfo"};
    Bind();
    EXPECT_FALSE(InitDevice());
    EXPECT_THAT(Messages(), ElementsAre("GetProcAddress of ORVAN_GetControllerHandle failed with error 127"));
}

TEST_F(HBAAPIInt, DeviceInitWhoseAdapterIsUnknownLogsErrorGettingHandle) {
    Bind();
    library.GetFCoEControllerInfo = [](const wchar_t*, HBA_UINT32*, char* out) {
        std::strcpy(out, "half");
        return HBA_STATUS_ERROR_ARG;
    };
    name[0] = L'x';
    EXPECT_FALSE(InitDevice());
    EXPECT_THAT(Messages(), ElementsAre("Error Getting Handle"));
    EXPECT_EQ(L'x', name[0]);
}

TEST_F(HBAAPIInt, DeviceInitHandsOverZeroedOutputs) {
    library.GetFCoEControllerInfo = [](const wchar_t*, HBA_UINT32* number, char* out) {
        EXPECT_EQ(0u, *number);
        EXPECT_TRUE(std::all_of(out, out + ORVAN_NAME_SIZE, [](char c) { return c == 0; }));
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(InitDevice());
    EXPECT_STREQ(L"", name) << "the empty name converts to its terminator";
}

TEST_F(HBAAPIInt, AdapterNameThatFillsItsBufferIsCutAtItsLastByte) {
    library.GetFCoEControllerInfo = [](const wchar_t*, HBA_UINT32*, char* out) {
        std::memset(out, 'n', ORVAN_NAME_SIZE);
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(InitDevice());
    EXPECT_EQ(std::wstring(259, L'n'), std::wstring(name));
}

TEST_F(HBAAPIInt, DeviceInitNamesAnotherOperationWhenAnExportNameCannotBeConverted) {
    Bind();
    for (const wchar_t* exportName :
         {L"ORVAN_InitializeLibrary", L"HBA_RegisterLibraryV2", L"ORVAN_GetFCoEControllerInfo"}) {
        const BrokenNarrowing broken(exportName);
        Forget();
        EXPECT_FALSE(InitDevice());
        EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::GetAdapterAtrributes ConvertTCHARToChar failed"));
    }
}

TEST_F(HBAAPIInt, DeviceInitFailsWhenTheAdapterNameCannotBeConverted) {
    Bind();
    const ImportPatch broken(nullptr, "QelColib.dll", "_ZN10CQelString22QelMultiByteToWideCharEjmPKciPwi",
                             reinterpret_cast<void*>(+[](UINT, DWORD, const char*, int, wchar_t*, int) { return 0; }));
    EXPECT_FALSE(InitDevice());
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::GetAdapterAtrributes ConvertTCHARToChar failed"));
}

// --- GetAdapterHandle and CloseAdapHandle

TEST_F(HBAAPIInt, GetAdapterHandleOpensByTheConvertedName) {
    Bind();
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.GetAdapterHandle(L"orvan-\x00e9", handle));
    EXPECT_EQ(7u, handle);
    EXPECT_THAT(library.calls, ElementsAre("GetFCoEControllerHandle orvan-\xE9"));
    EXPECT_THAT(Messages(), ElementsAre("Succeeded getting Adapter Handle - 7"));
}

TEST_F(HBAAPIInt, AdapterNameGoesToTheLibraryWithQuestionMarksForWhatItsCodePageLacks) {
    Bind();
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.GetAdapterHandle(L"orvan-\x4e2d", handle));
    EXPECT_THAT(library.calls, ElementsAre("GetFCoEControllerHandle orvan-?"));
}

TEST_F(HBAAPIInt, MissingExportIsNoticedBeforeTheAdapterNameIsLookedAt) {
    library.missing = {"GetFCoEControllerHandle"};
    Bind();
    const BrokenNarrowing broken(L"adapter");
    HBA_HANDLE handle = 0;
    EXPECT_FALSE(api.GetAdapterHandle(L"adapter", handle));
    EXPECT_THAT(Messages(), ElementsAre("GetProcAddress of ORVAN_GetControllerHandle failed with error 127"));
}

TEST_F(HBAAPIInt, HandleZeroIsAFailureWithErrorGettingHandle) {
    Bind();
    library.handle = 0;
    HBA_HANDLE handle = 5;
    EXPECT_FALSE(api.GetAdapterHandle(L"a", handle));
    EXPECT_EQ(5u, handle);
    EXPECT_THAT(Messages(), ElementsAre("Error Getting Handle"));
}

TEST_F(HBAAPIInt, GetAdapterHandleOfAnUnloadedLibraryFailsWithoutAMessage) {
    Bind();
    api.DeInitHBAAPIMod();
    Forget();
    HBA_HANDLE handle = 5;
    EXPECT_FALSE(api.GetAdapterHandle(L"a", handle));
    EXPECT_THAT(Messages(), IsEmpty());
    EXPECT_THAT(library.mutex.Events(), ElementsAre("create Global\\CHBAAPINTMUT", "wait 10000", "release", "close"))
        << "looked at under the lock";
}

TEST_F(HBAAPIInt, GetAdapterHandleWithoutTheExportLogsTheReason) {
    library.missing = {"GetFCoEControllerHandle"};
    Bind();
    HBA_HANDLE handle = 0;
    EXPECT_FALSE(api.GetAdapterHandle(L"a", handle));
    EXPECT_THAT(Messages(), ElementsAre("GetProcAddress of ORVAN_GetControllerHandle failed with error 127"));
}

TEST_F(HBAAPIInt, GetAdapterHandleFailsWhenANameCannotBeConverted) {
    Bind();
    for (const wchar_t* text : {L"ORVAN_GetFCoEControllerHandle", L"adapter"}) {
        const BrokenNarrowing broken(text);
        Forget();
        HBA_HANDLE handle = 0;
        EXPECT_FALSE(api.GetAdapterHandle(L"adapter", handle));
        EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::GetAdapterHandle ConvertTCHARToChar failed"));
        EXPECT_THAT(library.calls, IsEmpty());
    }
}

TEST_F(HBAAPIInt, AdapterNameOf259CharactersFitsAndOneOf260DoesNot) {
    Bind();
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.GetAdapterHandle(std::wstring(259, L'a').c_str(), handle));
    EXPECT_FALSE(api.GetAdapterHandle(std::wstring(260, L'a').c_str(), handle));
    EXPECT_TRUE(log.Has("CHBAAPIInt::GetAdapterHandle ConvertTCHARToChar failed"));
}

TEST_F(HBAAPIInt, ExportsAreLookedUpAfreshAtEveryCall) {
    Bind();
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.GetAdapterHandle(L"a", handle));
    EXPECT_TRUE(api.GetAdapterHandle(L"a", handle));
    EXPECT_THAT(library.lookups, ElementsAre("ORVAN_GetFCoEControllerHandle", "ORVAN_GetFCoEControllerHandle"));
    library.missing = {"GetFCoEControllerHandle"};
    EXPECT_FALSE(api.GetAdapterHandle(L"a", handle));
}

TEST_F(HBAAPIInt, CloseAdapHandleClosesZeroesAndAlwaysReportsTrue) {
    Bind();
    HBA_HANDLE handle = 7;
    EXPECT_TRUE(api.CloseAdapHandle(handle));
    EXPECT_EQ(0u, handle);
    EXPECT_THAT(library.calls, ElementsAre("CloseAdapter 7"));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::CloseAdapHandle closing adapter handle - 7"));
    EXPECT_THAT(library.mutex.Events(), IsEmpty()) << "without the lock";
}

TEST_F(HBAAPIInt, CloseAdapHandleWithoutAHandlerLeavesOnlyTheCallOut) {
    library.missing = {"CloseAdapter"};
    Bind();
    HBA_HANDLE handle = 7;
    EXPECT_TRUE(api.CloseAdapHandle(handle));
    EXPECT_EQ(0u, handle);
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::CloseAdapHandle closing adapter handle - 7"));
}

TEST_F(HBAAPIInt, CloseAdapHandlePassesAHandleOfZeroOn) {
    Bind();
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.CloseAdapHandle(handle));
    EXPECT_THAT(library.calls, ElementsAre("CloseAdapter 0"));
}

// --- Traces

TEST_F(HBAAPIInt, OperationsTraceThemselvesWithTheirResult) {
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.InitHBAAPIMod());
    EXPECT_THAT(Traces("CHBAAPIInt::InitHBAAPIMod"),
                ElementsAre("ENTRY:  CHBAAPIInt::InitHBAAPIMod", "EXIT:  CHBAAPIInt::InitHBAAPIMod, bReturn=true"));
    log.Clear();
    EXPECT_FALSE(api.InitHBAAPIMod(DEVICE, FALSE, name));
    EXPECT_THAT(Traces("CHBAAPIInt::InitHBAAPIMod"),
                ElementsAre("ENTRY:  CHBAAPIInt::InitHBAAPIMod", "EXIT:  CHBAAPIInt::InitHBAAPIMod, bReturn=false"));
    library.handle = 0;
    EXPECT_FALSE(api.GetAdapterHandle(L"a", handle));
    EXPECT_THAT(
        Traces("CHBAAPIInt::GetAdapterHandle"),
        ElementsAre("ENTRY:  CHBAAPIInt::GetAdapterHandle", "EXIT:  CHBAAPIInt::GetAdapterHandle, bReturn=false"));
    api.CloseAdapHandle(handle);
    EXPECT_THAT(Traces("CHBAAPIInt::CloseAdapHandle"),
                ElementsAre("ENTRY:  CHBAAPIInt::CloseAdapHandle", "EXIT:  CHBAAPIInt::CloseAdapHandle, bReturn=true"));
    api.DeInitHBAAPIMod();
    EXPECT_THAT(Traces("CHBAAPIInt::DeInitHBAAPIMod"),
                ElementsAre("ENTRY:  CHBAAPIInt::DeInitHBAAPIMod", "EXIT:  CHBAAPIInt::DeInitHBAAPIMod, bReturn=true"));
}

#include "hbaapi/VendorBinding.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>

#include "tests/unit/HBAAPIFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class VendorBindingFixture : public testing::Test {
  protected:
    static std::shared_ptr<const CQelModule> Load(const wchar_t* name = L"orvanhapi.dll") {
        auto module = std::make_shared<const CQelModule>(LoadLibraryW(name));
        EXPECT_TRUE(*module);
        return module;
    }
    // Loaded, registered and ready.
    VendorBinding Bound() const {
        return {.pLibrary = std::make_shared<const VendorLibrary>(VendorLibrary{Load(), library.Handlers()}),
                .bEntryPtsInited = true,
                .bLibraryReady = true};
    }
    static VendorBinding Unloaded() {
        return {.pLibrary = std::make_shared<const VendorLibrary>(), .bEntryPtsInited = true, .bLibraryReady = true};
    }

    FakeHbaLibrary library;
};

using VendorExportsTest = VendorBindingFixture;
using VendorBindingTest = VendorBindingFixture;
using VendorLibraryTest = VendorBindingFixture;

template <class F> std::string Lookup(const VendorBinding& binding, const VendorExport<F>& wanted) {
    FakeHbaLibrary::Current().ClearCalls();
    const auto found = binding.FindExport(wanted);
    EXPECT_EQ(FunctionState::There, found.eState);
    EXPECT_NE(nullptr, found.pfn);
    EXPECT_EQ(1u, FakeHbaLibrary::Current().lookups.size());
    return FakeHbaLibrary::Current().lookups.front();
}

} // namespace

// --- The exports

TEST_F(VendorExportsTest, EachIsFoundUnderTheNameThatTheLibraryExports) {
    const VendorBinding binding = Bound();
    EXPECT_EQ("HBA_RegisterLibraryV2", Lookup(binding, VendorExports::HBA_RegisterLibraryV2));
    EXPECT_EQ("ORVAN_InitializeLibrary", Lookup(binding, VendorExports::ORVAN_InitializeLibrary));
    EXPECT_EQ("ORVAN_GetFCoEControllerInfo", Lookup(binding, VendorExports::ORVAN_GetFCoEControllerInfo));
    EXPECT_EQ("ORVAN_GetFCoEControllerHandle", Lookup(binding, VendorExports::ORVAN_GetFCoEControllerHandle));
    EXPECT_EQ("ORVAN_GetFCAndNICProperties", Lookup(binding, VendorExports::ORVAN_GetFCAndNICProperties));
    EXPECT_EQ("ORVAN_GetTargetList", Lookup(binding, VendorExports::ORVAN_GetTargetList));
    EXPECT_EQ("ORVAN_GetVlanIdList", Lookup(binding, VendorExports::ORVAN_GetVlanIdList));
    EXPECT_EQ("ORVAN_SendReadCapacity16", Lookup(binding, VendorExports::ORVAN_SendReadCapacity16));
    EXPECT_EQ("ORVAN_RescanScsiBus", Lookup(binding, VendorExports::ORVAN_RescanScsiBus));
    EXPECT_EQ("ORVAN_GeneratePortWWN", Lookup(binding, VendorExports::ORVAN_GeneratePortWWN));
    EXPECT_EQ("ORVAN_CreateVPort", Lookup(binding, VendorExports::ORVAN_CreateVPort));
    EXPECT_EQ("ORVAN_RemoveVPort", Lookup(binding, VendorExports::ORVAN_RemoveVPort));
    EXPECT_EQ("ORVAN_GetFCPortList", Lookup(binding, VendorExports::ORVAN_GetFCPortList));
}

// --- Looking functions up

TEST_F(VendorBindingTest, ExportIsFoundWithItsType) {
    const auto found = Bound().FindExport(VendorExports::ORVAN_RescanScsiBus);
    static_assert(std::is_same_v<HBA_STATUS (*)(HBA_HANDLE, HBA_UINT32), decltype(found.pfn)>);
    EXPECT_EQ(FunctionState::There, found.eState);
    EXPECT_NE(nullptr, found.pfn);
}

TEST_F(VendorBindingTest, ExportThatTheLibraryLacksIsMissingAndTheLastErrorTellsWhy) {
    library.missing = {"RescanScsiBus"};
    const VendorBinding binding = Bound();
    SetLastError(ERROR_SUCCESS);
    const auto found = binding.FindExport(VendorExports::ORVAN_RescanScsiBus);
    EXPECT_EQ(DWORD{ERROR_PROC_NOT_FOUND}, GetLastError());
    EXPECT_EQ(FunctionState::Missing, found.eState);
    EXPECT_EQ(nullptr, found.pfn);
}

TEST_F(VendorBindingTest, ExportWhoseNameCannotBeConvertedIsNotLookedUp) {
    const BrokenNarrowing broken(L"ORVAN_RescanScsiBus");
    const VendorBinding binding = Bound();
    const auto found = binding.FindExport(VendorExports::ORVAN_RescanScsiBus);
    EXPECT_EQ(FunctionState::NotConverted, found.eState);
    EXPECT_EQ(nullptr, found.pfn);
    EXPECT_EQ(FunctionState::NotConverted, Unloaded().FindExport(VendorExports::ORVAN_RescanScsiBus).eState)
        << "the name comes first";
    EXPECT_THAT(library.lookups, IsEmpty());
}

TEST_F(VendorBindingTest, WithoutAModuleEveryExportIsMissing) {
    EXPECT_FALSE(Unloaded().IsLoaded());
    EXPECT_FALSE(Unloaded().IsReady()) << "whatever the flag says";
    EXPECT_EQ(FunctionState::Missing, Unloaded().FindExport(VendorExports::ORVAN_RescanScsiBus).eState);
    EXPECT_EQ(FunctionState::Missing, Unloaded().FindReadyExport(VendorExports::ORVAN_RescanScsiBus).eState);
    EXPECT_THAT(library.lookups, IsEmpty());
}

TEST_F(VendorBindingTest, ReadyExportOfALibraryThatIsNotReadyIsMissingWithoutALookUp) {
    VendorBinding binding = Bound();
    binding.bLibraryReady = false;
    EXPECT_EQ(FunctionState::There, binding.FindExport(VendorExports::ORVAN_GetTargetList).eState);
    library.ClearCalls();
    const BrokenNarrowing broken(L"ORVAN_GetTargetList");
    EXPECT_EQ(FunctionState::Missing, binding.FindReadyExport(VendorExports::ORVAN_GetTargetList).eState);
    EXPECT_THAT(library.lookups, IsEmpty());
}

TEST_F(VendorBindingTest, ReadyExportOfAReadyLibraryIsAnExport) {
    library.missing = {"GetVlanIdList"};
    const VendorBinding binding = Bound();
    EXPECT_EQ(FunctionState::There, binding.FindReadyExport(VendorExports::ORVAN_GetTargetList).eState);
    EXPECT_EQ(FunctionState::Missing, binding.FindReadyExport(VendorExports::ORVAN_GetVlanIdList).eState);
    EXPECT_THAT(library.lookups, ElementsAre("ORVAN_GetTargetList", "ORVAN_GetVlanIdList"));
}

TEST_F(VendorBindingTest, HandlerIsThereOnlyWhileTheTableIsRegistered) {
    VendorBinding binding = Bound();
    EXPECT_EQ(FunctionState::There, binding.FindHandler(&HBA_ENTRYPOINTSV2::ScsiInquiryHandler).eState);
    binding.bEntryPtsInited = false;
    const auto found = binding.FindHandler(&HBA_ENTRYPOINTSV2::ScsiInquiryHandler);
    EXPECT_EQ(FunctionState::Missing, found.eState);
    EXPECT_EQ(nullptr, found.pfn);
}

TEST_F(VendorBindingTest, HandlerThatWasNotRegisteredIsMissing) {
    library.missing = {"ScsiInquiry"};
    EXPECT_EQ(FunctionState::Missing, Bound().FindHandler(&HBA_ENTRYPOINTSV2::ScsiInquiryHandler).eState);
}

TEST_F(VendorBindingTest, EveryCopyKeepsTheModuleLoaded) {
    auto binding = std::make_unique<const VendorBinding>(Bound());
    auto copy = std::make_unique<const VendorBinding>(*binding);
    binding.reset();
    EXPECT_TRUE(library.Loaded());
    copy.reset();
    EXPECT_FALSE(library.Loaded());
}

// --- Loading once more

TEST_F(VendorLibraryTest, SameModuleKeepsItsHandlers) {
    const VendorLibrary old{Load(), library.Handlers()};
    const auto pModule = Load();
    const auto reloaded = old.Reloaded(pModule);
    EXPECT_EQ(pModule, reloaded->pModule);
    EXPECT_EQ(old.entryPoints.ScsiInquiryHandler, reloaded->entryPoints.ScsiInquiryHandler);
    EXPECT_EQ(old.entryPoints.ScsiReadCapacityV2Handler, reloaded->entryPoints.ScsiReadCapacityV2Handler);
}

TEST_F(VendorLibraryTest, HandlersGoWithTheModuleThatRegisteredThem) {
    const VendorLibrary old{Load(), library.Handlers()};
    const auto reloaded = old.Reloaded(Load(L"kernel32.dll"));
    EXPECT_EQ(nullptr, reloaded->entryPoints.ScsiInquiryHandler);
    EXPECT_EQ(nullptr, reloaded->entryPoints.ScsiReadCapacityV2Handler);
    EXPECT_EQ(nullptr, VendorLibrary{}.Reloaded(Load())->entryPoints.ScsiInquiryHandler);
}

// --- Names that cross the boundary

TEST(ConvertTCHARToChar, FillsTheBufferWithZerosBehindTheName) {
    char name[ORVAN_NAME_SIZE];
    std::memset(name, 'x', sizeof name);
    EXPECT_TRUE(ConvertTCHARToChar(L"orvan-0", name));
    EXPECT_STREQ("orvan-0", name);
    EXPECT_TRUE(std::all_of(name + 7, std::end(name), [](char c) { return c == 0; }));
}

TEST(ConvertTCHARToChar, NameOf259CharactersFitsAndOneOf260DoesNot) {
    char name[ORVAN_NAME_SIZE];
    EXPECT_TRUE(ConvertTCHARToChar(std::wstring(259, L'a').c_str(), name));
    EXPECT_EQ(std::string(259, 'a'), name);
    EXPECT_FALSE(ConvertTCHARToChar(std::wstring(260, L'a').c_str(), name));
}

// Another letter that looks like it, if there is one: here a capital A with a macron.
TEST(ConvertTCHARToChar, CharacterThatTheCodePageLacksBecomesWhatTheSystemMakesOfIt) {
    char expected[ORVAN_NAME_SIZE] = {}, name[ORVAN_NAME_SIZE];
    ASSERT_LT(0, WideCharToMultiByte(CP_ACP, 0, L"a\u0100b", -1, expected, sizeof expected, nullptr, nullptr));
    EXPECT_TRUE(ConvertTCHARToChar(L"a\u0100b", name));
    EXPECT_STREQ(expected, name);
}

TEST(ConvertTCHARToChar, CharacterThatTheCodePageLacksBecomesAQuestionMark) {
    char name[ORVAN_NAME_SIZE];
    EXPECT_TRUE(ConvertTCHARToChar(L"a\x4e2d", name));
    EXPECT_STREQ("a?", name);
}

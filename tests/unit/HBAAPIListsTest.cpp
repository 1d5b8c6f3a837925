// The list reads, one table for the three.
#include <iterator>

#include "tests/unit/HBAAPIFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

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

// The reads whose function is an export.
class HBAAPIListExports : public HBAAPILists {};

std::string Name(const testing::TestParamInfo<ListRead>& info) {
    return info.param.name;
}

std::vector<ListRead> ExportReads() {
    std::vector<ListRead> reads(std::begin(LIST_READS), std::end(LIST_READS));
    std::erase_if(reads, [](const ListRead& read) { return !read.exportName; });
    return reads;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Reads, HBAAPILists, testing::ValuesIn(LIST_READS), Name);
INSTANTIATE_TEST_SUITE_P(Reads, HBAAPIListExports, testing::ValuesIn(ExportReads()), Name);

TEST_P(HBAAPILists, SuccessYieldsTheCountThatTheLibraryWrote) {
    BindDevice();
    GetParam().threeEntries(library);
    list.count = 3;
    EXPECT_TRUE(Run());
    EXPECT_EQ(FALSE, more);
    EXPECT_EQ(3u, count);
    EXPECT_THAT(library.calls, ElementsAre(GetParam().function + std::string(" 7 3")));
    EXPECT_THAT(Messages(), ElementsAre(GetParam().before, GetParam().success));
}

TEST_P(HBAAPILists, SuccessWithoutEntriesYieldsZero) {
    BindDevice();
    list.count = 1;
    EXPECT_TRUE(Run());
    EXPECT_EQ(FALSE, more);
    EXPECT_EQ(0u, count);
}

TEST_P(HBAAPILists, BufferTooSmallTellsHowManyThereAre) {
    BindDevice();
    GetParam().threeEntries(library);
    list.count = 1;
    EXPECT_FALSE(Run());
    EXPECT_EQ(TRUE, more);
    EXPECT_EQ(3u, count);
    EXPECT_THAT(Messages(), ElementsAre(GetParam().before, GetParam().moreData));
}

TEST_P(HBAAPILists, MoreDataWithACountOfZeroIsAPlainFailure) {
    BindDevice();
    Answers([](HBA_UINT32& entries) {
        entries = 0;
        return HBA_STATUS_ERROR_MORE_DATA;
    });
    EXPECT_FALSE(Run());
    EXPECT_EQ(FALSE, more);
    EXPECT_EQ(0u, count);
    EXPECT_THAT(Messages(), ElementsAre(GetParam().before, GetParam().moreData));
}

TEST_P(HBAAPILists, OtherStatusIsLoggedAndTheCountStaysZero) {
    BindDevice();
    Answers([](HBA_UINT32& entries) {
        entries = 3;
        return HBA_STATUS_ERROR_ILLEGAL_WWN;
    });
    EXPECT_FALSE(Run());
    EXPECT_EQ(FALSE, more);
    EXPECT_EQ(0u, count);
    EXPECT_THAT(Messages(), ElementsAre(GetParam().before, GetParam().error5));
}

TEST_P(HBAAPILists, NullListStillZeroesTheCountAndTheMoreDataFlag) {
    BindDevice();
    EXPECT_FALSE(GetParam().run(api, nullptr, more, count));
    EXPECT_EQ(FALSE, more);
    EXPECT_EQ(0u, count);
    EXPECT_THAT(library.calls, IsEmpty());
    EXPECT_THAT(library.lookups, IsEmpty());
    EXPECT_THAT(Messages(), ElementsAre(GetParam().nullList));
}

TEST_P(HBAAPILists, MissingFunctionFails) {
    library.missing = {GetParam().function};
    BindDevice();
    EXPECT_FALSE(Run());
    EXPECT_EQ(FALSE, more);
    EXPECT_EQ(0u, count);
    EXPECT_EQ(GetParam().missing ? Texts{GetParam().missing} : Texts{}, Messages());
}

TEST_P(HBAAPILists, UnloadedLibraryFailsAsAMissingFunctionDoes) {
    BindDevice();
    api.DeInitHBAAPIMod();
    Forget();
    EXPECT_FALSE(Run());
    EXPECT_EQ(FALSE, more);
    EXPECT_EQ(0u, count);
    EXPECT_EQ(GetParam().missing ? Texts{GetParam().missing} : Texts{}, Messages());
}

TEST_P(HBAAPILists, LibraryThatIsNotReadyIsAskedForTheMappingOnly) {
    library.missing = {"InitializeLibrary"};
    Bind();
    EXPECT_EQ(GetParam().exportName == nullptr, Run());
    EXPECT_THAT(library.lookups, IsEmpty());
    if (GetParam().missing) {
        EXPECT_THAT(Messages(), ElementsAre(GetParam().missing));
    }
}

TEST_P(HBAAPIListExports, NameThatCannotBeConvertedFailsWithoutAMessage) {
    BindDevice();
    const BrokenNarrowing broken(GetParam().exportName);
    EXPECT_FALSE(Run());
    EXPECT_EQ(FALSE, more);
    EXPECT_EQ(0u, count);
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_P(HBAAPILists, TracesItselfWithItsResult) {
    BindDevice();
    const std::string operation = std::string("CHBAAPIInt::") + GetParam().name;
    EXPECT_TRUE(Run());
    EXPECT_THAT(Traces(operation), ElementsAre("ENTRY:  " + operation, "EXIT:  " + operation + ", bReturn=true"));
    log.Clear();
    EXPECT_FALSE(GetParam().run(api, nullptr, more, count));
    EXPECT_THAT(Traces(operation), ElementsAre("ENTRY:  " + operation, "EXIT:  " + operation + ", bReturn=false"));
}

using HBAAPITargetMapping = HBAAPIFixture;

// Without a device the controller number is still zero.
TEST_F(HBAAPITargetMapping, LogsTheControllerNumberAndNotTheHandle) {
    Bind();
    HBA_FCPTARGETMAPPING mapping{};
    BOOL more;
    ULONG count;
    EXPECT_TRUE(api.GetTargetsInfo(7, &mapping, more, count));
    EXPECT_EQ("CHBAAPIInt::GetTargetsInfo Before calling GetFcpTargetMappingHandler 0", Messages().front());
}

#include "tests/unit/HBAFixture.h"

using testing::ElementsAre;

namespace {

constexpr wchar_t NEW_WWPN[] = L"10:00:00:1b:21:aa:bb:cc";

class FcoeHBAVports : public HBAFixture {
  protected:
    FcoeHBAVports() {
        fake.CreateVPort = [this](HBA_HANDLE, ORVAN_FC_PORT* port) {
            request = *port;
            return createStatus;
        };
        fake.RemoveVPort = [this](HBA_HANDLE, ORVAN_FC_PORT* port) {
            request = *port;
            return removeStatus;
        };
        Make();
        // Read once, so that an invalidation shows.
        hba->GetFabrics(cached);
        Forget();
    }
    bool Invalidated() {
        std::vector<std::shared_ptr<CQelFcoeFabric>> now;
        hba->GetFabrics(now);
        return now != cached;
    }
    void ExpectError(ULONG code, std::vector<std::wstring> arguments) {
        ASSERT_EQ(1u, errors.size());
        EXPECT_EQ(code, errors[0].ulCode);
        EXPECT_EQ(16u, errors[0].ulClass);
        EXPECT_EQ(1u, errors[0].ulSeverity);
        EXPECT_EQ(arguments, std::vector<std::wstring>(errors[0].vecArguments.begin(), errors[0].vecArguments.end()));
        EXPECT_TRUE(errors[0].strSource == L"Adapter 1");
    }
    // The messages without those of the library access layer and its neighbours.
    std::vector<std::string> Messages() const {
        return log.Messages(
            LogText::Only({"Unable to generate the WWPN", "Invalid WWPN!", "The maximum ports has already been reached",
                           "The WWPN is already in use", "Unknonw error has occured in CreateVPort"}));
    }

    HBA_STATUS createStatus = 0, removeStatus = 0;
    ORVAN_FC_PORT request{};
    std::vector<QEL_ERROR_ENTRY> errors;
    std::vector<std::shared_ptr<CQelFcoeFabric>> cached;
};

bool SameWwn(const HBA_WWN& a, const HBA_WWN& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}
constexpr HBA_WWN NEW_WWN{{0x10, 0, 0, 0x1B, 0x21, 0xAA, 0xBB, 0xCC}};

} // namespace

// --- Create

TEST_F(FcoeHBAVports, CreateAsksForAZeroedRequestWithTheName) {
    CQelString text(NEW_WWPN);
    EXPECT_TRUE(hba->CreateVPort(text, errors));
    ORVAN_FC_PORT expected{};
    expected.PortWWN = NEW_WWN;
    EXPECT_EQ(0, std::memcmp(&expected, &request, sizeof request));
    EXPECT_THAT(fake.calls, ElementsAre("CreateVPort 7 1000001B21AABBCC"));
    EXPECT_TRUE(text == NEW_WWPN) << "the caller's text stays";
    EXPECT_TRUE(errors.empty());
    EXPECT_TRUE(Messages().empty());
    EXPECT_TRUE(Invalidated());
}

TEST_F(FcoeHBAVports, CreateAcceptsEitherLetterCase) {
    for (const wchar_t* spelling : {L"10:00:00:1b:21:aa:bb:cc", L"10:00:00:1B:21:AA:BB:CC"}) {
        CQelString text(spelling);
        EXPECT_TRUE(hba->CreateVPort(text, errors));
        EXPECT_TRUE(SameWwn(NEW_WWN, request.PortWWN));
    }
}

struct BadText {
    const char* name;
    const wchar_t* text;
};
class FcoeHBAVportsRejects : public FcoeHBAVports, public testing::WithParamInterface<BadText> {};
TEST_P(FcoeHBAVportsRejects, CreateWithError203) {
    CQelString text(GetParam().text);
    EXPECT_FALSE(hba->CreateVPort(text, errors));
    ExpectError(0x370000CB, {GetParam().text});
    EXPECT_THAT(Messages(), ElementsAre("Invalid WWPN!"));
    EXPECT_TRUE(fake.calls.empty());
    EXPECT_FALSE(Invalidated());
}
TEST_P(FcoeHBAVportsRejects, DeleteWithError203AndWithoutAMessageOrInvalidation) {
    EXPECT_FALSE(hba->DeleteVPort(GetParam().text, errors));
    ExpectError(0x370000CB, {GetParam().text});
    EXPECT_TRUE(Messages().empty());
    EXPECT_TRUE(fake.calls.empty());
    EXPECT_FALSE(Invalidated());
}
INSTANTIATE_TEST_SUITE_P(, FcoeHBAVportsRejects,
                         testing::Values(BadText{"SevenGroups", L"10:00:00:1b:21:aa:bb"},
                                         BadText{"OneDigitGroup", L"10:00:00:1b:21:aa:bb:c"},
                                         BadText{"WrongSeparator", L"10-00-00-1b-21-aa-bb-cc"},
                                         BadText{"NotAHexadecimalDigit", L"10:00:00:1b:21:aa:bb:cg"},
                                         BadText{"Empty", L""}),
                         [](const auto& info) { return info.param.name; });

TEST_F(FcoeHBAVports, AutomaticNameInAnyLetterCaseComesBack) {
    std::wstring word = ResourceString(1153), upper = word, lower = word;
    CharUpperW(upper.data());
    CharLowerW(lower.data());
    for (const std::wstring& spelling : {word, upper, lower}) {
        Forget();
        CQelString text(spelling.c_str());
        EXPECT_TRUE(hba->CreateVPort(text, errors));
        EXPECT_TRUE(text == L"20:01:00:00:00:00:00:01");
        EXPECT_THAT(fake.calls, ElementsAre("GeneratePortWWN 7", "CreateVPort 7 2001000000000001"));
    }
    EXPECT_TRUE(Invalidated());
}

TEST_F(FcoeHBAVports, FailedGenerationIsError202AndLeavesTheCache) {
    fake.GeneratePortWWN = [](HBA_HANDLE, HBA_WWN*) { return HBA_STATUS_ERROR; };
    CQelString text(ResourceString(1153).c_str());
    EXPECT_FALSE(hba->CreateVPort(text, errors));
    ExpectError(0x370000CA, {});
    EXPECT_THAT(Messages(), ElementsAre("Unable to generate the WWPN"));
    EXPECT_TRUE(std::wstring(text) == ResourceString(1153));
    EXPECT_EQ(0, fake.CallsOf("CreateVPort"));
    EXPECT_FALSE(Invalidated());
}

TEST_F(FcoeHBAVports, Status16IsError205WithoutArgumentsAndInvalidates) {
    createStatus = 16;
    CQelString text(NEW_WWPN);
    EXPECT_FALSE(hba->CreateVPort(text, errors));
    ExpectError(0x370000CD, {});
    EXPECT_THAT(Messages(), ElementsAre("The WWPN is already in use"));
    EXPECT_TRUE(Invalidated());
}

TEST_F(FcoeHBAVports, Status17IsError204) {
    createStatus = 17;
    CQelString text(NEW_WWPN);
    EXPECT_FALSE(hba->CreateVPort(text, errors));
    ExpectError(0x370000CC, {});
    EXPECT_THAT(Messages(), ElementsAre("The maximum ports has already been reached"));
    EXPECT_TRUE(Invalidated());
}

TEST_F(FcoeHBAVports, OtherStatusIsError206WithTheName) {
    createStatus = 1;
    CQelString text(NEW_WWPN);
    EXPECT_FALSE(hba->CreateVPort(text, errors));
    ExpectError(0x370000CE, {NEW_WWPN});
    EXPECT_THAT(Messages(), ElementsAre("Unknonw error has occured in CreateVPort"));
    EXPECT_TRUE(Invalidated());
}

TEST_F(FcoeHBAVports, CallThatNeverReachedTheLibraryIsError206) {
    fake.missing = {"CreateVPort"};
    CQelString text(NEW_WWPN);
    EXPECT_FALSE(hba->CreateVPort(text, errors));
    ExpectError(0x370000CE, {NEW_WWPN});
    EXPECT_TRUE(Invalidated());
}

TEST_F(FcoeHBAVports, RefusedAutomaticNameIsReportedByItsText) {
    createStatus = 1;
    CQelString text(ResourceString(1153).c_str());
    EXPECT_FALSE(hba->CreateVPort(text, errors));
    ExpectError(0x370000CE, {L"20:01:00:00:00:00:00:01"});
}

TEST_F(FcoeHBAVports, ErrorsAreAppended) {
    createStatus = 16;
    CQelString text(NEW_WWPN);
    hba->CreateVPort(text, errors);
    hba->CreateVPort(text, errors);
    EXPECT_EQ(2u, errors.size());
}

// --- Delete

TEST_F(FcoeHBAVports, DeleteAsksForAZeroedRequestWithTheName) {
    EXPECT_TRUE(hba->DeleteVPort(NEW_WWPN, errors));
    ORVAN_FC_PORT expected{};
    expected.PortWWN = NEW_WWN;
    EXPECT_EQ(0, std::memcmp(&expected, &request, sizeof request));
    EXPECT_THAT(fake.calls, ElementsAre("RemoveVPort 7 1000001B21AABBCC"));
    EXPECT_TRUE(errors.empty());
    EXPECT_TRUE(Invalidated());
}

TEST_F(FcoeHBAVports, RefusedDeletionOfAPhysicalPortIsError214) {
    removeStatus = 1;
    EXPECT_FALSE(hba->DeleteVPort(L"20:00:00:1b:21:aa:bb:01", errors)) << "found whatever its letter case";
    ExpectError(0x370000D6, {});
    EXPECT_TRUE(Messages().empty());
    EXPECT_TRUE(Invalidated());
}

TEST_F(FcoeHBAVports, RefusedDeletionOfAVirtualPortIsError207) {
    removeStatus = 1;
    EXPECT_FALSE(hba->DeleteVPort(L"20:00:00:1b:21:aa:bb:02", errors));
    ExpectError(0x370000CF, {L"20:00:00:1b:21:aa:bb:02"});
    EXPECT_TRUE(Invalidated());
}

TEST_F(FcoeHBAVports, RefusedDeletionOfAnUnknownPortIsError207) {
    removeStatus = 1;
    EXPECT_FALSE(hba->DeleteVPort(NEW_WWPN, errors));
    ExpectError(0x370000CF, {NEW_WWPN});
    EXPECT_TRUE(Messages().empty());
    EXPECT_TRUE(Invalidated());
}

TEST_F(FcoeHBAVports, RefusedDeletionLooksAmongThePortsAsTheyWereRead) {
    removeStatus = 1;
    hba->DeleteVPort(NEW_WWPN, errors);
    EXPECT_EQ(0, fake.CallsOf("GetFCPortList"));
    EXPECT_TRUE(Invalidated());
}

TEST_F(FcoeHBAVports, FirstPortOfTheNameDecides) {
    removeStatus = 1;
    const HBA_WWN shared{{0x30, 0, 0, 0, 0, 0, 0, 1}};
    AddPort(1, shared);
    AddPort(0, shared);
    hba->InvalidateCache();
    EXPECT_FALSE(hba->DeleteVPort(L"30:00:00:00:00:00:00:01", errors));
    ExpectError(0x370000CF, {L"30:00:00:00:00:00:00:01"});
}

TEST_F(FcoeHBAVports, DeletionUsesTheOpenHandle) {
    fake.handle = 8;
    hba->DeleteVPort(NEW_WWPN, errors);
    EXPECT_EQ("RemoveVPort 7 1000001B21AABBCC", fake.calls.front());
}

// --- Generate

TEST_F(FcoeHBAVports, GeneratedNameIsAText) {
    CQelString text(L"before");
    EXPECT_TRUE(hba->GenerateVPortWWPN(text));
    EXPECT_TRUE(text == L"20:01:00:00:00:00:00:01");
    EXPECT_THAT(fake.calls, ElementsAre("GeneratePortWWN 7"));
    EXPECT_FALSE(Invalidated());
    EXPECT_TRUE(Logged("ENTRY:  CQelFcoeHBA::GenerateVPortWWPN"));
}

TEST_F(FcoeHBAVports, FailedGenerationEmptiesTheText) {
    fake.GeneratePortWWN = [](HBA_HANDLE, HBA_WWN*) { return HBA_STATUS_ERROR; };
    CQelString text(L"before");
    EXPECT_FALSE(hba->GenerateVPortWWPN(text));
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_FALSE(Invalidated());
}

#include "Common/Src/DCXServiceInterface.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/ImportPatch.h"
#include "tests/kit/LogCapture.h"
#include "tests/kit/PrivateHive.h"
#include "tests/unit/CountedBstrs.h"
#include "tests/unit/FakeDcbService.h"
#include "tests/unit/FakeServiceManager.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

constexpr wchar_t ADAPTER[] = L"{11111111-2222-3333-4444-555555555555}";
constexpr wchar_t FEATURES[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV";
constexpr char CREATE[] = "create {C3D1B84B-7B80-404E-BB91-E9F54DE5F3A8}";
constexpr char ENABLED[] = "GetDCB_FcoeLinkStatus::GetDCBStatus get_dcb_config() DCB Enabled";
constexpr char MATCHES[] = "PFC cfg matches App:FCoE cfg: PFC enabled";
constexpr char DIFFERS[] = "PFC cfg doesn't match App:FCoE cfg: PFC disabled";
constexpr char NO_PRIORITY[] = "App:FCoE cfg has not configured a User Priority";
constexpr char PEER_UNKNOWN[] = "Peer PFC configuration is unknown";
constexpr char REMOTELY_OFF[] = "APP feature is disabled on remote side";
constexpr ULONG FAILED_CODE = 0xFFFFFFFF;

std::string Bit(int bit) {
    return "App:FCoE cfg (bit " + std::to_string(bit) + ") - compare against PFC cfg";
}

struct Answer {
    QEL_RESULT result{0x55555555, 0x55555555};
    BYTE enabled = 0x55;
    ULONG link = 0x55555555;
};

Answer Ask(CDCX_ServiceInterface& client) {
    Answer answer;
    client.GetDCB_FcoeLinkStatus(answer.result, answer.enabled, answer.link);
    return answer;
}

// A running service, a local machine where no feature is installed, and the log of what follows.
class DcbClient : public testing::Test {
  protected:
    DcbClient() { services[L"OrvanDCB"].state = SERVICE_RUNNING; }

    PrivateHive hive;
    FakeServiceManager services;
    FakeDcbService service;
    LogCapture log;
};

Texts Only(const Texts& texts, const std::string& part) {
    Texts found;
    for (const auto& text : texts) {
        if (text.find(part) != std::string::npos)
            found.push_back(text);
    }
    return found;
}

// What the service answers, and the verdict.

struct LinkStatusRow {
    const char* name;
    HRESULT config;
    LONG dcb;
    HRESULT app;
    BYTE priorities;
    HRESULT pfc;
    std::array<LONG, 8> flow;
    ULONG code;
    BYTE enabled;
    ULONG link;
    int queries; // how many of the three are made
    Texts messages;

    friend void PrintTo(const LinkStatusRow& row, std::ostream* out) { *out << row.name; }
};

constexpr std::array<LONG, 8> NONE{};
constexpr std::array<LONG, 8> ALL{1, 1, 1, 1, 1, 1, 1, 1};
constexpr std::array<LONG, 8> ON_3{0, 0, 0, 1, 0, 0, 0, 0};
constexpr std::array<LONG, 8> ALL_BUT_3{1, 1, 1, 0, 1, 1, 1, 1};
constexpr std::array<LONG, 8> ON_0{1, 0, 0, 0, 0, 0, 0, 0};
constexpr std::array<LONG, 8> ON_7{0, 0, 0, 0, 0, 0, 0, 1};

class DcbLinkStatus : public DcbClient, public testing::WithParamInterface<LinkStatusRow> {};

TEST_P(DcbLinkStatus, FollowsTheAnswers) {
    const auto& row = GetParam();
    service.configResult = row.config;
    service.dcbEnabled = row.dcb;
    service.appResult = row.app;
    service.priorityMap = row.priorities;
    service.pfcResult = row.pfc;
    service.pfc = row.flow;
    CDCX_ServiceInterface client(ADAPTER, FALSE);
    ASSERT_TRUE(client.IsInitialized());
    log.Clear();
    service.calls.clear();

    const CountedBstrs texts;
    const Answer answer = Ask(client);
    EXPECT_EQ(0u, texts.Live()) << "the adapter's identifier";

    EXPECT_EQ(row.code, answer.result.ulErrCode);
    EXPECT_EQ(0xFFFFFFFF, answer.result.ulDetail);
    EXPECT_EQ(row.enabled, answer.enabled);
    EXPECT_EQ(row.link, answer.link);
    EXPECT_EQ(row.messages, log.Messages());
    const std::string adapter = "{11111111-2222-3333-4444-555555555555}";
    Texts queries{"config " + adapter, "app " + adapter + " 0", "pfc " + adapter};
    queries.resize(static_cast<std::size_t>(row.queries));
    EXPECT_EQ(queries, service.calls);
}

// clang-format off
const LinkStatusRow ROWS[] = {
    // name                 config  dcb app  map   pfc flow  code enabled link queries messages
    {"ConfigRefused",       E_FAIL,  1, 0, 0x08, 0, ON_3, 0, 0, 10, 1, {}},
    {"ConfigServerGone",    static_cast<HRESULT>(0x800706BA), 1, 0, 0x08, 0, ON_3, 0, 0, 10, 1, {}},
    {"ConfigPositive",      S_FALSE, 1, 0, 0x08, 0, ON_3, 0, 1, 0, 3, {ENABLED, Bit(3), MATCHES}},
    {"DcbOff",              0, 0, 0, 0x08, 0, ON_3, 0, 0, 10, 1, {"Exiting GetDCB_FcoeLinkStatus() - DCB Disabled"}},
    {"DcbOnByAnyValue",     0, -1, 0, 0x08, 0, ON_3, 0, 1, 0, 3, {ENABLED, Bit(3), MATCHES}},
    {"AppRefused",          0, 1, E_FAIL, 0x08, 0, ON_3, FAILED_CODE, 1, 10, 2,
        {ENABLED, "GetDCB_FcoeLinkStatus() - call to get_app_oper_state() - failed - exiting!  hr=0x80004005"}},
    {"AppOffLocally",       0, 1, 1, 0x08, 0, ON_3, 0, 1, 7, 2, {ENABLED, "APP feature is disabled locally"}},
    {"AppOffRemotely2",     0, 1, 2, 0x08, 0, ON_3, 0, 1, 9, 2, {ENABLED, REMOTELY_OFF}},
    {"AppOffRemotely3",     0, 1, 3, 0x08, 0, ON_3, 0, 1, 9, 2, {ENABLED, REMOTELY_OFF}},
    {"AppOtherPositive",    0, 1, 4, 0x08, 0, ON_3, 0, 1, 10, 2, {ENABLED}},
    {"AppLargestPositive",  0, 1, 0x7FFFFFFF, 0x08, 0, ON_3, 0, 1, 10, 2, {ENABLED}},
    {"PriorityMatches",     0, 1, 0, 0x08, 0, ON_3, 0, 1, 0, 3, {ENABLED, Bit(3), MATCHES}},
    {"PriorityDiffers",     0, 1, 0, 0x08, 0, ALL_BUT_3, 0, 1, 8, 3, {ENABLED, Bit(3), DIFFERS}},
    {"FlowOnlyByOne",       0, 1, 0, 0x08, 0, {0, 0, 0, 2, 0, 0, 0, 0}, 0, 1, 8, 3, {ENABLED, Bit(3), DIFFERS}},
    {"FirstPriority",       0, 1, 0, 0x01, 0, ON_0, 0, 1, 0, 3, {ENABLED, Bit(0), MATCHES}},
    {"LastPriority",        0, 1, 0, 0x80, 0, ON_7, 0, 1, 0, 3, {ENABLED, Bit(7), MATCHES}},
    {"LowestOfSeveral",     0, 1, 0, 0xA8, 0, ON_3, 0, 1, 0, 3, {ENABLED, Bit(3), MATCHES}},
    {"LowestOfAll",         0, 1, 0, 0xFF, 0, ON_7, 0, 1, 8, 3, {ENABLED, Bit(0), DIFFERS}},
    {"NoPriorityMatches",   0, 1, 0, 0x00, 0, ON_0, 0, 1, 0, 3, {ENABLED, NO_PRIORITY, MATCHES}},
    {"NoPriorityDiffers",   0, 1, 0, 0x00, 0, NONE, 0, 1, 8, 3, {ENABLED, NO_PRIORITY, DIFFERS}},
    {"NoPriorityPfc1",      0, 1, 0, 0x00, 1, ALL, 0, 1, 3, 3, {ENABLED, NO_PRIORITY}},
    {"NoPriorityPfc2",      0, 1, 0, 0x00, 2, ALL, 0, 1, 10, 3, {ENABLED, NO_PRIORITY, PEER_UNKNOWN}},
    {"NoPriorityPfc4",      0, 1, 0, 0x00, 4, ALL, 0, 1, 4, 3, {ENABLED, NO_PRIORITY}},
    {"NoPriorityPfcRefused", 0, 1, 0, 0x00, E_FAIL, ALL, FAILED_CODE, 1, 4, 3,
        {ENABLED, NO_PRIORITY, "GetDCB_SubtypeAppStatus() - call to get_app_oper_state() - failed - exiting!  hr=0x0"}},
    {"PfcRefused",          0, 1, 0, 0x08, E_ACCESSDENIED, ALL, FAILED_CODE, 1, 10, 3,
        {ENABLED, Bit(3), "GetDCB_SubtypeAppStatus() - call to get_app_oper_state() - failed - exiting!  hr=0x0"}},
    {"PfcOffLocally",       0, 1, 0, 0x08, 1, ALL, 0, 1, 3, 3, {ENABLED, Bit(3)}},
    {"PfcPeerUnknown2",     0, 1, 0, 0x08, 2, ALL, 0, 1, 10, 3, {ENABLED, Bit(3), PEER_UNKNOWN}},
    {"PfcPeerUnknown3",     0, 1, 0, 0x08, 3, ALL, 0, 1, 10, 3, {ENABLED, Bit(3), PEER_UNKNOWN}},
    {"PfcOtherPositive",    0, 1, 0, 0x08, 4, ALL, 0, 1, 10, 3, {ENABLED, Bit(3)}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Rows, DcbLinkStatus, testing::ValuesIn(ROWS),
                         [](const auto& info) { return std::string(info.param.name); });

// Edges of the verdict.

TEST_F(DcbClient, DcbDisabledIsUnknownWithoutError) {
    service.dcbEnabled = 0;
    CDCX_ServiceInterface client(ADAPTER, TRUE);
    const Answer answer = Ask(client);
    EXPECT_EQ(0, answer.enabled);
    EXPECT_EQ(10u, answer.link);
    EXPECT_EQ(0u, answer.result.ulErrCode);
}

TEST_F(DcbClient, ApplicationAnswer3IsDisabledOnTheRemoteSide) {
    service.appResult = 3;
    CDCX_ServiceInterface client(ADAPTER, TRUE);
    EXPECT_EQ(9u, Ask(client).link);
    EXPECT_TRUE(log.Has("APP feature is disabled on remote side"));
}

TEST_F(DcbClient, Bitmap08ComparesPriority3) {
    service.priorityMap = 0x08;
    service.pfc = ON_3;
    CDCX_ServiceInterface client(ADAPTER, TRUE);
    EXPECT_EQ(0u, Ask(client).link);
    EXPECT_EQ(1, log.Count("App:FCoE cfg (bit 3) - compare against PFC cfg"));
    service.pfc = ALL_BUT_3;
    EXPECT_EQ(8u, Ask(client).link);
}

TEST_F(DcbClient, EmptyBitmapIsJudgedByPriority0) {
    service.priorityMap = 0;
    service.pfc = ON_0;
    CDCX_ServiceInterface client(ADAPTER, TRUE);
    EXPECT_EQ(0u, Ask(client).link);
    service.pfc = NONE;
    EXPECT_EQ(8u, Ask(client).link);
    EXPECT_THAT(Only(log.Messages(), "(bit"), IsEmpty());
}

TEST_F(DcbClient, EmptyIdentifierIsRefusedWithoutAsking) {
    CDCX_ServiceInterface client(L"", FALSE);
    ASSERT_TRUE(client.IsInitialized());
    log.Clear();
    service.calls.clear();
    const Answer answer = Ask(client);
    EXPECT_EQ(0u, answer.result.ulErrCode);
    EXPECT_EQ(0xFFFFFFFF, answer.result.ulDetail);
    EXPECT_EQ(0, answer.enabled);
    EXPECT_EQ(10u, answer.link);
    EXPECT_THAT(log.Messages(), ElementsAre("GetDCB_FcoeLinkStatus() - Invalid Adapter ID"));
    EXPECT_THAT(service.calls, IsEmpty());
}

TEST_F(DcbClient, AskingAgainStartsAfresh) {
    CDCX_ServiceInterface client(ADAPTER, FALSE);
    service.appResult = E_FAIL;
    EXPECT_EQ(FAILED_CODE, Ask(client).result.ulErrCode);
    service.appResult = S_OK;
    EXPECT_EQ(0u, Ask(client).result.ulErrCode);
    service.dcbEnabled = 0;
    EXPECT_EQ(0, Ask(client).enabled);
}

// Connecting.

TEST_F(DcbClient, ConnectsInOrderAndDisconnectsInReverse) {
    {
        CDCX_ServiceInterface client(ADAPTER, FALSE);
        EXPECT_TRUE(client.IsInitialized());
        EXPECT_EQ(1, service.liveObjects);
    }
    EXPECT_THAT(service.calls, ElementsAre("CoInitializeEx 0", "CLSIDFromProgID OrvanDCB.IoControl.1", CREATE,
                                           "release", "CoUninitialize"));
    EXPECT_EQ(1, services.Count("query OrvanDCB"));
}

TEST_F(DcbClient, ServiceThatStartsStopsOrPausesIsNotConnectedTo) {
    for (const DWORD state : {SERVICE_START_PENDING, SERVICE_STOP_PENDING, SERVICE_CONTINUE_PENDING, SERVICE_PAUSED}) {
        services[L"OrvanDCB"].state = state;
        const CDCX_ServiceInterface client(ADAPTER, FALSE);
        EXPECT_FALSE(client.IsInitialized()) << state;
    }
    EXPECT_THAT(service.calls, IsEmpty());
}

TEST_F(DcbClient, StoppedServiceIsNotConnectedTo) {
    services[L"OrvanDCB"].state = SERVICE_STOPPED;
    {
        CDCX_ServiceInterface client(ADAPTER, FALSE);
        EXPECT_FALSE(client.IsInitialized());
        EXPECT_FALSE(client.Initialize(FALSE));
    }
    EXPECT_THAT(service.calls, IsEmpty());
    EXPECT_EQ(2, log.Count("ERROR:  Orvan DCB service is not running - skipping CoInitialize attempt"));
}

TEST_F(DcbClient, FailedComIsLoggedAndNotUndone) {
    service.initializeResult = RPC_E_CHANGED_MODE;
    {
        CDCX_ServiceInterface client(ADAPTER, FALSE);
        EXPECT_FALSE(client.IsInitialized());
        EXPECT_FALSE(client.Initialize(FALSE));
    }
    EXPECT_THAT(service.calls, ElementsAre("CoInitializeEx 0", "CoInitializeEx 0"));
    EXPECT_EQ(2, log.Count("Initialize() CoInitializeEx() failed - hr=0x80010106"));
}

TEST_F(DcbClient, UnknownClassIsLoggedAndComIsUndone) {
    service.progIdResult = CO_E_CLASSSTRING;
    {
        CDCX_ServiceInterface client(ADAPTER, FALSE);
        EXPECT_FALSE(client.IsInitialized());
    }
    EXPECT_THAT(service.calls,
                ElementsAre("CoInitializeEx 0", "CLSIDFromProgID OrvanDCB.IoControl.1", "CoUninitialize"));
    EXPECT_EQ(1, log.Count("Initialize() CLSIDFromProgID Failed."));
}

TEST_F(DcbClient, RefusedObjectIsLoggedAndComIsUndone) {
    service.createResult = E_ACCESSDENIED;
    {
        CDCX_ServiceInterface client(ADAPTER, FALSE);
        EXPECT_FALSE(client.IsInitialized());
        EXPECT_FALSE(client.Initialize(FALSE));
    }
    EXPECT_THAT(service.calls, ElementsAre("CoInitializeEx 0", "CLSIDFromProgID OrvanDCB.IoControl.1", CREATE,
                                           "CLSIDFromProgID OrvanDCB.IoControl.1", CREATE, "CoUninitialize"));
    EXPECT_EQ(2, log.Count("Initialize() - CoCreateInstance Failed - hr=0x80070005."));
}

TEST_F(DcbClient, ConnectingAgainReplacesTheObject) {
    CDCX_ServiceInterface client(ADAPTER, FALSE);
    EXPECT_TRUE(client.Initialize(FALSE));
    EXPECT_EQ(1, service.liveObjects);
    EXPECT_EQ(0u, Ask(client).link);
    EXPECT_EQ(1, std::count(service.calls.begin(), service.calls.end(), "CoInitializeEx 0"));
}

TEST_F(DcbClient, DisconnectingTwiceDoesNothingMore) {
    CDCX_ServiceInterface client(ADAPTER, FALSE);
    EXPECT_TRUE(client.UnInitialize());
    EXPECT_FALSE(client.IsInitialized());
    EXPECT_EQ(0, service.liveObjects);
    service.calls.clear();
    EXPECT_TRUE(client.UnInitialize());
    EXPECT_THAT(service.calls, IsEmpty());
}

TEST_F(DcbClient, ServiceStoppedMeanwhileForgetsThatComIsInitializedUntilTheEnd) {
    {
        CDCX_ServiceInterface client(ADAPTER, FALSE);
        services[L"OrvanDCB"].state = SERVICE_STOPPED;
        EXPECT_FALSE(client.Initialize(FALSE));
        services[L"OrvanDCB"].state = SERVICE_RUNNING;
        EXPECT_TRUE(client.Initialize(FALSE));
        service.calls.clear();
        EXPECT_TRUE(client.UnInitialize());
        EXPECT_THAT(service.calls, ElementsAre("release", "CoUninitialize"));
    }
    EXPECT_THAT(service.calls, ElementsAre("release", "CoUninitialize", "CoUninitialize"));
}

LSTATUS WINAPI OpenWithoutMemory(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY) {
    throw std::bad_alloc();
}

TEST_F(DcbClient, ThatCannotBeMadeForWantOfMemoryLeavesComAsItWas) {
    // What comes after the connection: the installed features.
    const ImportPatch patch(nullptr, "ADVAPI32.dll", "RegOpenKeyExW", reinterpret_cast<void*>(&OpenWithoutMemory));
    EXPECT_THROW(CDCX_ServiceInterface(ADAPTER, FALSE), std::bad_alloc);
    EXPECT_THAT(service.calls, ElementsAre("CoInitializeEx 0", "CLSIDFromProgID OrvanDCB.IoControl.1", CREATE,
                                           "release", "CoUninitialize"));
}

TEST_F(DcbClient, OperationsAreTraced) {
    {
        CDCX_ServiceInterface client(ADAPTER, FALSE);
        service.appResult = E_FAIL;
        Ask(client);
    }
    EXPECT_THAT(Only(log.Lines(), "CDCX_ServiceInterface::"),
                ElementsAre("ENTRY:  CDCX_ServiceInterface::CDCX_ServiceInterface",
                            "ENTRY:  CDCX_ServiceInterface::Initialize",
                            "EXIT:  CDCX_ServiceInterface::Initialize, bReturn=true",
                            "EXIT:  CDCX_ServiceInterface::CDCX_ServiceInterface",
                            "ENTRY:  CDCX_ServiceInterface::GetDCB_FcoeLinkStatus",
                            "EXIT:  CDCX_ServiceInterface::GetDCB_FcoeLinkStatus, res.ulErrCode=-1",
                            "ENTRY:  CDCX_ServiceInterface::~CDCX_ServiceInterface",
                            "ENTRY:  CDCX_ServiceInterface::UnInitialize",
                            "EXIT:  CDCX_ServiceInterface::UnInitialize, bReturn=true",
                            "EXIT:  CDCX_ServiceInterface::~CDCX_ServiceInterface"));
}

// The installed features.

TEST_F(DcbClient, CountsInstalledFeatures) {
    const struct {
        BOOL check;
        const wchar_t* fcoe;
        const wchar_t* iscsi;
        ULONG count;
        BOOL hasFcoe;
        BOOL hasIscsi;
    } rows[] = {
        {TRUE, L"1", L"1", 2, 1, 1},  {TRUE, L"1", L"0", 1, 1, 0},  {TRUE, L"0", L"1", 1, 0, 1},
        {TRUE, L"0", L"0", 0, 0, 0},  {FALSE, L"1", L"1", 1, 0, 1}, {FALSE, L"1", L"0", 0, 0, 0},
        {FALSE, L"0", L"1", 1, 0, 1},
    };
    for (const auto& row : rows) {
        hive.Set(FEATURES, L"InstalledTOLV_FCOE", row.fcoe);
        hive.Set(FEATURES, L"InstalledTOLV_ISCSI", row.iscsi);
        CDCX_ServiceInterface client(ADAPTER, row.check);
        EXPECT_EQ(row.count, client.GetFeatureCount());
        EXPECT_EQ(row.hasFcoe, client.IsFcoeInstalled());
        EXPECT_EQ(row.hasIscsi, client.IsIscsiInstalled());
    }
}

TEST_F(DcbClient, LooksForFeaturesAlsoWithoutTheService) {
    services[L"OrvanDCB"].state = SERVICE_STOPPED;
    hive.Set(FEATURES, L"InstalledTOLV_FCOE", L"1");
    hive.Set(FEATURES, L"InstalledTOLV_ISCSI", L"0");
    CDCX_ServiceInterface client(ADAPTER, TRUE);
    EXPECT_EQ(1u, client.GetFeatureCount());
    EXPECT_THAT(log.Messages(), ElementsAre("ERROR:  Orvan DCB service is not running - skipping CoInitialize attempt",
                                            "IsIscsiInstalled() - fcoe was not installed - exiting"));
}

TEST_F(DcbClient, LooksForFcoeOnlyWhenAsked) {
    CDCX_ServiceInterface without(ADAPTER, FALSE);
    EXPECT_FALSE(log.Has("ENTRY:  CHelper::IsFcoeInstalled"));
    CDCX_ServiceInterface with(ADAPTER, TRUE);
    EXPECT_THAT(Only(log.Lines(), "ENTRY:  CHelper::Is"),
                testing::IsSupersetOf({"ENTRY:  CHelper::IsFcoeInstalled", "ENTRY:  CHelper::IsIscsiInstalled"}));
}

TEST_F(DcbClient, CountsAgainWhenInitializedAgain) {
    hive.Set(FEATURES, L"InstalledTOLV_ISCSI", L"1");
    CDCX_ServiceInterface client(ADAPTER, FALSE);
    client.Initialize(FALSE);
    EXPECT_EQ(2u, client.GetFeatureCount());
}

// The interface as the service's other callers know it.

static_assert(sizeof(DCB_CONFIG) == 32 && offsetof(DCB_CONFIG, lDcbEnabled) == 0);
static_assert(sizeof(DCB_APP_STATE) == 8 && offsetof(DCB_APP_STATE, byPriorityMap) == 0);
static_assert(sizeof(DCB_PFC_STATE) == 32 && offsetof(DCB_PFC_STATE, lEnabled) == 0);

template <std::size_t Slot> HRESULT STDMETHODCALLTYPE AnswerSlot(void*) {
    return static_cast<HRESULT>(Slot);
}

template <std::size_t... Slots> constexpr auto MakeTable(std::index_sequence<Slots...>) {
    return std::array<HRESULT(STDMETHODCALLTYPE*)(void*), sizeof...(Slots)>{&AnswerSlot<Slots>...};
}

TEST(DcbInterface, OperationsAreInTheirSlots) {
    const auto table = MakeTable(std::make_index_sequence<41>());
    const auto* tablePointer = table.data();
    auto* const control = reinterpret_cast<IOrvanDcbIoControl*>(&tablePointer);
    EXPECT_EQ(7, control->Reserved07());
    EXPECT_EQ(15, control->get_pfc_oper_state(nullptr, nullptr));
    EXPECT_EQ(19, control->get_app_oper_state(nullptr, 0, nullptr));
    EXPECT_EQ(39, control->Reserved39());
    EXPECT_EQ(40, control->get_dcb_config(nullptr, nullptr));
}

} // namespace

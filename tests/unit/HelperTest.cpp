// The installation checks and registry settings of CHelper.
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "Common/Src/Helper.h"
#include "tests/kit/LogCapture.h"
#include "tests/kit/PrivateHive.h"
#include "tests/unit/CountedBstrs.h"
#include "tests/unit/FakeWmi.h"

namespace {

constexpr wchar_t SUITE_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";
constexpr wchar_t FEATURES_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV";
constexpr wchar_t DEBUG_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\Debug";

using Messages = std::vector<std::string>;

struct Check {
    const char* name;
    BOOL (CHelper::*check)();
    const wchar_t* value;
    const char* keyFailure;
    const char* valueFailure;
    const char* notInstalled;
};

class InstallationCheck : public testing::TestWithParam<Check> {
  protected:
    BOOL Ask() { return (m_helper.*GetParam().check)(); }
    void SetFlag(const wchar_t* text) { m_hive.Set(FEATURES_KEY, GetParam().value, text); }

    PrivateHive m_hive;
    LogCapture m_log;
    CHelper m_helper;
};

TEST_P(InstallationCheck, FlagOneIsInstalledAndLogsNothing) {
    SetFlag(L"1");
    m_log.Clear();
    EXPECT_EQ(TRUE, Ask());
    EXPECT_EQ(Messages{}, m_log.Messages());
}

TEST_P(InstallationCheck, FlagOtherThanExactlyOneIsNotInstalled) {
    for (const wchar_t* text : {L"01", L"1 ", L" 1", L"0", L"", L"11", L"yes"}) {
        SetFlag(text);
        m_log.Clear();
        EXPECT_FALSE(Ask());
        EXPECT_EQ(Messages{GetParam().notInstalled}, m_log.Messages());
    }
}

TEST_P(InstallationCheck, WithoutTheKey) {
    EXPECT_FALSE(Ask());
    EXPECT_EQ(Messages{GetParam().keyFailure}, m_log.Messages());
}

TEST_P(InstallationCheck, WithoutTheValue) {
    m_hive.Set(FEATURES_KEY, L"Another", L"1");
    m_log.Clear();
    EXPECT_FALSE(Ask());
    EXPECT_EQ(Messages{GetParam().valueFailure}, m_log.Messages());
}

TEST_P(InstallationCheck, ReadsItsOwnFlag) {
    for (const wchar_t* value : {L"InstalledTOLV_DCB", L"InstalledTOLV_FCOE", L"InstalledTOLV_ISCSI"})
        m_hive.Set(FEATURES_KEY, value, L"1");
    EXPECT_TRUE(Ask());
    SetFlag(L"0");
    EXPECT_FALSE(Ask());
}

TEST_P(InstallationCheck, TracesItsResult) {
    SetFlag(L"1");
    m_log.Clear();
    Ask();
    const std::string name = std::string("CHelper::") + GetParam().name;
    EXPECT_EQ((Messages{"ENTRY:  " + name, "EXIT:  " + name + ", bReturn=true"}), m_log.Lines());
}

INSTANTIATE_TEST_SUITE_P(
    Helper, InstallationCheck,
    testing::Values(Check{"IsDcbInstalled", &CHelper::IsDcbInstalled, L"InstalledTOLV_DCB",
                          "IsDcbInstalled() - Unable to open the TOLV registry key - exiting",
                          "IsDcbInstalled() - Unable to open the DCB installation status registry value - exiting",
                          "IsDcbInstalled() - DCB was not installed - exiting"},
                    Check{"IsFcoeInstalled", &CHelper::IsFcoeInstalled, L"InstalledTOLV_FCOE",
                          "IsFcoeInstalled() - Unable to open the TOLV registry key - exiting",
                          "IsFcoeInstalled() - Unable to open the Fcoe installation status registry value - exiting",
                          "IsFcoeInstalled() - fcoe was not installed - exiting"},
                    Check{"IsIscsiInstalled", &CHelper::IsIscsiInstalled, L"InstalledTOLV_ISCSI",
                          "IsIscsiInstalled() - Unable to open the TOLV registry key - exiting",
                          "IsIscsiInstalled() - Unable to open the Fcoe installation status registry value - exiting",
                          "IsIscsiInstalled() - fcoe was not installed - exiting"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Helper, HasNoDataAndItsVirtualOperationsInOrder) {
    EXPECT_EQ(sizeof(void*), sizeof(CHelper));
    PrivateHive hive;
    CHelper helper;
    using Slot = BOOL (*)(CHelper*);
    const Slot* slots = nullptr;
    std::memcpy(&slots, static_cast<void*>(&helper), sizeof slots);
    const wchar_t* const values[] = {L"InstalledTOLV_DCB", L"InstalledTOLV_FCOE", L"InstalledTOLV_ISCSI"};
    for (int slot = 0; slot < 3; ++slot) {
        for (int value = 0; value < 3; ++value)
            hive.Set(FEATURES_KEY, values[value], value == slot ? L"1" : L"0");
        EXPECT_TRUE(slots[slot](&helper)) << "slot " << slot;
    }
    EXPECT_TRUE(std::has_virtual_destructor_v<CHelper>);
}

TEST(MicrosoftDcb, AnEnumeratorMeansInstalled) {
    FakeWmi wmi;
    LogCapture log;
    EXPECT_EQ(TRUE, CHelper().IsMicrosoftDcbInstalled());
    EXPECT_EQ((Messages{"After CoCreateInstance()", "After ConnectServer()",
                        "Query WMI_MSFT_NET_QOS_DCBX_SETTING_DATA was successful, MS DCB is installed",
                        "After pEnumInstanceName->Release"}),
              log.Messages());
    EXPECT_EQ((std::vector<std::wstring>{L"connect root\\standardcimv2", L"impersonation 3",
                                         L"query WQL: SELECT * FROM MSFT_NetQosDcbxSettingData", L"release enumerator",
                                         L"release services", L"release locator"}),
              wmi.calls);
    EXPECT_TRUE(log.Has("EXIT:  CHelper::IsMicrosoftDcbInstalled, bReturn=true"));
}

// In this process there is none.
TEST(MicrosoftDcb, ServicesThatAreNoProxyAreAskedAllTheSame) {
    FakeWmi wmi;
    wmi.blanketResult = E_NOINTERFACE;
    LogCapture log;
    EXPECT_EQ(TRUE, CHelper().IsMicrosoftDcbInstalled());
    EXPECT_EQ("After pEnumInstanceName->Release", log.Messages().back());
    EXPECT_EQ(4u, log.Messages().size());
}

TEST(MicrosoftDcb, FreesItsThreeTextsHoweverItEnds) {
    const CountedBstrs texts;
    FakeWmi wmi;
    std::size_t during = 0;
    wmi.onEnumeratorReleased = [&] { during = texts.Live(); };
    for (const auto& result : {&FakeWmi::queryResult, &FakeWmi::connectResult, &FakeWmi::createResult}) {
        during = 0;
        CHelper().IsMicrosoftDcbInstalled();
        EXPECT_EQ(3u, during);
        EXPECT_EQ(0u, texts.Live());
        wmi.*result = E_FAIL;
        CHelper().IsMicrosoftDcbInstalled();
        EXPECT_EQ(0u, texts.Live());
        wmi.*result = S_OK;
    }
}

TEST(MicrosoftDcb, TheEnumeratorIsReleasedBetweenItsTwoMessages) {
    FakeWmi wmi;
    LogCapture log;
    Messages before;
    wmi.onEnumeratorReleased = [&] { before = log.Messages(); };
    CHelper().IsMicrosoftDcbInstalled();
    ASSERT_FALSE(before.empty());
    EXPECT_EQ("Query WMI_MSFT_NET_QOS_DCBX_SETTING_DATA was successful, MS DCB is installed", before.back());
    EXPECT_EQ("After pEnumInstanceName->Release", log.Messages().back());
}

TEST(MicrosoftDcb, NoEnumeratorMeansNotInstalled) {
    for (const HRESULT result : {static_cast<HRESULT>(WBEM_E_INVALID_CLASS), S_OK}) {
        FakeWmi wmi;
        wmi.queryResult = result;
        wmi.yieldsEnumerator = false;
        LogCapture log;
        EXPECT_FALSE(CHelper().IsMicrosoftDcbInstalled());
        EXPECT_EQ((Messages{"After CoCreateInstance()", "After ConnectServer()",
                            "Failed: After ExecQuery -> SELECT * FROM WMI_MSFT_NET_QOS_DCBX_SETTING_DATA "
                            "pEnumInstanceName == NULL"}),
                  log.Messages());
        EXPECT_EQ(L"release locator", wmi.calls.back());
    }
}

TEST(MicrosoftDcb, AFailedQueryIsFalseEvenWithAnEnumerator) {
    FakeWmi wmi;
    wmi.queryResult = WBEM_E_FAILED;
    EXPECT_FALSE(CHelper().IsMicrosoftDcbInstalled());
}

TEST(MicrosoftDcb, EndsWhenTheConnectionFails) {
    FakeWmi wmi;
    wmi.connectResult = WBEM_E_INVALID_NAMESPACE;
    LogCapture log;
    EXPECT_FALSE(CHelper().IsMicrosoftDcbInstalled());
    EXPECT_EQ(Messages{"After CoCreateInstance()"}, log.Messages());
    EXPECT_EQ((std::vector<std::wstring>{L"connect root\\standardcimv2", L"release locator"}), wmi.calls);
}

TEST(MicrosoftDcb, EndsWhenThereIsNoLocator) {
    FakeWmi wmi;
    wmi.createResult = E_OUTOFMEMORY;
    LogCapture log;
    EXPECT_FALSE(CHelper().IsMicrosoftDcbInstalled());
    EXPECT_EQ(Messages{}, log.Messages());
    EXPECT_TRUE(wmi.calls.empty());
}

TEST(MicrosoftDcb, IsFalseWithoutCom) {
    LogCapture log;
    EXPECT_FALSE(CHelper().IsMicrosoftDcbInstalled());
    EXPECT_EQ(Messages{}, log.Messages());
}

TEST(PathFromRegistry, ReadsTheValue) {
    PrivateHive hive;
    hive.Set(L"SOFTWARE\\Some", L"Path", L"C:\\Somewhere");
    LogCapture log;
    CQelString path;
    EXPECT_TRUE(CHelper().GetPathFromRegistry(L"SOFTWARE\\Some", L"Path", path));
    EXPECT_EQ(L"C:\\Somewhere", path);
    EXPECT_EQ(Messages{}, log.Messages());
    EXPECT_TRUE(log.Has("EXIT:  CHelper::GetPathFromRegistry, bReturn=true"));
}

TEST(Languages, AreReadFromTheirKeys) {
    PrivateHive hive;
    LogCapture log;
    CQelString language;
    EXPECT_FALSE(CHelper().GetInstalledLanguage(language));
    EXPECT_TRUE(log.Traced("CHelper::GetInstalledLanguage", ", bReturn=false"));
    EXPECT_FALSE(CHelper().GetLocalLanguage(language));
    EXPECT_TRUE(log.Traced("CHelper::GetLocalLanguage", ", bReturn=false"));
    log.Clear();
    hive.Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2", L"InstalledLangShortString", L"ENU");
    hive.Set(L"SOFTWARE\\ORVAN\\Network_Services\\TOLV", L"LocalLanguage", L"JPN");
    EXPECT_TRUE(CHelper().GetInstalledLanguage(language));
    EXPECT_STREQ(L"ENU", language);
    EXPECT_TRUE(CHelper().GetLocalLanguage(language));
    EXPECT_STREQ(L"JPN", language);
    EXPECT_TRUE(log.Traced("CHelper::GetInstalledLanguage", ", bReturn=true"));
    EXPECT_TRUE(log.Traced("CHelper::GetLocalLanguage", ", bReturn=true"));
}

TEST(PathFromRegistry, LogsAMissingKeyAndAMissingValue) {
    PrivateHive hive;
    LogCapture log;
    CQelString path;
    EXPECT_FALSE(CHelper().GetPathFromRegistry(L"SOFTWARE\\Some", L"Path", path));
    EXPECT_EQ(Messages{"GetPathFromRegistry() - Unable to open the registry key - exiting"}, log.Messages());
    hive.Set(L"SOFTWARE\\Some", L"Other", L"C:\\Somewhere");
    log.Clear();
    EXPECT_FALSE(CHelper().GetPathFromRegistry(L"SOFTWARE\\Some", L"Path", path));
    EXPECT_EQ(Messages{"GetPathFromRegistry() - Unable to open the registry value - exiting"}, log.Messages());
}

// The messages of the checks alone; reading a number is noisy in itself.
Messages OwnMessages(const LogCapture& log) {
    return log.Messages(LogText::Without({"CQelRegKey::"}));
}

TEST(DebugEnabled, OnlyNumberOneIsOn) {
    PrivateHive hive;
    LogCapture log;
    hive.Set(SUITE_KEY, L"Debugging", 1);
    EXPECT_EQ(TRUE, CHelper().IsDebugEnbled());
    EXPECT_EQ(Messages{"IsDebugEnbled() - debugging is enabled - exiting"}, OwnMessages(log));
    EXPECT_TRUE(log.Has("EXIT:  CHelper::IsDebugEnbled, bReturn=true"));
    for (const DWORD number : {0ul, 2ul, 0xFFFFFFFFul}) {
        hive.Set(SUITE_KEY, L"Debugging", number);
        log.Clear();
        EXPECT_FALSE(CHelper().IsDebugEnbled());
        EXPECT_EQ(Messages{}, OwnMessages(log));
    }
}

TEST(DebugEnabled, LogsAMissingKeyAndAMissingValue) {
    PrivateHive hive;
    LogCapture log;
    EXPECT_FALSE(CHelper().IsDebugEnbled());
    EXPECT_EQ(Messages{"IsDebugEnbled() - Unable to open the TOLV registry key - exiting"}, OwnMessages(log));
    hive.Set(SUITE_KEY, L"Debugging", L"1"); // text is not a number
    log.Clear();
    EXPECT_FALSE(CHelper().IsDebugEnbled());
    EXPECT_EQ(Messages{"IsDebugEnbled() - Unable to open the debug registry value - exiting"}, OwnMessages(log));
}

TEST(DebugSetting, IsReadWhileDebuggingIsOn) {
    PrivateHive hive;
    hive.Set(SUITE_KEY, L"Debugging", 1);
    hive.Set(DEBUG_KEY, L"Knob", 42);
    LogCapture log;
    ULONG value = 7;
    EXPECT_EQ(TRUE, CHelper().IsSettingDebugable(L"Knob", value));
    EXPECT_EQ(42u, value);
    EXPECT_EQ(Messages{"IsDebugEnbled() - debugging is enabled - exiting"}, OwnMessages(log));
    EXPECT_TRUE(log.Has("EXIT:  CHelper::IsSettingDebugable, bReturn=true"));
}

TEST(DebugSetting, IsNotReadWhileDebuggingIsOff) {
    PrivateHive hive;
    hive.Set(SUITE_KEY, L"Debugging", 0ul);
    hive.Set(DEBUG_KEY, L"Knob", 42);
    LogCapture log;
    ULONG value = 7;
    EXPECT_FALSE(CHelper().IsSettingDebugable(L"Knob", value));
    EXPECT_EQ(7u, value);
    EXPECT_EQ(Messages{"IsSettingDebugable() - debugging is not turned on - exiting"}, OwnMessages(log));
}

TEST(DebugSetting, LogsAMissingKeyAndAMissingValue) {
    PrivateHive hive;
    hive.Set(SUITE_KEY, L"Debugging", 1);
    LogCapture log;
    ULONG value = 7;
    EXPECT_FALSE(CHelper().IsSettingDebugable(L"Knob", value));
    EXPECT_EQ("IsSettingDebugable() - Unable to open the TOLV registry key - exiting", OwnMessages(log).back());
    hive.Set(DEBUG_KEY, L"Other", 42);
    EXPECT_FALSE(CHelper().IsSettingDebugable(L"Knob", value));
    EXPECT_EQ("IsSettingDebugable() - Unable to open the debug registry value - exiting", OwnMessages(log).back());
    EXPECT_EQ(7u, value);
}

} // namespace

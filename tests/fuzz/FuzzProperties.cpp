// Adapter, port and device properties, statistics, virtual-port calls, and the texts made of them.
#include "tests/fuzz/Fuzz.h"

#include <algorithm>
#include <string>

#include "FcoeAgent/QelResource.h"
#include "model/NumberFormat.h"
#include "model/WwnText.h"

const FuzzedFamilies FUZZED_FAMILIES{.bBinding = true, .bProperties = true};

namespace {

CQelString Widened(const std::string& strBytes) {
    CQelString strText;
    for (const char ch : strBytes)
        strText.push_back(static_cast<unsigned char>(ch));
    return strText;
}

bool IsResource(UINT uFirst, UINT uLast, const CQelString& strText) {
    for (UINT uId = uFirst; uId <= uLast; ++uId) {
        CQelString strResource;
        if (strResource.LoadCommonResString(uId) > 0 && strResource == strText)
            return true;
    }
    return false;
}

void FuzzRecord(DrawnLibrary& library, CQelFcoeHBA& hba) {
    QEL_FCOE_HBA record;
    FUZZ_CHECK(hba.Get(record));
    if (record.strType.empty()) {
        FUZZ_CHECK(record.strPortWWN.empty() && record.strModel.empty() && record.strPciLocation.empty());
        return;
    }
    FUZZ_CHECK(record.strPortWWN.size() == 23 && record.strNodeWWN.size() == 23);
    FUZZ_CHECK(record.strAdapterName.size() < ORVAN_NAME_SIZE);
    const auto byFirst = static_cast<unsigned char>(library.adapterAttributes.Model[0]);
    FUZZ_CHECK(record.strModel.size() <= (byFirst == 0 ? 0u : 256u / byFirst));
    FUZZ_CHECK(record.strModel.find(L'\0') == CQelString::npos);
    FUZZ_CHECK(IsResource(IDS_QEL_LINK_UP, IDS_QEL_LINK_APP_DISABLED_LOCALLY, record.strFcoeLinkStatus));
    FUZZ_CHECK(IsResource(IDS_QEL_SPEED_UNKNOWN, IDS_QEL_SPEED_UNKNOWN, record.strPortSpeed) ||
               IsResource(IDS_QEL_SPEED_2GBPS, IDS_QEL_SPEED_10GBPS, record.strPortSpeed));
    unsigned uBus = 0, uDevice = 0, uFunction = 0;
    FUZZ_CHECK(std::swscanf(record.strPciLocation.c_str(), L"PCI bus %u, device %u, function %u", &uBus, &uDevice,
                            &uFunction) == 3);
    FUZZ_CHECK(uBus <= 0xFF && uDevice <= 0x1F && uFunction <= 7);
    if (library.bRecordsRead)
        FUZZ_CHECK(record.strPortWWN == WwnText(library.portAttributes.PortWWN) &&
                   record.ulPortFcId == library.portAttributes.PortFcId);
}

void FuzzStatistics(DrawnLibrary& library, CQelFcoeHBA& hba) {
    library.ulStatisticsStatus = HBA_STATUS_OK;
    library.statistics = {};
    std::vector<QEL_FCOE_STATISTIC> vecStatistics;
    FUZZ_CHECK(hba.GetStatistics(vecStatistics));
    if (library.ulStatisticsStatus != HBA_STATUS_OK) {
        FUZZ_CHECK(vecStatistics.empty());
        return;
    }
    FUZZ_CHECK(vecStatistics.size() == 15);
    FUZZ_CHECK(vecStatistics[0].llValue == library.statistics.TxFrames);
    FUZZ_CHECK(vecStatistics[14].llValue == library.statistics.LinkFailureCount);
    for (const QEL_FCOE_STATISTIC& entry : vecStatistics)
        FUZZ_CHECK(!entry.strLabel.empty());
}

// Three more neighbours of the text: the parser, the formatter and the comparison agree.
void FuzzWwn(DrawnLibrary& library) {
    constexpr wchar_t BORDERS[] = L"/09:;@AFG`afg"; // and the null
    const HBA_WWN wwn = library.DrawWwn();
    const CQelString strText = WwnText(wwn);
    FUZZ_CHECK(strText.size() == 23);
    const auto again = ParseWwn(strText);
    FUZZ_CHECK(again && std::memcmp(&*again, &wwn, sizeof wwn) == 0);

    CQelString strDrawn = strText;
    if (library.DrawByte() & 1)
        strDrawn = Widened(library.DrawText(40));
    else if (const int nPlace = library.DrawByte() % 32; nPlace < static_cast<int>(strDrawn.size()))
        strDrawn[nPlace] = library.DrawUsual() ? BORDERS[library.DrawByte() % std::size(BORDERS)] : library.DrawByte();
    CQelString strUpper = strDrawn;
    strUpper.MakeUpper();
    if (const auto parsed = ParseWwn(strDrawn))
        FUZZ_CHECK(WwnText(*parsed) == strUpper);

    for (const HBA_WWN& asked : {wwn, library.DrawWwn()}) {
        FUZZ_CHECK(HasText(asked, strDrawn) == (strDrawn == WwnText(asked)));
        FUZZ_CHECK(HasTextIgnoringCase(asked, strDrawn) == (strUpper == WwnText(asked)));
    }

    std::vector<CQelString> vecFields;
    const bool bFound = strDrawn.Split(':', vecFields);
    CQelString strJoined;
    for (const CQelString& strField : vecFields)
        strJoined.append(strField).append(L":");
    FUZZ_CHECK(bFound == (vecFields.size() > 1) && strJoined == std::wstring(strDrawn) + L":");
}

// Whatever stands around the number, the text is the one that the formatter makes.
void FuzzNumber(DrawnLibrary& library) {
    const auto Around = [&] {
        CQelString strText = Widened(library.DrawText(12));
        // No conversions of their own, nor an end.
        std::ranges::replace_if(
            strText, [](wchar_t ch) { return ch == L'%' || ch == L'\0'; }, L'_');
        return strText;
    };
    constexpr const wchar_t* CONVERSIONS[] = {L"%I64d", L"%I64X", L"%5I64d", L"%%%I64d", L"%I64d%%"};
    const CQelString strFormat = Around() + CQelString(CONVERSIONS[library.DrawByte() % 5]) + Around();
    LONG64 llValue = 0;
    library.FillRecord(llValue);
    CQelString strExpected;
    FUZZ_CHECK(strExpected.FormatString(strFormat, llValue) >= 0);
    FUZZ_CHECK(CQelNumberFormat(strFormat).Text(llValue) == strExpected);

    const auto lValue = static_cast<LONG>(llValue);
    const CQelString strNumber(lValue);
    const std::wstring strDecimal = std::to_wstring(lValue);
    FUZZ_CHECK(strNumber == (strDecimal.size() <= 9 ? strDecimal.c_str() : L""));
}

void FuzzVirtualPorts(DrawnLibrary& library, CQelFcoeHBA& hba) {
    std::vector<QEL_ERROR_ENTRY> vecErrors;
    CQelString strWWPN = library.DrawByte() & 1 ? Widened(library.DrawText(40)) : CQelString(L"auto");
    const bool bNamed = ParseWwn(strWWPN).has_value();
    const bool bCreated = hba.CreateVPort(strWWPN, vecErrors);
    FUZZ_CHECK(bCreated == vecErrors.empty());
    FUZZ_CHECK(!bCreated || bNamed || strWWPN.size() == 23);
    vecErrors.clear();
    const bool bDeleted = hba.DeleteVPort(strWWPN, vecErrors);
    FUZZ_CHECK(bDeleted == vecErrors.empty());
    CQelString strGenerated;
    FUZZ_CHECK(hba.GenerateVPortWWPN(strGenerated) ? strGenerated.size() == 23 : strGenerated.empty());
}

} // namespace

void Fuzz(DrawnLibrary& library, CHBAAPIInt&, CQelFcoeHBA& hba) {
    FuzzWwn(library);
    FuzzNumber(library);
    FuzzRecord(library, hba);
    FuzzStatistics(library, hba);
    FuzzVirtualPorts(library, hba);
    hba.RefreshTargets();
}

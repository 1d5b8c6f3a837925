#include "model/WwnText.h"

#include <cwchar>
#include <iterator>
#include <vector>

#include "Common/Src/NumberText.h"
#include "FcoeAgent/QelResource.h"
#include "model/ResourceText.h"

namespace {

bool IsHexDigit(wchar_t ch) {
    return (ch >= L'0' && ch <= L'9') || (ch >= L'A' && ch <= L'F') || (ch >= L'a' && ch <= L'f');
}

// What the usual format makes of the eight bytes. An adapter's tree holds some of these texts for every unit, and
// formatting them was most of what its texts cost.
void AssignUsualText(CQelString& strText, const HBA_UINT8* pbyWwn) {
    wchar_t szText[3 * 8];
    for (std::size_t i = 0; i < 8; ++i) {
        szText[3 * i] = HexadecimalDigit(pbyWwn[i] >> 4, Case::Upper);
        szText[3 * i + 1] = HexadecimalDigit(pbyWwn[i], Case::Upper);
        szText[3 * i + 2] = L':';
    }
    strText.assign(szText, std::size(szText) - 1);
}

} // namespace

CQelString WwnText(const HBA_UINT8* pbyWwn) {
    CQelString strText;
    if (!pbyWwn)
        return strText;
    static const bool bUsualFormat = ResourceText<IDS_QEL_WWN_FORMAT>() == L"%02X:%02X:%02X:%02X:%02X:%02X:%02X:%02X";
    if (bUsualFormat)
        AssignUsualText(strText, pbyWwn);
    else
        strText.FormatString(ResourceText<IDS_QEL_WWN_FORMAT>(), pbyWwn[0], pbyWwn[1], pbyWwn[2], pbyWwn[3], pbyWwn[4],
                             pbyWwn[5], pbyWwn[6], pbyWwn[7]);
    return strText;
}

bool HasText(const HBA_WWN& wwn, const CQelString& strText) {
    return WwnText(wwn) == strText;
}

bool HasTextIgnoringCase(const HBA_WWN& wwn, const CQelString& strText) {
    return strText.CompareI(WwnText(wwn));
}

std::optional<HBA_WWN> ParseWwn(const CQelString& strText) {
    std::vector<CQelString> vecGroups;
    strText.Split(':', vecGroups);
    HBA_WWN wwn{};
    if (vecGroups.size() != std::size(wwn.wwn))
        return std::nullopt;
    for (std::size_t i = 0; i < vecGroups.size(); ++i) {
        const CQelString& strGroup = vecGroups[i];
        if (strGroup.size() != 2 || !IsHexDigit(strGroup.at(0)) || !IsHexDigit(strGroup.at(1)))
            return std::nullopt;
        wwn.wwn[i] = static_cast<HBA_UINT8>(std::wcstoul(strGroup, nullptr, 16));
    }
    return wwn;
}

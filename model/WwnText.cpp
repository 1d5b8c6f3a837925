#include "model/WwnText.h"

#include <cwchar>
#include <iterator>
#include <string_view>
#include <vector>

#include "Common/Src/NumberText.h"
#include "FcoeAgent/QelResource.h"
#include "model/ResourceText.h"

namespace {

bool IsHexDigit(wchar_t ch) {
    return (ch >= L'0' && ch <= L'9') || (ch >= L'A' && ch <= L'F') || (ch >= L'a' && ch <= L'f');
}

bool IsUsualFormat() {
    static const bool bUsual = ResourceText<IDS_QEL_WWN_FORMAT>() == L"%02X:%02X:%02X:%02X:%02X:%02X:%02X:%02X";
    return bUsual;
}

// What the usual format makes of the eight bytes, without the formatter and without the heap: the units of an adapter
// are told apart by these texts.
class CQelUsualText {
  public:
    explicit CQelUsualText(const HBA_UINT8* pbyWwn) {
        for (std::size_t i = 0; i < 8; ++i) {
            m_szText[3 * i] = HexadecimalDigit(pbyWwn[i] >> 4, Case::Upper);
            m_szText[3 * i + 1] = HexadecimalDigit(pbyWwn[i], Case::Upper);
            m_szText[3 * i + 2] = L':';
        }
    }
    std::wstring_view Text() const { return {m_szText, std::size(m_szText) - 1}; }

  private:
    wchar_t m_szText[3 * 8];
};

} // namespace

CQelString WwnText(const HBA_UINT8* pbyWwn) {
    CQelString strText;
    if (!pbyWwn)
        return strText;
    if (IsUsualFormat())
        strText.assign(CQelUsualText(pbyWwn).Text());
    else
        strText.FormatString(ResourceText<IDS_QEL_WWN_FORMAT>(), pbyWwn[0], pbyWwn[1], pbyWwn[2], pbyWwn[3], pbyWwn[4],
                             pbyWwn[5], pbyWwn[6], pbyWwn[7]);
    return strText;
}

bool HasText(const HBA_WWN& wwn, const CQelString& strText) {
    return IsUsualFormat() ? CQelUsualText(wwn.wwn).Text() == strText : WwnText(wwn) == strText;
}

bool HasTextIgnoringCase(const HBA_WWN& wwn, const CQelString& strText) {
    // Most often it is the text to the letter, which takes no second text.
    return HasText(wwn, strText) || strText.CompareI(WwnText(wwn));
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

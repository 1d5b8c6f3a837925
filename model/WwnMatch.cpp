#include "model/WwnMatch.h"

#include <cstring>

#include "model/WwnText.h"

CQelWwnMatch::CQelWwnMatch(const CQelString& strText, bool bIgnoreCase)
    : m_strText(strText), m_bIgnoreCase(bIgnoreCase) {}

bool CQelWwnMatch::Matches(const HBA_WWN& wwn) {
    if (!m_bAsked || std::memcmp(&wwn, &m_lastWwn, sizeof wwn) != 0) {
        const CQelString strText = WwnText(wwn);
        m_bLastMatches = m_bIgnoreCase ? m_strText.CompareI(strText) : m_strText == strText;
        m_lastWwn = wwn;
        m_bAsked = true;
    }
    return m_bLastMatches;
}

// Finding the entries of a list that bear a given World Wide Name.
#pragma once

#include "FcoeAgent/HbaApi.h"
#include "FcoeAgent/QelString.h"

// Compares identifiers with a text, as texts. A list repeats one identifier many times over, so the last answer is
// kept. One thread; the text must outlive the object.
class CQelWwnMatch {
  public:
    CQelWwnMatch(const CQelString& strText, bool bIgnoreCase);

    bool Matches(const HBA_WWN& wwn);

  private:
    const CQelString& m_strText;
    bool m_bIgnoreCase;
    bool m_bAsked = false;
    HBA_WWN m_lastWwn{};
    bool m_bLastMatches = false;
};

// A text that many objects of an adapter's tree keep.
#pragma once

#include <memory>

#include "FcoeAgent/QelString.h"

// Copies share the characters, which never change: thousands of logical units name the same adapter, fabric and ports.
// Threading: as the standard string. Errors: std::bad_alloc, from making one out of another text alone.
class CQelSharedText {
  public:
    CQelSharedText(const CQelString& strText) : m_pText(std::make_shared<const CQelString>(strText)) {}
    CQelSharedText(const wchar_t* pszText) : m_pText(std::make_shared<const CQelString>(pszText)) {}

    const CQelString& Text() const { return *m_pText; }
    operator const CQelString&() const { return *m_pText; }

  private:
    std::shared_ptr<const CQelString> m_pText; // never null: no move leaves one behind
};

// Formats of the common resources that show one 64-bit number.
#pragma once

#include "FcoeAgent/QelString.h"

// A format such as "%I64d bytes". The usual kind, with that one conversion and no other, is taken apart once; any other
// is left to FormatString.
class CQelNumberFormat {
  public:
    explicit CQelNumberFormat(const CQelString& strFormat);

    CQelString Text(LONG64 llValue) const;

  private:
    CQelString m_strFormat;
    bool m_bUsual;
    CQelString m_strBefore;
    CQelString m_strAfter;
};

// World Wide Names as text.
#pragma once

#include <optional>

#include "FcoeAgent/HbaApi.h"
#include "FcoeAgent/QelString.h"

// The eight bytes by the suite's common format; a null pointer gives the empty text.
[[nodiscard]] CQelString WwnText(const HBA_UINT8* pbyWwn);
[[nodiscard]] inline CQelString WwnText(const HBA_WWN& wwn) {
    return WwnText(wwn.wwn);
}

// Whether this is the name's text: to the letter, or in any letter case.
[[nodiscard]] bool HasText(const HBA_WWN& wwn, const CQelString& strText);
[[nodiscard]] bool HasTextIgnoringCase(const HBA_WWN& wwn, const CQelString& strText);

// The name of a text of exactly eight groups of two hexadecimal digits, in either letter case, separated by colons;
// nothing for any other text.
[[nodiscard]] std::optional<HBA_WWN> ParseWwn(const CQelString& strText);

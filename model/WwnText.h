// World Wide Names as text.
#pragma once

#include <optional>

#include "FcoeAgent/HbaApi.h"
#include "FcoeAgent/QelString.h"

// The eight bytes by the suite's common format; a null pointer gives the empty text.
CQelString WwnText(const HBA_UINT8* pbyWwn);
inline CQelString WwnText(const HBA_WWN& wwn) {
    return WwnText(wwn.wwn);
}

// The name of a text of exactly eight groups of two hexadecimal digits, in either letter case, separated by colons;
// nothing for any other text.
std::optional<HBA_WWN> ParseWwn(const CQelString& strText);

#include "tools/reading/AdapterLookup.h"

#include <algorithm>
#include <cwctype>

#include "tools/reading/Text.h"
#include "tools/reading/VendorLibrary.h"
#include "tools/reading/What.h"

namespace reading {
namespace {

constexpr std::size_t GUID_LENGTH = 36;

bool IsUnnamed(const QEL_FCOE_HBA& hba) {
    return hba.strDeviceId.empty();
}

} // namespace

std::wstring CanonicalIdentifier(std::wstring_view text) {
    if (text.size() == GUID_LENGTH + 2 && text.front() == L'{' && text.back() == L'}')
        text = text.substr(1, GUID_LENGTH);
    if (text.size() != GUID_LENGTH)
        return {};
    std::wstring id = L"{";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
        if (hyphen ? text[i] != L'-' : text[i] > L'z' || !std::isxdigit(static_cast<int>(text[i])))
            return {};
        id += static_cast<wchar_t>(std::toupper(static_cast<int>(text[i])));
    }
    return id + L'}';
}

bool AllListed(const Reading<QEL_FCOE_HBA>& reading) {
    const auto isLacking = [&](const Problem& problem) {
        return problem.what == KeyOf(What::Adapter) && problem.function != ToUtf8(VENDOR_LIBRARY) &&
               std::ranges::none_of(reading.records, [&](const QEL_FCOE_HBA& hba) {
                   return !IsUnnamed(hba) && ToUtf8(hba.strDeviceId) == problem.adapter;
               });
    };
    return reading.complete && std::ranges::count_if(reading.findings.problems, isLacking) <=
                                   std::ranges::count_if(reading.records, IsUnnamed);
}

bool AllRead(const Reading<QEL_FCOE_HBA>& reading) {
    return AllListed(reading) && std::ranges::none_of(reading.records, IsUnnamed);
}

} // namespace reading

#include "tools/fcoectl/Machine.h"

#include <fmt/format.h>

#include <windows.h>

#include <lmcons.h>

#include "tools/fcoectl/Text.h"

namespace fcoectl {

std::string ComputerName() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    return GetComputerNameW(name, &size) ? ToUtf8(std::wstring_view(name, size)) : std::string();
}

std::string UserName() {
    wchar_t name[UNLEN + 1];
    DWORD size = UNLEN + 1; // receives the length with the null
    return GetUserNameW(name, &size) ? ToUtf8(std::wstring_view(name, size - 1)) : std::string();
}

std::string LocalTime() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute,
                       now.wSecond);
}

} // namespace fcoectl

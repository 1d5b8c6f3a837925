#include "tests/kit/TempFolder.h"

#include <atomic>

#include <windows.h>

TempFolder::TempFolder() {
    static std::atomic<int> count;
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    std::filesystem::create_directories(temp);
    // One of that name can be left by a crashed program with the same process id, or be in use by what that one
    // started.
    do {
        m_path = std::filesystem::path(temp) /
                 (L"fcoe" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count));
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    } while (!std::filesystem::create_directory(m_path));
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string ReadFileBytes(const std::filesystem::path& path, std::size_t from) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    std::string bytes;
    if (file == INVALID_HANDLE_VALUE)
        return bytes;
    LARGE_INTEGER start;
    start.QuadPart = static_cast<LONGLONG>(from);
    SetFilePointerEx(file, start, nullptr, FILE_BEGIN);
    char block[16384];
    for (DWORD got = 0; ReadFile(file, block, sizeof block, &got, nullptr) && got;)
        bytes.append(block, got);
    CloseHandle(file);
    return bytes;
}

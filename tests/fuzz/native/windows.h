// What the sources under test use of Windows, for a native build.
//
// Sizes and signs are those of Windows x86-64, but for wchar_t, which the system's C++ library wants with four bytes;
// each still holds one UTF-16 unit. Handles, locks and memory are checked more strictly than Windows does: see
// Windows.cpp.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <type_traits>

// --- Types

// A type of its own: the product tells it from LONG, which is as long, by overloading.
class BOOL {
  public:
    BOOL() = default;
    template <class T>
    requires std::is_arithmetic_v<T>
    constexpr BOOL(T value) : m_value(static_cast<int>(value)) {}
    constexpr operator int() const { return m_value; }

  private:
    int m_value;
};
static_assert(sizeof(BOOL) == 4 && std::is_trivially_copyable_v<BOOL>);

#define TRUE 1
#define FALSE 0

using BYTE = std::uint8_t;
using BOOLEAN = BYTE;
using WORD = std::uint16_t;
using USHORT = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using LONG64 = long long;
using ULONG64 = unsigned long long;
using HRESULT = LONG;
using REGSAM = DWORD;

using HANDLE = void*;
using HMODULE = struct HMODULE__*;
using HKEY = struct HKEY__*;
using SC_HANDLE = struct SC_HANDLE__*;
using FARPROC = void (*)();

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};

#define NTAPI
#define WINAPI
#define MAXDWORD 0xFFFFFFFFu
#define INVALID_HANDLE_VALUE reinterpret_cast<void*>(-1)
#define LOWORD(value) static_cast<WORD>(static_cast<std::uintptr_t>(value) & 0xFFFF)
#define HIWORD(value) static_cast<WORD>(static_cast<std::uintptr_t>(value) >> 16 & 0xFFFF)

// --- Errors, modules, time

#define ERROR_SUCCESS 0
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_ACCESS_DENIED 5
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_PROC_NOT_FOUND 127
#define ERROR_MORE_DATA 234
#define ERROR_NO_UNICODE_TRANSLATION 1113

DWORD GetLastError();
void SetLastError(DWORD dwError);

FARPROC GetProcAddress(HMODULE hModule, const char* pszName);
BOOL FreeLibrary(HMODULE hModule);
HMODULE GetModuleHandleW(const wchar_t* pszName);
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 2
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 4
BOOL GetModuleHandleExW(DWORD dwFlags, const wchar_t* pszName, HMODULE* phModule);
// With a size of 0 only, which hands out the text where it lies.
int LoadStringW(HMODULE hModule, UINT uId, wchar_t* pszBuffer, int nSize);

DWORD GetTickCount();

struct SYSTEMTIME {
    WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};
union LARGE_INTEGER {
    LONG64 QuadPart;
};
void GetLocalTime(SYSTEMTIME* pTime);
BOOL QueryPerformanceCounter(LARGE_INTEGER* pCounter);
DWORD GetCurrentProcessId();
DWORD GetCurrentThreadId();
DWORD GetEnvironmentVariableW(const wchar_t* pszName, wchar_t* pszValue, DWORD dwSize);
void OutputDebugStringW(const wchar_t* pszText);

// --- Locks

struct CRITICAL_SECTION {
    unsigned uState;
    unsigned uEntered;
};
void InitializeCriticalSection(CRITICAL_SECTION* pSection);
void DeleteCriticalSection(CRITICAL_SECTION* pSection);
void EnterCriticalSection(CRITICAL_SECTION* pSection);
BOOL TryEnterCriticalSection(CRITICAL_SECTION* pSection);
void LeaveCriticalSection(CRITICAL_SECTION* pSection);

#define WAIT_OBJECT_0 0u
#define WAIT_TIMEOUT 258u
#define SYNCHRONIZE 0x00100000u
HANDLE CreateMutexW(void* pSecurity, BOOL bOwner, const wchar_t* pszName);
HANDLE OpenMutexW(DWORD dwAccess, BOOL bInherit, const wchar_t* pszName);
DWORD WaitForSingleObject(HANDLE handle, DWORD dwMilliseconds);
BOOL ReleaseMutex(HANDLE handle);
BOOL CloseHandle(HANDLE handle);
#define HANDLE_FLAG_INHERIT 1u
BOOL SetHandleInformation(HANDLE handle, DWORD dwMask, DWORD dwFlags);
BOOL CloseServiceHandle(SC_HANDLE handle);

// --- Texts

#define CP_ACP 0
#define MB_ERR_INVALID_CHARS 8
int MultiByteToWideChar(UINT uCodePage, DWORD dwFlags, const char* pszSource, int nSource, wchar_t* pszDestination,
                        int nDestination);
int WideCharToMultiByte(UINT uCodePage, DWORD dwFlags, const wchar_t* pszSource, int nSource, char* pszDestination,
                        int nDestination, const char* pszDefault, BOOL* pbUsedDefault);

#define LOCALE_NAME_INVARIANT L""
#define LCMAP_LOWERCASE 0x100
#define LCMAP_UPPERCASE 0x200
int LCMapStringEx(const wchar_t* pszLocale, DWORD dwFlags, const wchar_t* pszSource, int nSource,
                  wchar_t* pszDestination, int nDestination, void*, void*, int);
wchar_t* CharUpperW(wchar_t* pszText);
#define CSTR_EQUAL 2
int CompareStringOrdinal(const wchar_t* pszOne, int nOne, const wchar_t* pszOther, int nOther, BOOL bIgnoreCase);

// --- Registry

#define HKEY_CLASSES_ROOT reinterpret_cast<HKEY>(0x80000000)
#define HKEY_CURRENT_USER reinterpret_cast<HKEY>(0x80000001)
#define HKEY_LOCAL_MACHINE reinterpret_cast<HKEY>(0x80000002)
#define HKEY_USERS reinterpret_cast<HKEY>(0x80000003)
#define HKEY_PERFORMANCE_DATA reinterpret_cast<HKEY>(0x80000004)
#define HKEY_CURRENT_CONFIG reinterpret_cast<HKEY>(0x80000005)
#define HKEY_DYN_DATA reinterpret_cast<HKEY>(0x80000006)
#define KEY_READ 0x20019u
#define KEY_WRITE 0x20006u
#define REG_NONE 0u
#define REG_SZ 1u
#define REG_EXPAND_SZ 2u
#define REG_BINARY 3u
#define REG_DWORD 4u
#define REG_MULTI_SZ 7u
#define REG_OPTION_NON_VOLATILE 0u
#define REG_OPTION_VOLATILE 1u
LONG RegOpenKeyExW(HKEY hKey, const wchar_t* pszName, DWORD, REGSAM, HKEY* phOpened);
LONG RegCreateKeyExW(HKEY hKey, const wchar_t* pszName, DWORD, wchar_t*, DWORD, REGSAM, void*, HKEY* phOpened, DWORD*);
LONG RegCloseKey(HKEY hKey);
#define RRF_RT_REG_SZ 2
LONG RegGetValueW(HKEY hKey, const wchar_t* pszKey, const wchar_t* pszName, DWORD, DWORD*, void*, DWORD*);
LONG RegFlushKey(HKEY hKey);
LONG RegQueryValueExW(HKEY hKey, const wchar_t* pszName, DWORD*, DWORD* pdwType, BYTE* pbyData, DWORD* pdwSize);
LONG RegSetValueExW(HKEY hKey, const wchar_t* pszName, DWORD, DWORD dwType, const BYTE* pbyData, DWORD dwSize);
LONG RegDeleteValueW(HKEY hKey, const wchar_t* pszName);
LONG RegDeleteKeyW(HKEY hKey, const wchar_t* pszName);
LONG RegEnumKeyExW(HKEY hKey, DWORD dwIndex, wchar_t* pszName, DWORD* pdwLength, DWORD*, wchar_t*, DWORD*, void*);
LONG RegEnumValueW(HKEY hKey, DWORD dwIndex, wchar_t* pszName, DWORD* pdwLength, DWORD*, DWORD*, BYTE*, DWORD*);

// --- What the run time of Windows has and others have not

int _wcsicmp(const wchar_t* pszOne, const wchar_t* pszOther);
wchar_t* _i64tow(LONG64 llValue, wchar_t* pszBuffer, int nRadix);
int _itow_s(int nValue, wchar_t* pszBuffer, std::size_t nSize, int nRadix);
int _vsnwprintf(wchar_t* pszBuffer, std::size_t nSize, const wchar_t* pszFormat, va_list args);
int _vscwprintf(const wchar_t* pszFormat, va_list args);
int _vsnwprintf_s(wchar_t* pszBuffer, std::size_t nSize, std::size_t nMaximum, const wchar_t* pszFormat, va_list args);
int wcscpy_s(wchar_t* pszDestination, std::size_t nSize, const wchar_t* pszSource);
int wcscat_s(wchar_t* pszDestination, std::size_t nSize, const wchar_t* pszSource);

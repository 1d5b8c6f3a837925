// Windows, as far as the sources under test use it, with nothing behind it.
#include <windows.h>

#include <io.h>
#include <oleauto.h>
#include <setupapi.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include <sys/stat.h>

#include "FcoeAgent/QelResource.h"
#include "tests/fuzz/Check.h"
#include "tests/fuzz/native/Neighbours.h"

namespace {

DWORD g_dwLastError;
DWORD g_dwTicks;
int g_nOpen;

struct RESOURCE {
    UINT uId;
    const wchar_t* pszText;
};

constexpr RESOURCE RESOURCES[] = {
#include "Resources.inc" // made from the string table of QelColib.rc
};

// What a handle points to tells what it is.
char g_library, g_mutex, g_deviceKey, g_devices;

template <class Handle> Handle Open(char& anchor) {
    ++g_nOpen;
    return reinterpret_cast<Handle>(&anchor);
}

void Close(const void* handle, const char& anchor) {
    FUZZ_CHECK(handle == &anchor);
    FUZZ_CHECK(g_nOpen > 0);
    --g_nOpen;
}

} // namespace

void native::SetTickCount(DWORD dwTicks) {
    g_dwTicks = dwTicks;
}

int native::OpenHandles() {
    return g_nOpen;
}

HMODULE native::LoadVendorLibrary() {
    return Open<HMODULE>(g_library);
}

// --- Errors, modules, time

DWORD GetLastError() {
    return g_dwLastError;
}

void SetLastError(DWORD dwError) {
    g_dwLastError = dwError;
}

FARPROC GetProcAddress(HMODULE hModule, const char* pszName) {
    FUZZ_CHECK(reinterpret_cast<char*>(hModule) == &g_library);
    const FARPROC pfn = native::LibraryFunction(pszName);
    if (!pfn)
        g_dwLastError = ERROR_PROC_NOT_FOUND;
    return pfn;
}

BOOL FreeLibrary(HMODULE hModule) {
    Close(hModule, g_library);
    return TRUE;
}

HMODULE GetModuleHandleW(const wchar_t*) {
    return nullptr;
}

BOOL GetModuleHandleExW(DWORD, const wchar_t*, HMODULE* phModule) {
    *phModule = nullptr;
    return TRUE;
}

int LoadStringW(HMODULE, UINT uId, wchar_t* pszBuffer, int nSize) {
    FUZZ_CHECK(nSize == 0);
    const auto pFound = std::ranges::find(RESOURCES, uId, &RESOURCE::uId);
    if (pFound == std::end(RESOURCES))
        return 0;
    std::memcpy(pszBuffer, &pFound->pszText, sizeof pFound->pszText);
    return static_cast<int>(std::wcslen(pFound->pszText));
}

DWORD GetTickCount() {
    return g_dwTicks;
}

void GetLocalTime(SYSTEMTIME* pTime) {
    *pTime = {2026, 1, 4, 1, 23, 59, 59, 999};
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* pCounter) {
    pCounter->QuadPart = g_dwTicks;
    return TRUE;
}

DWORD GetCurrentProcessId() {
    return 1;
}

DWORD GetCurrentThreadId() {
    return 1;
}

DWORD GetEnvironmentVariableW(const wchar_t*, wchar_t*, DWORD) {
    return 0;
}

void OutputDebugStringW(const wchar_t*) {}

// --- Locks: one thread, so that a wait would be for ever

namespace {
constexpr unsigned INITIALISED = 0x51C0DE;
}

void InitializeCriticalSection(CRITICAL_SECTION* pSection) {
    *pSection = {INITIALISED, 0};
}

void DeleteCriticalSection(CRITICAL_SECTION* pSection) {
    FUZZ_CHECK(pSection->uState == INITIALISED && pSection->uEntered == 0);
    pSection->uState = 0;
}

void EnterCriticalSection(CRITICAL_SECTION* pSection) {
    FUZZ_CHECK(pSection->uState == INITIALISED);
    ++pSection->uEntered;
    ++g_nOpen;
}

BOOL TryEnterCriticalSection(CRITICAL_SECTION* pSection) {
    EnterCriticalSection(pSection);
    return TRUE;
}

void LeaveCriticalSection(CRITICAL_SECTION* pSection) {
    FUZZ_CHECK(pSection->uState == INITIALISED && pSection->uEntered != 0);
    --pSection->uEntered;
    --g_nOpen;
}

HANDLE CreateMutexW(void*, BOOL, const wchar_t*) {
    return Open<HANDLE>(g_mutex);
}

HANDLE OpenMutexW(DWORD, BOOL, const wchar_t*) {
    FUZZ_CHECK(!"the mutex of another account");
    return nullptr;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD) {
    FUZZ_CHECK(handle == &g_mutex);
    return native::MutexIsFree() ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

BOOL ReleaseMutex(HANDLE handle) {
    FUZZ_CHECK(handle == &g_mutex);
    return TRUE;
}

BOOL CloseHandle(HANDLE handle) {
    Close(handle, g_mutex);
    return TRUE;
}

BOOL CloseServiceHandle(SC_HANDLE) {
    FUZZ_CHECK(!"a service handle");
    return FALSE;
}

void SysFreeString(BSTR) {
    FUZZ_CHECK(!"a BSTR");
}

// --- Registry: no key is there but that of a device

LONG RegOpenKeyExW(HKEY, const wchar_t*, DWORD, REGSAM, HKEY*) {
    return ERROR_FILE_NOT_FOUND;
}

LONG RegCreateKeyExW(HKEY, const wchar_t*, DWORD, wchar_t*, DWORD, REGSAM, void*, HKEY*, DWORD*) {
    return ERROR_FILE_NOT_FOUND;
}

LONG RegCloseKey(HKEY hKey) {
    Close(hKey, g_deviceKey);
    return ERROR_SUCCESS;
}

LONG RegFlushKey(HKEY) {
    return ERROR_FILE_NOT_FOUND;
}

LONG RegQueryValueExW(HKEY hKey, const wchar_t*, DWORD*, DWORD* pdwType, BYTE* pbyData, DWORD* pdwSize) {
    FUZZ_CHECK(reinterpret_cast<char*>(hKey) == &g_deviceKey);
    std::vector<wchar_t> vecText;
    if (!native::ReadDeviceText(vecText))
        return ERROR_FILE_NOT_FOUND;
    if (pdwType)
        *pdwType = REG_SZ;
    const auto dwStored = static_cast<DWORD>(vecText.size() * sizeof(wchar_t));
    const bool bFits = dwStored <= *pdwSize;
    *pdwSize = dwStored;
    if (!bFits)
        return ERROR_MORE_DATA;
    if (dwStored != 0)
        std::memcpy(pbyData, vecText.data(), dwStored);
    return ERROR_SUCCESS;
}

LONG RegSetValueExW(HKEY, const wchar_t*, DWORD, DWORD, const BYTE*, DWORD) {
    return ERROR_FILE_NOT_FOUND;
}

LONG RegDeleteValueW(HKEY, const wchar_t*) {
    return ERROR_FILE_NOT_FOUND;
}

LONG RegDeleteKeyW(HKEY, const wchar_t*) {
    return ERROR_FILE_NOT_FOUND;
}

LONG RegEnumKeyExW(HKEY, DWORD, wchar_t*, DWORD*, DWORD*, wchar_t*, DWORD*, void*) {
    return ERROR_FILE_NOT_FOUND;
}

LONG RegEnumValueW(HKEY, DWORD, wchar_t*, DWORD*, DWORD*, DWORD*, BYTE*, DWORD*) {
    return ERROR_FILE_NOT_FOUND;
}

// --- Devices

HDEVINFO SetupDiGetClassDevsW(const GUID*, const wchar_t*, void*, DWORD) {
    return Open<HDEVINFO>(g_devices);
}

BOOL SetupDiDestroyDeviceInfoList(HDEVINFO hDevices) {
    Close(hDevices, g_devices);
    return TRUE;
}

BOOL SetupDiEnumDeviceInfo(HDEVINFO hDevices, DWORD dwIndex, SP_DEVINFO_DATA* pDevice) {
    FUZZ_CHECK(hDevices == &g_devices && pDevice->cbSize == sizeof *pDevice);
    return native::DeviceExists(dwIndex);
}

HKEY SetupDiOpenDevRegKey(HDEVINFO, SP_DEVINFO_DATA*, DWORD, DWORD, DWORD, REGSAM) {
    return native::DeviceHasKey() ? Open<HKEY>(g_deviceKey) : static_cast<HKEY>(INVALID_HANDLE_VALUE);
}

BOOL SetupDiGetDeviceRegistryPropertyW(HDEVINFO, SP_DEVINFO_DATA*, DWORD, DWORD* pdwType, BYTE* pbyBuffer, DWORD dwSize,
                                       DWORD*) {
    DWORD dwNumber = 0;
    if (!native::ReadDeviceNumber(dwNumber))
        return FALSE;
    if (pdwType)
        *pdwType = REG_DWORD;
    FUZZ_CHECK(dwSize == sizeof dwNumber);
    std::memcpy(pbyBuffer, &dwNumber, sizeof dwNumber);
    return TRUE;
}

// --- Files: the log goes nowhere

int _fileno(FILE* pFile) {
    return fileno(pFile);
}

std::intptr_t _get_osfhandle(int nFile) {
    return nFile;
}

BOOL SetHandleInformation(HANDLE, DWORD, DWORD) {
    return TRUE;
}

int _write(int, const void* pData, unsigned uSize) {
    // Whole lines, whatever is in them.
    const std::string_view bytes(static_cast<const char*>(pData), uSize);
    FUZZ_CHECK(bytes.ends_with("\r\n"));
    return static_cast<int>(uSize);
}

int _setmode(int, int) {
    return 0;
}

long long _filelengthi64(int nFile) {
    struct stat status {};
    return fstat(nFile, &status) == 0 ? status.st_size : -1;
}

FILE* _wfsopen(const wchar_t*, const wchar_t*, int) {
    return std::fopen("/dev/null", "w");
}

#include "simulator/control/CallFile.h"

#include <filesystem>

#include <fmt/format.h>

#include "simulator/control/KernelHandle.h"
#include "simulator/topology/Text.h"
#include "simulator/topology/Topology.h"

namespace sim {
namespace {

// The file name of the module, or program, that this code is part of.
const std::string& ModuleName() {
    static const std::string name = [] {
        HMODULE module = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<const wchar_t*>(&ConfiguredCallFile), &module);
        std::wstring path(32768, L'\0');
        path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
        return Utf8(std::filesystem::path(path).filename().wstring());
    }();
    return name;
}

} // namespace

std::wstring ConfiguredCallFile() {
    const std::wstring name = SimulatorSetting(L"ORVAN_SIM_CALLS", L"Calls");
    return name.empty() ? name : std::filesystem::absolute(name).wstring();
}

CallFile::CallFile(const std::wstring& name) {
    if (!name.empty())
        m_file = CreateFileW(name.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                             nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

CallFile::~CallFile() {
    if (IsOpen())
        CloseHandle(m_file);
}

void CallFile::Write(const std::string& text, std::uint64_t version) const {
    if (!IsOpen())
        return;
    SYSTEMTIME now;
    GetLocalTime(&now);
    const std::string line = fmt::format("{}-{:02}-{:02} {:02}:{:02}:{:02}.{:03} {} {} {} v{} {}\r\n", now.wYear,
                                         now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds,
                                         GetCurrentProcessId(), GetCurrentThreadId(), ModuleName(), version, text);
    // Where the system appends in two steps, as Wine does, lines of two processes would take each other's place.
    static const KernelHandle turn(CreateMutexW(nullptr, FALSE, L"Global\\OrvanSimCalls"));
    WaitForSingleObject(turn.Get(), INFINITE);
    DWORD written = 0;
    WriteFile(m_file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    ReleaseMutex(turn.Get());
}

} // namespace sim

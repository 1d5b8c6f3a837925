#include "tests/system/PromiseSuite.h"

#include <map>
#include <mutex>

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace {

constexpr DWORD LIMIT = 10000; // milliseconds that a test waits for what must come

using PFN_GetProcAddress = FARPROC(WINAPI*)(HMODULE, const char*);

std::mutex g_lock;
std::map<std::string, void*> g_replacements;
PFN_GetProcAddress g_getProcAddress;

FARPROC WINAPI Find(HMODULE module, const char* name) {
    const std::lock_guard lock(g_lock);
    const auto found = g_replacements.find(name);
    return found == g_replacements.end() ? g_getProcAddress(module, name) : reinterpret_cast<FARPROC>(found->second);
}

} // namespace

std::string TwoAdapters(const std::string& faults) {
    std::string adapters;
    for (int i = 1; i <= 2; ++i)
        adapters += fmt::format(R"({}{{"identifier": "{{11111111-2222-4333-8444-55555555550{}}}",
            "display_name": "Adapter {}", "mac": "00:1B:21:00:00:0{}",
            "port": {{"node_wwn": "20:00:00:1B:21:00:00:0{}", "port_wwn": "20:01:00:1B:21:00:00:0{}"}},
            "targets": [{{"port_wwn": "50:06:01:60:00:00:00:0{}", "fc_id": {}, "npiv": true, "vendor": "STORAGE",
                "luns": [{{"os_lun": 0, "blocks": 4097}}]}}],
            "vlans": [{{"id": 100}}, {{"id": 200}}]}})",
                                i == 1 ? "" : ", ", i, i, i, i, i, i, i);
    return R"({"adapters": [)" + adapters + R"(], "faults": [)" + faults + "]}";
}

BOOL PromiseSuite::Create(const wchar_t* wwpn) {
    CQelString adapter(FIRST), name(wwpn);
    ULONG owner = 5;
    return agent->CreateVPort(adapter, name, errors, owner);
}

BOOL PromiseSuite::Delete(const wchar_t* wwpn) {
    CQelString adapter(FIRST), name(wwpn);
    return agent->DeleteVPort(adapter, name, errors, {5, 0, 0});
}

Gate::Gate()
    : m_reached(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_opened(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

Gate::~Gate() {
    CloseHandle(m_reached);
    CloseHandle(m_opened);
}

void Gate::Pass() {
    if (InterlockedIncrement(&m_passed) != 1)
        return;
    SetEvent(m_reached);
    EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), WaitForSingleObject(m_opened, LIMIT)) << "never let through";
}

bool Gate::WaitUntilReached() const {
    return WaitForSingleObject(m_reached, LIMIT) == WAIT_OBJECT_0;
}

void Gate::Open() {
    SetEvent(m_opened);
}

ExportHooks::ExportHooks(HMODULE agent)
    : m_patch(agent, "KERNEL32.dll", "GetProcAddress", reinterpret_cast<void*>(&Find)) {
    g_getProcAddress = m_patch.Original<PFN_GetProcAddress>();
}

ExportHooks::~ExportHooks() {
    const std::lock_guard lock(g_lock);
    g_replacements.clear();
}

void* ExportHooks::Replace(const char* name, void* replacement) {
    void* const library = reinterpret_cast<void*>(g_getProcAddress(GetModuleHandleW(L"orvanhapi.dll"), name));
    EXPECT_TRUE(library) << name;
    const std::lock_guard lock(g_lock);
    g_replacements[name] = replacement;
    return library;
}

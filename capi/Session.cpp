#include "capi/Session.h"

#include <filesystem>
#include <system_error>

#include "capi/Handles.h"
#include "capi/Outcome.h"
#include "tools/reading/Text.h"
#include "tools/reading/VendorLibrary.h"

namespace capi {

CQelLock g_turn;

namespace {

class Session : public Handle {};

HandleTable g_sessions;
// Not of a type that releases it: sessions that are open when the process ends or unloads the library are left.
SharedAgent* g_agent QEL_GUARDED_BY(g_turn) = nullptr;
unsigned g_open QEL_GUARDED_BY(g_turn) = 0;

std::vector<std::wstring> FolderOf(const std::wstring& file) {
    const auto separator = file.find_last_of(L"\\/");
    if (separator == std::wstring::npos)
        return {};
    return {file.substr(0, separator)};
}

} // namespace

LibraryBesideAgent::LibraryBesideAgent(const std::wstring& folder) {
    const std::wstring file = reading::InFolder(folder, reading::VENDOR_LIBRARY);
    if (!folder.empty() && GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES)
        m_module.reset(
            LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS));
}

SharedAgent::SharedAgent(const std::wstring& file)
    : m_file(file), m_folders(FolderOf(file)), m_library(m_folders.empty() ? std::wstring() : m_folders.front()),
      m_agent(file, m_folders) {}

void SharedAgent::AwaitFreshAnswers() const {
    constexpr DWORD KEPT = 10; // milliseconds, that the agent's caches serve
    while (m_doubtful && GetTickCount() - m_asked <= KEPT)
        Sleep(1);
}

bool SharedAgent::IsFrom(const std::wstring& file) const {
    std::error_code none;
    return reading::EqualIgnoringCase(m_file, file) || std::filesystem::equivalent(m_file, file, none);
}

std::string SharedAgent::WhyNoLibrary() const {
    if (reading::IsLibraryLoaded())
        return {};
    return reading::WhyNotLoaded(reading::LibraryFolders(m_folders)) + " " + reading::LIBRARY_ADVICE;
}

fcoe_session* OpenSession(const std::wstring& file) {
    const std::wstring path = reading::AgentFile(file);
    if (g_agent && !g_agent->IsFrom(path))
        throw Ended(FCOE_BAD_ARGUMENT,
                    "Another agent's file is open in this process. Close its sessions first, or open the same file.");
    auto session = std::make_unique<Session>();
    if (!g_agent)
        g_agent = new SharedAgent(path);
    ++g_open;
    g_sessions.Add(session.get());
    return reinterpret_cast<fcoe_session*>(static_cast<Handle*>(session.release()));
}

SharedAgent& AgentOf(const fcoe_session* session) {
    if (!g_sessions.Find(session))
        throw Ended(FCOE_BAD_ARGUMENT, "The session is none: it must be one that fcoe_open gave and that is open.");
    return *g_agent;
}

void CloseSession(fcoe_session* session) noexcept {
    const Handle* const closed = g_sessions.Take(session);
    if (!closed)
        return;
    delete closed;
    if (--g_open > 0)
        return;
    delete g_agent;
    g_agent = nullptr;
}

} // namespace capi

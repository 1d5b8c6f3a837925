#include "tools/reading/LoadedAgent.h"

#include <filesystem>
#include <system_error>

#include <fmt/format.h>

#include "tools/reading/Registry.h"
#include "tools/reading/Text.h"

namespace reading {
namespace {

constexpr wchar_t AGENT_NAME[] = L"FcoeAgnt";
constexpr wchar_t CORE_AGENT_NAME[] = L"CoreAgnt";

bool FileExists(const std::wstring& file) {
    return GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Why a module that was tried did not load, as a sentence.
std::string LoadProblem(const char* what, const std::wstring& file, DWORD error) {
    if (!FileExists(file))
        return fmt::format("The {} file \"{}\" does not exist.", what, ToUtf8(file));
    std::string text = fmt::format("The {} file \"{}\" cannot be loaded: {}", what, ToUtf8(file), SystemMessage(error));
    if (error == ERROR_MOD_NOT_FOUND)
        text += " A module that it needs is missing; QelColib.dll and the C++ run time belong beside it.";
    return text;
}

// Why the agent has no core agent.
std::string CoreAgentProblem() {
    const RegistryText core = RegisteredAgent(CORE_AGENT_NAME);
    // As the agent does: without its registered file the core agent is left to the system's search.
    std::wstring file = core.Found() ? core.text : CORE_AGENT_NAME;
    if (file.size() < 4 || !EqualIgnoringCase(file.substr(file.size() - 4), L".DLL"))
        file += L".DLL";
    if (GetModuleHandleW(file.c_str()))
        return fmt::format("The core agent \"{}\" was loaded but gave the agent no interface.", ToUtf8(file));
    const HMODULE module = LoadLibraryW(file.c_str());
    const DWORD error = GetLastError();
    if (module) {
        FreeLibrary(module);
        return fmt::format("The agent did not keep the core agent \"{}\", although that file loads.", ToUtf8(file));
    }
    if (!core.Found())
        return "The core agent is not registered, and the system's search finds none. " + core.Problem();
    return LoadProblem("core agent's", file, error);
}

// Why GetFcoeAgent answered null. The agent tells no reason, so its own conditions are checked one by one.
std::string RefusalReason(HMODULE module, const std::wstring& file) {
    const RegistryText agent = RegisteredAgent(AGENT_NAME);
    if (!agent.Found())
        return "The agent cannot find itself. " + agent.Problem();
    if (GetModuleHandleW(agent.text.c_str()) != module) {
        std::string text =
            fmt::format("The agent cannot find itself: the registry value \"{}\" under \"HKEY_LOCAL_MACHINE\\{}\" "
                        "names \"{}\", but \"{}\" was loaded.",
                        ToUtf8(agent.name), ToUtf8(agent.key), ToUtf8(agent.text), ToUtf8(file));
        std::error_code none;
        if (std::filesystem::equivalent(agent.text, file, none))
            text +=
                fmt::format(" These are two names of one file, and Windows compares the names: write \"{}\" into the "
                            "registry, as a text (REG_SZ), or load the agent by the name that stands there.",
                            ToUtf8(file));
        return text;
    }
    return CoreAgentProblem();
}

} // namespace

std::wstring AgentFile(const std::wstring& file) {
    if (!file.empty())
        return FullPath(file);
    const RegistryText agent = RegisteredAgent(AGENT_NAME);
    if (!agent.Found())
        throw NoAgent(NoAgent::Why::NotInstalled, "The agent is not installed. " + agent.Problem());
    return agent.text;
}

LoadedAgent::LoadedAgent(const std::wstring& file, std::vector<std::wstring> libraryFolders)
    : m_examiner(std::move(libraryFolders)) {
    // What the agent imports is looked for beside the agent, then where the process looks.
    m_module.reset(
        LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS));
    if (!m_module)
        throw NoAgent(NoAgent::Why::NotLoaded, LoadProblem("agent's", file, GetLastError()));
    const auto get =
        reinterpret_cast<PFN_GetFcoeAgent>(reinterpret_cast<void*>(GetProcAddress(m_module.get(), "GetFcoeAgent")));
    if (!get)
        throw NoAgent(NoAgent::Why::NotTheAgent,
                      fmt::format("\"{}\" does not export GetFcoeAgent; it is not the FCoE agent.", ToUtf8(file)));
    // Asked once: after a null that only the core agent caused, a second call would succeed without a core agent.
    m_interface = get();
    if (!m_interface)
        throw NoAgent(NoAgent::Why::NotStarted, RefusalReason(m_module.get(), file));
}

LoadedAgent::~LoadedAgent() {
    // Lets the vendor library go here rather than while the module is unloaded under the loader's lock.
    try {
        m_interface->Uninstall(0);
    } catch (...) { // the answer is given already; there is nothing left to report
    }
}

} // namespace reading

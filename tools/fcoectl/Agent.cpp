#include "tools/fcoectl/Agent.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>

#include <fmt/format.h>

#include "tools/fcoectl/LogHint.h"
#include "tools/fcoectl/Text.h"
#include "tools/reading/Registry.h"
#include "tools/reading/VendorLibrary.h"

namespace fcoectl {
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

std::vector<ErrorDetail> Details(const std::vector<QEL_ERROR_ENTRY>& entries) {
    std::vector<ErrorDetail> details;
    for (const QEL_ERROR_ENTRY& entry : entries) {
        ErrorDetail detail;
        detail.code = entry.ulCode;
        for (const CQelString& argument : entry.vecArguments)
            detail.arguments.push_back(ToUtf8(argument));
        const std::string first = detail.arguments.empty() ? "" : detail.arguments.front();
        const AgentError* known = FindAgentError(entry.ulCode);
        detail.text =
            known ? Insert(known->sentence, first) : "The agent refused for a reason unknown to this program.";
        detail.source = ToUtf8(entry.strSource);
        details.push_back(std::move(detail));
    }
    return details;
}

Failure Refusal(const std::vector<QEL_ERROR_ENTRY>& entries) {
    if (entries.empty())
        return Failure(Exit::Refused, "The agent refused the change without giving a reason.",
                       {Describe(Exit::Refused).advice, LogHint()});
    const AgentError* known = FindAgentError(entries.front().ulCode);
    const Exit exit = known ? known->exit : Exit::Refused;
    return Failure(exit, Details(entries), {known ? known->advice : Describe(exit).advice, LogHint()});
}

constexpr char REINSTALL[] = "Reinstall the adapter maker's software.";

// The library's function without which a change of virtual ports ends so.
struct FunctionBehind {
    Exit refusal;
    const char* function;
};
constexpr FunctionBehind FUNCTIONS_BEHIND[] = {{Exit::NotGenerated, "ORVAN_GeneratePortWWN"},
                                               {Exit::LibraryRefused, "ORVAN_CreateVPort"},
                                               {Exit::PortNotFound, "ORVAN_RemoveVPort"}};

// The same; where the library lacks the function behind it, with that instead of the usual advice.
Failure OfFunction(const Failure& failure) {
    const auto* behind = std::ranges::find(FUNCTIONS_BEHIND, failure.Code(), &FunctionBehind::refusal);
    if (behind == std::end(FUNCTIONS_BEHIND) || !reading::IsLibraryLoaded() ||
        reading::LibraryExports(behind->function))
        return failure;
    return {failure.Code(),
            failure.Details(),
            {fmt::format("The HBA library has no {}.", behind->function), REINSTALL, LogHint()}};
}

} // namespace

std::wstring AgentFile(const std::wstring& file) {
    if (file.empty()) {
        const RegistryText agent = RegisteredAgent(AGENT_NAME);
        if (!agent.Found())
            throw Failure(Exit::AgentMissing, "The agent is not installed. " + agent.Problem(),
                          {"Install the agent. --agent FILE does not help: the agent starts only from the file that "
                           "its value names."});
        return agent.text;
    }
    return FullPath(file);
}

Agent::Agent(const std::wstring& file, const std::wstring& libraryFolder, reading::Mask* mask)
    : m_path(AgentFile(file)), m_mask(mask), m_search(m_path, libraryFolder) {
    // What the agent imports is looked for beside the agent, then where the process looks.
    m_module.reset(
        LoadLibraryExW(m_path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS));
    if (!m_module)
        throw Failure(
            Exit::AgentMissing, LoadProblem("agent's", m_path, GetLastError()),
            {file.empty() ? "The registry names this file; reinstall the agent." : "Check the path after --agent."});
    const auto get =
        reinterpret_cast<PFN_GetFcoeAgent>(reinterpret_cast<void*>(GetProcAddress(m_module.get(), "GetFcoeAgent")));
    if (!get)
        throw Failure(Exit::AgentMissing,
                      fmt::format("\"{}\" does not export GetFcoeAgent; it is not the FCoE agent.", ToUtf8(m_path)));
    // Asked once: after a null that only the core agent caused, a second call would succeed without a core agent.
    Call([&] { m_interface = get(); });
    if (!m_interface)
        throw Failure(Exit::AgentRefused, RefusalReason(m_module.get(), m_path), {LogHint()});
}

Agent::~Agent() {
    // Lets the vendor library go here rather than while the module is unloaded under the loader's lock.
    try {
        m_interface->Uninstall(0);
    } catch (...) { // the answer is printed already; there is nothing left to report
    }
}

void Agent::CreateVPort(const CQelString& adapter, CQelString& wwpn) {
    CQelString copy(adapter);
    std::vector<QEL_ERROR_ENTRY> errors;
    ULONG owner = GetCurrentProcessId();
    BOOL done = FALSE;
    Call([&] { done = m_interface->CreateVPort(copy, wwpn, errors, owner); });
    if (!done)
        throw Explained(OfFunction(Refusal(errors)));
}

void Agent::DeleteVPort(const CQelString& adapter, const CQelString& wwpn) {
    CQelString copy(adapter);
    CQelString name(wwpn);
    std::vector<QEL_ERROR_ENTRY> errors;
    BOOL done = FALSE;
    Call([&] { done = m_interface->DeleteVPort(copy, name, errors, QEL_LOCK_REQUEST{GetCurrentProcessId(), 0, 0}); });
    if (!done)
        throw Explained(OfFunction(Refusal(errors)));
}

CQelString Agent::GenerateWWPN(const CQelString& adapter) {
    CQelString copy(adapter);
    CQelString wwpn;
    std::vector<QEL_ERROR_ENTRY> unused; // never filled by this operation
    BOOL done = FALSE;
    Call([&] { done = m_interface->GenerateVPortWWPN(copy, wwpn, unused, 0); });
    if (!done)
        throw Explained(OfFunction(Failure(Exit::NotGenerated, Describe(Exit::NotGenerated).meaning,
                                           {Describe(Exit::NotGenerated).advice, LogHint()})));
    return wwpn;
}

void Agent::RefreshTargets(const CQelString& adapter) {
    CQelString copy(adapter);
    BOOL done = FALSE;
    Call([&] { done = m_interface->RefreshTargets(copy, 0); });
    if (!done)
        throw Explained(Failure(Exit::LibraryRefused, "The adapter's HBA library did not rescan the targets.",
                                {Describe(Exit::LibraryRefused).advice, LogHint()}));
    // The agent answers TRUE, too, when there is nothing that could.
    if (!reading::IsLibraryLoaded())
        throw Explained(Failure(Exit::LibraryRefused, "Nothing was rescanned."));
    if (!reading::LibraryExports("ORVAN_RescanScsiBus"))
        throw Failure(Exit::LibraryRefused, "Nothing was rescanned: the HBA library has no ORVAN_RescanScsiBus.",
                      {REINSTALL});
}

Failure Agent::Explained(const Failure& failure) const {
    if (reading::IsLibraryLoaded())
        return failure;
    return {failure.Code(),
            failure.Details(),
            {reading::WhyNotLoaded(reading::LibraryFolders(m_search.Folders())), reading::LIBRARY_ADVICE, LogHint()}};
}

} // namespace fcoectl

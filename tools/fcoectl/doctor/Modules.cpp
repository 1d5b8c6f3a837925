// The agent's and the core agent's registration and files, and what they share.
#include <algorithm>
#include <filesystem>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/fcoectl/FileVersion.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/doctor/Checks.h"
#include "tools/fcoectl/doctor/ImageFile.h"
#include "tools/reading/Registry.h"

namespace fcoectl {
namespace {

constexpr wchar_t AGENT[] = L"FcoeAgnt";
constexpr wchar_t CORE_AGENT[] = L"CoreAgnt";
constexpr wchar_t COMMON_LIBRARY[] = L"QelColib.dll";
constexpr wchar_t CXX_RUN_TIME[] = L"libstdc++-6.dll";
constexpr char REINSTALL_SUITE[] = "Install the suite anew, or correct the registry value; see docs/registry.md.";
// What the agent's own reading of a text has room for.
constexpr std::size_t LONGEST_VALUE = 255;

bool IsFullPath(const std::wstring& file) {
    return std::filesystem::path(file).is_absolute();
}

// As the agent loads it.
std::wstring WithSuffix(std::wstring file) {
    if (file.size() < 4 || !EqualIgnoringCase(file.substr(file.size() - 4), L".DLL"))
        file += L".DLL";
    return file;
}

std::wstring FolderOf(const std::wstring& file) {
    return std::filesystem::path(file).parent_path().wstring();
}

std::string VersionText(const std::wstring& file) {
    return FileVersion(file).value_or("without a version");
}

// The file of a registered module; empty when the value does not serve, which is told.
std::wstring Registered(Examination& examination, const wchar_t* name, const char* missing) {
    const RegistryText value = RegisteredAgent(name);
    if (!value.Found()) {
        examination.Fail(std::string(missing) + " " + value.Problem(), REINSTALL_SUITE);
        return {};
    }
    const std::string shown = fmt::format("\"{}\"", ToUtf8(value.text));
    if (value.text.size() > LONGEST_VALUE)
        examination.Fail(fmt::format("The registry names {}, which is longer than the agent reads.", shown),
                         REINSTALL_SUITE);
    else if (!IsFullPath(value.text))
        examination.Fail(fmt::format("The registry names {}, which is no full path.", shown), REINSTALL_SUITE);
    else if (value.text.find(L'%') != std::wstring::npos)
        examination.Warn(fmt::format("The registry names {}; nothing in it is expanded.", shown), REINSTALL_SUITE);
    else
        examination.Ok(shown);
    return value.text;
}

// Whether the file is a module of this program's kind that has the export. What is wrong is told.
bool CheckModule(Examination& examination, const std::wstring& file, const char* exported) {
    const std::string shown = fmt::format("\"{}\"", ToUtf8(file));
    const char* const advice = "Install the suite anew: the file is missing, damaged or another one.";
    if (!Exists(file)) {
        examination.Fail(shown + " does not exist.", advice);
        return false;
    }
    const auto image = ReadImageFile(file);
    if (!image || !image->dll) {
        examination.Fail(shown + " is no module.", advice);
        return false;
    }
    if (image->machine != IMAGE_FILE_MACHINE_AMD64) {
        examination.Fail(fmt::format("{} is not for 64-bit x86 (machine 0x{:04X}).", shown, image->machine),
                         "Install the 64-bit suite.");
        return false;
    }
    const HMODULE module =
        LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    if (!module) {
        const DWORD error = GetLastError();
        examination.Fail(fmt::format("{} cannot be loaded: {}", shown, SystemMessage(error)),
                         fmt::format("It needs {}; QelColib.dll and the C++ run time belong beside it.",
                                     fmt::join(image->imports, ", ")));
        return false;
    }
    const bool found = GetProcAddress(module, exported) != nullptr;
    FreeLibrary(module);
    if (!found) {
        examination.Fail(fmt::format("{} does not export {}.", shown, exported), advice);
        return false;
    }
    examination.Ok(fmt::format("{}, version {}.", shown, VersionText(file)));
    return true;
}

// The C++ run time that a module needs: libstdc++-6.dll, msvcp140.dll, ...; empty: none.
std::string RunTimeOf(const std::wstring& file) {
    const auto image = ReadImageFile(file);
    if (!image)
        return "";
    for (std::string name : image->imports) {
        std::ranges::transform(name, name.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (name.starts_with("libstdc++") || name.starts_with("libc++") || name.starts_with("msvcp"))
            return name;
    }
    return "";
}

} // namespace

void CheckAgentRegistration(Examination& examination) {
    examination.agentFile = Registered(examination, AGENT, "The agent is not registered.");
    if (!examination.options.agentFile.empty())
        examination.agentFile = FullPath(FromUtf8(examination.options.agentFile));
}

void CheckAgentFile(Examination& examination) {
    if (!examination.agentFile.empty())
        CheckModule(examination, examination.agentFile, "GetFcoeAgent");
}

void CheckCoreAgentRegistration(Examination& examination) {
    examination.coreAgentFile = Registered(examination, CORE_AGENT, "The core agent is not registered.");
}

void CheckCoreAgentFile(Examination& examination) {
    if (examination.coreAgentFile.empty())
        return;
    examination.coreAgentFile = WithSuffix(examination.coreAgentFile);
    CheckModule(examination, examination.coreAgentFile, "GetCoreAgentPvt");
}

// The one that this program has: it was loaded first, and the agent gets it by its name.
void CheckCommonLibrary(Examination& examination) {
    wchar_t file[MAX_PATH] = L"";
    GetModuleFileNameW(GetModuleHandleW(COMMON_LIBRARY), file, MAX_PATH);
    const auto agent = FileVersion(examination.agentFile);
    const std::string text = fmt::format("\"{}\", version {}", ToUtf8(file), VersionText(file));
    if (agent && FileVersion(file) != agent)
        examination.Warn(fmt::format("{}, while the agent has version {}.", text, *agent),
                         "Install files of one version.");
    else
        examination.Ok(text + ".");
}

void CheckRunTime(Examination& examination) {
    const std::string agent = RunTimeOf(examination.agentFile);
    const std::string core = RunTimeOf(examination.coreAgentFile);
    if (!agent.empty() && !core.empty() && agent != core)
        return examination.Fail(
            fmt::format("The agent needs {}, the core agent {}: they cannot exchange texts and lists.", agent, core),
            "Install an agent and a core agent that were built by one compiler.");
    wchar_t loaded[MAX_PATH];
    const HMODULE module = GetModuleHandleW(CXX_RUN_TIME);
    if (!module || GetModuleFileNameW(module, loaded, MAX_PATH) >= MAX_PATH)
        return examination.Ok("64-bit; this program has the C++ run time in it.");
    // All modules of a process share the one that was loaded first.
    if (!examination.agentFile.empty()) {
        const std::wstring beside = InFolder(FolderOf(examination.agentFile), CXX_RUN_TIME);
        std::error_code none;
        if (Exists(beside) && !std::filesystem::equivalent(beside, loaded, none) &&
            std::filesystem::file_size(beside, none) != std::filesystem::file_size(loaded, none))
            return examination.Warn(fmt::format("\"{}\" is loaded, and \"{}\" beside the agent is another one.",
                                                ToUtf8(loaded), ToUtf8(beside)),
                                    "Install one C++ run time, the newer of the two.");
    }
    examination.Ok(fmt::format("64-bit; \"{}\".", ToUtf8(loaded)));
}

} // namespace fcoectl

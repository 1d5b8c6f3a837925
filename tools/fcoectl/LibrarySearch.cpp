#include "tools/fcoectl/LibrarySearch.h"

#include <fmt/format.h>

#include "tools/fcoectl/Failure.h"
#include "tools/fcoectl/Text.h"
#include "tools/reading/VendorLibrary.h"

namespace fcoectl {
namespace {

constexpr char ADVICE[] = "Check the folder after --library-dir.";

} // namespace

void RestrictLoading() {
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS);
}

LibrarySearch::LibrarySearch(const std::wstring& agentFile, const std::wstring& folder) {
    const auto separator = agentFile.find_last_of(L"\\/");
    if (separator != std::wstring::npos) {
        m_folders.push_back(agentFile.substr(0, separator));
        m_besideAgent.reset(AddDllDirectory((m_folders.back() + L'\\').c_str()));
    }
    if (!folder.empty())
        Prefer(FullPath(folder));
}

// Among several folders the system chooses as it likes, and the program's comes before them. A module that is loaded
// comes first; the added folder is for what the library itself loads.
void LibrarySearch::Prefer(const std::wstring& folder) {
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY))
        throw Failure(Exit::Usage, fmt::format("There is no folder \"{}\".", ToUtf8(folder)), {ADVICE});
    m_preferred.reset(AddDllDirectory(folder.c_str()));
    m_folders.insert(m_folders.begin(), folder);
    const std::wstring file = InFolder(folder, VENDOR_LIBRARY);
    if (GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES)
        throw Failure(Exit::Usage,
                      fmt::format("The folder \"{}\" holds no {}.", ToUtf8(folder), ToUtf8(VENDOR_LIBRARY)), {ADVICE});
    m_library.reset(
        LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS));
    if (!m_library)
        throw Failure(
            Exit::Usage,
            fmt::format("The HBA library \"{}\" cannot be loaded: {}", ToUtf8(file), SystemMessage(GetLastError())),
            {ADVICE});
}

} // namespace fcoectl

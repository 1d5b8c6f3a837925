#include "tools/reading/VendorLibrary.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <windows.h>

#include "tools/reading/Text.h"

namespace reading {
namespace {

std::wstring SystemFolder() {
    wchar_t folder[MAX_PATH];
    const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
    return {folder, length < MAX_PATH ? length : 0};
}

std::wstring ProgramFolder() {
    std::wstring file(32768, L'\0');
    file.resize(GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
    return file.substr(0, file.find_last_of(L'\\'));
}

} // namespace

std::vector<std::wstring> LibraryFolders(const std::vector<std::wstring>& ofHost) {
    std::vector<std::wstring> folders;
    const auto add = [&](const std::wstring& folder) {
        if (!folder.empty() &&
            std::ranges::none_of(folders, [&](const auto& known) { return EqualIgnoringCase(known, folder); }))
            folders.push_back(folder);
    };
    std::ranges::for_each(ofHost, add);
    add(ProgramFolder());
    add(SystemFolder());
    return folders;
}

bool IsLibraryLoaded() {
    return GetModuleHandleW(VENDOR_LIBRARY) != nullptr;
}

bool LibraryExports(const std::string& function) {
    const HMODULE module = GetModuleHandleW(VENDOR_LIBRARY);
    return module && GetProcAddress(module, function.c_str());
}

std::string WhyNotLoaded(const std::vector<std::wstring>& folders) {
    const std::string name = ToUtf8(VENDOR_LIBRARY);
    std::vector<std::string> looked;
    for (const std::wstring& folder : folders) {
        const std::wstring file = InFolder(folder, VENDOR_LIBRARY);
        looked.push_back(fmt::format("\"{}\"", ToUtf8(folder)));
        if (GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES)
            continue;
        const HMODULE module =
            LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
        if (!module)
            return fmt::format("The adapters' HBA library \"{}\" cannot be loaded: {}", ToUtf8(file),
                               SystemMessage(GetLastError()));
        FreeLibrary(module);
        return fmt::format("The adapters' HBA library \"{}\" was not loaded by the agent, although that file loads.",
                           ToUtf8(file));
    }
    return fmt::format("The adapters' HBA library {} is missing: it is in none of the folders {}.", name,
                       fmt::join(looked, ", "));
}

std::string WhyNothingRescanned() {
    if (!IsLibraryLoaded())
        return "Nothing was rescanned.";
    if (!LibraryExports("ORVAN_RescanScsiBus"))
        return "Nothing was rescanned: the HBA library has no ORVAN_RescanScsiBus.";
    return {};
}

} // namespace reading

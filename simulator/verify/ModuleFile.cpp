#include "simulator/verify/ModuleFile.h"

#include <cstring>
#include <filesystem>
#include <optional>
#include <span>
#include <system_error>
#include <vector>

#include <fmt/format.h>

#include "simulator/topology/Text.h"

namespace verify {
namespace {

namespace fs = std::filesystem;

// A module's file as the linker wrote it. Every offset in it may be wrong.
class Image {
  public:
    explicit Image(const std::string& bytes) : m_bytes(bytes) {
        const auto* dos = At<IMAGE_DOS_HEADER>(0);
        if (dos && dos->e_magic == IMAGE_DOS_SIGNATURE && dos->e_lfanew > 0)
            m_headers = At<IMAGE_NT_HEADERS64>(static_cast<std::size_t>(dos->e_lfanew));
        if (m_headers && m_headers->Signature != IMAGE_NT_SIGNATURE)
            m_headers = nullptr;
    }

    bool IsModule() const { return m_headers != nullptr; }
    WORD Machine() const { return m_headers->FileHeader.Machine; }
    std::vector<std::string> Imports() const {
        std::vector<std::string> names;
        const auto& directory = m_headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
        for (DWORD place = directory.VirtualAddress; place != 0; place += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
            const auto* import = AtAddress<IMAGE_IMPORT_DESCRIPTOR>(place);
            if (!import || import->Name == 0)
                break;
            if (const auto offset = Offset(import->Name))
                names.emplace_back(m_bytes.c_str() + *offset);
        }
        return names;
    }

  private:
    template <class T> const T* At(std::size_t offset) const {
        return offset <= m_bytes.size() && m_bytes.size() - offset >= sizeof(T)
                   ? reinterpret_cast<const T*>(m_bytes.data() + offset)
                   : nullptr;
    }
    template <class T> const T* AtAddress(DWORD address) const {
        const auto offset = Offset(address);
        return offset ? At<T>(*offset) : nullptr;
    }
    std::optional<std::size_t> Offset(DWORD address) const {
        const auto first = reinterpret_cast<const char*>(m_headers) - m_bytes.data() +
                           offsetof(IMAGE_NT_HEADERS64, OptionalHeader) + m_headers->FileHeader.SizeOfOptionalHeader;
        for (WORD i = 0; i < m_headers->FileHeader.NumberOfSections; ++i) {
            const auto* section = At<IMAGE_SECTION_HEADER>(first + i * sizeof(IMAGE_SECTION_HEADER));
            if (!section)
                break;
            if (address < section->VirtualAddress || address - section->VirtualAddress >= section->SizeOfRawData)
                continue;
            const std::size_t offset = std::size_t(address) - section->VirtualAddress + section->PointerToRawData;
            if (offset < m_bytes.size())
                return offset;
        }
        return std::nullopt;
    }

    const std::string& m_bytes;
    const IMAGE_NT_HEADERS64* m_headers = nullptr;
};

std::string MachineText(WORD machine) {
    switch (machine) {
    case IMAGE_FILE_MACHINE_I386:
        return "32-bit x86";
    case IMAGE_FILE_MACHINE_ARM64:
        return "ARM64";
    case IMAGE_FILE_MACHINE_AMD64:
        return "x86-64";
    default:
        return fmt::format("machine {:04X}h", machine);
    }
}

// The first of the modules that the file needs which is not to be found; empty: all are there, so far as names tell.
std::string MissingImport(const Image& image, const fs::path& folder) {
    for (const auto& name : image.Imports()) {
        const std::wstring wide = sim::Wide(name);
        std::error_code error;
        if (fs::exists(folder / wide, error) || GetModuleHandleW(wide.c_str()) ||
            SearchPathW(nullptr, wide.c_str(), nullptr, 0, nullptr, nullptr) != 0)
            continue;
        // Names such as api-ms-win-... are found by the loader alone.
        const CQelModule found(LoadLibraryExW(wide.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES));
        if (!found)
            return name;
    }
    return {};
}

std::string Why(const fs::path& file, DWORD error) {
    std::string bytes;
    try {
        bytes = sim::ReadFile(file);
    } catch (const std::system_error& unread) {
        return unread.code().value() == ERROR_FILE_NOT_FOUND || unread.code().value() == ERROR_PATH_NOT_FOUND
                   ? std::string("there is no such file")
                   : fmt::format("the file cannot be read: error {}", unread.code().value());
    }
    const Image image(bytes);
    if (!image.IsModule())
        return "the file is no module";
    if (image.Machine() != IMAGE_FILE_MACHINE_AMD64)
        return fmt::format("the module is for {}; the agent is for x86-64", MachineText(image.Machine()));
    if (const std::string missing = MissingImport(image, file.parent_path()); !missing.empty())
        return fmt::format("the module needs {}, which is not there", missing);
    switch (error) {
    case ERROR_MOD_NOT_FOUND:
        return "a module that one of its modules needs is not there";
    case ERROR_PROC_NOT_FOUND:
        return "a module that it needs lacks a function that it needs";
    case ERROR_DLL_INIT_FAILED:
        return "its DllMain refuses";
    default:
        return fmt::format("error {}", error);
    }
}

} // namespace

CQelModule LoadFile(const std::wstring& file, std::string& why) {
    std::error_code ignored;
    const fs::path path = fs::absolute(file, ignored);
    CQelModule module(LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!module)
        why = Why(path, GetLastError());
    return module;
}

bool IsCode(const void* address) {
    MEMORY_BASIC_INFORMATION memory{};
    constexpr DWORD EXECUTABLE = PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return VirtualQuery(address, &memory, sizeof memory) != 0 && memory.State == MEM_COMMIT &&
           (memory.Protect & EXECUTABLE) != 0;
}

} // namespace verify

// Where the adapters' HBA library is found. The agent asks for it by its bare name.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <windows.h>

namespace fcoectl {

// Before all else: modules come from the program's folder, the system's and those that a LibrarySearch adds, not from
// the current folder or PATH, where others may have put theirs; and a damaged one is an error, no message box.
void RestrictLoading();

// For as long as the object lives.
class LibrarySearch {
  public:
    // The library may lie beside the agent's file. folder: where it is taken from before all other places, empty: none
    // is named. Throws Failure when it cannot be had from there.
    LibrarySearch(const std::wstring& agentFile, const std::wstring& folder);

    // The folders that it adds to those of every program.
    const std::vector<std::wstring>& Folders() const { return m_folders; }

  private:
    struct Remove {
        void operator()(void* folder) const { RemoveDllDirectory(folder); }
    };
    struct Unload {
        using pointer = HMODULE;
        void operator()(HMODULE module) const { FreeLibrary(module); }
    };
    using AddedFolder = std::unique_ptr<void, Remove>;

    void Prefer(const std::wstring& folder);

    std::vector<std::wstring> m_folders;
    AddedFolder m_besideAgent;
    AddedFolder m_preferred;
    std::unique_ptr<HMODULE, Unload> m_library;
};

} // namespace fcoectl

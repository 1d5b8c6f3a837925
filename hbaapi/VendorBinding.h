// What calls need of the loaded vendor library.
#pragma once

#include <cstddef>
#include <memory>

#include <windows.h>

#include "Common/Src/Owner.h"
#include "FcoeAgent/HbaApi.h"
#include "FcoeAgent/OrvanHbaApi.h"

// The library as it stands at one moment. An object that others can see never changes: a call works with the one that
// it found at its start, which keeps the module loaded until the call is over.
struct CVendorBinding {
    std::shared_ptr<const CQelModule> m_pModule; // null: not loaded
    HBA_UINT32 m_ulController = 0;               // number of the controller that was asked for last
    HBA_ENTRYPOINTSV2 m_entryPoints{};
    BOOL m_bEntryPtsInited = FALSE;
    BOOL m_bLibraryReady = FALSE; // survives unloading

    bool IsLoaded() const { return m_pModule != nullptr; }
    bool IsReady() const { return m_bLibraryReady && IsLoaded(); }

    // Replaces the module; null for none. Handlers belong to the module that registered them and go with it.
    void SetModule(std::shared_ptr<const CQelModule> pModule);
    // Takes what a module registered, unless that module has been replaced meanwhile.
    void SetEntryPoints(const std::shared_ptr<const CQelModule>& pModule, const HBA_ENTRYPOINTSV2& entryPoints);
    // Clears the handlers of version 1; those of version 2 stay until the module goes.
    void ClearVersion1();

    // A handler of the table; null unless the table is registered.
    template <class F> F Handler(F HBA_ENTRYPOINTSV2::*pHandler) const {
        return m_bEntryPtsInited ? m_entryPoints.*pHandler : nullptr;
    }
    // Looks an export up, afresh at every call. false: the name cannot be converted. pfn is null when the module lacks
    // the export, with the reason in GetLastError, or when no module is loaded.
    template <class F> bool FindExport(const wchar_t* pszName, F& pfn) const {
        void* pFunction = nullptr;
        const bool bConverted = FindFunction(pszName, pFunction);
        pfn = reinterpret_cast<F>(pFunction);
        return bConverted;
    }

  private:
    bool FindFunction(const wchar_t* pszName, void*& pFunction) const;
};

// The 8-bit (ANSI) text of a name that crosses the library's boundary; false when it does not fit or cannot be
// converted.
bool ConvertTCHARToChar(const wchar_t* pszName, char (&szName)[ORVAN_NAME_SIZE]);

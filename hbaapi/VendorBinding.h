// What calls need of the loaded vendor library.
#pragma once

#include <cstddef>
#include <memory>

#include <windows.h>

#include "Common/Src/Owner.h"
#include "FcoeAgent/HbaApi.h"
#include "hbaapi/VendorExports.h"

// What a look-up comes to: the function's name cannot be converted for the library; the library has no such function,
// or there is no library; the function can be called.
enum class FunctionState { NotConverted, Missing, There };

template <class F> struct FoundFunction {
    FunctionState eState = FunctionState::Missing;
    F pfn = nullptr; // null unless it is there
};

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

    // A handler of the table; missing unless the table is registered.
    template <class F> [[nodiscard]] FoundFunction<F> FindHandler(F HBA_ENTRYPOINTSV2::*pHandler) const {
        const F pfn = m_bEntryPtsInited ? m_entryPoints.*pHandler : nullptr;
        return {pfn ? FunctionState::There : FunctionState::Missing, pfn};
    }
    // An export, looked up afresh at every call. When the module lacks it GetLastError tells the reason.
    template <class F> [[nodiscard]] FoundFunction<F> FindExport(const VendorExport<F>& wanted) const {
        void* pFunction = nullptr;
        const FunctionState eState = FindFunction(wanted.pszName, pFunction);
        return {eState, reinterpret_cast<F>(pFunction)};
    }
    // The same, but a library that is not ready is not asked: it lacks every export, whatever the name.
    template <class F> [[nodiscard]] FoundFunction<F> FindReadyExport(const VendorExport<F>& wanted) const {
        return IsReady() ? FindExport(wanted) : FoundFunction<F>{};
    }

  private:
    FunctionState FindFunction(const wchar_t* pszName, void*& pFunction) const;
};

// The 8-bit (ANSI) text of a name that crosses the library's boundary; false when it does not fit or cannot be
// converted.
[[nodiscard]] bool ConvertTCHARToChar(const wchar_t* pszName, char (&szName)[ORVAN_NAME_SIZE]);

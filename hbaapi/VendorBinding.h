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

// The library at one moment. An object that others can see never changes.
struct VendorLibrary {
    std::shared_ptr<const CQelModule> pModule; // null: not loaded
    HBA_ENTRYPOINTSV2 entryPoints{};           // what this module registered

    // With a newly loaded module in its place: handlers stay only when it is the same module, loaded once more.
    std::shared_ptr<const VendorLibrary> Reloaded(std::shared_ptr<const CQelModule> pNewModule) const;
};

// The library as a call finds it at its start, which keeps the module loaded until the call is over.
struct VendorBinding {
    std::shared_ptr<const VendorLibrary> pLibrary; // never null
    bool bEntryPtsInited = false;                  // whether the handlers of version 1 may be called
    bool bLibraryReady = false;                    // initialized, or loaded for an adapter, at least once

    bool IsLoaded() const { return pLibrary->pModule != nullptr; }
    bool IsReady() const { return bLibraryReady && IsLoaded(); }

    // A handler of version 1; missing unless the table is registered.
    template <class F> [[nodiscard]] FoundFunction<F> FindHandler(F HBA_ENTRYPOINTSV2::*pHandler) const {
        const F pfnHandler = bEntryPtsInited ? pLibrary->entryPoints.*pHandler : nullptr;
        return {pfnHandler ? FunctionState::There : FunctionState::Missing, pfnHandler};
    }
    // An export, looked up afresh at every call. When the module lacks it GetLastError tells the reason.
    template <class F> [[nodiscard]] FoundFunction<F> FindExport(const VendorExport<F>& wanted) const {
        void* pFunction = nullptr;
        const FunctionState eState = LookUp(wanted.pszName, pFunction);
        return {eState, reinterpret_cast<F>(pFunction)};
    }
    // The same, but a library that is not ready is not asked: it lacks every export, whatever the name.
    template <class F> [[nodiscard]] FoundFunction<F> FindReadyExport(const VendorExport<F>& wanted) const {
        return IsReady() ? FindExport(wanted) : FoundFunction<F>{};
    }
    // What is behind FindExport. pFunction is written when the function is there.
    [[nodiscard]] FunctionState LookUp(const wchar_t* pszName, void*& pFunction) const;
};

// The 8-bit (ANSI) text of a name that crosses the library's boundary; false when it does not fit or cannot be
// converted.
[[nodiscard]] bool ConvertTCHARToChar(const wchar_t* pszName, char (&szName)[ORVAN_NAME_SIZE]);

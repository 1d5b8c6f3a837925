// A function of a loaded module, found by its name.
#pragma once

#include <windows.h>

// F: the function's pointer type. Null when there is no module, and when it lacks the function, which GetLastError
// tells.
template <class F> [[nodiscard]] F FindFunction(HMODULE hModule, const char* pszName) noexcept {
    return hModule ? reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(hModule, pszName))) : nullptr;
}

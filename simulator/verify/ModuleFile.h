// The module that is verified, loaded from its file.
#pragma once

#include <string>

#include <windows.h>

#include "Common/Src/Owner.h"

namespace verify {

// Its dependencies are looked for beside it, too. Empty: why tells it in a sentence.
CQelModule LoadFile(const std::wstring& file, std::string& why);

template <class F> F ExportOf(const CQelModule& module, const char* name) {
    return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module.Get(), name)));
}

// Whether code lies at the address.
bool IsCode(const void* address);

} // namespace verify

// What a test asks of the module.
#pragma once

#include <cstddef>
#include <cstdint>

using InvalidParameterHandler = void (*)(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, std::uintptr_t);

// What a static object finds that is destroyed after all others of the module, and copies a text that is too long.
struct EndReport {
    InvalidParameterHandler handler = nullptr; // the process's, before it copies
    int result = 0;
    void (*tell)(const EndReport& report) = nullptr; // called then, if there is one
};

extern "C" {
// QelSafeCopy into a buffer of at most 32 characters.
__declspec(dllexport) int SiblingCopy(std::size_t capacity, const wchar_t* source);
__declspec(dllexport) void SiblingCopyAtTheEnd(EndReport* report);
}

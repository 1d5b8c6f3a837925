// A module's exports.
#pragma once

#include <stdexcept>
#include <string>

#include <windows.h>

// Null: the module has no such export now.
template <class F> F FindFunction(HMODULE module, const char* name) {
    return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// Throws when the module has no such export.
template <class F> F NeedFunction(HMODULE module, const char* name) {
    const F function = FindFunction<F>(module, name);
    if (!function)
        throw std::runtime_error(std::string("there is no export ") + name);
    return function;
}

// The same with the name and the type of a declared function.
#define FIND_FUNCTION(module, function) FindFunction<decltype(&function)>(module, #function)
#define NEED_FUNCTION(module, function) NeedFunction<decltype(&function)>(module, #function)

// Where a neighbour's exception ends.
#pragma once

#include <new>

#include "FcoeAgent/QelDebug.h"

// What becomes of std::bad_alloc; every other exception is contained and logged.
enum class MemoryExhaustion {
    Passes,       // to the caller, without a line in the log
    PassesLogged, // to the caller, with the line
    Contained,    // as any other exception
};

// The line of an operation that an exception ended.
inline void LogException(const wchar_t* pszSourceFile, int nLine, const wchar_t* pszOperation) {
    CQelDebug::Instance().Error(pszSourceFile, nLine, L"%s() - Exception caught", pszOperation);
}

// Does the work. False when it threw, which is logged with the place and the operation's name.
template <class Work>
bool Contain(const wchar_t* pszSourceFile, int nLine, const wchar_t* pszOperation, MemoryExhaustion eMemoryExhaustion,
             Work work) {
    try {
        work();
        return true;
    } catch (const std::bad_alloc&) {
        if (eMemoryExhaustion != MemoryExhaustion::Passes)
            LogException(pszSourceFile, nLine, pszOperation);
        if (eMemoryExhaustion != MemoryExhaustion::Contained)
            throw std::bad_alloc(); // a new one: the type of what was thrown may lie in the neighbour's module
    } catch (...) {
        LogException(pszSourceFile, nLine, pszOperation);
    }
    return false;
}

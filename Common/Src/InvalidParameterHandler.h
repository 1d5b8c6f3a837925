// The C run time's handler for invalid parameters, which the process has one of, while it is ours.
#pragma once

#include <cstdint>

// Ours: logs and returns, so that the function that was called wrongly returns its error number.
void QelSecureInvalidParameterHandler(const wchar_t* pszExpression, const wchar_t* pszFunction, const wchar_t* pszFile,
                                      unsigned int uLine, std::uintptr_t uReserved);

// Makes ours the process's, if it is not, and leaves it so until the module is unloaded; then what it replaced is back.
// Every module of the suite has a handler of its own and does the same: they may come and go in any order. While the
// module's static objects are destroyed, ours may be gone already: then it is there for this scope only.
// Any thread; without a lock.
class CQelInvalidParameterHandler {
  public:
    CQelInvalidParameterHandler();
    ~CQelInvalidParameterHandler();
    CQelInvalidParameterHandler(const CQelInvalidParameterHandler&) = delete;
    CQelInvalidParameterHandler& operator=(const CQelInvalidParameterHandler&) = delete;
};

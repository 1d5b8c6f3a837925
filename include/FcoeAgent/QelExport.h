// Import and export decoration of the suite's modules.
#pragma once

#if defined(_MSC_VER) || defined(__MINGW32__)
#define QEL_DLL_EXPORT __declspec(dllexport)
#define QEL_DLL_IMPORT __declspec(dllimport)
#else
#error "The suite's modules are Windows DLLs."
#endif

// The common code (Common/Src) is compiled into every module of the suite that uses it; FcoeAgnt.dll also exports its
// copy. A host either compiles the common sources it needs or links FcoeAgnt's import library; both need no decoration.
#if defined(FCOEAGNT_EXPORTS)
#define FCOEAGNT_API QEL_DLL_EXPORT
#else
#define FCOEAGNT_API
#endif

// QelColib.dll, the common library, is always imported, except by itself.
#if defined(QELCOLIB_EXPORTS)
#define QELCOLIB_API QEL_DLL_EXPORT
#else
#define QELCOLIB_API QEL_DLL_IMPORT
#endif

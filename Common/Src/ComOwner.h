// Owners for what COM hands out; see Owner.h.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include "Common/Src/Owner.h"

template <class T> struct CQelComTraits {
    using Handle = T*;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { handle->Release(); }
};
template <class T> using CQelComPointer = CQelOwner<CQelComTraits<T>>;

struct CQelBstrTraits {
    using Handle = BSTR;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { SysFreeString(handle); }
};
using CQelBstr = CQelOwner<CQelBstrTraits>;

/* What the generated proxy needs and mingw-w64's headers do not bring. */
#pragma once

#include <objbase.h>

HRESULT CALLBACK IUnknown_QueryInterface_Proxy(IUnknown* This, REFIID riid, void** ppvObject);
ULONG CALLBACK IUnknown_AddRef_Proxy(IUnknown* This);
ULONG CALLBACK IUnknown_Release_Proxy(IUnknown* This);

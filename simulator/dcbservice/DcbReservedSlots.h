// The DCB interface without its three operations: no scripting, and reserved slots that answer E_NOTIMPL.
#pragma once

#include "FcoeAgent/OrvanDcb.h"

class DcbReservedSlots : public IOrvanDcbIoControl {
  public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (!count)
            return E_POINTER;
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }

    HRESULT STDMETHODCALLTYPE Reserved07() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved08() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved09() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved10() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved11() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved12() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved13() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved14() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved16() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved17() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved18() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved20() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved21() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved22() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved23() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved24() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved25() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved26() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved27() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved28() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved29() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved30() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved31() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved32() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved33() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved34() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved35() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved36() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved37() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved38() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved39() override { return E_NOTIMPL; }
};

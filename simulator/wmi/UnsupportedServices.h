// A WMI namespace that supports nothing: the base of one that answers queries only.
#pragma once

#include <windows.h>

#include <wbemcli.h>

class UnsupportedServices : public IWbemServices {
    using Context = IWbemContext;
    using Sink = IWbemObjectSink;
    using Object = IWbemClassObject;
    using Enum = IEnumWbemClassObject;
    using Result = IWbemCallResult;
    static constexpr HRESULT NO = WBEM_E_NOT_SUPPORTED;

  public:
    HRESULT STDMETHODCALLTYPE OpenNamespace(const BSTR, LONG, Context*, IWbemServices**, Result**) override {
        return NO;
    }
    HRESULT STDMETHODCALLTYPE CancelAsyncCall(Sink*) override { return NO; }
    HRESULT STDMETHODCALLTYPE QueryObjectSink(LONG, Sink**) override { return NO; }
    HRESULT STDMETHODCALLTYPE GetObject(const BSTR, LONG, Context*, Object**, Result**) override { return NO; }
    HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR, LONG, Context*, Sink*) override { return NO; }
    HRESULT STDMETHODCALLTYPE PutClass(Object*, LONG, Context*, Result**) override { return NO; }
    HRESULT STDMETHODCALLTYPE PutClassAsync(Object*, LONG, Context*, Sink*) override { return NO; }
    HRESULT STDMETHODCALLTYPE DeleteClass(const BSTR, LONG, Context*, Result**) override { return NO; }
    HRESULT STDMETHODCALLTYPE DeleteClassAsync(const BSTR, LONG, Context*, Sink*) override { return NO; }
    HRESULT STDMETHODCALLTYPE CreateClassEnum(const BSTR, LONG, Context*, Enum**) override { return NO; }
    HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(const BSTR, LONG, Context*, Sink*) override { return NO; }
    HRESULT STDMETHODCALLTYPE PutInstance(Object*, LONG, Context*, Result**) override { return NO; }
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(Object*, LONG, Context*, Sink*) override { return NO; }
    HRESULT STDMETHODCALLTYPE DeleteInstance(const BSTR, LONG, Context*, Result**) override { return NO; }
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR, LONG, Context*, Sink*) override { return NO; }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(const BSTR, LONG, Context*, Enum**) override { return NO; }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR, LONG, Context*, Sink*) override { return NO; }
    HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR, const BSTR, LONG, Context*, Enum**) override { return NO; }
    HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR, const BSTR, LONG, Context*, Sink*) override { return NO; }
    HRESULT STDMETHODCALLTYPE ExecNotificationQuery(const BSTR, const BSTR, LONG, Context*, Enum**) override {
        return NO;
    }
    HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, Context*, Sink*) override {
        return NO;
    }
    HRESULT STDMETHODCALLTYPE ExecMethod(const BSTR, const BSTR, LONG, Context*, Object*, Object**, Result**) override {
        return NO;
    }
    HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR, LONG, Context*, Object*, Sink*) override {
        return NO;
    }
};

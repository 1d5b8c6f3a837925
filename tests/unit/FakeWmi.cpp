#include "tests/unit/FakeWmi.h"

#include <gtest/gtest.h>

namespace {

// The life of a COM object that serves one interface and notes its end.
template <class Interface> class Object : public Interface {
  public:
    Object(FakeWmi& wmi, const wchar_t* name) : m_wmi(wmi), m_name(name) { ++m_wmi.liveObjects; }
    virtual ~Object() {
        --m_wmi.liveObjects;
        if (*m_name)
            m_wmi.calls.push_back(std::wstring(L"release ") + m_name);
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = nullptr;
        if (iid != IID_IUnknown && iid != __uuidof(Interface))
            return E_NOINTERFACE;
        AddRef();
        *object = static_cast<Interface*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }

  protected:
    FakeWmi& m_wmi;

  private:
    const wchar_t* m_name;
    ULONG m_references = 1;
};

class Enumerator : public Object<IEnumWbemClassObject> {
  public:
    explicit Enumerator(FakeWmi& wmi) : Object(wmi, L"enumerator") {}
    ~Enumerator() override {
        if (m_wmi.onEnumeratorReleased)
            m_wmi.onEnumeratorReleased();
    }
    HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Next(LONG, ULONG, IWbemClassObject**, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE NextAsync(ULONG, IWbemObjectSink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Skip(LONG, ULONG) override { return E_NOTIMPL; }
};

class Services : public Object<IWbemServices> {
  public:
    explicit Services(FakeWmi& wmi) : Object(wmi, L"services") {}

    HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR language, const BSTR query, LONG flags, IWbemContext*,
                                        IEnumWbemClassObject** result) override {
        m_wmi.calls.push_back(std::wstring(L"query ") + language + L": " + query);
        // Asked for at once, the enumerator would come for a class that does not exist, too.
        EXPECT_EQ(0, flags & WBEM_FLAG_RETURN_IMMEDIATELY);
        *result = m_wmi.yieldsEnumerator ? new Enumerator(m_wmi) : nullptr;
        return m_wmi.queryResult;
    }

    using Context = IWbemContext;
    using Sink = IWbemObjectSink;
    using Instance = IWbemClassObject;
    using Result = IWbemCallResult;
    HRESULT STDMETHODCALLTYPE OpenNamespace(const BSTR, LONG, Context*, IWbemServices**, Result**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CancelAsyncCall(Sink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueryObjectSink(LONG, Sink**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetObject(const BSTR, LONG, Context*, Instance**, Result**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR, LONG, Context*, Sink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE PutClass(Instance*, LONG, Context*, Result**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE PutClassAsync(Instance*, LONG, Context*, Sink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeleteClass(const BSTR, LONG, Context*, Result**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeleteClassAsync(const BSTR, LONG, Context*, Sink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateClassEnum(const BSTR, LONG, Context*, IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(const BSTR, LONG, Context*, Sink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE PutInstance(Instance*, LONG, Context*, Result**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(Instance*, LONG, Context*, Sink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeleteInstance(const BSTR, LONG, Context*, Result**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR, LONG, Context*, Sink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(const BSTR, LONG, Context*, IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR, LONG, Context*, Sink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR, const BSTR, LONG, Context*, Sink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecNotificationQuery(const BSTR, const BSTR, LONG, Context*,
                                                    IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, Context*, Sink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecMethod(const BSTR, const BSTR, LONG, Context*, Instance*, Instance**,
                                         Result**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR, LONG, Context*, Instance*, Sink*) override {
        return E_NOTIMPL;
    }
};

class Locator : public Object<IWbemLocator> {
  public:
    explicit Locator(FakeWmi& wmi) : Object(wmi, L"locator") {}
    HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR resource, const BSTR user, const BSTR password,
                                            const BSTR locale, LONG flags, const BSTR authority, IWbemContext* context,
                                            IWbemServices** services) override {
        m_wmi.calls.push_back(std::wstring(L"connect ") + resource);
        // Otherwise it may take for ever.
        EXPECT_EQ(static_cast<LONG>(WBEM_FLAG_CONNECT_USE_MAX_WAIT), flags);
        EXPECT_TRUE(!user && !password && !locale && !authority && !context);
        m_wmi.services = *services = FAILED(m_wmi.connectResult) ? nullptr : new Services(m_wmi);
        return m_wmi.connectResult;
    }
};

class Factory : public Object<IClassFactory> {
  public:
    explicit Factory(FakeWmi& wmi) : Object(wmi, L"") {}
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override {
        *object = nullptr;
        if (FAILED(m_wmi.createResult))
            return m_wmi.createResult;
        auto* locator = new Locator(m_wmi);
        const HRESULT result = locator->QueryInterface(iid, object);
        locator->Release();
        return result;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

} // namespace

FakeWmi* FakeWmi::s_instance;

FakeWmi::FakeWmi() : m_setBlanket(nullptr, "ole32.dll", "CoSetProxyBlanket", reinterpret_cast<void*>(&SetBlanket)) {
    s_instance = this;
    EXPECT_HRESULT_SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    auto* factory = new Factory(*this);
    EXPECT_HRESULT_SUCCEEDED(
        CoRegisterClassObject(CLSID_WbemLocator, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_cookie));
    factory->Release();
}

FakeWmi::~FakeWmi() {
    CoRevokeClassObject(m_cookie);
    CoUninitialize();
    EXPECT_EQ(0, liveObjects) << "COM objects were left";
    s_instance = nullptr;
}

HRESULT WINAPI FakeWmi::SetBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization, OLECHAR* principal,
                                   DWORD level, DWORD impersonation, void* identity, DWORD capabilities) {
    EXPECT_EQ(s_instance->services, proxy);
    EXPECT_EQ(RPC_C_AUTHN_DEFAULT, authentication);
    EXPECT_EQ(RPC_C_AUTHZ_DEFAULT, authorization);
    EXPECT_EQ(COLE_DEFAULT_PRINCIPAL, principal);
    EXPECT_EQ(static_cast<DWORD>(RPC_C_AUTHN_LEVEL_DEFAULT), level);
    EXPECT_EQ(nullptr, identity);
    EXPECT_EQ(static_cast<DWORD>(EOAC_NONE), capabilities);
    s_instance->calls.push_back(L"impersonation " + std::to_wstring(impersonation));
    return s_instance->blanketResult;
}

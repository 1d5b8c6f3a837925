#include "tests/unit/FakeDcbService.h"

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "simulator/com/ComObject.h"
#include "simulator/dcbservice/DcbReservedSlots.h"

namespace {

std::string Narrow(const wchar_t* text) {
    std::string narrow;
    for (; text && *text; ++text)
        narrow += static_cast<char>(*text);
    return narrow;
}

class Control final : public ComObject<DcbReservedSlots, IOrvanDcbIoControl, IDispatch> {
  public:
    explicit Control(FakeDcbService& service) : m_service(service) { ++m_service.liveObjects; }

    HRESULT STDMETHODCALLTYPE get_dcb_config(BSTR adapter, DCB_CONFIG* config) override {
        Note("config", adapter);
        std::memset(config, 0xA5, sizeof *config);
        config->lDcbEnabled = m_service.dcbEnabled;
        return m_service.configResult;
    }
    HRESULT STDMETHODCALLTYPE get_app_oper_state(BSTR adapter, LONG application, DCB_APP_STATE* state) override {
        Note("app", adapter);
        m_service.calls.back() += ' ' + std::to_string(application);
        std::memset(state, 0xA5, sizeof *state);
        state->byPriorityMap = m_service.priorityMap;
        return m_service.appResult;
    }
    HRESULT STDMETHODCALLTYPE get_pfc_oper_state(BSTR adapter, DCB_PFC_STATE* state) override {
        Note("pfc", adapter);
        std::copy(m_service.pfc.begin(), m_service.pfc.end(), state->lEnabled);
        return m_service.pfcResult;
    }

  private:
    ~Control() override {
        --m_service.liveObjects;
        m_service.calls.emplace_back("release");
    }
    void Note(const char* call, BSTR adapter) {
        EXPECT_EQ(std::wcslen(adapter), SysStringLen(adapter)) << "not a BSTR";
        m_service.calls.push_back(std::string(call) + ' ' + Narrow(adapter));
    }

    FakeDcbService& m_service;
};

class Factory final : public ComObject<IClassFactory, IClassFactory> {
  public:
    explicit Factory(FakeDcbService& service) : m_service(service) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override {
        wchar_t text[40];
        StringFromGUID2(iid, text, ARRAYSIZE(text));
        m_service.calls.push_back("create " + Narrow(text));
        *object = nullptr;
        if (FAILED(m_service.createResult))
            return m_service.createResult;
        auto* control = new Control(m_service);
        const HRESULT result = control->QueryInterface(iid, object);
        control->Release();
        return result;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

  private:
    FakeDcbService& m_service;
};

} // namespace

FakeDcbService* FakeDcbService::s_instance;

FakeDcbService::FakeDcbService()
    : m_initialize(nullptr, "ole32.dll", "CoInitializeEx", reinterpret_cast<void*>(&InitializeCom)),
      m_uninitialize(nullptr, "ole32.dll", "CoUninitialize", reinterpret_cast<void*>(&UninitializeCom)),
      m_findClass(nullptr, "ole32.dll", "CLSIDFromProgID", reinterpret_cast<void*>(&FindClass)) {
    s_instance = this;
    EXPECT_HRESULT_SUCCEEDED(m_initialize.Original<decltype(&CoInitializeEx)>()(nullptr, COINIT_MULTITHREADED));
    auto* factory = new Factory(*this);
    EXPECT_HRESULT_SUCCEEDED(CoRegisterClassObject(__uuidof(OrvanDcbIoControl), factory, CLSCTX_LOCAL_SERVER,
                                                   REGCLS_MULTIPLEUSE, &m_cookie));
    factory->Release();
}

FakeDcbService::~FakeDcbService() {
    EXPECT_EQ(0, liveObjects);
    CoRevokeClassObject(m_cookie);
    m_uninitialize.Original<decltype(&CoUninitialize)>()();
    s_instance = nullptr;
}

HRESULT WINAPI FakeDcbService::InitializeCom(void* reserved, DWORD model) {
    EXPECT_EQ(nullptr, reserved);
    s_instance->calls.push_back("CoInitializeEx " + std::to_string(model));
    if (FAILED(s_instance->initializeResult))
        return s_instance->initializeResult;
    return s_instance->m_initialize.Original<decltype(&CoInitializeEx)>()(reserved, model);
}

void WINAPI FakeDcbService::UninitializeCom() {
    s_instance->calls.emplace_back("CoUninitialize");
    s_instance->m_uninitialize.Original<decltype(&CoUninitialize)>()();
}

HRESULT WINAPI FakeDcbService::FindClass(const wchar_t* progId, CLSID* classId) {
    s_instance->calls.push_back("CLSIDFromProgID " + Narrow(progId));
    *classId = SUCCEEDED(s_instance->progIdResult) ? __uuidof(OrvanDcbIoControl) : CLSID_NULL;
    return s_instance->progIdResult;
}

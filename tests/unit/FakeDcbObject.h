// The DCB service's object, behind the test program's imports of COM.
#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include "FcoeAgent/OrvanDcb.h"
#include "tests/kit/ImportPatch.h"

// The object by its table, of which the client uses three slots. Make it beside a service manager in which OrvanDCB
// runs.
class FakeDcbObject {
  public:
    FakeDcbObject()
        : m_classId(nullptr, "ole32.dll", "CLSIDFromProgID", reinterpret_cast<void*>(&ClassId)),
          m_create(nullptr, "ole32.dll", "CoCreateInstance", reinterpret_cast<void*>(&Create)) {
        for (void*& slot : m_slots)
            slot = reinterpret_cast<void*>(&Unexpected);
        m_slots[1] = m_slots[2] = reinterpret_cast<void*>(&Count);
        m_slots[15] = reinterpret_cast<void*>(&Pfc);
        m_slots[19] = reinterpret_cast<void*>(&App);
        m_slots[40] = reinterpret_cast<void*>(&Config);
        s_current = this;
    }
    ~FakeDcbObject() { s_current = nullptr; }
    FakeDcbObject(const FakeDcbObject&) = delete;
    FakeDcbObject& operator=(const FakeDcbObject&) = delete;

    LONG enabled = 1;
    HRESULT app = S_OK;
    BYTE priorities = 0x08;
    HRESULT pfc = S_OK;
    DCB_PFC_STATE pfcState{{0, 0, 0, 1, 0, 0, 0, 0}};

    int created = 0;
    std::vector<std::wstring> adapters; // of the configuration queries

  private:
    static HRESULT WINAPI ClassId(const wchar_t* name, CLSID* id) {
        EXPECT_STREQ(L"OrvanDCB.IoControl.1", name);
        *id = {};
        return S_OK;
    }
    static HRESULT WINAPI Create(const CLSID&, IUnknown*, DWORD, const IID&, void** out) {
        ++s_current->created;
        *out = &s_current->m_table;
        return S_OK;
    }
    static HRESULT STDMETHODCALLTYPE Unexpected(void*) {
        ADD_FAILURE() << "a reserved slot was called";
        return E_NOTIMPL;
    }
    static ULONG STDMETHODCALLTYPE Count(void*) { return 1; }
    static HRESULT STDMETHODCALLTYPE Config(void*, BSTR adapter, DCB_CONFIG* config) {
        s_current->adapters.push_back(adapter);
        config->lDcbEnabled = s_current->enabled;
        return S_OK;
    }
    static HRESULT STDMETHODCALLTYPE App(void*, BSTR, LONG application, DCB_APP_STATE* state) {
        EXPECT_EQ(0, application);
        state->byPriorityMap = s_current->priorities;
        return s_current->app;
    }
    static HRESULT STDMETHODCALLTYPE Pfc(void*, BSTR, DCB_PFC_STATE* state) {
        *state = s_current->pfcState;
        return s_current->pfc;
    }

    static inline FakeDcbObject* s_current;
    void* m_slots[41];
    void** m_table = m_slots;
    ImportPatch m_classId, m_create;
};

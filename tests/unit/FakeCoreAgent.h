// A core agent of the test's own, and the module that the test program finds in its place.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/coreagent/ReservedSlots.h"
#include "tests/kit/ImportPatch.h"

// Answers from its data members unless a test replaces a function. While the object lives, loading "CoreAgnt" yields
// it, each time as another module. One object at a time; make it after a FakeHbaLibrary, whose imports it shares.
class FakeCoreAgent : public ReservedSlots {
  public:
    FakeCoreAgent()
        : m_load(nullptr, "KERNEL32.dll", "LoadLibraryW", reinterpret_cast<void*>(&Load)),
          m_lookup(nullptr, "KERNEL32.dll", "GetProcAddress", reinterpret_cast<void*>(&Lookup)),
          m_free(nullptr, "KERNEL32.dll", "FreeLibrary", reinterpret_cast<void*>(&Free)) {
        s_current = this;
        onEnumerate = [this](std::vector<CQelString>& out, ULONG64) {
            out.insert(out.end(), adapters.begin(), adapters.end());
            return QEL_RESULT{0, 0xFFFFFFFF};
        };
        onInfo = [](const CQelString& id, QEL_ADAPTER_INFO& info) {
            info.strIdentifier = id;
            info.strDisplayName = L"Display of ";
            info.strDisplayName += id;
            info.strPermanentAddress = L"00-1B-21-00-00-01";
            return QEL_RESULT{0, 0xFFFFFFFF};
        };
        onSupportsFcoe = [](const CQelString&) { return BYTE{1}; };
        onWait = [](ULONG64) {};
        onStart = [](QEL_LOCK_REQUEST, BYTE& taken) {
            taken = 1;
            return QEL_RESULT{0, 0xFFFFFFFF};
        };
        onDone = [](QEL_LOCK_REQUEST) { return QEL_RESULT{0, 0xFFFFFFFF}; };
    }
    ~FakeCoreAgent() { s_current = nullptr; }

    std::vector<CQelString> adapters;
    std::function<QEL_RESULT(std::vector<CQelString>&, ULONG64)> onEnumerate;
    std::function<QEL_RESULT(const CQelString&, QEL_ADAPTER_INFO&)> onInfo;
    std::function<BYTE(const CQelString&)> onSupportsFcoe;
    std::function<void(ULONG64)> onWait;
    std::function<QEL_RESULT(QEL_LOCK_REQUEST, BYTE&)> onStart;
    std::function<QEL_RESULT(QEL_LOCK_REQUEST)> onDone;
    std::function<ICoreAgentPvt*()> onInterface = [] { return s_current; };
    std::function<void()> onFree = [] {};

    // False: the module is not found.
    bool present = true;
    int loads = 0, frees = 0;
    // One entry an event of the module: "load PATH", "find 1 GetCoreAgentPvt", "get", "free 1", numbered by the loads.
    std::vector<std::string> moduleCalls;
    // One entry a call: "Wait 5", "Enumerate 5", "Info {A} 0", "Supports {A}", "Start 1 2 3", "Done 1 2 3".
    std::vector<std::string> calls;

    void WaitForApplyDone(ULONG64 context) override {
        calls.push_back("Wait " + std::to_string(context));
        onWait(context);
    }
    QEL_RESULT EnumerateAdapters(std::vector<CQelString>& out, ULONG64 context) override {
        calls.push_back("Enumerate " + std::to_string(context));
        return onEnumerate(out, context);
    }
    QEL_RESULT GetAdapterInfo(const CQelString& id, QEL_ADAPTER_INFO& info, ULONG reserved) override {
        calls.push_back("Info " + Narrow(id) + " " + std::to_string(reserved));
        return onInfo(id, info);
    }
    QEL_RESULT StartLock(QEL_LOCK_REQUEST request, BYTE& taken) override {
        calls.push_back("Start" + Text(request));
        return onStart(request, taken);
    }
    QEL_RESULT DoneLock(QEL_LOCK_REQUEST request) override {
        calls.push_back("Done" + Text(request));
        return onDone(request);
    }
    BYTE SupportsFcoe(const CQelString& id) override {
        calls.push_back("Supports " + Narrow(id));
        return onSupportsFcoe(id);
    }

    static std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

  private:
    void OnReserved(int slot) override { ADD_FAILURE() << "reserved slot " << slot; }

    static std::string Text(const QEL_LOCK_REQUEST& request) {
        std::string text;
        for (const ULONG number : {request.ulOwner, request.ulReserved1, request.ulReserved2}) {
            text += ' ';
            text += std::to_string(number);
        }
        return text;
    }

    // The number of one of its modules; 0 for all others.
    static int Number(HMODULE module) {
        const char* const place = reinterpret_cast<const char*>(module);
        return place > MARKERS && place <= MARKERS + s_current->loads ? static_cast<int>(place - MARKERS) : 0;
    }
    static ICoreAgentPvt* Interface() {
        s_current->moduleCalls.emplace_back("get");
        return s_current->onInterface();
    }
    static HMODULE WINAPI Load(const wchar_t* path) {
        if (std::wstring_view(path).find(L"CoreAgnt") == std::wstring_view::npos)
            return s_current->m_load.Original<decltype(&Load)>()(path);
        s_current->moduleCalls.push_back("load " + Narrow(path));
        if (!s_current->present) {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
        }
        ++s_current->loads;
        EXPECT_GT(static_cast<int>(sizeof MARKERS), s_current->loads);
        return reinterpret_cast<HMODULE>(const_cast<char*>(MARKERS + s_current->loads));
    }
    static FARPROC WINAPI Lookup(HMODULE module, const char* name) {
        const int number = Number(module);
        if (number == 0)
            return s_current->m_lookup.Original<decltype(&Lookup)>()(module, name);
        s_current->moduleCalls.push_back("find " + std::to_string(number) + " " + name);
        EXPECT_STREQ("GetCoreAgentPvt", name);
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&Interface));
    }
    static BOOL WINAPI Free(HMODULE module) {
        const int number = Number(module);
        if (number == 0)
            return s_current->m_free.Original<decltype(&Free)>()(module);
        s_current->moduleCalls.push_back("free " + std::to_string(number));
        ++s_current->frees;
        s_current->onFree();
        return TRUE;
    }

    static inline FakeCoreAgent* s_current;
    static inline const char MARKERS[1000] = {}; // their addresses are the module handles, the first one's excepted
    ImportPatch m_load, m_lookup, m_free;
};

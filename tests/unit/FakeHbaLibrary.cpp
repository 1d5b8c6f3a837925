#include "tests/unit/FakeHbaLibrary.h"

#include <concepts>
#include <cwchar>

#include <gtest/gtest.h>

#include "tests/unit/FailingMemory.h"

namespace {

FakeHbaLibrary* g_fake;
int g_marker; // its address is the module handle

using PFN_LoadLibraryW = HMODULE(WINAPI*)(const wchar_t*);
using PFN_GetProcAddress = FARPROC(WINAPI*)(HMODULE, const char*);
using PFN_FreeLibrary = BOOL(WINAPI*)(HMODULE);

// Constant-initialised and never reset: another thread may be on its way through the import when the object goes.
PFN_LoadLibraryW g_loadLibrary;
PFN_GetProcAddress g_getProcAddress;
PFN_FreeLibrary g_freeLibrary;

HMODULE Module() {
    return reinterpret_cast<HMODULE>(&g_marker);
}

HMODULE WINAPI FakeLoadLibraryW(const wchar_t* path) {
    const wchar_t* name = path;
    for (const wchar_t* at = path; at && *at; ++at)
        if (*at == L'\\' || *at == L'/')
            name = at + 1;
    if (g_fake && name && (_wcsicmp(name, L"orvanhapi.dll") == 0 || _wcsicmp(name, L"orvanhapi") == 0))
        return g_fake->OnLoad();
    return g_loadLibrary(path);
}

FARPROC WINAPI FakeGetProcAddress(HMODULE module, const char* name) {
    return g_fake && module == Module() ? g_fake->OnLookup(name) : g_getProcAddress(module, name);
}

BOOL WINAPI FakeFreeLibrary(HMODULE module) {
    if (module != Module())
        return g_freeLibrary(module);
    if (!g_fake) {
        ADD_FAILURE() << "the library is freed after the fake has gone";
        return FALSE;
    }
    g_fake->OnFree();
    return TRUE;
}

// --- The log of the calls

template <std::integral Number> std::string Text(Number number) {
    return std::string(" ").append(std::to_string(number));
}
std::string Text(const HBA_WWN& wwn) {
    std::string text = " ";
    for (const HBA_UINT8 byte : wwn.wwn) {
        text += "0123456789ABCDEF"[byte >> 4];
        text += "0123456789ABCDEF"[byte & 15];
    }
    return text;
}
std::string Text(const wchar_t* text) {
    std::string narrow = " ";
    for (; text && *text; ++text)
        narrow += *text < 128 ? static_cast<char>(*text) : '?';
    return narrow;
}
std::string Text(const char* text) {
    return std::string(" ").append(text ? text : "");
}
std::string Text(const ORVAN_FC_PORT* request) {
    return Text(request->PortWWN);
}
std::string Text(const ORVAN_TARGET_LIST* list) {
    return Text(list->NumberOfEntries);
}
std::string Text(const ORVAN_VLAN_LIST* list) {
    return Text(list->NumberOfEntries);
}
std::string Text(const ORVAN_FC_PORT_LIST* list) {
    return Text(list->NumberOfEntries);
}
std::string Text(const HBA_FCPTARGETMAPPING* list) {
    return Text(list->NumberOfEntries);
}
// Output records and buffers.
std::string Text(const void*) {
    return "";
}
std::string Text(char*) {
    return "";
}

// --- The C functions of the library, one for each function member

template <std::size_t N> struct Name {
    constexpr Name(const char (&text)[N]) { std::copy_n(text, N, m_text); }
    char m_text[N]{};
};

template <class> struct Signature;
template <class R, class... A> struct Signature<std::function<R(A...)> FakeHbaLibrary::*> {
    template <Name name, std::function<R(A...)> FakeHbaLibrary::*member> static R Call(A... arguments) {
        FakeHbaLibrary& fake = FakeHbaLibrary::Current();
        fake.Record((std::string(name.m_text) + ... + Text(arguments)));
        return (fake.*member)(arguments...);
    }
};

template <Name name, auto member> constexpr auto Function = &Signature<decltype(member)>::template Call<name, member>;

#define FAKE_FUNCTION(member) Function<#member, &FakeHbaLibrary::member>

struct Export {
    const char* name;
    const char* member;
    void* function;
};

#define FAKE_EXPORT(prefix, member)                                                                                    \
    Export {                                                                                                           \
#prefix #member, #member, reinterpret_cast < void*>(FAKE_FUNCTION(member))                                     \
    }

const Export EXPORTS[] = {
    FAKE_EXPORT(HBA_, RegisterLibraryV2),       FAKE_EXPORT(ORVAN_, InitializeLibrary),
    FAKE_EXPORT(ORVAN_, GetFCoEControllerInfo), FAKE_EXPORT(ORVAN_, GetFCoEControllerHandle),
    FAKE_EXPORT(ORVAN_, GetFCAndNICProperties), FAKE_EXPORT(ORVAN_, GetTargetList),
    FAKE_EXPORT(ORVAN_, GetVlanIdList),         FAKE_EXPORT(ORVAN_, SendReadCapacity16),
    FAKE_EXPORT(ORVAN_, RescanScsiBus),         FAKE_EXPORT(ORVAN_, GeneratePortWWN),
    FAKE_EXPORT(ORVAN_, CreateVPort),           FAKE_EXPORT(ORVAN_, RemoveVPort),
    FAKE_EXPORT(ORVAN_, GetFCPortList),
};

HBA_STATUS Answer(const std::vector<BYTE>& response, void* buffer, HBA_UINT32 size) {
    if (!response.empty())
        std::memcpy(buffer, response.data(), std::min<std::size_t>(response.size(), size));
    return HBA_STATUS_OK;
}

} // namespace

FakeHbaLibrary::FakeHbaLibrary()
    : m_load(nullptr, "KERNEL32.dll", "LoadLibraryW", reinterpret_cast<void*>(&FakeLoadLibraryW)),
      m_lookup(nullptr, "KERNEL32.dll", "GetProcAddress", reinterpret_cast<void*>(&FakeGetProcAddress)),
      m_free(nullptr, "KERNEL32.dll", "FreeLibrary", reinterpret_cast<void*>(&FakeFreeLibrary)) {
    EXPECT_EQ(nullptr, g_fake) << "one fake library at a time";
    g_loadLibrary = m_load.Original<PFN_LoadLibraryW>();
    g_getProcAddress = m_lookup.Original<PFN_GetProcAddress>();
    g_freeLibrary = m_free.Original<PFN_FreeLibrary>();

    InitializeLibrary = [] { return HBA_STATUS_OK; };
    RegisterLibraryV2 = [this](HBA_ENTRYPOINTSV2* table) {
        *table = Handlers();
        return HBA_STATUS_OK;
    };
    GetFCoEControllerInfo = [this](const wchar_t*, HBA_UINT32* number, char* name) {
        *number = controller;
        std::memcpy(name, adapterName.c_str(), std::min(adapterName.size() + 1, ORVAN_NAME_SIZE));
        return HBA_STATUS_OK;
    };
    GetFCoEControllerHandle = [this](const char*) { return handle; };
    GetFCAndNICProperties = [this](HBA_HANDLE, ORVAN_FC_NIC_PROPERTIES* record) {
        *record = properties;
        return HBA_STATUS_OK;
    };
    GetTargetList = [this](HBA_HANDLE, ORVAN_TARGET_LIST* list) { return FillList(list, targets); };
    GetVlanIdList = [this](HBA_HANDLE, ORVAN_VLAN_LIST* list) { return FillList(list, vlans); };
    GetFCPortList = [this](HBA_HANDLE, ORVAN_FC_PORT_LIST* list) { return FillList(list, ports); };
    GetFcpTargetMapping = [this](HBA_HANDLE, HBA_FCPTARGETMAPPING* list) { return FillList(list, mappings); };
    SendReadCapacity16 = [this](HBA_HANDLE, HBA_WWN, HBA_UINT64, void* buffer, HBA_UINT32 size, void*, HBA_UINT32) {
        return Answer(capacity16Response, buffer, size);
    };
    RescanScsiBus = [](HBA_HANDLE, HBA_UINT32) { return HBA_STATUS_OK; };
    GeneratePortWWN = [this](HBA_HANDLE, HBA_WWN* wwpn) {
        *wwpn = generatedWwpn;
        return HBA_STATUS_OK;
    };
    CreateVPort = [](HBA_HANDLE, ORVAN_FC_PORT*) { return HBA_STATUS_OK; };
    RemoveVPort = [](HBA_HANDLE, ORVAN_FC_PORT*) { return HBA_STATUS_OK; };
    CloseAdapter = [](HBA_HANDLE) {};
    GetAdapterAttributes = [this](HBA_HANDLE, HBA_ADAPTERATTRIBUTES* attributes) {
        *attributes = adapterAttributes;
        return HBA_STATUS_OK;
    };
    GetAdapterPortAttributes = [this](HBA_HANDLE, HBA_UINT32, HBA_PORTATTRIBUTES* attributes) {
        *attributes = portAttributes;
        return HBA_STATUS_OK;
    };
    GetPortStatistics = [this](HBA_HANDLE, HBA_UINT32, HBA_PORTSTATISTICS* statistics) {
        *statistics = portStatistics;
        return HBA_STATUS_OK;
    };
    ScsiInquiry = [this](HBA_HANDLE, HBA_WWN, HBA_UINT64, HBA_UINT8, HBA_UINT32, void* buffer, HBA_UINT32 size, void*,
                         HBA_UINT32) { return Answer(inquiryResponse, buffer, size); };
    ScsiReadCapacityV2 = [this](HBA_HANDLE, HBA_WWN, HBA_WWN, HBA_UINT64, void* buffer, HBA_UINT32* size, HBA_UINT8*,
                                void*, HBA_UINT32*) { return Answer(capacityResponse, buffer, *size); };
    g_fake = this;
}

FakeHbaLibrary::~FakeHbaLibrary() {
    EXPECT_GE(loads, frees) << "the library was freed more often than it was loaded";
    g_fake = nullptr;
}

FakeHbaLibrary& FakeHbaLibrary::Current() {
    return *g_fake;
}

HBA_ENTRYPOINTSV2 FakeHbaLibrary::Handlers() const {
    HBA_ENTRYPOINTSV2 table{};
#define FAKE_HANDLER(member)                                                                                           \
    if (!missing.contains(#member))                                                                                    \
    table.member##Handler = FAKE_FUNCTION(member)
    FAKE_HANDLER(CloseAdapter);
    FAKE_HANDLER(GetAdapterAttributes);
    FAKE_HANDLER(GetAdapterPortAttributes);
    FAKE_HANDLER(GetPortStatistics);
    FAKE_HANDLER(GetFcpTargetMapping);
    FAKE_HANDLER(ScsiInquiry);
    FAKE_HANDLER(ScsiReadCapacityV2);
#undef FAKE_HANDLER
    return table;
}

void FakeHbaLibrary::Record(std::string call) {
    EXPECT_TRUE(Loaded()) << "called while the library is not loaded: " << call;
    const std::lock_guard lock(m_lock);
    calls.push_back(std::move(call));
}

int FakeHbaLibrary::CallsOf(std::string_view function) const {
    const std::lock_guard lock(m_lock);
    return static_cast<int>(std::count_if(calls.begin(), calls.end(), [function](const std::string& call) {
        return std::string_view(call).substr(0, call.find(' ')) == function;
    }));
}

void FakeHbaLibrary::ClearCalls() {
    const std::lock_guard lock(m_lock);
    calls.clear();
    lookups.clear();
}

HMODULE FakeHbaLibrary::OnLoad() {
    const FailingMemory::Pause pause;
    if (loadError) {
        SetLastError(loadError);
        return nullptr;
    }
    ++loads;
    Record("LoadLibrary");
    return Module();
}

FARPROC FakeHbaLibrary::OnLookup(const char* name) {
    const FailingMemory::Pause pause;
    EXPECT_TRUE(Loaded()) << "looked up while the library is not loaded: " << name;
    {
        const std::lock_guard lock(m_lock);
        lookups.push_back(name);
    }
    for (const Export& entry : EXPORTS)
        if (std::strcmp(entry.name, name) == 0 && !missing.contains(entry.member))
            return reinterpret_cast<FARPROC>(entry.function);
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}

void FakeHbaLibrary::OnFree() {
    const FailingMemory::Pause pause;
    Record("FreeLibrary");
    if (whileFreed)
        whileFreed();
    ++frees;
}

#include <algorithm>
#include <array>
#include <cstring>
#include <malloc.h>

#include <fmt/format.h>

#include "FcoeAgent/CoreAgentPvt.h"
#include "simulator/topology/Text.h"
#include "simulator/verify/Answer.h"
#include "simulator/verify/Ask.h"
#include "simulator/verify/ModuleFile.h"

namespace verify {
namespace {

constexpr std::string_view ENUMERATE = "EnumerateAdapters", ADAPTER_INFO = "GetAdapterInfo", SUPPORTS = "SupportsFcoe",
                           WAIT = "WaitForApplyDone", GET = "GetCoreAgentPvt";
constexpr ULONG NO_DETAIL = 0xFFFFFFFF;
constexpr ULONG64 CONTEXT = 0;

// What is wrong with how a text lies in memory.
enum class Layout { Good, Broken, Foreign };

// Whether the memory is of the C++ run time that all modules of the suite share.
bool IsOurs(const void* memory) {
    const auto heap = reinterpret_cast<HANDLE>(_get_heap_handle());
    return HeapValidate(heap, 0, memory);
}

bool IsReadable(const void* from, std::size_t size) {
    MEMORY_BASIC_INFORMATION memory{};
    if (VirtualQuery(from, &memory, sizeof memory) == 0 || memory.State != MEM_COMMIT ||
        (memory.Protect & (PAGE_NOACCESS | PAGE_GUARD)) != 0)
        return false;
    const auto* end = static_cast<const char*>(memory.BaseAddress) + memory.RegionSize;
    return static_cast<std::size_t>(end - static_cast<const char*>(from)) >= size;
}

Layout LayoutOf(const CQelString& text) {
    constexpr std::size_t LONGEST = 1u << 20;
    const std::size_t size = text.size();
    const wchar_t* data = text.data();
    if (size > LONGEST || !IsReadable(data, (size + 1) * sizeof *data) || data[size] != L'\0')
        return Layout::Broken;
    const auto* object = reinterpret_cast<const char*>(&text);
    const auto* bytes = reinterpret_cast<const char*>(data);
    const bool inside = bytes >= object && bytes < object + sizeof text; // a short text lies in the object itself
    return inside || IsOurs(data) ? Layout::Good : Layout::Foreign;
}

// What the neighbour wrote. Whatever is wrong with it is never freed: it is not ours then.
template <class T> class Output {
  public:
    Output() { new (m_place) T(); }
    ~Output() {
        if (!m_left)
            Get().~T();
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    T& Get() { return *reinterpret_cast<T*>(m_place); }
    void Leave() { m_left = true; }

  private:
    alignas(T) unsigned char m_place[sizeof(T)];
    bool m_left = false;
};

struct ListResult {
    QEL_RESULT result{};
    std::vector<std::wstring> adapters;

    bool operator==(const ListResult& other) const {
        return result.ulErrCode == other.result.ulErrCode && adapters == other.adapters;
    }
};

struct InfoResult {
    QEL_RESULT result{};
    std::array<std::wstring, 3> texts; // identifier, display name, address
    ULONG index = 0;

    bool operator==(const InfoResult& other) const {
        return result.ulErrCode == other.result.ulErrCode && texts == other.texts && index == other.index;
    }
};

class CoreQuestions {
  public:
    CoreQuestions(Asker& asker, ICoreAgentPvt& core) : m_asker(asker), m_core(core) {}

    void Ask(Outcome& outcome) {
        CheckTable();
        if (!m_slotsAreCode)
            return;
        for (int i = 0; i < 2; ++i)
            m_asker.Ask(WAIT, {}, [&] { m_core.WaitForApplyDone(CONTEXT); });
        const ListResult list = AskList();
        for (const auto& adapter : list.adapters)
            AskAdapter(adapter, outcome);
        if (!list.adapters.empty() && outcome.adapters.empty() && !m_supportsFails)
            m_asker.Tell("no_adapter", SUPPORTS, {}, fmt::format("none of {}", list.adapters.size()));
        AskUnknown();
        AskByThreads(list);
    }

  private:
    void Tell(std::string_view code, std::string_view function, const std::wstring& adapter, const std::string& found) {
        m_asker.Tell(code, function, sim::Utf8(adapter), found);
    }
    void CheckTable() {
        struct Slot {
            std::string_view function;
            std::size_t slot;
        };
        constexpr Slot SLOTS[] = {{WAIT, 13},        {ENUMERATE, 21},  {ADAPTER_INFO, 25},
                                  {"StartLock", 35}, {"DoneLock", 36}, {SUPPORTS, 79}};
        void* const* table = nullptr;
        if (IsReadable(&m_core, sizeof table))
            std::memcpy(&table, static_cast<const void*>(&m_core), sizeof table);
        for (const auto& [function, slot] : SLOTS) {
            if (table && IsReadable(table + slot, sizeof *table) && IsCode(table[slot]))
                continue;
            m_slotsAreCode = false;
            Tell("wild_slot", function, {}, fmt::format("slot {}", slot));
        }
    }
    void CheckDetail(std::string_view function, const std::wstring& adapter, const QEL_RESULT& result) {
        if (result.ulErrCode == 0 && result.ulDetail != NO_DETAIL)
            Tell("detail", function, adapter, fmt::format("{}", result.ulDetail));
    }
    bool CheckLayout(std::string_view function, const std::wstring& adapter, const CQelString& text, const char* name) {
        const Layout layout = LayoutOf(text);
        if (layout == Layout::Broken)
            Tell("broken_text", function, adapter, name);
        if (layout == Layout::Foreign)
            Tell("foreign_memory", function, adapter, name);
        return layout != Layout::Broken;
    }

    ListResult List() {
        ListResult list;
        Output<std::vector<CQelString>> output;
        auto& adapters = output.Get();
        list.result = m_core.EnumerateAdapters(adapters, CONTEXT);
        if (adapters.data() && !IsOurs(adapters.data())) {
            Tell("foreign_memory", ENUMERATE, {}, "the list");
            output.Leave();
        }
        for (const auto& adapter : adapters) {
            if (LayoutOf(adapter) != Layout::Good)
                output.Leave();
            if (!CheckLayout(ENUMERATE, {}, adapter, "an identifier"))
                break;
            list.adapters.push_back(adapter);
        }
        return list;
    }
    InfoResult Info(const std::wstring& identifier) {
        InfoResult info;
        Output<QEL_ADAPTER_INFO> output;
        auto& record = output.Get();
        CQelString name;
        name = identifier;
        info.result = m_core.GetAdapterInfo(name, record, 0);
        const struct {
            const CQelString& text;
            const char* name;
        } texts[] = {{record.strIdentifier, "the identifier"},
                     {record.strDisplayName, "the display name"},
                     {record.strPermanentAddress, "the address"}};
        for (std::size_t i = 0; i < std::size(texts); ++i) {
            if (LayoutOf(texts[i].text) != Layout::Good)
                output.Leave();
            if (CheckLayout(ADAPTER_INFO, identifier, texts[i].text, texts[i].name))
                info.texts[i] = texts[i].text;
        }
        info.index = record.ulInterfaceIndex;
        return info;
    }
    bool Supports(const std::wstring& identifier) {
        CQelString name;
        name = identifier;
        return m_core.SupportsFcoe(name) != 0;
    }

    // Twice; none: it did not come to an answer.
    template <class Result, class Get>
    std::optional<Result> AskTwice(std::string_view function, const std::wstring& adapter, Get get) {
        Result first{}, second{};
        const std::string id = sim::Utf8(adapter);
        if (!m_asker.Ask(function, id, [&] { first = get(); }) || !m_asker.Ask(function, id, [&] { second = get(); }))
            return std::nullopt;
        if (!(first == second))
            Tell("other_answer", function, adapter, "the second answer is another");
        return first;
    }

    ListResult AskList() {
        const auto list = AskTwice<ListResult>(ENUMERATE, {}, [&] { return List(); });
        if (!list)
            return {};
        CheckDetail(ENUMERATE, {}, list->result);
        if (list->result.ulErrCode != 0) {
            Tell("status", ENUMERATE, {}, fmt::format("code {}", list->result.ulErrCode));
            return {};
        }
        if (list->adapters.empty() && !m_asker.IsTold("broken_text", ENUMERATE, {}))
            Tell("no_adapter", ENUMERATE, {}, "an empty list");
        constexpr std::size_t LONGEST = 251; // with "\DEVICE\" and a terminator it fills the library's buffer
        for (auto adapter = list->adapters.begin(); adapter != list->adapters.end(); ++adapter) {
            if (adapter->empty() || adapter->size() > LONGEST)
                Tell("identifier", ENUMERATE, {}, fmt::format("{} characters", adapter->size()));
            if (std::find(list->adapters.begin(), adapter, *adapter) != adapter)
                Tell("same_adapter", ENUMERATE, {}, sim::Utf8(*adapter));
        }
        return *list;
    }
    void AskAdapter(const std::wstring& adapter, Outcome& outcome) {
        const auto supports = AskTwice<bool>(SUPPORTS, adapter, [&] { return Supports(adapter); });
        m_supportsFails = m_supportsFails || !supports || m_asker.IsTold("other_answer", SUPPORTS, sim::Utf8(adapter));
        if (supports.value_or(false))
            outcome.adapters.push_back(sim::Utf8(adapter));
        const auto info = AskTwice<InfoResult>(ADAPTER_INFO, adapter, [&] { return Info(adapter); });
        if (!info)
            return;
        CheckDetail(ADAPTER_INFO, adapter, info->result);
        if (info->result.ulErrCode != 0)
            Tell("status", ADAPTER_INFO, adapter, fmt::format("code {}", info->result.ulErrCode));
        else if (info->texts[1].empty())
            Tell("no_display_name", ADAPTER_INFO, adapter, "an empty text");
        if (info->result.ulErrCode == 0 && info->texts[0] != adapter)
            Tell("other_adapter", ADAPTER_INFO, adapter, fmt::format("\"{}\"", sim::Utf8(info->texts[0])));
    }
    void AskUnknown() {
        const std::wstring unknown = L"{00000000-0000-0000-0000-000000000000}";
        InfoResult info;
        if (m_asker.Ask(ADAPTER_INFO, sim::Utf8(unknown), [&] { info = Info(unknown); }) &&
            info.result.ulErrCode == 0 && !info.texts[1].empty())
            Tell("unknown_adapter", ADAPTER_INFO, unknown, fmt::format("\"{}\"", sim::Utf8(info.texts[1])));
    }

    template <class Result, class Get>
    Reading ReadingOf(std::string_view function, const std::wstring& adapter, Get get) {
        Result expected{};
        if (!m_asker.Ask(function, sim::Utf8(adapter), [&] { expected = get(); }))
            return {};
        // Equal answers have equal bytes: none, or one.
        return {function, sim::Utf8(adapter), [get, expected](std::uint8_t) {
                    return Answer{HBA_STATUS_OK, std::vector<std::uint8_t>(get() == expected ? 0 : 1)};
                }};
    }
    void AskByThreads(const ListResult& list) {
        std::vector<Reading> readings;
        const auto keep = [&](Reading reading) {
            if (reading.read)
                readings.push_back(std::move(reading));
        };
        if (!list.adapters.empty())
            keep(ReadingOf<ListResult>(ENUMERATE, {}, [this] { return List(); }));
        for (const auto& adapter : list.adapters) {
            keep(ReadingOf<InfoResult>(ADAPTER_INFO, adapter, [this, adapter] { return Info(adapter); }));
            keep(ReadingOf<bool>(SUPPORTS, adapter, [this, adapter] { return Supports(adapter); }));
        }
        verify::AskByThreads(m_asker, readings);
    }

    Asker& m_asker;
    ICoreAgentPvt& m_core;
    bool m_slotsAreCode = true;
    bool m_supportsFails = false;
};

void AskInterface(Asker& asker, const CQelModule& module, Outcome& outcome) {
    const auto get = ExportOf<PFN_GetCoreAgentPvt>(module, "GetCoreAgentPvt");
    if (!get) {
        asker.Tell("no_export", GET, {}, "there is no such export");
        return;
    }
    ICoreAgentPvt* core = nullptr;
    ICoreAgentPvt* again = nullptr;
    if (!asker.Ask(GET, {}, [&] { core = get(); }) || !asker.Ask(GET, {}, [&] { again = get(); }))
        return;
    if (core != again)
        asker.Tell("other_answer", GET, {}, "another interface");
    if (!core)
        asker.Tell("no_interface", GET, {}, "null");
    else
        CoreQuestions(asker, *core).Ask(outcome);
}

} // namespace

Outcome AskCoreAgent(const Request& request, Listener& listener) {
    Asker asker(Neighbour::CoreAgent, request, listener);
    Outcome outcome;
    outcome.calls = AskModule(asker, request, [&](const CQelModule& module) { AskInterface(asker, module, outcome); });
    return outcome;
}

} // namespace verify

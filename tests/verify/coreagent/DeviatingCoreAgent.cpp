// A core agent of two adapters that deviates as the variable VERIFY_DEVIATION says.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include <windows.h>

#include "simulator/coreagent/ReservedSlots.h"

namespace {

constexpr QEL_RESULT GOOD{0, 0xFFFFFFFF};
constexpr const wchar_t* ADAPTERS[] = {L"{5B2C7A10-3D4E-4F60-8A71-92B3C4D5E6F1}",
                                       L"{5B2C7A10-3D4E-4F60-8A71-92B3C4D5E6F2}"};

struct Wanted {
    Wanted() { GetEnvironmentVariableA("VERIFY_DEVIATION", name, sizeof name); }
    char name[64] = "";
};
const Wanted s_wanted;

bool Is(std::string_view deviation) {
    return deviation == s_wanted.name;
}

CQelString Text(const wchar_t* text) {
    CQelString made;
    made = text;
    return made;
}

// A text in the memory of this module, as one of a run time of its own has it.
void PutForeign(CQelString& text, const wchar_t* characters, std::size_t size) {
    struct {
        const wchar_t* data;
        std::size_t size;
        std::size_t capacity;
    } const parts{characters, size, size};
    std::memcpy(static_cast<void*>(&text), &parts, sizeof parts);
}

class DeviatingCoreAgent : public ReservedSlots {
  public:
    void WaitForApplyDone(ULONG64) override {
        if (Is("wait throws"))
            throw std::runtime_error("no wait");
        if (Is("wait hangs"))
            Sleep(INFINITE);
        if (Is("wait is slow"))
            Sleep(60);
        if (Is("prints")) {
            std::puts("{\"good\": false}");
            std::fflush(stdout);
        }
    }

    QEL_RESULT EnumerateAdapters(std::vector<CQelString>& adapters, ULONG64) override {
        static std::atomic<int> calls, inside;
        static CQelString foreign[2];
        if (Is("list throws"))
            throw std::runtime_error("no list");
        if (Is("list crashes"))
            *reinterpret_cast<volatile int*>(24) = 0;
        if (Is("list is refused"))
            return {7, 0xFFFFFFFF};
        if (Is("list is empty"))
            return GOOD;
        for (const auto* adapter : ADAPTERS)
            adapters.push_back(Text(adapter));
        if (Is("adapter twice"))
            adapters.push_back(Text(ADAPTERS[0]));
        if (Is("empty identifier"))
            adapters.emplace_back();
        if (Is("list changes") && ++calls % 2 == 0)
            adapters.pop_back();
        if (Is("list is not for two threads")) {
            if (++inside > 1)
                adapters.pop_back();
            Sleep(1);
            --inside;
        }
        if (Is("text without end"))
            PutForeign(adapters[0], L"{5B2C7A10-3D4E-4F60-8A71-92B3C4D5E6F1} and more", 38);
        if (Is("list of another heap")) {
            for (std::size_t i = 0; i < 2; ++i)
                foreign[i] = adapters[i];
            CQelString* parts[] = {foreign, foreign + 2, foreign + 2};
            std::memcpy(static_cast<void*>(&adapters), parts, sizeof parts);
        }
        return Is("detail with success") ? QEL_RESULT{0, 5} : GOOD;
    }

    QEL_RESULT GetAdapterInfo(const CQelString& adapter, QEL_ADAPTER_INFO& info, ULONG) override {
        if (Is("info throws"))
            throw 1;
        if (adapter != ADAPTERS[0] && adapter != ADAPTERS[1] && !Is("unknown is known"))
            return {2, 0xFFFFFFFF};
        if (Is("info is refused"))
            return {9, 0xFFFFFFFF};
        info.strIdentifier = Is("info of another") ? ADAPTERS[1] : adapter.c_str();
        info.strDisplayName = Is("no display name") ? L"" : L"Converged Adapter of a long name";
        if (Is("text of another heap"))
            PutForeign(info.strPermanentAddress, L"02-05-7C-3A-10-01", 17);
        else
            info.strPermanentAddress = L"02-05-7C-3A-10-01";
        return GOOD;
    }

    // Nobody who only reads calls these.
    QEL_RESULT StartLock(QEL_LOCK_REQUEST, BYTE&) override { std::abort(); }
    QEL_RESULT DoneLock(QEL_LOCK_REQUEST) override { std::abort(); }

    BYTE SupportsFcoe(const CQelString&) override {
        static std::atomic<int> calls;
        if (Is("support throws"))
            throw std::runtime_error("who knows");
        if (Is("support ends the process"))
            ExitProcess(4);
        if (Is("support changes"))
            return ++calls % 2 == 0;
        return !Is("no FCoE");
    }

  private:
    void OnReserved(int) override { std::abort(); }
};

DeviatingCoreAgent s_agents[2];
const int s_noCode = 0;

// The same object with a table in which one slot is no code.
ICoreAgentPvt* WithWildSlot(std::size_t slot) {
    static const void* table[80];
    static struct { const void* const* table; } object{table};
    std::memcpy(table, *reinterpret_cast<void***>(&s_agents[0]), sizeof table);
    table[slot] = &s_noCode;
    return reinterpret_cast<ICoreAgentPvt*>(&object);
}

} // namespace

extern "C" ICoreAgentPvt* GetCoreAgentPvt() {
    static int calls;
    if (Is("get throws"))
        throw std::runtime_error("no agent");
    if (Is("no interface"))
        return nullptr;
    if (Is("slot is no code"))
        return WithWildSlot(25);
    if (Is("interface differs"))
        return &s_agents[++calls % 2];
    return &s_agents[0];
}

// A scripted agent for tests of hosts. The environment variable FAKE_AGENT holds its script, words separated by blanks:
//
//   null            GetFcoeAgent answers null
//   none, two       no adapter; two of them (one otherwise)
//   unread          the first adapter gives an empty record
//   false:LIST      the list is answered with FALSE, after its first record; LIST as in the table below
//   empty:LIST      the list is empty
//   memory:LIST     the list ends with std::bad_alloc; odd:LIST with an exception of no standard type
//   hang:LIST       the list is never answered; hang:change a change, hang:later the third reading of the counters
//   shared          the second adapter has the first one's virtual port, too
//   refuse:N        changes are refused with error entry N, 0 for none; refuse:second a rescan of the second adapter
//   grow            counters grow with every reading
//   foreign         the first adapter's name is no ASCII text
//   loads:NAME      loads that module first, and notes where it was found; else the HBA library, until Uninstall
//   nolibrary       it does not
//   silent          no log is written
//   failed:TEXT     in the log a call of the first adapter fails, in the words of TEXT with "_" for blanks
//
// The environment variable FAKE_AGENT_CALLS names a file that gets one line a call; beside it goes the agent's log.
#include <algorithm>
#include <cwchar>
#include <new>
#include <sstream>

#include "FcoeAgent/FcoeAgentIntf.h"
#include "tests/fcoectl/fakeagent/FakeRecords.h"

CQelFcoeAgentIntf::CQelFcoeAgentIntf() = default;
CQelFcoeAgentIntf::~CQelFcoeAgentIntf() = default;
CQelFcoeAgentIntf::CQelFcoeAgentIntf(const CQelFcoeAgentIntf&) = default;
CQelFcoeAgentIntf& CQelFcoeAgentIntf::operator=(const CQelFcoeAgentIntf&) = default;

namespace {

constexpr ULONG ERROR_BASE = 0x37000000;
constexpr ULONG FIRST_WITH_ARGUMENT = 203;

std::wstring Environment(const wchar_t* name) {
    wchar_t text[1024] = L"";
    GetEnvironmentVariableW(name, text, 1024);
    return text;
}

std::wstring Argument(const std::wstring& verb) {
    std::wistringstream script(Environment(L"FAKE_AGENT"));
    for (std::wstring word; script >> word;)
        if (word.starts_with(verb + L":"))
            return word.substr(verb.size() + 1);
    return {};
}

bool Scripted(const std::wstring& wanted) {
    std::wistringstream script(Environment(L"FAKE_AGENT"));
    for (std::wstring word; script >> word;)
        if (word == wanted)
            return true;
    return false;
}

void Note(const std::wstring& call) {
    const std::wstring name = Environment(L"FAKE_AGENT_CALLS");
    FILE* file = name.empty() ? nullptr : _wfopen(name.c_str(), L"ab");
    if (!file)
        return;
    std::fprintf(file, "%ls\n", call.c_str());
    std::fclose(file);
}

std::wstring LogFile() {
    const std::wstring calls = Environment(L"FAKE_AGENT_CALLS");
    return calls.empty() || Scripted(L"silent") ? L"" : calls.substr(0, calls.rfind(L'\\') + 1) + L"FcoeAgnt.txt";
}

// A line in the agent's form; mode as of fopen.
void Log(const std::wstring& text, const wchar_t* mode = L"ab") {
    const std::wstring name = LogFile();
    FILE* file = name.empty() ? nullptr : _wfopen(name.c_str(), mode);
    if (!file)
        return;
    std::fprintf(file, "FCOEAGENT\tPID:%lx\tTID:%lx\t14:03:27.512\t(1D3A5C02)\tTIER 1\t\t%ls\r\n",
                 GetCurrentProcessId(), GetCurrentThreadId(), text.c_str());
    std::fclose(file);
}

class LoggedScope {
  public:
    explicit LoggedScope(std::wstring name) : m_name(std::move(name)) { Log(L"ENTRY:  " + m_name); }
    ~LoggedScope() { Log(L"EXIT:  " + m_name); }
    LoggedScope(const LoggedScope&) = delete;
    LoggedScope& operator=(const LoggedScope&) = delete;

  private:
    std::wstring m_name;
};

HMODULE g_library;

// As the agent loads the HBA library.
void Load(const std::wstring& name) {
    wchar_t file[MAX_PATH] = L"nothing";
    if (const HMODULE module = LoadLibraryW(name.c_str())) {
        GetModuleFileNameW(module, file, MAX_PATH);
        FreeLibrary(module);
    }
    Note(L"loaded " + std::wstring(file));
}

class FakeAgent : public CQelFcoeAgentIntf {
  public:
    BOOL EnumerateHBAs(const CQelString& adapter, std::vector<QEL_FCOE_HBA>& list, ULONG64) override {
        FakeRecords records = World();
        if (Scripted(L"unread") && !records.hbas.empty())
            records.hbas.front() = {};
        if (Scripted(L"foreign"))
            records.hbas.front().strSecondId = L"Ger\u00E4t \u20AC \U0001F4BE";
        return Answer(L"EnumerateHBAs", L"hbas", adapter, records.hbas, list);
    }
    BOOL EnumerateFabrics(CQelString& adapter, std::vector<QEL_FCOE_FABRIC>& list, ULONG64) override {
        return Answer(L"EnumerateFabrics", L"fabrics", adapter, World().fabrics, list);
    }
    BOOL EnumeratePorts(CQelString& adapter, std::vector<QEL_FCOE_PORT>& list, ULONG64) override {
        FakeRecords records = World();
        if (Scripted(L"shared")) {
            records.ports.push_back(records.ports[1]);
            records.ports.back().strDeviceId = records.hbas.back().strDeviceId;
        }
        return Answer(L"EnumeratePorts", L"ports", adapter, records.ports, list);
    }
    BOOL EnumerateTargets(CQelString& adapter, std::vector<QEL_FCOE_TARGET>& list, ULONG64) override {
        return Answer(L"EnumerateTargets", L"targets", adapter, World().targets, list);
    }
    BOOL EnumerateVLANs(CQelString& adapter, std::vector<QEL_FCOE_VLAN>& list, ULONG64) override {
        return Answer(L"EnumerateVLANs", L"vlans", adapter, World().vlans, list);
    }
    BOOL EnumerateLUNs(CQelString& adapter, std::vector<QEL_FCOE_LUN>& list, ULONG64) override {
        return Answer(L"EnumerateLUNs", L"luns", adapter, World().luns, list);
    }
    BOOL EnumerateStatistics(CQelString& adapter, std::vector<QEL_FCOE_STATISTIC>& list, ULONG64) override {
        FakeRecords records = World();
        if (Scripted(L"grow"))
            for (auto& statistic : records.statistics)
                statistic.llValue += 1000 * m_readings;
        if (++m_readings == 3 && Argument(L"hang") == L"later")
            Sleep(INFINITE);
        return Answer(L"EnumerateStatistics", L"statistics", adapter, records.statistics, list);
    }
    BOOL Uninstall(ULONG64) override {
        Note(L"Uninstall");
        if (g_library)
            FreeLibrary(g_library);
        g_library = nullptr;
        return TRUE;
    }

    BOOL CreateVPort(CQelString& adapter, CQelString& wwpn, std::vector<QEL_ERROR_ENTRY>& errors,
                     ULONG& owner) override {
        Note(L"CreateVPort " + adapter + L" " + wwpn + (owner == GetCurrentProcessId() ? L" own" : L" other"));
        if (!Change(wwpn, errors))
            return FALSE;
        if (_wcsicmp(wwpn.c_str(), L"auto") == 0)
            wwpn = L"20:02:00:1B:21:00:00:01";
        return TRUE;
    }
    BOOL DeleteVPort(CQelString& adapter, CQelString& wwpn, std::vector<QEL_ERROR_ENTRY>& errors,
                     QEL_LOCK_REQUEST request) override {
        Note(L"DeleteVPort " + adapter + L" " + wwpn +
             (request.ulOwner == GetCurrentProcessId() ? L" own" : L" other"));
        return Change(wwpn, errors);
    }
    BOOL GenerateVPortWWPN(CQelString& adapter, CQelString& wwpn, std::vector<QEL_ERROR_ENTRY>&, ULONG64) override {
        Note(L"GenerateVPortWWPN " + adapter);
        wwpn = L"20:03:00:1B:21:00:00:01";
        return Argument(L"refuse").empty();
    }
    BOOL RefreshTargets(CQelString& adapter, ULONG64) override {
        Note(L"RefreshTargets " + adapter);
        const std::wstring refusal = Argument(L"refuse");
        return refusal.empty() || (refusal == L"second" && adapter != World().hbas.back().strDeviceId);
    }

  private:
    static FakeRecords World() { return MakeFakeRecords(Scripted(L"none") ? 0 : Scripted(L"two") ? 2 : 1); }

    template <class Record>
    static BOOL Answer(const wchar_t* operation, const std::wstring& name, const CQelString& adapter,
                       const std::vector<Record>& records, std::vector<Record>& list) {
        const LoggedScope scope(std::wstring(L"CQelFcoeAgentWin::") + operation);
        for (std::size_t i = 0; i < World().hbas.size() && (i == 0 || adapter.empty()); ++i)
            AskAdapter(i);
        Note(L"Enumerate " + name + L" " + adapter);
        if (Argument(L"memory") == name)
            throw std::bad_alloc();
        if (Argument(L"odd") == name)
            throw 7;
        if (Argument(L"hang") == name)
            Sleep(INFINITE);
        const bool fails = Argument(L"false") == name;
        if (Argument(L"empty") != name)
            for (const Record& record : records)
                if ((adapter.empty() || record.strDeviceId == adapter) && (!fails || list.empty()))
                    list.push_back(record);
        return !fails;
    }

    // What the log has of one adapter.
    static void AskAdapter(std::size_t place) {
        { const LoggedScope scope(L"CQelFcoeAgentWin::GetHBAObject"); }
        std::wstring failure = Argument(L"failed");
        if (failure.empty() || place > 0)
            return;
        std::ranges::replace(failure, L'_', L' ');
        const LoggedScope list(L"CQelFcoeTarget::GetTargetsList_HBA");
        const LoggedScope call(L"CHBAAPIInt::GetTargetList");
        Log(failure);
    }

    // Refuses as scripted, with the arguments that the error carries.
    static BOOL Change(const CQelString& wwpn, std::vector<QEL_ERROR_ENTRY>& errors) {
        if (Argument(L"hang") == L"change")
            Sleep(INFINITE);
        const std::wstring refusal = Argument(L"refuse");
        if (refusal.empty())
            return TRUE;
        const auto number = static_cast<ULONG>(std::wcstoul(refusal.c_str(), nullptr, 10));
        if (number) {
            QEL_ERROR_ENTRY entry{ERROR_BASE + number, 16, 1, {}, L"ORVAN CNA Port 1"};
            if (number == FIRST_WITH_ARGUMENT || number == 206 || number == 207)
                entry.vecArguments.push_back(wwpn);
            errors.push_back(entry);
        }
        return FALSE;
    }

    int m_readings = 0;
};

} // namespace

CQelFcoeAgentIntf* GetFcoeAgent() {
    static FakeAgent agent;
    Note(L"GetFcoeAgent");
    Log(L"CQelFcoeAgentWin::Initialize", L"wb");
    if (const std::wstring module = Argument(L"loads"); !module.empty())
        Load(module);
    else if (!g_library && !Scripted(L"nolibrary") && !Scripted(L"null"))
        g_library = LoadLibraryW(L"orvanhapi.dll");
    return Scripted(L"null") ? nullptr : &agent;
}

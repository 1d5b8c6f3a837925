// The registry: every value that the agent reads, in every shape that is not the one it expects.
#include <iterator>

#include "tests/faults/Cells.h"
#include "tests/faults/FaultHost.h"
#include "tests/faults/Matrix.h"
#include "tests/faults/RegistryKeys.h"

namespace {

struct VALUE {
    const wchar_t* key;
    const wchar_t* name;
};

constexpr VALUE VALUES[] = {
    {FCOE_AGENT_KEY, L"InstalledDir"},
    {CORE_AGENT_KEY, L"InstalledDir"},
    {SUITE_KEY, L"InstalledDir"},
    {SUITE_KEY, L"ResourcePath"},
    {SUITE_KEY, L"TRACE"},
    {SUITE_KEY, L"Debugging"},
    {FEATURES_KEY, L"InstallDir"},
    {FEATURES_KEY, L"InstalledTOLV_FCOE"},
    {FEATURES_KEY, L"InstalledTOLV_DCB"},
    {FEATURES_KEY, L"InstalledTOLV_ISCSI"},
    {FORCING_KEY, L"FcoE_RemoteBooted"},
    {FORCING_KEY, L"FcoE_RemotePageFile"},
    {DCB_KEY, L"DcbAdvancedSettingChange"},
};

struct SHAPE {
    const char* name;
    DWORD type; // REG_NONE with no bytes: the value is absent
    std::vector<BYTE> bytes;
};

std::vector<BYTE> Text(const std::wstring& text, bool terminated = true) {
    const auto* begin = reinterpret_cast<const BYTE*>(text.c_str());
    return {begin, begin + (text.size() + terminated) * sizeof(wchar_t)};
}

std::vector<SHAPE> Shapes() {
    auto odd = Text(L"1", false);
    odd.push_back('x');
    return {
        {"absent", REG_NONE, {}},
        {"number", REG_DWORD, {1, 0, 0, 0}},
        {"large number", REG_DWORD, {0xFF, 0xFF, 0xFF, 0xFF}},
        {"short number", REG_DWORD, {1, 0}},
        {"long number", REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0}},
        {"bytes", REG_BINARY, {0xFF, 0xFE, 0x01}},
        {"no bytes", REG_BINARY, {}},
        {"empty text", REG_SZ, Text(L"")},
        {"text of no bytes", REG_SZ, {}},
        {"text", REG_SZ, Text(L"1")},
        {"text without an end", REG_SZ, Text(std::wstring(100, L'x'), false)},
        {"text of an odd size", REG_SZ, odd},
        {"text of 255 characters", REG_SZ, Text(std::wstring(255, L'x'))},
        {"text of 256 characters", REG_SZ, Text(std::wstring(256, L'x'))},
        {"text of 256 characters without an end", REG_SZ, Text(std::wstring(256, L'x'), false)},
        {"long text", REG_SZ, Text(std::wstring(70000, L'x'))},
        {"expandable text", REG_EXPAND_SZ, Text(L"%no such variable%\\x")},
        {"list of texts", REG_MULTI_SZ, Text(std::wstring(L"a\0b\0", 4))},
    };
}

// A value as the host found it, put back at the end.
class ChangedValue {
  public:
    explicit ChangedValue(FaultHost& host, const VALUE& value) : m_host(host), m_value(value) {
        DWORD size = 0;
        m_existed = RegGetValueW(HKEY_LOCAL_MACHINE, value.key, value.name, RRF_RT_ANY | RRF_NOEXPAND, &m_type, nullptr,
                                 &size) == ERROR_SUCCESS;
        m_bytes.resize(size);
        if (m_existed)
            RegGetValueW(HKEY_LOCAL_MACHINE, value.key, value.name, RRF_RT_ANY | RRF_NOEXPAND, &m_type, m_bytes.data(),
                         &size);
        m_bytes.resize(size);
    }
    ~ChangedValue() {
        if (m_existed)
            Set(m_type, m_bytes);
        else
            Remove();
    }
    void Set(DWORD type, const std::vector<BYTE>& bytes) {
        m_host.Suite().Hive().SetRaw(m_value.key, m_value.name, type, bytes.data(), static_cast<DWORD>(bytes.size()));
    }
    void Remove() { RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, m_value.key, m_value.name); }

  private:
    FaultHost& m_host;
    const VALUE& m_value;
    bool m_existed;
    DWORD m_type = REG_NONE;
    std::vector<BYTE> m_bytes;
};

void Change(ChangedValue& value, const SHAPE& shape) {
    if (shape.type == REG_NONE)
        value.Remove();
    else
        value.Set(shape.type, shape.bytes);
}

// The value as it is when the agent is loaded.
std::string CheckLoad(FaultHost& host, const VALUE& value, const SHAPE& shape) {
    host.Unload();
    std::string problem;
    {
        ChangedValue changed(host, value);
        Change(changed, shape);
        if (host.Load() || host.Load()) // the second start is the one without a core agent
            problem = host.CheckAllOperations(false);
        host.Unload();
    }
    if (!host.Load())
        return "afterwards there is no agent";
    return problem.empty() ? host.CheckHealth(true) : problem;
}

// The value changes while the agent runs.
std::string CheckRunning(FaultHost& host, const VALUE& value, const SHAPE& shape) {
    std::string problem;
    {
        ChangedValue changed(host, value);
        Change(changed, shape);
        problem = host.CheckAllOperations(false);
    }
    host.Restart();
    return problem.empty() ? host.CheckHealth(true) : problem;
}

} // namespace

void RunRegistryCells(FaultHost& host, Matrix& matrix) {
    for (const VALUE& value : VALUES) {
        const std::wstring_view key = value.key;
        const std::wstring name = std::wstring(key.substr(key.rfind(L'\\') + 1)) + L" " + value.name;
        matrix.Row("registry", std::string(name.begin(), name.end()));
        for (const SHAPE& shape : Shapes()) {
            matrix.Cell(std::string(shape.name) + ", when loaded", [&] { return CheckLoad(host, value, shape); });
            matrix.Cell(std::string(shape.name) + ", while it runs", [&] { return CheckRunning(host, value, shape); });
        }
    }
}

// simctl calls
#include <algorithm>
#include <deque>

#include <windows.h>

#include "simulator/simctl/CallLine.h"
#include "simulator/simctl/InUse.h"
#include "simulator/simctl/SystemText.h"
#include "simulator/simctl/Verbs.h"
#include "simulator/topology/Functions.h"
#include "simulator/topology/JsonReader.h"
#include "simulator/topology/Text.h"

namespace simctl {
namespace {

bool IsOneOf(const std::string& name, const std::vector<std::string>& wanted) {
    return std::ranges::any_of(wanted, [&](const std::string& one) {
        const std::string stem = one.substr(0, one.rfind('.'));
        return sim::EqualNoCase(sim::Wide(stem), sim::Wide(name));
    });
}

bool IsWanted(const std::string& line, const CallsOptions& options) {
    const CallLine call = ParseCallLine(line);
    return (options.functions.empty() || IsOneOf(call.function, options.functions)) &&
           (options.modules.empty() || IsOneOf(call.module, options.modules)) &&
           (options.processes.empty() ||
            (call.process && std::ranges::find(options.processes, *call.process) != options.processes.end()));
}

// A file that others append to, line by line.
class Lines {
  public:
    explicit Lines(const std::filesystem::path& file)
        : m_file(CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                             nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)) {}
    ~Lines() {
        if (IsOpen())
            CloseHandle(m_file);
    }
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    bool IsOpen() const { return m_file != INVALID_HANDLE_VALUE; }

    // False: there is no whole line more, for now.
    bool Next(std::string& line) {
        for (;;) {
            if (const auto end = m_rest.find('\n', m_at); end != std::string::npos) {
                line = m_rest.substr(m_at, end - m_at);
                m_at = end + 1;
                if (line.ends_with('\r'))
                    line.pop_back();
                return true;
            }
            m_rest.erase(0, m_at);
            m_at = 0;
            char block[65536];
            DWORD read = 0;
            if (!ReadFile(m_file, block, sizeof block, &read, nullptr) || read == 0)
                return false;
            m_rest.append(block, read);
        }
    }

  private:
    HANDLE m_file;
    std::string m_rest; // read, not handed out from m_at on
    std::size_t m_at = 0;
};

// False: a function of that name does not exist, which was said.
bool AreFunctions(Console& console, const std::vector<std::string>& names) {
    for (const auto& name : names) {
        const auto same = [&](std::string_view known) { return sim::EqualNoCase(sim::Wide(known), sim::Wide(name)); };
        if (std::ranges::any_of(sim::FUNCTION_NAMES, same))
            continue;
        const auto nearest = sim::NearestWord(name, {sim::FUNCTION_NAMES.begin(), sim::FUNCTION_NAMES.end()});
        console.Err("no simulated function is called \"" + name + "\"" +
                    (nearest.empty() ? "; see simctl functions" : "; did you mean \"" + nearest + "\"?") + "\n");
        return false;
    }
    return true;
}

} // namespace

int Calls(Console& console, const CallsOptions& options) {
    if (!AreFunctions(console, options.functions))
        return WRONG;
    const std::filesystem::path file =
        options.file.empty() ? CallLogFile() : std::filesystem::path(sim::Wide(options.file));
    if (file.empty()) {
        console.Err("no calls are logged: set the variable ORVAN_SIM_CALLS to a file's name for the host, or the "
                    "registry value Calls of HKLM\\SOFTWARE\\ORVAN\\Simulator for all\n");
        return WRONG;
    }
    Lines lines(file);
    if (!lines.IsOpen()) {
        console.Err(sim::Utf8(file.wstring()) + ": cannot be read: " + SystemText(GetLastError()) + "\n");
        return WRONG;
    }
    std::deque<std::string> kept;
    std::string line;
    while (lines.Next(line)) {
        if (!IsWanted(line, options))
            continue;
        if (!options.last) {
            console.Out(line + "\n");
            continue;
        }
        kept.push_back(line);
        if (kept.size() > *options.last)
            kept.pop_front();
    }
    for (const auto& one : kept)
        console.Out(one + "\n");
    constexpr DWORD PAUSE = 200; // milliseconds
    for (; options.follow; Sleep(PAUSE)) {
        while (lines.Next(line)) {
            if (IsWanted(line, options))
                console.Out(line + "\n");
        }
    }
    return GOOD;
}

} // namespace simctl

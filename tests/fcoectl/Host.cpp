#include "tests/fcoectl/Host.h"

#include <sstream>

#include <gtest/gtest.h>

#include "tests/kit/StartProcess.h"
#include "tools/fcoectl/Text.h"

namespace {

// Keeps what the program writes.
class Captured : public fcoectl::Output {
  public:
    void Write(std::string_view text) override { out += text; }
    void WriteError(std::string_view text) override { err += text; }
    bool Failed() const override { return false; }
    bool HasColours() const override { return colours; }
    bool ErrorsHaveColours() const override { return colours; }

    bool colours = false;

    std::string out;
    std::string err;
};

// Where the scripted agent's log is looked for.
class LogFolder {
  public:
    explicit LogFolder(const std::wstring& path) {
        GetEnvironmentVariableW(L"Temp", m_before, MAX_PATH);
        SetEnvironmentVariableW(L"Temp", path.c_str());
    }
    ~LogFolder() { SetEnvironmentVariableW(L"Temp", m_before); }
    LogFolder(const LogFolder&) = delete;
    LogFolder& operator=(const LogFolder&) = delete;

  private:
    wchar_t m_before[MAX_PATH] = L"";
};

HANDLE InheritedFile(const std::filesystem::path& path) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, CREATE_ALWAYS, 0,
                       nullptr);
}

} // namespace

std::filesystem::path Beside(const wchar_t* name) {
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    return std::filesystem::path(program).parent_path() / name;
}

nlohmann::ordered_json Answer::Json() const {
    auto document = nlohmann::ordered_json::parse(out, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << out;
    return document;
}

Host::Host(const std::wstring& script) {
    SetEnvironmentVariableW(L"FAKE_AGENT", script.c_str());
    SetEnvironmentVariableW(L"FAKE_AGENT_CALLS", (m_folder.Path() / L"calls.txt").c_str());
}

Host::~Host() {
    SetEnvironmentVariableW(L"FAKE_AGENT", nullptr);
    SetEnvironmentVariableW(L"FAKE_AGENT_CALLS", nullptr);
}

Answer Host::Run(std::vector<std::string> arguments) {
    const LogFolder folder(LogPlace());
    arguments.insert(arguments.end(), {"--agent", fcoectl::ToUtf8(FakeAgent())});
    return RunPlain(arguments);
}

Answer Host::RunPlain(const std::vector<std::string>& arguments) {
    Captured captured;
    captured.colours = colours;
    const int exit = fcoectl::Run(arguments, captured);
    return {exit, captured.out, captured.err};
}

Answer Host::RunProgram(const std::wstring& commandLine, const std::filesystem::path& program) {
    const LogFolder folder(LogPlace());
    Answer answer;
    const auto outPath = m_folder.Path() / L"out.txt";
    const auto errPath = m_folder.Path() / L"err.txt";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = InheritedFile(outPath);
    startup.hStdError = InheritedFile(errPath);
    PROCESS_INFORMATION process{};
    const std::wstring line = L"\"" + program.wstring() + L"\" " + commandLine;
    const bool started = StartProcess(line, true, startup, process);
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    EXPECT_TRUE(started);
    if (!started)
        return answer;
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(process.hProcess, 60000));
    DWORD exit = 0;
    GetExitCodeProcess(process.hProcess, &exit);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return {static_cast<int>(exit), ReadFileBytes(outPath), ReadFileBytes(errPath)};
}

std::vector<std::string> Host::Calls() const {
    std::istringstream file(ReadFileBytes(m_folder.Path() / L"calls.txt"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

// Runs fcoectl against the scripted agent, inside the test's process or as a program of its own.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/kit/TempFolder.h"
#include "tools/fcoectl/Run.h"

// A file beside the test program, where all programs and modules are.
std::filesystem::path Beside(const wchar_t* name);

struct Answer {
    int exit = -1;
    std::string out;
    std::string err;

    // The whole standard output as one document; fails the test when it is anything else.
    nlohmann::ordered_json Json() const;
};

class Host {
  public:
    // script: of the scripted agent, see fakeagent/FakeAgent.cpp.
    explicit Host(const std::wstring& script = L"");
    ~Host();

    // Whether what is written in this process can be coloured.
    bool colours = false;

    // In this process; --agent is added.
    Answer Run(std::vector<std::string> arguments);
    // The same without --agent.
    Answer RunPlain(const std::vector<std::string>& arguments);
    // fcoectl.exe with this command line, to which --agent is added.
    Answer RunOnFakeAgent(const std::wstring& commandLine) {
        return RunProgram(commandLine + L" --agent \"" + FakeAgent() + L'"');
    }
    // The same without --agent; the environment scripts it all the same.
    Answer RunProgram(const std::wstring& commandLine, const std::filesystem::path& program = Beside(L"fcoectl.exe"));

    // The calls that the scripted agent got so far, one a line.
    std::vector<std::string> Calls() const;
    // The folder for temporary files of all that it runs but plainly, with the scripted agent's log.
    std::wstring LogPlace() const { return m_folder.Path().wstring(); }
    std::wstring FakeAgent() const { return Beside(L"FakeFcoeAgent.dll").wstring(); }

  private:
    TempFolder m_folder;
};

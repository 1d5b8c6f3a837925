// Why the agent cannot be had, told from the registry and the files.
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tests/kit/ImportPatch.h"
#include "tests/kit/PrivateHive.h"
#include "tools/fcoectl/Text.h"

using testing::HasSubstr;

namespace {

constexpr wchar_t AGENT[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt";
constexpr wchar_t CORE[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\CoreAgnt";

// Stand in for the system's search of a module.
std::wstring g_wanted;
HMODULE WINAPI FindNothing(const wchar_t* name) {
    g_wanted = name;
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}
HMODULE WINAPI FindSomething(const wchar_t*) {
    return LoadLibraryExW(L"version.dll", nullptr, 0);
}

std::wstring TextFile(const TempFolder& folder, const wchar_t* name) {
    const auto path = folder.Path() / name;
    std::ofstream(path) << "no module";
    return path.wstring();
}

} // namespace

TEST(AgentFile, MissingKeyIsNamed) {
    const PrivateHive hive;
    const Answer answer = Host().RunPlain({"hbas"});
    EXPECT_EQ(3, answer.exit);
    EXPECT_EQ(
        "fcoectl: The agent is not installed. The registry key "
        "\"HKEY_LOCAL_MACHINE\\SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt\" with the value "
        "\"InstalledDir\" is missing.\n"
        "  Install the agent. --agent FILE does not help: the agent starts only from the file that its value names.\n",
        answer.err);
}

TEST(AgentFile, MissingValueIsNamed) {
    PrivateHive hive;
    hive.Set(AGENT, L"Other", L"x");
    EXPECT_THAT(Host().RunPlain({"hbas"}).err,
                HasSubstr("The registry value \"InstalledDir\" under "
                          "\"HKEY_LOCAL_MACHINE\\SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt\" is "
                          "missing."));
}

TEST(AgentFile, ValueOfAnotherTypeIsUnreadable) {
    PrivateHive hive;
    hive.Set(AGENT, L"InstalledDir", 7);
    const Answer answer = Host().RunPlain({"hbas"});
    EXPECT_EQ(3, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("cannot be read: "));
}

TEST(AgentFile, MissingFileIsNamed) {
    PrivateHive hive;
    hive.Set(AGENT, L"InstalledDir", L"C:\\nowhere\\FcoeAgnt.dll");
    const Answer answer = Host().RunPlain({"hbas"});
    EXPECT_EQ(3, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("The agent's file \"C:\\nowhere\\FcoeAgnt.dll\" does not exist.\n"));
    EXPECT_THAT(answer.err, HasSubstr("The registry names this file"));
}

TEST(AgentFile, FileThatDoesNotLoadComesWithTheSystemsText) {
    const TempFolder folder;
    const Answer answer = Host().RunPlain({"hbas", "--agent", fcoectl::ToUtf8(TextFile(folder, L"broken.dll"))});
    EXPECT_EQ(3, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("broken.dll\" cannot be loaded: "));
    EXPECT_THAT(answer.err, HasSubstr("(error "));
    EXPECT_THAT(answer.err, HasSubstr("Check the path after --agent."));
}

TEST(AgentFile, ModuleWithoutTheExportIsNoAgent) {
    const Answer answer = Host().RunPlain({"hbas", "--agent", fcoectl::ToUtf8(Beside(L"QelColib.dll").wstring())});
    EXPECT_EQ(3, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("QelColib.dll\" does not export GetFcoeAgent; it is not the FCoE agent."));
}

TEST(AgentFile, RegisteredOneIsTaken) {
    PrivateHive hive;
    Host host;
    hive.Set(AGENT, L"InstalledDir", host.FakeAgent());
    EXPECT_EQ(0, host.RunPlain({"hbas"}).exit);
}

TEST(AgentRefusal, IsAskedForTheAgentOnlyOnce) {
    const PrivateHive hive;
    Host host(L"null");
    EXPECT_EQ(4, host.Run({"hbas"}).exit);
    EXPECT_EQ(std::vector<std::string>{"GetFcoeAgent"}, host.Calls());
}

TEST(AgentRefusal, MissingRegistrationOfTheAgent) {
    const PrivateHive hive;
    const Answer answer = Host(L"null").Run({"hbas"});
    EXPECT_EQ(4, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("The agent cannot find itself. The registry key"));
}

TEST(AgentRefusal, RegistrationOfAnotherFile) {
    PrivateHive hive;
    hive.Set(AGENT, L"InstalledDir", L"C:\\elsewhere\\FcoeAgnt.dll");
    Host host(L"null");
    const Answer answer = host.Run({"hbas"});
    EXPECT_EQ(4, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("names \"C:\\elsewhere\\FcoeAgnt.dll\", but \""));
    EXPECT_THAT(answer.err, HasSubstr("FakeFcoeAgent.dll\" was loaded."));
}

// As Windows, which compares the names of modules; Wine compares the files.
HMODULE WINAPI FindNoModule(const wchar_t*) {
    return nullptr;
}

TEST(AgentRefusal, RegistrationOfTheSameFileUnderAnotherName) {
    const ImportPatch search(nullptr, "KERNEL32.dll", "GetModuleHandleW", reinterpret_cast<void*>(FindNoModule));
    PrivateHive hive;
    Host host(L"null");
    const std::filesystem::path file = host.FakeAgent();
    hive.Set(AGENT, L"InstalledDir", (file.parent_path() / L"." / file.filename()).wstring());
    const Answer answer = host.Run({"hbas"});
    EXPECT_EQ(4, answer.exit);
    const std::string loaded = fcoectl::ToUtf8(file.wstring());
    EXPECT_THAT(answer.err, HasSubstr("\\.\\FakeFcoeAgent.dll\", but \"" + loaded +
                                      "\" was loaded. These are two names "
                                      "of one file, and Windows compares the names: write \"" +
                                      loaded + "\" into the registry"));
    hive.Set(AGENT, L"InstalledDir", Beside(L"QelColib.dll").wstring());
    EXPECT_THAT(host.Run({"hbas"}).err, Not(HasSubstr("one file"))) << "another file";
}

TEST(AgentRefusal, CoreAgentNotRegisteredAndNotFound) {
    const ImportPatch search(nullptr, "KERNEL32.dll", "LoadLibraryW", reinterpret_cast<void*>(FindNothing));
    PrivateHive hive;
    Host host(L"null");
    hive.Set(AGENT, L"InstalledDir", host.FakeAgent());
    const char* problem = "The core agent is not registered, and the system's search finds none. The registry ";
    EXPECT_THAT(host.Run({"hbas"}).err, HasSubstr(problem + std::string("key \"HKEY_LOCAL_MACHINE")));
    EXPECT_EQ(L"CoreAgnt.DLL", g_wanted);
    hive.Set(CORE, L"Other", L"x");
    EXPECT_THAT(host.Run({"hbas"}).err, HasSubstr(problem + std::string("value \"InstalledDir\"")));
}

TEST(AgentRefusal, CoreAgentThatLoadsNow) {
    const ImportPatch search(nullptr, "KERNEL32.dll", "LoadLibraryW", reinterpret_cast<void*>(FindSomething));
    PrivateHive hive;
    Host host(L"null");
    hive.Set(AGENT, L"InstalledDir", host.FakeAgent());
    EXPECT_THAT(host.Run({"hbas"}).err,
                HasSubstr("The agent did not keep the core agent \"CoreAgnt.DLL\", although that file loads."));
}

TEST(AgentRefusal, CoreAgentsFileMissing) {
    PrivateHive hive;
    Host host(L"null");
    hive.Set(AGENT, L"InstalledDir", host.FakeAgent());
    hive.Set(CORE, L"InstalledDir", L"C:\\nowhere\\CoreAgnt");
    EXPECT_THAT(host.Run({"hbas"}).err,
                HasSubstr("The core agent's file \"C:\\nowhere\\CoreAgnt.DLL\" does not exist."))
        << "the agent appends the extension";
}

TEST(AgentRefusal, CoreAgentThatDoesNotLoad) {
    const TempFolder folder;
    PrivateHive hive;
    Host host(L"null");
    hive.Set(AGENT, L"InstalledDir", host.FakeAgent());
    hive.Set(CORE, L"InstalledDir", TextFile(folder, L"core.dll"));
    EXPECT_THAT(host.Run({"hbas"}).err, HasSubstr("core.dll\" cannot be loaded: "));
}

TEST(AgentRefusal, CoreAgentWithoutAnInterface) {
    PrivateHive hive;
    Host host(L"null");
    hive.Set(AGENT, L"InstalledDir", host.FakeAgent());
    hive.Set(CORE, L"InstalledDir", Beside(L"QelColib.dll").wstring());
    EXPECT_THAT(host.Run({"hbas"}).err, HasSubstr("was loaded but gave the agent no interface."));
}

TEST(Version, NamesTheAgentOrWhyNot) {
    const PrivateHive hive;
    const auto missing = Host().RunPlain({"version", "--json"});
    EXPECT_EQ(0, missing.exit);
    EXPECT_TRUE(missing.Json()["agent_file"].is_null());
    EXPECT_EQ(1u, missing.Json()["notes"].size());
    const auto version =
        Host().RunPlain({"version", "--json", "--agent", fcoectl::ToUtf8(Beside(L"QelColib.dll").wstring())}).Json();
    EXPECT_EQ("1.0.0.0", version["agent_version"]);
    EXPECT_TRUE(version["fcoectl_version"].is_string());
}
